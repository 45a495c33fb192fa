// Inside the log reader: the file input, the line splitter of the text
// formats, small parsing helpers and the parser of each format.
#pragma once

#include "canlogs/canlog_reader.h"

#include <algorithm>
#include <cstring>

namespace canlogs {

// What a parser learns about its log and reports back to the reader.
struct LogInfo
{
    std::string path;
    std::string error;
    std::string formatName;
    std::vector<std::string> channelNames;
    bool absoluteTime = false;
    int64_t startNs = 0;

    void failAtLine(uint64_t line, const std::string& message);
    void failAtByte(uint64_t offset, const std::string& message);
    // Makes sure that numbered channel `index` has a name, "1" for index 0.
    void noteNumberedChannel(unsigned index)
    {
        if (index >= numberedChannels)
            growNumberedChannels(index);
    }
    unsigned numberedChannels = 0; // channelNames.size(), in one load on the hot path
    void growNumberedChannels(unsigned index);
};

// Sequential reads of a regular file, counting the bytes consumed.
class FileInput
{
public:
    FileInput() = default;
    ~FileInput();
    FileInput(const FileInput&) = delete;
    FileInput& operator=(const FileInput&) = delete;

    bool open(const std::string& path, std::string* error);
    size_t read(void* dst, size_t n);       // short only at the end of the file or on an error
    size_t peek(void* dst, size_t n) const; // from the file's start, position unchanged
    uint64_t size() const { return size_; }
    bool failed() const { return failed_; }
    uint64_t consumed() const { return consumed_.load(std::memory_order_relaxed); }

private:
    int fd_ = -1;
    uint64_t size_ = 0;
    bool failed_ = false;
    std::atomic<uint64_t> consumed_{0};
};

// Hands out the lines of a text file from one buffer, without copying them.
class LineSource
{
public:
    static constexpr size_t kBufferSize = 1 << 20; // also the longest line

    LineSource(FileInput& in, LogInfo& info)
        : in_(in), info_(info), buffer_(kBufferSize), pos_(buffer_.data()), end_(buffer_.data())
    {}

    // The next line without its end of line ("\n" or "\r\n"); false at the
    // end of the file or when a line does not fit the buffer (info's error).
    bool next(const char*& begin, const char*& end)
    {
        const char* nl = static_cast<const char*>(std::memchr(pos_, '\n', end_ - pos_));
        if (!nl)
            return nextAfterRefill(begin, end);
        begin = pos_;
        end = nl > pos_ && nl[-1] == '\r' ? nl - 1 : nl;
        pos_ = nl + 1;
        ++line_;
        return true;
    }
    uint64_t lineNumber() const { return line_; }

private:
    bool nextAfterRefill(const char*& begin, const char*& end);

    FileInput& in_;
    LogInfo& info_;
    std::vector<char> buffer_;
    const char* pos_;
    const char* end_;
    uint64_t line_ = 0;
    bool eof_ = false;
};

// Starts a frame: no flags, no data.
inline void clearFrame(Frame& f)
{
    f.flags = 0;
    f.length = 0;
    std::memset(f.data, 0, sizeof f.data);
}

class Parser
{
public:
    virtual ~Parser() = default;
    // Up to `max` frames; fewer only at the end or on damage (info's error).
    virtual size_t parse(Frame* out, size_t max) = 0;
};

// The loop of the text formats over their lines. Derived::parseLine(begin,
// end, frame, problem) is true for a frame; false for a line without one, and
// then with `problem` set when the line is damaged.
template <typename Derived> class LineParser : public Parser
{
public:
    LineParser(FileInput& in, LogInfo& info) : lines_(in, info), info_(info) {}

    size_t parse(Frame* out, size_t max) override
    {
        size_t n = 0;
        const char* b;
        const char* e;
        while (n < max && info_.error.empty() && lines_.next(b, e)) {
            const char* problem = nullptr;
            if (static_cast<Derived*>(this)->parseLine(b, e, out[n], problem))
                ++n;
            else if (problem)
                info_.failAtLine(lines_.lineNumber(), problem);
        }
        return n;
    }

protected:
    LineSource lines_;
    LogInfo& info_;
};

std::unique_ptr<Parser> makeCandumpParser(FileInput& in, LogInfo& info);
std::unique_ptr<Parser> makeAscParser(FileInput& in, LogInfo& info);
std::unique_ptr<Parser> makeTrcParser(FileInput& in, LogInfo& info);
std::unique_ptr<Parser> makeBlfParser(FileInput& in, LogInfo& info);

namespace text {

// The value of each character as a hex digit, -1 for other characters.
struct HexTable
{
    int8_t value[256];
    constexpr HexTable() : value()
    {
        for (int i = 0; i < 256; ++i)
            value[i] = -1;
        for (int i = 0; i < 10; ++i)
            value['0' + i] = static_cast<int8_t>(i);
        for (int i = 0; i < 6; ++i) {
            value['a' + i] = static_cast<int8_t>(10 + i);
            value['A' + i] = static_cast<int8_t>(10 + i);
        }
    }
};
inline constexpr HexTable hexTable{};

inline int hexDigit(char c)
{
    return hexTable.value[static_cast<unsigned char>(c)];
}
inline bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}
inline bool isDigit(char c)
{
    return static_cast<unsigned>(c - '0') < 10;
}
// Eight bytes at a time: the columns of ASC and TRC lines are padded with
// runs of spaces of every length, which a loop per byte mispredicts.
inline void skipBlanks(const char*& p, const char* e)
{
    while (e - p >= 8) {
        uint64_t bytes;
        std::memcpy(&bytes, p, 8);
        const uint64_t other = bytes ^ 0x2020202020202020ULL; // zero bytes are spaces
        if (!other) {
            p += 8;
            continue;
        }
        p += __builtin_ctzll(other) / 8;
        if (*p != '\t')
            return;
        ++p;
    }
    while (p < e && isBlank(*p))
        ++p;
}
// The word at p (up to a blank); p moves behind it.
inline const char* word(const char*& p, const char* e)
{
    const char* start = p;
    while (p < e && !isBlank(*p))
        ++p;
    return start;
}
inline bool equals(const char* b, const char* e, const char* literal)
{
    const size_t n = std::strlen(literal);
    return size_t(e - b) == n && std::memcmp(b, literal, n) == 0;
}
bool equalsNoCase(const char* b, const char* e, const char* literal);
bool startsWithNoCase(const char* b, const char* e, const char* literal);

// Unsigned integers in base 10 or 16 up to `limit`; p moves behind them.
template <unsigned Base>
inline bool unsignedNumber(const char*& p, const char* e, uint64_t limit, uint64_t& value)
{
    const char* start = p;
    value = 0;
    for (; p < e; ++p) {
        const int d = Base == 16 ? hexDigit(*p) : isDigit(*p) ? *p - '0' : -1;
        if (d < 0)
            break;
        value = value * Base + unsigned(d);
        if (value > limit)
            return false;
    }
    return p != start;
}
inline bool unsignedNumber(const char*& p, const char* e, unsigned base, uint64_t limit, uint64_t& value)
{
    return base == 16 ? unsignedNumber<16>(p, e, limit, value) : unsignedNumber<10>(p, e, limit, value);
}

// Digits with an optional fraction ("1436509052.249713") in units of
// `UnitNs` nanoseconds (seconds or milliseconds), exactly: digits below a
// nanosecond are dropped. p moves behind the number.
template <int64_t UnitNs> inline bool decimalNs(const char*& p, const char* e, int64_t& ns)
{
    static_assert(UnitNs == 1000000000 || UnitNs == 1000000, "seconds or milliseconds");
    constexpr int kDigits = UnitNs == 1000000000 ? 9 : 6; // fraction digits down to a nanosecond
    static constexpr int64_t kScale[] = {1000000000, 100000000, 10000000, 1000000, 100000,
                                         10000,      1000,      100,      10,      1};
    uint64_t whole;
    if (!unsignedNumber<10>(p, e, INT64_MAX / UnitNs - 1, whole))
        return false;
    ns = int64_t(whole) * UnitNs;
    if (p < e && *p == '.') {
        const char* digits = ++p;
        int64_t fraction = 0;
        for (; p < e && isDigit(*p); ++p) // digits below a nanosecond are passed over
            if (p - digits < kDigits)
                fraction = fraction * 10 + (*p - '0');
        ns += fraction * kScale[9 - kDigits + std::min<ptrdiff_t>(p - digits, kDigits)];
    }
    return true;
}
// Two hex digits.
inline bool hexByte(const char* p, uint8_t& byte)
{
    const int hi = hexDigit(p[0]);
    const int lo = hexDigit(p[1]);
    byte = static_cast<uint8_t>(unsigned(hi) << 4 | unsigned(lo)); // garbage unless both are digits
    return (hi | lo) >= 0;
}

// `count` bytes in `base` (two hex digits, or decimal), each after blanks and
// followed by a blank or the end; nullptr when they are not all there.
// Works on copies, so that the byte stores can't make the compiler reload them.
inline const char* spacedBytes(const char* p, const char* e, unsigned base, uint8_t* out, unsigned count)
{
    for (unsigned i = 0; i < count; ++i) {
        while (p < e && isBlank(*p))
            ++p;
        uint64_t value;
        if (base == 16 && e - p >= 2) {
            const int hi = hexDigit(p[0]);
            const int lo = hexDigit(p[1]);
            if ((hi | lo) < 0)
                return nullptr;
            out[i] = uint8_t(hi << 4 | lo);
            p += 2;
        } else if (base == 10 && unsignedNumber<10>(p, e, 255, value)) {
            out[i] = uint8_t(value);
        } else {
            return nullptr;
        }
        if (p < e && !isBlank(*p))
            return nullptr;
    }
    return p;
}

inline uint8_t dlcLength(unsigned dlc)
{
    static constexpr uint8_t lengths[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};
    return lengths[dlc & 15];
}

// Times add with wrap-around: a damaged log may give absurd times, never undefined behaviour.
inline int64_t addNs(int64_t a, int64_t b)
{
    return int64_t(uint64_t(a) + uint64_t(b));
}

// Days from 1970-01-01 to a date of the proleptic Gregorian calendar.
int64_t daysFromCivil(int64_t year, unsigned month, unsigned day);

} // namespace text
} // namespace canlogs
