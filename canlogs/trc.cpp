// PEAK TRC text logs, versions 1.0 to 2.1. The ";$FILEVERSION" header line
// decides the version (none: 1.0); 2.x lines follow ";$COLUMNS". Times are
// offsets in milliseconds from ";$STARTTIME", days since 1899-12-30.
#include "logparser.h"

namespace canlogs {

using namespace text;

namespace {

constexpr int64_t kDayNs = 86400LL * 1000000000LL;
constexpr int64_t kEpochInTrcDays = 25569; // 1970-01-01 counted from 1899-12-30

// "42176.7577227546" as nanoseconds since the epoch, exactly to the nanosecond.
bool parseStartTime(const char* p, const char* e, int64_t& ns)
{
    uint64_t days = 0;
    if (!unsignedNumber(p, e, 10, 106000, days)) // up to the year 2190, within 64 bits of nanoseconds
        return false;
    unsigned __int128 fraction = 0, scale = 1;
    if (p < e && *p == '.')
        for (++p; p < e && isDigit(*p) && scale < 1000000000000000000ULL; ++p) {
            fraction = fraction * 10 + unsigned(*p - '0');
            scale *= 10;
        }
    ns = (int64_t(days) - kEpochInTrcDays) * kDayNs + int64_t((fraction * kDayNs + scale / 2) / scale);
    return true;
}

class TrcParser final : public LineParser<TrcParser>
{
public:
    TrcParser(FileInput& in, LogInfo& info) : LineParser(in, info) { info.formatName = "TRC 1.0"; }

    bool parseLine(const char* p, const char* e, Frame& f, const char*& problem)
    {
        skipBlanks(p, e);
        if (p == e)
            return false;
        if (*p == ';') {
            if (!headerDone_)
                readHeaderLine(p + 1, e);
            return false;
        }
        if (!headerDone_ && !startData()) {
            problem = "unknown TRC file version";
            return false;
        }
        return version_ >= 20 ? parseColumns(p, e, f, problem) : parseVersion1(p, e, f, problem);
    }

private:
    void readHeaderLine(const char* p, const char* e)
    {
        if (startsWithNoCase(p, e, "$fileversion=")) {
            version_ = -1;
            p += 13;
            uint64_t major, minor;
            if (unsignedNumber(p, e, 10, 9, major) && p < e && *p++ == '.' &&
                unsignedNumber(p, e, 10, 9, minor))
                version_ = int(major * 10 + minor);
        } else if (startsWithNoCase(p, e, "$starttime=")) {
            info_.absoluteTime = parseStartTime(p + 11, e, info_.startNs);
        } else if (startsWithNoCase(p, e, "$columns=")) {
            columns_.clear();
            for (p += 9; p < e; ++p)
                if (*p != ',' && !isBlank(*p))
                    columns_.push_back(*p);
        }
    }

    bool startData()
    {
        headerDone_ = true;
        if (version_ != 10 && version_ != 11 && version_ != 12 && version_ != 13 && version_ != 20 &&
            version_ != 21)
            return false;
        info_.formatName = "TRC " + std::to_string(version_ / 10) + "." + std::to_string(version_ % 10);
        if (columns_.empty())
            columns_ = version_ == 20 ? "NOTIdlD" : "NOTBIdRLD";
        if (!info_.absoluteTime)
            info_.startNs = 0;
        return true;
    }

    bool frameId(const char*& p, const char* e, Frame& f)
    {
        skipBlanks(p, e);
        const char* digits = p;
        uint64_t id;
        if (!unsignedNumber(p, e, 16, 0xFFFFFFFF, id) || (p < e && !isBlank(*p)))
            return false;
        f.id = uint32_t(id);
        if (p - digits > 4)
            f.flags |= FrameExtended;
        return id <= (p - digits > 4 ? 0x1FFFFFFFu : 0x7FFu);
    }

    static bool dataBytes(const char*& p, const char* e, Frame& f, unsigned count, const char*& problem)
    {
        const char* behind = spacedBytes(p, e, 16, f.data, count);
        if (!behind) {
            problem = "fewer or other data bytes than the frame's length says";
            return false;
        }
        p = behind;
        f.length = uint8_t(count);
        return true;
    }

    bool setTimeAndChannel(Frame& f, int64_t offset, uint64_t bus)
    {
        f.timeNs = addNs(info_.startNs, offset);
        f.channel = uint16_t(bus ? bus - 1 : 0);
        info_.noteNumberedChannel(f.channel);
        return true;
    }

    // "1)  1059.9  Rx  0300  8  00 01 ..." with a bus from 1.2 on and a reserved column in 1.3;
    // 1.0 has no type, "RTR" stands for the data of a remote frame.
    bool parseVersion1(const char* p, const char* e, Frame& f, const char*& problem)
    {
        clearFrame(f);
        problem = "expected a frame line of a TRC 1.x log";
        const char* number = word(p, e);
        int64_t offset;
        uint64_t bus = 1, dlc;
        const bool numbered = p - number >= 2 && p[-1] == ')';
        skipBlanks(p, e);
        if (!numbered || !decimalNs<1000000>(p, e, offset))
            return false;
        if (version_ >= 12) {
            skipBlanks(p, e);
            if (!unsignedNumber(p, e, 10, 0xFFFF, bus))
                return false;
        }
        if (version_ >= 11) {
            skipBlanks(p, e);
            const char* type = word(p, e);
            if (!equals(type, p, "Rx") && !equals(type, p, "Tx")) {
                problem = nullptr; // errors, warnings and other events
                return false;
            }
        }
        skipBlanks(p, e);
        if (version_ == 10 && startsWithNoCase(p, e, "ffffffff")) {
            problem = nullptr; // bus information
            return false;
        }
        if (!frameId(p, e, f))
            return false;
        if (version_ == 13) {
            skipBlanks(p, e);
            word(p, e);
        }
        skipBlanks(p, e);
        if (!unsignedNumber(p, e, 10, 15, dlc))
            return false;
        skipBlanks(p, e);
        if (startsWithNoCase(p, e, "rtr")) {
            f.flags |= FrameRemote;
            f.length = uint8_t(std::min<uint64_t>(dlc, 8));
        } else if (!dataBytes(p, e, f, unsigned(std::min<uint64_t>(dlc, 8)), problem)) {
            return false;
        }
        problem = nullptr;
        return setTimeAndChannel(f, offset, bus);
    }

    // Columns of 2.x: N number, O offset, T type, B bus, I id, d direction,
    // R reserved, L length code, l data length, D data.
    bool parseColumns(const char* p, const char* e, Frame& f, const char*& problem)
    {
        clearFrame(f);
        problem = "expected a frame line as ;$COLUMNS describes it";
        int64_t offset = 0;
        uint64_t bus = 1, length = 0;
        for (const char column : columns_) {
            skipBlanks(p, e);
            if (column == 'O') {
                if (!decimalNs<1000000>(p, e, offset))
                    return false;
            } else if (column == 'T') {
                const char* type = word(p, e);
                if (!frameType(type, p, f)) {
                    problem = nullptr; // status, error counters, events
                    return false;
                }
            } else if (column == 'B') {
                if (!unsignedNumber(p, e, 10, 0xFFFF, bus))
                    return false;
            } else if (column == 'I') {
                if (!frameId(p, e, f))
                    return false;
            } else if (column == 'L' || column == 'l') {
                if (!unsignedNumber(p, e, 10, column == 'L' ? 15 : 64, length))
                    return false;
                if (column == 'L')
                    length = f.flags & FrameFd ? dlcLength(unsigned(length)) : std::min<uint64_t>(length, 8);
            } else if (column == 'D') {
                if (f.flags & FrameRemote)
                    f.length = uint8_t(std::min<uint64_t>(length, 8));
                else if (!dataBytes(p, e, f, unsigned(length), problem))
                    return false;
            } else {
                word(p, e);
            }
        }
        if (!(f.flags & FrameFd) && f.length > 8) {
            problem = "a classic frame holds at most 8 data bytes";
            return false;
        }
        problem = nullptr;
        return setTimeAndChannel(f, offset, bus);
    }

    static bool frameType(const char* b, const char* e, Frame& f)
    {
        static const struct
        {
            const char* name;
            uint8_t flags;
        } types[] = {{"DT", 0},
                     {"RR", FrameRemote},
                     {"FD", FrameFd},
                     {"FB", FrameFd | FrameBrs},
                     {"FE", FrameFd | FrameEsi},
                     {"BI", FrameFd | FrameBrs | FrameEsi}};
        for (const auto& type : types)
            if (equals(b, e, type.name)) {
                f.flags |= type.flags;
                return true;
            }
        return false;
    }

    int version_ = 10; // major * 10 + minor
    std::string columns_;
    bool headerDone_ = false;
};

} // namespace

std::unique_ptr<Parser> makeTrcParser(FileInput& in, LogInfo& info)
{
    return std::make_unique<TrcParser>(in, info);
}

} // namespace canlogs
