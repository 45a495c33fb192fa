// Vector BLF binary logs: a "LOGG" file header, then objects ("LOBJ"), most
// of them log containers whose zlib-compressed or stored contents are one
// stream of further objects; an object may span two containers. Frames come
// from CAN_MESSAGE, CAN_MESSAGE2, CAN_FD_MESSAGE and CAN_FD_MESSAGE_64; every
// other object is passed over by its size.
#include "logparser.h"

#include <zlib.h>

namespace canlogs {

namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "BLF fields are read in place as little-endian");

template <typename T> T field(const uint8_t* p)
{
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

enum ObjectType : uint32_t {
    CanMessage = 1,
    LogContainer = 10,
    CanMessage2 = 86,
    CanFdMessage = 100,
    CanFdMessage64 = 101,
};
constexpr size_t kBaseHeader = 16;
constexpr size_t kContainerHeader = 32;
constexpr uint32_t kExtendedId = 0x80000000;
constexpr uint32_t kTimeTenMicros = 1;

class BlfParser final : public Parser
{
public:
    BlfParser(FileInput& in, LogInfo& info) : in_(in), info_(info), raw_(256 * 1024), inner_(1 << 20)
    {
        info.formatName = "BLF";
        zlibReady_ = inflateInit(&zs_) == Z_OK;
        readFileHeader();
    }
    ~BlfParser() override
    {
        if (zlibReady_)
            inflateEnd(&zs_);
    }

    size_t parse(Frame* out, size_t max) override
    {
        size_t n = 0;
        while (n < max && info_.error.empty()) {
            if (skip_) { // an object too large for the buffer, passed over as it streams by
                const size_t k = size_t(std::min<uint64_t>(skip_, end_ - pos_));
                pos_ += k;
                skip_ -= k;
                if (skip_ && !pullInner())
                    info_.failAtByte(skipFrom_, "in the log container at this offset: an object of " +
                                                    std::to_string(skipSize_) +
                                                    " bytes runs past the end of the log");
                continue;
            }
            size_t pad = 0;
            while (innerEnsure(pad + kBaseHeader) && std::memcmp(&inner_[pos_ + pad], "LOBJ", 4) != 0 &&
                   pad < 8)
                ++pad;
            if (end_ - pos_ < pad + kBaseHeader) {
                endOfObjects();
                break;
            }
            if (pad == 8) {
                innerFail("no object (LOBJ) where one should begin");
                break;
            }
            pos_ += pad;
            const uint8_t* h = &inner_[pos_];
            const uint16_t headerSize = field<uint16_t>(h + 4);
            const uint32_t size = field<uint32_t>(h + 8);
            const uint32_t type = field<uint32_t>(h + 12);
            if (size < kBaseHeader || headerSize > size) {
                innerFail("an object of " + std::to_string(size) + " bytes with a header of " +
                          std::to_string(headerSize));
                break;
            }
            if (size > inner_.size() / 2) {
                if (isFrame(type)) {
                    innerFail("a frame object of " + std::to_string(size) + " bytes");
                    break;
                }
                skip_ = skipSize_ = size;
                skipFrom_ = containerOffset_;
                continue;
            }
            if (!innerEnsure(size)) {
                innerFail("the log ends inside an object");
                break;
            }
            if (readFrame(&inner_[pos_], size, type, out[n]))
                ++n;
            pos_ += size;
        }
        return n;
    }

private:
    static bool isFrame(uint32_t type)
    {
        return type == CanMessage || type == CanMessage2 || type == CanFdMessage || type == CanFdMessage64;
    }

    void readFileHeader()
    {
        if (!rawEnsure(8)) {
            info_.failAtByte(0, "the BLF file header is cut short");
            return;
        }
        const uint32_t headerSize = field<uint32_t>(&raw_[4]);
        if (headerSize < 72 || headerSize > 65536 || !rawEnsure(headerSize)) {
            info_.failAtByte(4, "bad BLF file header size " + std::to_string(headerSize));
            return;
        }
        uint16_t t[8]; // SYSTEMTIME: year, month, day of week, day, hour, minute, second, milliseconds
        std::memcpy(t, &raw_[40], sizeof t);
        if (t[0] >= 1900 && t[0] <= 2200 && t[1] >= 1 && t[1] <= 12 && t[3] >= 1 && t[3] <= 31 && t[4] < 24 &&
            t[5] < 60 && t[6] < 60 && t[7] < 1000) {
            info_.absoluteTime = true;
            info_.startNs =
                ((text::daysFromCivil(t[0], t[1], t[3]) * 24 + t[4]) * 60 + t[5]) * 60000000000LL +
                t[6] * 1000000000LL + t[7] * 1000000LL;
        }
        rawPos_ = headerSize;
    }

    // Makes `n` raw bytes available at rawPos_; false at the end of the file.
    bool rawEnsure(size_t n)
    {
        if (rawEnd_ - rawPos_ >= n)
            return true;
        std::memmove(raw_.data(), &raw_[rawPos_], rawEnd_ - rawPos_);
        rawBase_ += rawPos_;
        rawEnd_ -= rawPos_;
        rawPos_ = 0;
        rawEnd_ += in_.read(&raw_[rawEnd_], raw_.size() - rawEnd_);
        if (in_.failed())
            info_.failAtByte(rawBase_ + rawEnd_, std::string("read error: ") + std::strerror(errno));
        return rawEnd_ >= n;
    }
    uint64_t rawOffset() const { return rawBase_ + rawPos_; }

    // Steps to the next object of the file; false at its end or on damage.
    bool nextContainer()
    {
        size_t pad = 0;
        while (rawEnsure(pad + kBaseHeader) && std::memcmp(&raw_[rawPos_ + pad], "LOBJ", 4) != 0 && pad < 8)
            ++pad;
        if (rawEnd_ - rawPos_ < pad + kBaseHeader) {
            for (size_t i = rawPos_; i < rawEnd_; ++i)
                if (raw_[i] != 0) {
                    info_.failAtByte(rawOffset(), "the log is cut short inside an object header");
                    break;
                }
            return false;
        }
        if (pad == 8) {
            info_.failAtByte(rawOffset(), "no object (LOBJ) where one should begin");
            return false;
        }
        rawPos_ += pad;
        const uint8_t* h = &raw_[rawPos_];
        uint32_t size = field<uint32_t>(h + 8);
        const uint32_t type = field<uint32_t>(h + 12);
        const uint64_t left = in_.size() > rawOffset() ? in_.size() - rawOffset() : 0;
        const uint32_t least = type == LogContainer ? kContainerHeader : kBaseHeader;
        containerOffset_ = rawOffset();
        if (size < least || left < least) {
            info_.failAtByte(rawOffset(), "an object of " + std::to_string(size) + " bytes where " +
                                              std::to_string(left) + " are left in the file");
            return false;
        }
        // A container cut short is read as far as it goes, so that its first frames still count.
        cutShort_ = size > left;
        claimed_ = size;
        size = uint32_t(std::min<uint64_t>(size, left));
        if (type != LogContainer) { // an object outside any container joins the stream as it is
            mode_ = Mode::Stored;
            containerLeft_ = size;
            return true;
        }
        if (!rawEnsure(kContainerHeader))
            return false;
        const uint16_t method = field<uint16_t>(&raw_[rawPos_ + 16]);
        rawPos_ += kContainerHeader;
        containerLeft_ = size - kContainerHeader;
        if (method == 0) {
            mode_ = Mode::Stored;
        } else if (method == 2 && zlibReady_ && inflateReset(&zs_) == Z_OK) {
            mode_ = Mode::Deflate;
        } else {
            info_.failAtByte(containerOffset_,
                             "log container with unknown compression " + std::to_string(method));
            return false;
        }
        return true;
    }

    // Appends bytes of the object stream behind end_; false when none came.
    bool pullInner()
    {
        std::memmove(inner_.data(), &inner_[pos_], end_ - pos_);
        end_ -= pos_;
        pos_ = 0;
        const size_t before = end_;
        while (end_ == before && end_ < inner_.size() && info_.error.empty()) {
            if (mode_ == Mode::None) {
                if (!nextContainer())
                    return false;
                continue;
            }
            if (containerLeft_ == 0) {
                if (cutShort_ || !(mode_ == Mode::Stored || streamEnded_)) {
                    info_.failAtByte(
                        containerOffset_,
                        cutShort_
                            ? "the log ends inside this object of " + std::to_string(claimed_) + " bytes"
                            : std::string("log container does not inflate: its data ends early"));
                    return false;
                }
                mode_ = Mode::None;
                streamEnded_ = false;
                continue;
            }
            if (!rawEnsure(1)) {
                info_.failAtByte(rawOffset(), "the log is cut short inside a log container");
                return false;
            }
            const size_t in = size_t(std::min<uint64_t>(containerLeft_, rawEnd_ - rawPos_));
            size_t used = in;
            if (mode_ == Mode::Stored || streamEnded_) { // after the end of a zlib stream: passed over
                used = std::min(in, mode_ == Mode::Stored ? inner_.size() - end_ : in);
                if (mode_ == Mode::Stored)
                    std::memcpy(&inner_[end_], &raw_[rawPos_], used);
                end_ += mode_ == Mode::Stored ? used : 0;
            } else {
                zs_.next_in = &raw_[rawPos_];
                zs_.avail_in = uInt(in);
                zs_.next_out = &inner_[end_];
                zs_.avail_out = uInt(inner_.size() - end_);
                const int result = inflate(&zs_, Z_NO_FLUSH);
                used = in - zs_.avail_in;
                end_ = inner_.size() - zs_.avail_out;
                streamEnded_ = result == Z_STREAM_END;
                if ((result != Z_OK && result != Z_STREAM_END) ||
                    (used == 0 && end_ == before && !streamEnded_)) {
                    info_.failAtByte(containerOffset_, std::string("log container does not inflate") +
                                                           (zs_.msg ? std::string(": ") + zs_.msg : ""));
                    return false;
                }
            }
            rawPos_ += used;
            containerLeft_ -= used;
        }
        return end_ > before;
    }

    bool innerEnsure(size_t n)
    {
        while (end_ - pos_ < n)
            if (!pullInner())
                return false;
        return true;
    }

    void innerFail(const std::string& message)
    {
        info_.failAtByte(containerOffset_, "in the log container at this offset: " + message);
    }

    // At the end of the objects only padding may be left.
    void endOfObjects()
    {
        if (!info_.error.empty())
            return;
        for (size_t i = pos_; i < end_; ++i)
            if (inner_[i] != 0)
                return innerFail("the log ends inside an object header");
        pos_ = end_;
    }

    bool readFrame(const uint8_t* obj, uint32_t size, uint32_t type, Frame& f)
    {
        const uint16_t headerSize = field<uint16_t>(obj + 4);
        const uint16_t headerVersion = field<uint16_t>(obj + 6);
        if (!isFrame(type) || headerSize < 32 || (headerVersion != 1 && headerVersion != 2))
            return false;
        const uint64_t stamp = field<uint64_t>(obj + 24);
        const uint64_t ns = field<uint32_t>(obj + 16) == kTimeTenMicros ? stamp * 10000 : stamp;
        const uint8_t* d = obj + headerSize;
        const size_t n = size - headerSize;
        static const size_t minimum[] = {16, 84, 40};
        if (n < minimum[type == CanMessage || type == CanMessage2 ? 0 : type == CanFdMessage ? 1 : 2]) {
            innerFail("a frame object too small for its type");
            return false;
        }
        clearFrame(f);
        f.timeNs = text::addNs(info_.startNs, int64_t(ns));
        unsigned channel, dlc, flags = 0, available = 8;
        uint32_t id = field<uint32_t>(d + 4);
        const uint8_t* data = d + 8;
        if (type == CanFdMessage64) {
            channel = d[0];
            dlc = d[1] & 15;
            const uint32_t fdFlags = field<uint32_t>(d + 12);
            flags = (fdFlags & 0x10 ? FrameRemote : 0) | (fdFlags & 0x1000 ? FrameFd : 0) |
                    (fdFlags & 0x2000 ? FrameBrs : 0) | (fdFlags & 0x4000 ? FrameEsi : 0);
            data = d + 40;
            available = unsigned(std::min<size_t>({d[2], n - 40, 64}));
        } else {
            channel = field<uint16_t>(d);
            dlc = d[3] & 15;
            flags = d[2] & 0x80 ? FrameRemote : 0;
            if (type == CanFdMessage) {
                flags |= (d[13] & 1 ? FrameFd : 0) | (d[13] & 2 ? FrameBrs : 0) | (d[13] & 4 ? FrameEsi : 0);
                data = d + 20;
                available = std::min<unsigned>(d[14], 64);
            }
        }
        if (flags & FrameFd)
            flags &= ~FrameRemote;
        f.flags = uint8_t(flags | (id & kExtendedId ? FrameExtended : 0));
        f.id = id & 0x1FFFFFFF;
        f.length = flags & FrameFd ? text::dlcLength(dlc) : uint8_t(std::min(dlc, 8u));
        if (!(flags & FrameRemote))
            std::memcpy(f.data, data, std::min<unsigned>(f.length, available));
        f.channel = uint16_t(channel ? channel - 1 : 0);
        info_.noteNumberedChannel(f.channel);
        return true;
    }

    enum class Mode { None, Stored, Deflate };

    FileInput& in_;
    LogInfo& info_;
    std::vector<uint8_t> raw_; // bytes of the file
    size_t rawPos_ = 0, rawEnd_ = 0;
    uint64_t rawBase_ = 0;       // file offset of raw_[0]
    std::vector<uint8_t> inner_; // the object stream inside the containers
    size_t pos_ = 0, end_ = 0;
    uint64_t skip_ = 0;     // bytes of a large object still to pass over
    uint64_t skipFrom_ = 0; // file offset of the container where it began
    uint32_t skipSize_ = 0;
    Mode mode_ = Mode::None;
    uint64_t containerLeft_ = 0;   // bytes of the current container not yet read
    uint64_t containerOffset_ = 0; // file offset of the current container
    bool streamEnded_ = false;
    bool cutShort_ = false; // the current object claims more bytes than the file has
    uint32_t claimed_ = 0;
    z_stream zs_{};
    bool zlibReady_ = false;
};

} // namespace

std::unique_ptr<Parser> makeBlfParser(FileInput& in, LogInfo& info)
{
    return std::make_unique<BlfParser>(in, info);
}

} // namespace canlogs
