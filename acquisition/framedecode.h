#ifndef FRAMEDECODE_H
#define FRAMEDECODE_H

#include "bitlayout.h"
#include "tessbus.h"

#include <cstdint>
#include <optional>

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

// Where a value sits in a frame and how its raw number scales. A row
// describes the value either by data type, byte position, mask and byte
// order, or, when bitLayout is set, bit by bit as a DBC signal; the first
// four members then play no part. Both scale alike.
struct ValueLayout
{
    int dataType = DataType::Integer8;
    int byteOrder = 0; // 0 Intel (least significant byte first), anything else Motorola
    int bytePos = 0;   // counted from 0
    int mask = 0xFF;   // only the low 8 bits count, and only for the 8-bit types
    double scale = 1.0;
    double offset = 0.0;
    std::optional<BitLayout> bitLayout = std::nullopt; // set for rows described bit by bit
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
// For a multiplexed bit layout the frame overloads also compare the switch;
// the length byte alone tells only whether the frame is long enough.
class FrameFit
{
public:
    explicit constexpr FrameFit(const ValueLayout& layout)
        : needed(neededFor(layout)),
          muxed(needed != never && layout.bitLayout.has_value() && layout.bitLayout->multiplexed),
          muxMotorola(muxed && layout.bitLayout->muxField.motorola),
          muxMask(muxed ? placed(BitExtractor(layout.bitLayout->muxField).fieldMask(), layout) : 0),
          muxBits(muxed ? placed(layout.bitLayout->muxValue, layout) : 0)
    {}

    constexpr bool operator()(uint8_t lenByte) const
    {
        return !(lenByte & TESS_FRAME_RTR) && (lenByte & TESS_FRAME_LEN_MASK) >= needed;
    }

    bool operator()(const TessFrame& frame) const { return holds(frame.len, frame.data); }
    bool operator()(const TessFrameT& frame) const { return holds(frame.len, frame.data); }

    // data8 must hold 8 readable bytes (those beyond the length are not looked at).
    bool holds(uint8_t lenByte, const uint8_t* data8) const
    {
        if (!(*this)(lenByte))
            return false;
        // The switch is compared where it stands in the frame word.
        return !muxed ||
               ((muxMotorola ? frameWord<true>(data8) : frameWord<false>(data8)) & muxMask) == muxBits;
    }

    // Whether any frame at all can hold the value.
    constexpr bool possible() const { return needed != never; }

    // The data length the value needs, at most 8 when possible().
    constexpr unsigned neededLength() const { return needed; }

    constexpr bool multiplexed() const { return muxed; }

private:
    static constexpr unsigned never = TESS_FRAME_LEN_MASK + 1; // no length reaches it

    static constexpr unsigned neededFor(const ValueLayout& layout)
    {
        if (layout.bitLayout) {
            const BitLayout& bits = *layout.bitLayout;
            if (!isDecodable(bits))
                return never;
            const unsigned own = BitExtractor(bits.field).neededBytes();
            const unsigned switchBytes = bits.multiplexed ? BitExtractor(bits.muxField).neededBytes() : 0;
            return own > switchBytes ? own : switchBytes;
        }
        const int size = dataTypeSize(layout.dataType);
        return size != 0 && layout.bytePos >= 0 && layout.bytePos <= 8 - size
                   ? static_cast<unsigned>(layout.bytePos + size)
                   : never;
    }

    // Bits of the switch's width moved to where the switch stands.
    static constexpr uint64_t placed(uint64_t bits, const ValueLayout& layout)
    {
        return bits << BitExtractor(layout.bitLayout->muxField).lowBit();
    }

    unsigned needed;
    bool muxed;
    bool muxMotorola;
    uint64_t muxMask;
    uint64_t muxBits;
};

inline bool fitsFrame(const ValueLayout& layout, uint8_t lenByte)
{
    return FrameFit(layout)(lenByte);
}

// Decodes the value of one frame. A remote frame returns false and leaves
// value and raw alone. Otherwise both become 0 first; a frame that doesn't
// hold the value (too short, or of another multiplexer value) returns false;
// with checkOnly nothing is read but a multiplexer and true is returned; else
// raw is the number read and value = raw * scale + offset.
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
    double lowest;      // the largest double when no value was below it
    double highest;     // the most negative double when no value was above it
    double rawNewest;   // raw value of the newest sample, 0 without samples
    unsigned count = 0; // samples written
};

// Decodes n frames given oldest first into x and y newest first: x[k] and
// y[k] come from frames[n - 1 - k]. x is the frame's time in seconds,
// (timestamp - timestampStart) as a signed 64-bit difference divided in double
// by timestampFrequency; y is the scaled value. lowest and highest skip NaN.
// Gives exactly what decodeValue(layout, frame, false, &value, &raw) gives
// frame by frame, newest first, with value and raw starting at 0: a frame that
// doesn't hold the value yields 0, a remote frame repeats the previous value.
// With a bit layout a frame that doesn't hold the value (remote, too short, of
// another multiplexer value) is no sample at all: the samples close up, so
// that a multiplexed signal shows no made-up values. count tells how many
// samples were written: n for the other layouts, and for a bit layout too
// when the frames passed FrameFit, as those of a curve's ring do.
// Reads nothing outside the frames' data.
DecodeSummary decodeFramesNewestFirst(const ValueLayout& layout, const TessFrameT* frames, unsigned n,
                                      uint64_t timestampStart, uint64_t timestampFrequency, double* x,
                                      double* y);

#endif // FRAMEDECODE_H
