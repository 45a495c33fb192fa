#ifndef DATAFILE_H
#define DATAFILE_H

#include "bitlayout.h"
#include "valueaxissettings.h"

#include <QByteArray>
#include <QString>
#include <QVector>

#include <array>
#include <cstdint>
#include <optional>

class QIODevice;

// The data file: a header, then for each curve a fixed record followed by
// its x array and its y array of doubles. All numbers are little-endian and
// every record has a fixed size; the version is told by the header's size
// field at offset 4. This side knows the bytes only; which cell a field
// fills is the window's business.
//
// The records are written and read field by field at their offsets, so the
// layout doesn't depend on the compiler's packing or the host's byte order.

// Extension of data files, with its dot.
constexpr char dataFileExtension[] = ".vtldat";

// The name with the data extension appended unless it ends in it already
// (compared case-sensitively).
QString withDataExtension(const QString& fileName);

// Text fields are 256 bytes holding a NUL-terminated string.
constexpr int dataTextFieldSize = 256;

// Text as a text field stores it: the local 8-bit encoding, cut to at most
// 255 bytes at a character boundary (never in the middle of a character).
QByteArray dataFileText(const QString& text);

// One value axis: min, max, step, then a byte each for visible and grid.
struct DataAxisRecord
{
    static constexpr int size = 32;

    double min = 0.0;
    double max = 0.0;
    double step = 0.0;
    uint8_t visible = 0;
    uint8_t grid = 0;

    static DataAxisRecord from(const ValueAxisSettings& axis);
    ValueAxisSettings toSettings() const;
};

// The header of the current (96 bytes) and the middle version (its first 32
// bytes: no axis records).
struct DataFileHeader
{
    static constexpr int32_t size = 96;
    static constexpr int32_t middleSize = 32;

    int32_t headerType = 0;
    int32_t headerSize = size;
    double timeOrigin = 0.0;
    double runTime = 0.0;
    uint32_t plotSize = 0;
    int32_t curveCount = 0;
    std::array<DataAxisRecord, 2> axes{}; // left, right
};

// The header of the oldest version. It has no curve count: records follow
// until the end of the file.
struct DataFileHeaderV1
{
    static constexpr int32_t size = 24;

    int32_t headerType = 0;
    int32_t headerSize = size;
    double timeOrigin = 0.0;
    double runTime = 0.0;
};

// The record of one curve in the current and the middle version; its arrays
// (pointCount doubles each) follow it and are not counted in recordSize.
struct DataCurveRecord
{
    static constexpr int32_t size = 1096;
    // flags bit 0: the fields from valueMin on are valid.
    static constexpr int32_t rangesValid = 1;

    int32_t recordType = 0;
    int32_t recordSize = size;
    QString color;
    QString name;
    int32_t net = 0;
    int32_t baud = 0;
    int32_t id = 0;
    int32_t pos = 0;
    int32_t dataType = 0;
    int32_t mask = 0;
    int32_t byteOrder = 0;
    double scale = 0.0;
    double offset = 0.0;
    QString unit;
    int32_t style = 0;
    int32_t enable = 0;
    int32_t pointCount = 0;
    int32_t flags = rangesValid;
    double valueMin = 0.0;
    double valueMax = 0.0;
    double rawValueMin = 0.0;
    double rawValueMax = 0.0;
    int32_t axis = 0;
    // A row described bit by bit. It lives in the record's reserved bytes
    // behind a tag, so that a record without it is unchanged and a reader
    // that doesn't know it never looks there (layout in datafile.cpp).
    std::optional<BitLayout> bitLayout = std::nullopt;
    // The row's value table as valueTableText gives it; kept with a bit
    // layout when its UTF-8 form fits the space left, else not kept.
    QString valueTable = QString();
};

// The record of one curve in the oldest version. recordSize counts both
// arrays: each holds (recordSize - 840) / 16 doubles, of which the first
// pointCount are the curve's points.
struct DataCurveRecordV1
{
    static constexpr int32_t size = 840;

    int32_t recordType = 0;
    int32_t recordSize = size;
    QString color;
    QString name;
    int32_t net = 0;
    int32_t baud = 0;
    int32_t id = 0;
    int32_t pos = 0;
    int32_t dataType = 0;
    int32_t byteOrder = 0;
    double scale = 0.0;
    double offset = 0.0;
    QString unit;
    int32_t style = 0;
    uint32_t pointCount = 0;
};

// Byte images of the records, and the records read back from them. A decoder
// takes the first `size` bytes of its argument; missing bytes read as 0.
QByteArray encodeDataHeader(const DataFileHeader& header);
QByteArray encodeDataHeaderV1(const DataFileHeaderV1& header);
QByteArray encodeDataCurveRecord(const DataCurveRecord& record);
QByteArray encodeDataCurveRecordV1(const DataCurveRecordV1& record);
DataFileHeader decodeDataHeader(const QByteArray& bytes);
DataFileHeaderV1 decodeDataHeaderV1(const QByteArray& bytes);
DataCurveRecord decodeDataCurveRecord(const QByteArray& bytes);
DataCurveRecordV1 decodeDataCurveRecordV1(const QByteArray& bytes);

// Writing, on a device open for writing. Each returns false when the device
// took fewer bytes than given.
bool writeDataHeader(QIODevice& device, const DataFileHeader& header);
bool writeDataCurveRecord(QIODevice& device, const DataCurveRecord& record);
// The x array, then the y array, count doubles each, one write per array.
bool writeDataPoints(QIODevice& device, const double* x, const double* y, int count);

enum class DataFileVersion { Oldest, Middle, Current };

// What the header check found.
struct DataHeaderResult
{
    enum Status {
        Ok,
        InvalidSize, // the value at offset 4 is not 24, 32 or 96; `found` holds it
        WrongType    // headerType is not 0; `found` holds it
    };

    Status status = Ok;
    int32_t found = 0;
    DataFileVersion version = DataFileVersion::Current;
    // The header as read. For the oldest version only the first four fields
    // are filled, with curveCount 0.
    DataFileHeader header;
    // The axis records are taken only from a current header that could be
    // read whole.
    bool hasAxes = false;
};

// One thing that a damaged data file lacked, in the order it was found.
struct DataFileDamage
{
    enum Kind {
        HeaderCut,      // held of wanted header bytes; the file ends early
        RecordCut,      // an oldest-version record of held of wanted bytes; the file ends early
        RecordsMissing, // held of wanted records that the header counts; the file ends early
        PointsCut,      // held of wanted points; the file ends early
        PointsClaimed,  // held of wanted points; the record's arrays hold fewer
        NegativeCount   // a point count of `wanted`, read as 0
    };

    Kind kind = HeaderCut;
    int record = 0; // counted from 0; for RecordsMissing the first one missing
    qint64 held = 0;
    qint64 wanted = 0;
};

// Reads a data file, step by step, so that the caller can build a row after
// each record. The device is open for reading and has random access (a file
// or a buffer). Nothing that the file says is trusted before it has been
// checked against what the device holds: a truncated or damaged file gives
// fewer records or fewer points, never an allocation beyond the file's size.
class DataFileReader
{
public:
    explicit DataFileReader(QIODevice& device) : device(device) {}

    // Reads the first 8 bytes, then the whole header of the version they
    // tell. Bytes that the device doesn't hold keep the values of a header
    // before reading: headerType -1, headerSize 96, everything else 0. So an
    // empty file reports the header type -1.
    DataHeaderResult readHeader();

    // Reads the next record of the current or middle version. False, with
    // nothing consumed that matters, when fewer than 1096 bytes are left.
    bool readCurveRecord(DataCurveRecord& record);
    // Reads the next record of the oldest version. False when fewer than
    // 840 bytes are left, which also ends the records at the end of the file.
    bool readCurveRecordV1(DataCurveRecordV1& record);

    // Points of the record just read that both arrays really hold: its
    // point count (negative counts as 0), cut to what the arrays and the
    // rest of the device hold.
    int points() const { return pendingPoints; }

    // Reads the first `count` (at most points()) doubles of the x array into
    // x and of the y array into y, and moves behind both arrays.
    void readPoints(double* x, double* y, int count);

    // True once a record, an array or a count didn't match what the device
    // holds.
    bool damaged() const { return wasDamaged; }
    // What was missing, for a report; the reading itself is not affected.
    const QVector<DataFileDamage>& damages() const { return found; }

private:
    qint64 bytesLeft() const;
    // Reads up to `size` bytes over a buffer that holds the defaults.
    void readOver(QByteArray& buffer, int size);
    // Moves forward by `bytes`, but not beyond the end.
    void advance(qint64 bytes);
    // Sets the arrays that follow the record just read.
    void expectArrays(qint64 arrayLength, qint64 wanted);
    // Moves behind the arrays of the record read last, if not read yet.
    void skipPendingArrays();
    void note(DataFileDamage::Kind kind, qint64 held, qint64 wanted);

    QIODevice& device;
    bool arraysPending = false;
    int pendingPoints = 0;
    qint64 pendingArrayLength = 0;
    bool wasDamaged = false;
    // For the report: records read so far, and those the header counts.
    int records = 0;
    int32_t countedRecords = 0;
    QVector<DataFileDamage> found;
};

#endif // DATAFILE_H
