#ifndef CSVEXPORT_H
#define CSVEXPORT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// CSV of curves' samples, for every other tool to read. Plain C++ without
// Qt, so that the window's export and the command-line converter share it.
//
// Two layouts:
// - long: a line per sample, "time_s,name,value,raw,unit";
// - wide: "time_s" and a column per curve, a line per distinct time; a curve
//   without a sample at that time gets an empty cell, or with fillWithLast
//   its last value (empty before its first sample). A curve that has two
//   samples at one time starts a second line of that time, so that no
//   sample is lost.
// With a UTC origin both layouts carry "time_utc" right after "time_s": the
// absolute time in ISO 8601, UTC, to the microsecond
// ("2023-01-19T17:18:59.212264Z").
//
// Numbers are the shortest text that reads back as the same double
// (std::to_chars), with a point whatever the process's or Qt's locale; not a
// number is "nan", infinities "inf" and "-inf". Names and units are quoted
// as RFC 4180 asks: a field with a comma, a double quote or a line break
// stands in double quotes, its quotes doubled. Lines end in "\n"; text is
// written as given (UTF-8).

enum class CsvLayout { Long, Wide };

struct CsvOptions
{
    CsvLayout layout = CsvLayout::Long;
    bool fillWithLast = false; // wide layout only
    // Nanoseconds since the Unix epoch at time 0: adds "time_utc".
    std::optional<int64_t> utcOriginNs;
};

struct CsvCurve
{
    std::string name; // UTF-8
    std::string unit; // UTF-8; long layout only
};

struct CsvSample
{
    double time = 0.0; // seconds since the time origin
    double value = 0.0;
    double raw = 0.0;
    uint32_t curve = 0;   // index into the writer's curves
    bool rawKnown = true; // false leaves the raw cell empty
};

// The header, then a line (long) or a cell (wide) for each sample. Samples
// come sorted by time; the writer doesn't sort. The text goes out in pieces
// as the buffer fills; to give up half-way, drop the writer without
// finish(), and nothing more goes out.
class CsvWriter
{
public:
    // Takes the text in pieces of about 64 KiB; false when it could not.
    using Output = std::function<bool(const char* data, size_t size)>;

    CsvWriter(std::vector<CsvCurve> curves, const CsvOptions& options, Output output);
    CsvWriter(const CsvWriter&) = delete;
    CsvWriter& operator=(const CsvWriter&) = delete;

    void add(const CsvSample& sample);
    // Ends the last wide line and hands over what is buffered. True when the
    // output took all the text since the start.
    bool finish();
    bool failed() const { return outputFailed; }

private:
    // Room for the longest line a sample can make.
    static constexpr size_t maxNumberText = 32;
    static constexpr size_t maxTimeText = 96;

    void addLong(const CsvSample& sample);
    void addWide(const CsvSample& sample);
    void endWideLine();
    // Where the next line goes, with room for it.
    char* room();
    // "time_s" (and "time_utc") of a time, made once for the samples that
    // share it.
    char* putTime(char* p, double time);
    void flush();

    const CsvOptions options;
    const Output output;
    // Quoted names and units, each padded to whole blocks of 16 bytes.
    struct Field
    {
        size_t at;
        size_t length;
    };
    Field addField(const std::string& text);
    std::vector<char> texts;
    std::vector<Field> nameFields;
    std::vector<Field> unitFields;
    std::vector<char> buffer;
    size_t used = 0;
    size_t lineRoom = 0;
    bool outputFailed = false;

    bool hasTimeText = false;
    double textTime = 0.0;
    char timeText[maxTimeText + 16] = {};
    size_t timeLength = 0;

    // Wide layout: the line being built, and each curve's last value.
    bool lineOpen = false;
    double lineTime = 0.0;
    std::vector<double> lineValues;
    std::vector<uint8_t> inLine;
    std::vector<uint32_t> lineCurves; // those with a cell in the line
    std::vector<double> lastValues;
    std::vector<uint8_t> hasLast;
};

// One curve's points as the window keeps them: newest first, x the time in
// seconds since the time origin, y the value. The live point is no sample:
// the caller leaves it out. The raw value is (value - offset) / scale, and
// can't be told with scale 0.
struct CurvePoints
{
    const double* x = nullptr;
    const double* y = nullptr;
    size_t count = 0;
    double scale = 1.0;
    double offset = 0.0;
};

// Several curves' points as one sequence in time order, for a CsvWriter.
// Equal times keep the curves' order, and within a curve the order of its
// array, oldest first. The arrays are read in place; only a curve whose
// times don't fall from the newest to the oldest gets an index of its own,
// sorted. Points whose time is not a number are left out.
class CurvePointMerge
{
public:
    explicit CurvePointMerge(std::vector<CurvePoints> curves);

    // The next sample; false when all are delivered.
    bool next(CsvSample& sample);
    uint64_t total() const { return totalPoints; }
    uint64_t delivered() const { return deliveredPoints; }

private:
    struct Cursor
    {
        std::vector<uint32_t> order; // oldest first; empty when the array itself is in order
        size_t left = 0;             // points still to come
    };
    struct Head
    {
        double time;
        uint32_t curve;
    };
    static bool later(const Head& a, const Head& b);
    size_t indexOf(uint32_t curve) const;
    void pushHead(uint32_t curve);

    std::vector<CurvePoints> curves;
    std::vector<Cursor> cursors;
    std::vector<Head> heap;
    uint64_t totalPoints = 0;
    uint64_t deliveredPoints = 0;
};

#endif // CSVEXPORT_H
