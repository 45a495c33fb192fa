#ifndef FRAMEDECODE_H
#define FRAMEDECODE_H

#include "tessbus.h"

#include <cstdint>

// Data type index of a value, in the order of the configuration table's list.
namespace DataType {
constexpr int Integer8 = 0;
constexpr int Unsigned8 = 1;
constexpr int Integer16 = 2;
constexpr int Unsigned16 = 3;
constexpr int Integer32 = 4;
constexpr int Unsigned32 = 5;
constexpr int Real32 = 6;
constexpr int Real64 = 7;
constexpr int count = 8;
} // namespace DataType

// Where a value sits in a frame and how its raw number scales.
struct ValueLayout
{
    int dataType = DataType::Integer8;
    int byteOrder = 0; // 0 Intel (least significant byte first), anything else Motorola
    int bytePos = 0;   // counted from 0
    int mask = 0xFF;   // only the low 8 bits count, and only for the 8-bit types
    double scale = 1.0;
    double offset = 0.0;
};

// Size in bytes of a data type, 0 for an unknown one.
constexpr int dataTypeSize(int dataType)
{
    if (dataType < DataType::Integer8 || dataType > DataType::Real64)
        return 0;
    if (dataType <= DataType::Unsigned8)
        return 1;
    if (dataType <= DataType::Unsigned16)
        return 2;
    if (dataType <= DataType::Real32)
        return 4;
    return 8;
}

// Whether a frame holds the value of a layout: no remote frame, a known type,
// and the value within the data length. A length above 8 counts as 8, since
// a frame has no more data bytes. Made once, it costs one test per frame.
class FrameFit
{
public:
    explicit constexpr FrameFit(const ValueLayout& layout)
        : needed(dataTypeSize(layout.dataType) != 0 && layout.bytePos >= 0 &&
                         layout.bytePos <= 8 - dataTypeSize(layout.dataType)
                     ? static_cast<unsigned>(layout.bytePos + dataTypeSize(layout.dataType))
                     : never)
    {}

    constexpr bool operator()(uint8_t lenByte) const
    {
        return !(lenByte & TESS_FRAME_RTR) && (lenByte & TESS_FRAME_LEN_MASK) >= needed;
    }

    // Whether any frame at all can hold the value.
    constexpr bool possible() const { return needed != never; }

    // bytePos + size, at most 8 when possible().
    constexpr unsigned neededLength() const { return needed; }

private:
    static constexpr unsigned never = TESS_FRAME_LEN_MASK + 1; // no length reaches it
    unsigned needed;
};

inline bool fitsFrame(const ValueLayout& layout, uint8_t lenByte)
{
    return FrameFit(layout)(lenByte);
}

// Decodes the value of one frame. A remote frame returns false and leaves
// value and raw alone. Otherwise both become 0 first; a frame that doesn't
// hold the value returns false; with checkOnly nothing is read and true is
// returned; else raw is the number read and value = raw * scale + offset.
// data must hold min(lenByte & 0x0F, 8) readable bytes.
bool decodeValue(const ValueLayout& layout, uint8_t lenByte, const uint8_t* data, bool checkOnly,
                 double* value, double* raw);

inline bool decodeValue(const ValueLayout& layout, const TessFrame& frame, bool checkOnly, double* value,
                        double* raw)
{
    return decodeValue(layout, frame.len, frame.data, checkOnly, value, raw);
}

inline bool decodeValue(const ValueLayout& layout, const TessFrameT& frame, bool checkOnly, double* value,
                        double* raw)
{
    return decodeValue(layout, frame.len, frame.data, checkOnly, value, raw);
}

struct DecodeSummary
{
    double lowest;    // the largest double when no value was below it
    double highest;   // the most negative double when no value was above it
    double rawNewest; // raw value of the newest frame, 0 without frames
};

// Decodes n frames given oldest first into x and y newest first: x[k] and
// y[k] come from frames[n - 1 - k]. x is the frame's time in seconds,
// (timestamp - timestampStart) as a signed 64-bit difference divided in double
// by timestampFrequency; y is the scaled value. lowest and highest skip NaN.
// Gives exactly what decodeValue(layout, frame, false, &value, &raw) gives
// frame by frame, newest first, with value and raw starting at 0: a frame that
// doesn't hold the value yields 0, a remote frame repeats the previous value.
// Reads nothing outside the frames' data.
DecodeSummary decodeFramesNewestFirst(const ValueLayout& layout, const TessFrameT* frames, unsigned n,
                                      uint64_t timestampStart, uint64_t timestampFrequency, double* x,
                                      double* y);

#endif // FRAMEDECODE_H
