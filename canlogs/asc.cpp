// Vector ASC text logs: header lines ("date", "base hex timestamps absolute",
// "internal events logged", "// version", "Begin Triggerblock"), classic
// frames "0.015 1 123 Rx d 8 01 02 ..." and "CANFD" lines; error frames,
// statistics and other events are passed over.
#include "logparser.h"

namespace canlogs {

using namespace text;

namespace {

// "Sat Sep 30 10:06:13.191 pm 2017", "Mon Feb 21 13:54:10 2022", English or
// German month names, as nanoseconds since the epoch (read as UTC).
bool parseAscDate(const char* p, const char* e, int64_t& ns)
{
    static const char* const months[] = {"jan", "feb", "mar", "apr", "may",        "jun", "jul", "aug",
                                         "sep", "oct", "nov", "dec", "m\xc3\xa4r", "mai", "okt", "dez"};
    static const unsigned germanMonth[] = {3, 5, 10, 12};
    skipBlanks(p, e);
    word(p, e); // day of the week
    skipBlanks(p, e);
    const char* monthName = word(p, e);
    unsigned month = 0;
    for (unsigned i = 0; i < 16 && !month; ++i)
        if (startsWithNoCase(monthName, p, months[i]))
            month = i < 12 ? i + 1 : germanMonth[i - 12];
    uint64_t day, hour, minute, year;
    int64_t secondNs;
    skipBlanks(p, e);
    if (!month || !unsignedNumber(p, e, 10, 31, day))
        return false;
    skipBlanks(p, e);
    if (!unsignedNumber(p, e, 10, 23, hour) || p == e || *p++ != ':' ||
        !unsignedNumber(p, e, 10, 59, minute) || p == e || *p++ != ':' ||
        !decimalNs<1000000000>(p, e, secondNs) || secondNs >= 61000000000LL)
        return false;
    skipBlanks(p, e);
    const char* half = p;
    if (p < e && !isDigit(*p)) {
        word(p, e);
        if (equalsNoCase(half, p, "pm") && hour < 12)
            hour += 12;
        else if (equalsNoCase(half, p, "am") && hour == 12)
            hour = 0;
        skipBlanks(p, e);
    }
    if (!unsignedNumber(p, e, 10, 2200, year) || year < 1900 || day == 0)
        return false;
    ns = ((daysFromCivil(int64_t(year), unsigned(month), unsigned(day)) * 24 + int64_t(hour)) * 60 +
          int64_t(minute)) *
             60 * 1000000000LL +
         secondNs;
    return true;
}

class AscParser final : public LineParser<AscParser>
{
public:
    AscParser(FileInput& in, LogInfo& info) : LineParser(in, info) { info.formatName = "ASC"; }

    // True for a frame; false with `problem` unset for a line without one.
    bool parseLine(const char* p, const char* e, Frame& f, const char*& problem)
    {
        skipBlanks(p, e);
        if (p == e)
            return false;
        if (!isDigit(*p)) {
            readHeaderLine(p, e);
            return false;
        }
        int64_t time;
        if (!decimalNs<1000000000>(p, e, time))
            return false;
        if (relative_) // each time counts from the event before
            time = addNs(time, previous_);
        previous_ = time;
        f.timeNs = addNs(info_.startNs, time);
        skipBlanks(p, e);
        const char* kind = word(p, e);
        uint64_t channel;
        if (equals(kind, p, "CANFD")) {
            skipBlanks(p, e);
            if (!unsignedNumber(p, e, 10, 0xFFFF, channel))
                return false;
            return parseFdFrame(p, e, f, problem) && setChannel(f, channel);
        }
        const char* c = kind;
        if (!unsignedNumber(c, p, 10, 0xFFFF, channel) || c != p)
            return false; // an event of its own kind
        return parseClassicFrame(p, e, f, problem) && setChannel(f, channel);
    }

private:
    bool setChannel(Frame& f, uint64_t channel)
    {
        f.channel = uint16_t(channel ? channel - 1 : 0);
        info_.noteNumberedChannel(f.channel);
        return true;
    }

    // "123x Rx" (classic) or "Rx 123x" (CANFD): false for a line of another kind
    // (ErrorFrame, Statistic:, status lines).
    bool parseIdAndDirection(const char*& p, const char* e, Frame& f, bool directionFirst)
    {
        clearFrame(f);
        return directionFirst ? direction(p, e) && identifier(p, e, f)
                              : identifier(p, e, f) && direction(p, e);
    }

    static bool direction(const char*& p, const char* e)
    {
        skipBlanks(p, e);
        const char* w = word(p, e);
        return equals(w, p, "Rx") || equals(w, p, "Tx");
    }

    bool identifier(const char*& p, const char* e, Frame& f) const
    {
        skipBlanks(p, e);
        uint64_t id;
        if (!unsignedNumber(p, e, base_, 0x1FFFFFFF, id))
            return false;
        if (p < e && (*p == 'x' || *p == 'X')) {
            f.flags = FrameExtended;
            ++p;
        } else if (id > 0x7FF) {
            return false;
        }
        f.id = uint32_t(id);
        return p == e || isBlank(*p);
    }

    bool dataBytes(const char*& p, const char* e, Frame& f, unsigned count, const char*& problem) const
    {
        const char* behind = spacedBytes(p, e, base_, f.data, count);
        if (!behind) {
            problem = "fewer or other data bytes than the frame's length says";
            return false;
        }
        p = behind;
        f.length = uint8_t(count);
        return true;
    }

    // "d 8 01 02 03 04 05 06 07 08 ...", "r", "r 4", after the channel.
    bool parseClassicFrame(const char*& p, const char* e, Frame& f, const char*& problem)
    {
        if (!parseIdAndDirection(p, e, f, false))
            return false;
        skipBlanks(p, e);
        const char* type = word(p, e);
        const char* typeEnd = p;
        uint64_t dlc = 0;
        skipBlanks(p, e);
        if (equals(type, typeEnd, "r") || equals(type, typeEnd, "R")) {
            f.flags |= FrameRemote;
            if (p < e)
                unsignedNumber(p, e, base_, 15, dlc);
            f.length = uint8_t(std::min<uint64_t>(dlc, 8));
            return true;
        }
        if (!equals(type, typeEnd, "d") && !equals(type, typeEnd, "D")) {
            problem = "expected d (data) or r (remote) after the direction";
            return false;
        }
        if (!unsignedNumber(p, e, base_, 15, dlc)) {
            problem = "bad data length code";
            return false;
        }
        return dataBytes(p, e, f, std::min<unsigned>(dlcLength(unsigned(dlc)), 8), problem);
    }

    // "CANFD 1 Rx 123 [name] 1 0 d 12 <data> <duration> <length> <flags> ...", after the channel.
    bool parseFdFrame(const char*& p, const char* e, Frame& f, const char*& problem)
    {
        if (!parseIdAndDirection(p, e, f, true))
            return false;
        skipBlanks(p, e);
        const char* brs = word(p, e);
        if (!(p - brs == 1 && isDigit(*brs))) { // a symbolic name stands before BRS
            skipBlanks(p, e);
            brs = word(p, e);
        }
        skipBlanks(p, e);
        const char* esi = word(p, e);
        const bool singleDigits = p - esi == 1;
        uint64_t dlc = 0, length = 0, flags = 0x1000;
        skipBlanks(p, e);
        const bool dlcRead = unsignedNumber(p, e, base_, 15, dlc);
        skipBlanks(p, e);
        if (!singleDigits || !dlcRead || !unsignedNumber(p, e, 10, 64, length)) {
            problem = "expected BRS, ESI, length code and data length in a CANFD line";
            return false;
        }
        if (!dataBytes(p, e, f, unsigned(length), problem))
            return false;
        for (int column = 0; column < 3 && p < e; ++column) { // duration, bits, then the flags
            skipBlanks(p, e);
            const char* w = word(p, e);
            if (column == 2 && !unsignedNumber(w, p, 16, 0xFFFFFFFF, flags))
                flags = 0x1000;
        }
        if (flags & 0x1000) { // EDL: a CAN FD frame
            f.flags |= FrameFd | (*brs == '1' ? FrameBrs : 0) | (*esi == '1' ? FrameEsi : 0);
        } else { // a classic frame on an FD channel
            f.length = uint8_t(std::min<unsigned>(f.length, 8));
            if (flags & 0x10) {
                f.flags |= FrameRemote;
                f.length = uint8_t(std::min<uint64_t>(dlc, 8));
                std::memset(f.data, 0, 8);
            }
            std::memset(f.data + 8, 0, sizeof f.data - 8); // a classic frame has no bytes beyond 8
        }
        return true;
    }

    void readHeaderLine(const char* p, const char* e)
    {
        if (startsWithNoCase(p, e, "date ")) {
            dateSeen_ = true;
            info_.absoluteTime = parseAscDate(p + 5, e, info_.startNs);
        } else if (startsWithNoCase(p, e, "begin triggerblock") && !dateSeen_) {
            info_.absoluteTime = parseAscDate(p + 18, e, info_.startNs);
        } else if (startsWithNoCase(p, e, "base ")) {
            p += 5;
            skipBlanks(p, e);
            const char* w = word(p, e);
            base_ = equalsNoCase(w, p, "dec") ? 10 : 16;
            skipBlanks(p, e);
            if (startsWithNoCase(p, e, "timestamps")) {
                p += 10;
                skipBlanks(p, e);
                relative_ = startsWithNoCase(p, e, "relative");
            }
        }
        if (!info_.absoluteTime)
            info_.startNs = 0;
    }

    unsigned base_ = 16;
    bool relative_ = false;
    bool dateSeen_ = false;
    int64_t previous_ = 0;
};

} // namespace

std::unique_ptr<Parser> makeAscParser(FileInput& in, LogInfo& info)
{
    return std::make_unique<AscParser>(in, info);
}

} // namespace canlogs
