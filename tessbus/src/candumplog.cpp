#include "candumplog.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace tessbus {

namespace {

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// "(seconds.fraction)" into microseconds; any number of fraction digits.
bool parseTime(const std::string& token, int64_t* us)
{
    if (token.size() < 3 || token.front() != '(' || token.back() != ')')
        return false;
    int64_t seconds = 0;
    int64_t micros = 0;
    int fractionDigits = 0;
    bool inFraction = false;
    bool any = false;
    for (size_t i = 1; i + 1 < token.size(); ++i) {
        const char c = token[i];
        if (c == '.' && !inFraction) {
            inFraction = true;
            continue;
        }
        if (c < '0' || c > '9')
            return false;
        any = true;
        if (!inFraction) {
            if (seconds > 1000000000000LL)
                return false;
            seconds = seconds * 10 + (c - '0');
        } else if (fractionDigits < 6) {
            micros = micros * 10 + (c - '0');
            ++fractionDigits;
        }
    }
    for (; fractionDigits < 6; ++fractionDigits)
        micros *= 10;
    *us = seconds * 1000000 + micros;
    return any;
}

LogLine parseFrame(const std::string& token, TessFrame* frame)
{
    const size_t hash = token.find('#');
    if (hash == std::string::npos)
        return LogLine::Bad;
    if (token.compare(hash, 2, "##") == 0)
        return LogLine::Ignored; // CAN FD
    const size_t idDigits = hash;
    if (idDigits != 3 && idDigits != 8)
        return LogLine::Bad;
    uint32_t id = 0;
    for (size_t i = 0; i < idDigits; ++i) {
        const int d = hexDigit(token[i]);
        if (d < 0)
            return LogLine::Bad;
        id = (id << 4) | static_cast<uint32_t>(d);
    }
    TessFrame f{};
    if (idDigits == 3) {
        if (id > 0x7FF)
            return LogLine::Bad;
        f.id = id;
    } else {
        if (id > 0x1FFFFFFF)
            return LogLine::Ignored; // error frames carry flag bits above the id
        f.id = id | TESS_ID_29BIT;
    }

    size_t pos = hash + 1;
    if (pos < token.size() && (token[pos] == 'R' || token[pos] == 'r')) {
        f.len = TESS_FRAME_RTR;
        ++pos;
        if (pos < token.size()) {
            const int len = hexDigit(token[pos]);
            if (len < 0 || len > 8 || pos + 1 != token.size())
                return LogLine::Bad;
            f.len |= static_cast<uint8_t>(len);
        }
        *frame = f;
        return LogLine::Frame;
    }

    int len = 0;
    while (pos < token.size()) {
        if (token[pos] == '.') { // optional separator between bytes
            ++pos;
            continue;
        }
        if (token[pos] == '_') // a raw DLC above 8 follows; the length stays 8
            break;
        if (pos + 1 >= token.size() || len == 8)
            return LogLine::Bad;
        const int hi = hexDigit(token[pos]);
        const int lo = hexDigit(token[pos + 1]);
        if (hi < 0 || lo < 0)
            return LogLine::Bad;
        f.data[len++] = static_cast<uint8_t>(hi << 4 | lo);
        pos += 2;
    }
    f.len = static_cast<uint8_t>(len);
    *frame = f;
    return LogLine::Frame;
}

} // namespace

LogLine parseCandumpLine(const std::string& line, LogFrame* out)
{
    std::vector<std::string> tokens;
    size_t i = 0;
    while (i < line.size() && tokens.size() < 4) {
        while (i < line.size() && isSpace(line[i]))
            ++i;
        if (i >= line.size())
            break;
        if (tokens.empty() && line[i] == '#')
            return LogLine::Ignored;
        const size_t start = i;
        while (i < line.size() && !isSpace(line[i]))
            ++i;
        tokens.push_back(line.substr(start, i - start));
    }
    if (tokens.empty())
        return LogLine::Ignored;
    // Trailing tokens (direction flags of newer candump versions) are ignored.
    if (tokens.size() < 3)
        return LogLine::Bad;
    LogFrame frame;
    if (!parseTime(tokens[0], &frame.timeUs))
        return LogLine::Bad;
    const LogLine kind = parseFrame(tokens[2], &frame.frame);
    if (kind == LogLine::Frame)
        *out = frame;
    return kind;
}

bool readCandumpLog(const std::string& path, CandumpLog* log, std::string* error)
{
    std::ifstream in(path);
    if (!in) {
        *error = std::strerror(errno);
        return false;
    }
    CandumpLog result;
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        LogFrame frame;
        switch (parseCandumpLine(line, &frame)) {
        case LogLine::Frame:
            result.frames.push_back(frame);
            break;
        case LogLine::Ignored:
            break;
        case LogLine::Bad:
            if (result.badLines++ == 0)
                result.firstBadLine = number;
            break;
        }
    }
    if (in.bad()) {
        *error = "read error";
        return false;
    }
    *log = std::move(result);
    return true;
}

} // namespace tessbus
