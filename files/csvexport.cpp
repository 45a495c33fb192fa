#include "csvexport.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

// Large enough that handing a buffer over (to a writer thread) is rare.
constexpr size_t flushSize = 1024 * 1024;

// A field as RFC 4180 wants it: quoted when it holds a comma, a quote or a
// line break, with its quotes doubled.
std::string quoted(const std::string& field)
{
    if (field.find_first_of(",\"\r\n") == std::string::npos)
        return field;
    std::string out = "\"";
    for (const char c : field) {
        if (c == '"')
            out += '"';
        out += c;
    }
    out += '"';
    return out;
}

constexpr double powersOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
// The text that std::to_chars gives, found faster for the numbers that
// logs are full of: short decimals such as times in microseconds or 0.01
// steps. A decimal of k fraction digits that reads back as v is found
// exactly and is the only one of k digits while it stays below 2^50; so
// the one of the most digits that fit, found in one go, with its trailing
// zeros dropped, is the shortest fixed form. When the exponent form would
// be shorter, or v is no such decimal, null: to_chars decides.
char* shortDecimal(char* p, double v)
{
    const double a = std::abs(v);
    if (!(a > 0.0 && a < 0x1p50))
        return nullptr;
    int k = int(std::size(powersOfTen)) - 1;
    while (!(a * powersOfTen[k] < 0x1p50))
        --k;
    const auto m = static_cast<uint64_t>(a * powersOfTen[k] + 0.5);
    if (double(m) / powersOfTen[k] != a)
        return nullptr;
    char* const start = p;
    if (v < 0)
        *p++ = '-';
    int n = int(std::to_chars(p, p + 24, m).ptr - p);
    while (k > 0 && p[n - 1] == '0') {
        --n;
        --k;
    }
    int significant = n;
    while (k == 0 && p[significant - 1] == '0')
        --significant;
    const int fixedLength = std::max(n - k, 1) + (k > 0 ? k + 1 : 0);
    const int exponent = n - 1 - k;
    const int exponentLength = std::abs(exponent) >= 100 ? 3 : 2;
    if (significant + (significant > 1 ? 1 : 0) + 2 + exponentLength < fixedLength) {
        p = start;
        return nullptr;
    }
    if (k == 0)
        return p + n;
    // The point goes k digits from the end, behind "0" and zeros where the
    // number is less than 1.
    const int shift = n > k ? 1 : 2 + k - n;
    for (int i = n - 1; i >= std::max(n - k, 0); --i)
        p[i + shift] = p[i];
    if (n > k) {
        p[n - k] = '.';
    } else {
        p[0] = '0';
        p[1] = '.';
        std::fill_n(p + 2, k - n, '0');
    }
    return p + n + shift;
}

// At most 32 characters.
char* putNumber(char* p, double v)
{
    if (std::isnan(v))
        return std::copy_n("nan", 3, p); // without the sign to_chars gives a negative NaN
    // Whole numbers, raw values above all, without a last zero print as
    // integers: no exponent form can be shorter.
    if (std::abs(v) < 0x1p50) {
        const auto whole = static_cast<int64_t>(v);
        if (double(whole) == v && whole % 10 != 0)
            return std::to_chars(p, p + 32, whole).ptr;
    }
    if (char* end = shortDecimal(p, v))
        return end;
    return std::to_chars(p, p + 32, v).ptr;
}

// Digits of a non-negative number, padded with zeros to `width`.
char* putPadded(char* p, int64_t v, int width)
{
    char text[24];
    const int n = int(std::to_chars(text, text + sizeof text, v).ptr - text);
    p = std::fill_n(p, std::max(0, width - n), '0');
    return std::copy(text, text + n, p);
}

int64_t floorDiv(int64_t a, int64_t b)
{
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

// "2023-01-19T17:18:59.212264Z" for microseconds since the epoch; the date
// from the day count as in Howard Hinnant's civil_from_days.
char* putIsoUtc(char* p, int64_t micros)
{
    constexpr int64_t perDay = 86400LL * 1000000;
    const int64_t days = floorDiv(micros, perDay);
    const int64_t ofDay = micros - days * perDay;
    const int64_t z = days + 719468;
    const int64_t era = floorDiv(z, 146097);
    const int64_t doe = z - era * 146097;
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int64_t mp = (5 * doy + 2) / 153;
    const int64_t day = doy - (153 * mp + 2) / 5 + 1;
    const int64_t month = mp < 10 ? mp + 3 : mp - 9;
    const int64_t year = yoe + era * 400 + (month <= 2);
    const int64_t seconds = ofDay / 1000000;
    p = putPadded(p, year, 4);
    *p++ = '-';
    p = putPadded(p, month, 2);
    *p++ = '-';
    p = putPadded(p, day, 2);
    *p++ = 'T';
    p = putPadded(p, seconds / 3600, 2);
    *p++ = ':';
    p = putPadded(p, seconds / 60 % 60, 2);
    *p++ = ':';
    p = putPadded(p, seconds % 60, 2);
    *p++ = '.';
    p = putPadded(p, ofDay % 1000000, 6);
    *p++ = 'Z';
    return p;
}

char* putText(char* p, const std::string& text)
{
    return std::copy(text.begin(), text.end(), p);
}

// Copies in whole blocks, which beats a call of memmove for the short
// names and units of a line: the source is padded and the line has room
// for a block beyond its end.
constexpr size_t block = 16;

char* putBlocks(char* p, const char* text, size_t length)
{
    for (size_t i = 0; i < length; i += block)
        std::memcpy(p + i, text + i, block);
    return p + length;
}

bool sameTime(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

} // namespace

CsvWriter::CsvWriter(std::vector<CsvCurve> curves, const CsvOptions& options, Output output)
    : options(options), output(std::move(output))
{
    std::string header = options.utcOriginNs ? "time_s,time_utc" : "time_s";
    std::vector<std::string> names;
    size_t longest = 0;
    for (const CsvCurve& c : curves) {
        names.push_back(quoted(c.name));
        const std::string unit = quoted(c.unit);
        longest = std::max(longest, names.back().size() + unit.size());
        nameFields.push_back(addField(names.back()));
        unitFields.push_back(addField(unit));
    }
    if (options.layout == CsvLayout::Long) {
        header += ",name,value,raw,unit\n";
        lineRoom = maxTimeText + longest + 2 * maxNumberText + 8 + block;
    } else {
        for (const std::string& name : names)
            header += ',' + name;
        header += '\n';
        lineRoom = maxTimeText + block + curves.size() * (maxNumberText + 1) + 1;
        lineValues.assign(curves.size(), 0.0);
        inLine.assign(curves.size(), 0);
        lastValues.assign(curves.size(), 0.0);
        hasLast.assign(curves.size(), 0);
    }
    buffer.resize(std::max(flushSize, header.size()) + lineRoom);
    used = size_t(putText(buffer.data(), header) - buffer.data());
}

char* CsvWriter::room()
{
    if (used + lineRoom > buffer.size())
        flush();
    return buffer.data() + used;
}

char* CsvWriter::putTime(char* p, double time)
{
    // The samples of one frame share a time: it is made once.
    if (!hasTimeText || !sameTime(time, textTime)) {
        hasTimeText = true;
        textTime = time;
        char* t = putNumber(timeText, time);
        if (options.utcOriginNs) {
            *t++ = ',';
            if (std::isfinite(time) && std::abs(time) < 9e9) {
                const int64_t ns = *options.utcOriginNs + std::llround(time * 1e9);
                t = putIsoUtc(t, floorDiv(ns + 500, 1000));
            }
        }
        timeLength = size_t(t - timeText);
    }
    return putBlocks(p, timeText, timeLength);
}

CsvWriter::Field CsvWriter::addField(const std::string& text)
{
    const Field field{texts.size(), text.size()};
    texts.insert(texts.end(), text.begin(), text.end());
    texts.resize(texts.size() + block - text.size() % block, '\0');
    return field;
}

void CsvWriter::add(const CsvSample& sample)
{
    if (sample.curve >= nameFields.size())
        return;
    if (options.layout == CsvLayout::Long)
        addLong(sample);
    else
        addWide(sample);
}

void CsvWriter::addLong(const CsvSample& sample)
{
    char* p = putTime(room(), sample.time);
    *p++ = ',';
    const Field& name = nameFields[sample.curve];
    p = putBlocks(p, texts.data() + name.at, name.length);
    *p++ = ',';
    p = putNumber(p, sample.value);
    *p++ = ',';
    if (sample.rawKnown)
        p = putNumber(p, sample.raw);
    *p++ = ',';
    const Field& unit = unitFields[sample.curve];
    p = putBlocks(p, texts.data() + unit.at, unit.length);
    *p++ = '\n';
    used = size_t(p - buffer.data());
    if (used >= flushSize)
        flush();
}

void CsvWriter::addWide(const CsvSample& sample)
{
    if (lineOpen && (!sameTime(sample.time, lineTime) || inLine[sample.curve]))
        endWideLine();
    if (!lineOpen) {
        lineOpen = true;
        lineTime = sample.time;
    }
    inLine[sample.curve] = 1;
    lineValues[sample.curve] = sample.value;
    lineCurves.push_back(sample.curve);
}

void CsvWriter::endWideLine()
{
    char* p = putTime(room(), lineTime);
    for (size_t c = 0; c < inLine.size(); ++c) {
        *p++ = ',';
        if (inLine[c])
            p = putNumber(p, lineValues[c]);
        else if (options.fillWithLast && hasLast[c])
            p = putNumber(p, lastValues[c]);
    }
    *p++ = '\n';
    used = size_t(p - buffer.data());
    for (const uint32_t c : lineCurves) {
        inLine[c] = 0;
        hasLast[c] = 1;
        lastValues[c] = lineValues[c];
    }
    lineCurves.clear();
    lineOpen = false;
    if (used >= flushSize)
        flush();
}

void CsvWriter::flush()
{
    if (used > 0 && !outputFailed && !output(buffer.data(), used))
        outputFailed = true;
    used = 0;
}

bool CsvWriter::finish()
{
    if (lineOpen)
        endWideLine();
    flush();
    return !outputFailed;
}

CurvePointMerge::CurvePointMerge(std::vector<CurvePoints> curvesIn) : curves(std::move(curvesIn))
{
    cursors.resize(curves.size());
    for (uint32_t c = 0; c < curves.size(); ++c) {
        const CurvePoints& p = curves[c];
        Cursor& cursor = cursors[c];
        bool inOrder = true;
        for (size_t i = 0; i < p.count && inOrder; ++i)
            inOrder = !std::isnan(p.x[i]) && (i == 0 || p.x[i] <= p.x[i - 1]);
        if (inOrder) {
            cursor.left = p.count;
        } else {
            // Oldest first, then sorted by time; equal times keep that order.
            for (size_t i = p.count; i-- > 0;)
                if (!std::isnan(p.x[i]))
                    cursor.order.push_back(uint32_t(i));
            std::stable_sort(cursor.order.begin(), cursor.order.end(),
                             [&p](uint32_t a, uint32_t b) { return p.x[a] < p.x[b]; });
            cursor.left = cursor.order.size();
        }
        totalPoints += cursor.left;
        pushHead(c);
    }
}

// The heap's order: the earliest time on top, the first curve among equals.
bool CurvePointMerge::later(const Head& a, const Head& b)
{
    return a.time > b.time || (a.time == b.time && a.curve > b.curve);
}

size_t CurvePointMerge::indexOf(uint32_t curve) const
{
    const Cursor& cursor = cursors[curve];
    return cursor.order.empty() ? cursor.left - 1 : cursor.order[cursor.order.size() - cursor.left];
}

void CurvePointMerge::pushHead(uint32_t curve)
{
    if (cursors[curve].left == 0)
        return;
    heap.push_back({curves[curve].x[indexOf(curve)], curve});
    std::push_heap(heap.begin(), heap.end(), later);
}

bool CurvePointMerge::next(CsvSample& sample)
{
    if (heap.empty())
        return false;
    std::pop_heap(heap.begin(), heap.end(), later);
    const uint32_t c = heap.back().curve;
    heap.pop_back();
    const CurvePoints& p = curves[c];
    const size_t i = indexOf(c);
    sample.time = p.x[i];
    sample.value = p.y[i];
    sample.curve = c;
    sample.rawKnown = p.scale != 0.0;
    sample.raw = sample.rawKnown ? (p.y[i] - p.offset) / p.scale : 0.0;
    --cursors[c].left;
    ++deliveredPoints;
    pushHead(c);
    return true;
}
