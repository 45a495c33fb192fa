// candump logs: "(1436509052.249713) can0 123#DEADBEEF" as `candump -l` and
// `-L` write them, and candump's screen form "can0  123   [4]  DE AD BE EF"
// with or without a leading time.
#include "logparser.h"

namespace canlogs {

using namespace text;

namespace {

constexpr uint32_t kErrorFrameFlag = 0x20000000; // CAN_ERR_FLAG
constexpr int64_t kYear2000Ns = 946684800LL * 1000000000LL;

class CandumpParser final : public LineParser<CandumpParser>
{
public:
    CandumpParser(FileInput& in, LogInfo& info) : LineParser(in, info) { info.formatName = "candump"; }

    // True for a frame; false with `problem` unset for a line without one.
    bool parseLine(const char* p, const char* e, Frame& f, const char*& problem)
    {
        skipBlanks(p, e);
        if (p == e || *p == '#')
            return false;
        f.timeNs = 0;
        if (*p == '(') {
            ++p;
            if (!decimalNs<1000000000>(p, e, f.timeNs) || p == e || *p++ != ')') {
                problem = "unreadable time; expected a line such as (1436509052.249713) can0 123#DEADBEEF";
                return false;
            }
            skipBlanks(p, e);
        }
        const char* name = word(p, e);
        const char* nameEnd = p;
        skipBlanks(p, e);
        if (name == nameEnd || p == e) {
            problem = "expected a line such as (1436509052.249713) can0 123#DEADBEEF";
            return false;
        }
        clearFrame(f);
        uint32_t id = 0;
        const char* idStart = p;
        while (p < e && hexDigit(*p) >= 0 && p - idStart < 9)
            id = id << 4 | uint32_t(hexDigit(*p++));
        const ptrdiff_t digits = p - idStart;
        const bool extended = digits > 3;
        const bool errorFrame = extended && (id & kErrorFrameFlag);
        if (digits == 0 || digits > 8 || (!extended && id > 0x7FF) || (id > 0x1FFFFFFF && !errorFrame)) {
            problem = "bad CAN identifier";
            return false;
        }
        const bool frame =
            p < e && *p == '#' ? parseLogFrame(++p, e, f, problem) : parseScreenFrame(p, e, f, problem);
        if (!frame || errorFrame)
            return false; // error frames carry no bus frame
        f.id = id;
        if (extended)
            f.flags |= FrameExtended;
        f.channel = channelOf(name, nameEnd);
        if (!timeKnown_) {
            timeKnown_ = true;
            info_.absoluteTime = f.timeNs >= kYear2000Ns; // candump -l writes calendar times
        }
        return true;
    }

private:
    // After "123#": "DEADBEEF", "DE.AD", "R", "R5", "#1DEADBEEF..." (FD with its flags nibble).
    static bool parseLogFrame(const char*& p, const char* e, Frame& f, const char*& problem)
    {
        size_t maxLength = 8;
        if (p < e && *p == '#') {
            ++p;
            if (p < e && *p == '#')
                return false; // CAN XL
            const int fdFlags = p < e ? hexDigit(*p++) : -1;
            if (fdFlags < 0) {
                problem = "CAN FD frame without its flags digit (123##1DEADBEEF)";
                return false;
            }
            f.flags = FrameFd | (fdFlags & 1 ? FrameBrs : 0) | (fdFlags & 2 ? FrameEsi : 0);
            maxLength = 64;
        } else if (p < e && (*p == 'R' || *p == 'r')) {
            f.flags |= FrameRemote;
            ++p;
            if (p < e && !isBlank(*p) && *p != '_') {
                const int length = hexDigit(*p++);
                if (length < 0 || length > 8) {
                    problem = "bad length of a remote frame";
                    return false;
                }
                f.length = uint8_t(length);
            }
            if (p < e && *p == '_')
                p += std::min<ptrdiff_t>(2, e - p); // the raw DLC of a classic frame
            return true;
        }
        size_t length = 0;
        const char* q = p; // a copy: the stores into f.data could otherwise alias p
        while (q < e && !isBlank(*q)) {
            if (*q == '.') {
                ++q;
                continue;
            }
            if (*q == '_' && maxLength == 8) { // the raw DLC above 8 of a classic frame
                q += std::min<ptrdiff_t>(2, e - q);
                break;
            }
            if (e - q < 2 || length == maxLength || !hexByte(q, f.data[length])) {
                problem = "bad data bytes";
                return false;
            }
            ++length;
            q += 2;
        }
        p = q;
        f.length = uint8_t(length);
        return true;
    }

    // After the identifier of the screen form: "[4]  DE AD BE EF", "[4]  remote request",
    // "[12]  ..." (two length digits: CAN FD).
    static bool parseScreenFrame(const char*& p, const char* e, Frame& f, const char*& problem)
    {
        problem = "expected a line such as (1436509052.249713) can0 123#DEADBEEF";
        skipBlanks(p, e);
        uint64_t length = 0;
        if (p == e || *p != '[')
            return false;
        const char* digits = ++p;
        if (!unsignedNumber(p, e, 10, 64, length) || p == e || *p != ']')
            return false;
        if (p - digits == 2 || length > 8)
            f.flags |= FrameFd;
        ++p;
        skipBlanks(p, e);
        if (startsWithNoCase(p, e, "remote request")) {
            f.flags |= FrameRemote;
            f.length = uint8_t(std::min<uint64_t>(length, 8));
        } else {
            for (f.length = 0; f.length < length; ++f.length, p += 2) {
                skipBlanks(p, e);
                if (e - p < 2 || !hexByte(p, f.data[f.length]))
                    return false;
            }
        }
        problem = nullptr;
        return true;
    }

    uint16_t channelOf(const char* b, const char* e)
    {
        const size_t n = e - b;
        if (n == lastName_.size() && std::memcmp(b, lastName_.data(), n) == 0)
            return lastChannel_;
        auto& names = info_.channelNames;
        size_t i = 0;
        while (i < names.size() && !equals(b, e, names[i].c_str()))
            ++i;
        if (i == names.size() && names.size() < 0xFFFF)
            names.emplace_back(b, e);
        lastName_.assign(b, e);
        lastChannel_ = uint16_t(std::min<size_t>(i, 0xFFFE));
        return lastChannel_;
    }

    std::string lastName_;
    uint16_t lastChannel_ = 0;
    bool timeKnown_ = false;
};

} // namespace

std::unique_ptr<Parser> makeCandumpParser(FileInput& in, LogInfo& info)
{
    return std::make_unique<CandumpParser>(in, info);
}

} // namespace canlogs
