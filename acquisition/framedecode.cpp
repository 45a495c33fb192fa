#include "framedecode.h"

#include <cstring>
#include <limits>

namespace {

template <int Type, bool Motorola> inline double readRaw(const uint8_t* p, uint8_t mask8)
{
    if constexpr (Type == DataType::Integer8) {
        return static_cast<int8_t>(static_cast<uint8_t>(p[0] & mask8));
    } else if constexpr (Type == DataType::Unsigned8) {
        return static_cast<uint8_t>(p[0] & mask8);
    } else if constexpr (Type == DataType::Integer16) {
        return static_cast<int16_t>(loadOrdered<uint16_t, Motorola>(p));
    } else if constexpr (Type == DataType::Unsigned16) {
        return loadOrdered<uint16_t, Motorola>(p);
    } else if constexpr (Type == DataType::Integer32) {
        return static_cast<int32_t>(loadOrdered<uint32_t, Motorola>(p));
    } else if constexpr (Type == DataType::Unsigned32) {
        return loadOrdered<uint32_t, Motorola>(p);
    } else if constexpr (Type == DataType::Real32) {
        const uint32_t bits = loadOrdered<uint32_t, Motorola>(p);
        float f;
        std::memcpy(&f, &bits, sizeof f);
        return f;
    } else {
        static_assert(Type == DataType::Real64, "unknown data type");
        const uint64_t bits = loadOrdered<uint64_t, Motorola>(p);
        double d;
        std::memcpy(&d, &bits, sizeof d);
        return d;
    }
}

// Both decoders scale here, so that they round alike.
inline double scaled(double raw, double scale, double offset)
{
    return raw * scale + offset;
}

template <int Type, bool Motorola> double readRawAt(const ValueLayout& layout, const uint8_t* data)
{
    return readRaw<Type, Motorola>(data + layout.bytePos, static_cast<uint8_t>(layout.mask & 0xFF));
}

template <bool Motorola> double readRawOrdered(const ValueLayout& layout, const uint8_t* data)
{
    switch (layout.dataType) {
    case DataType::Integer8:
        return readRawAt<DataType::Integer8, false>(layout, data);
    case DataType::Unsigned8:
        return readRawAt<DataType::Unsigned8, false>(layout, data);
    case DataType::Integer16:
        return readRawAt<DataType::Integer16, Motorola>(layout, data);
    case DataType::Unsigned16:
        return readRawAt<DataType::Unsigned16, Motorola>(layout, data);
    case DataType::Integer32:
        return readRawAt<DataType::Integer32, Motorola>(layout, data);
    case DataType::Unsigned32:
        return readRawAt<DataType::Unsigned32, Motorola>(layout, data);
    case DataType::Real32:
        return readRawAt<DataType::Real32, Motorola>(layout, data);
    default:
        return readRawAt<DataType::Real64, Motorola>(layout, data);
    }
}

inline double frameTime(uint64_t timestamp, uint64_t timestampStart, double frequency)
{
    return static_cast<double>(static_cast<int64_t>(timestamp - timestampStart)) / frequency;
}

struct Range
{
    double lowest = std::numeric_limits<double>::max();
    double highest = std::numeric_limits<double>::lowest();

    // Comparisons as written, so that NaN changes neither bound.
    void take(double value)
    {
        if (value < lowest)
            lowest = value;
        if (value > highest)
            highest = value;
    }
};

// One loop per type and byte order, so that the loop body has no switch.
// The caller has checked that the value lies within 8 bytes, so a frame that
// fits can be read without further bounds checks.
template <int Type, bool Motorola>
DecodeSummary decodeLoop(const ValueLayout& layout, const TessFrameT* frames, unsigned n,
                         uint64_t timestampStart, uint64_t timestampFrequency, double* x, double* y)
{
    const FrameFit fits(layout);
    const unsigned pos = static_cast<unsigned>(layout.bytePos);
    const uint8_t mask8 = static_cast<uint8_t>(layout.mask & 0xFF);
    const double scale = layout.scale;
    const double offset = layout.offset;
    const double frequency = static_cast<double>(timestampFrequency);

    Range range;
    double value = 0.0;
    double raw = 0.0;
    double rawNewest = 0.0;
    for (unsigned k = 0; k < n; ++k) {
        const TessFrameT& f = frames[n - 1 - k];
        if (!(f.len & TESS_FRAME_RTR)) {
            if (fits(f.len)) {
                raw = readRaw<Type, Motorola>(f.data + pos, mask8);
                value = scaled(raw, scale, offset);
            } else {
                raw = 0.0;
                value = 0.0;
            }
        }
        if (k == 0)
            rawNewest = raw;
        range.take(value);
        x[k] = frameTime(f.timestamp, timestampStart, frequency);
        y[k] = value;
    }
    return {range.lowest, range.highest, rawNewest, n};
}

// No frame can hold the value: every value is 0 (remote frames repeat the 0 before them).
DecodeSummary decodeNothing(const TessFrameT* frames, unsigned n, uint64_t timestampStart,
                            uint64_t timestampFrequency, double* x, double* y)
{
    const double frequency = static_cast<double>(timestampFrequency);
    Range range;
    for (unsigned k = 0; k < n; ++k) {
        range.take(0.0);
        x[k] = frameTime(frames[n - 1 - k].timestamp, timestampStart, frequency);
        y[k] = 0.0;
    }
    return {range.lowest, range.highest, 0.0, n};
}

template <bool Motorola>
DecodeSummary decodeOrdered(const ValueLayout& l, const TessFrameT* frames, unsigned n, uint64_t start,
                            uint64_t frequency, double* x, double* y)
{
    switch (l.dataType) {
    case DataType::Integer16:
        return decodeLoop<DataType::Integer16, Motorola>(l, frames, n, start, frequency, x, y);
    case DataType::Unsigned16:
        return decodeLoop<DataType::Unsigned16, Motorola>(l, frames, n, start, frequency, x, y);
    case DataType::Integer32:
        return decodeLoop<DataType::Integer32, Motorola>(l, frames, n, start, frequency, x, y);
    case DataType::Unsigned32:
        return decodeLoop<DataType::Unsigned32, Motorola>(l, frames, n, start, frequency, x, y);
    case DataType::Real32:
        return decodeLoop<DataType::Real32, Motorola>(l, frames, n, start, frequency, x, y);
    default:
        return decodeLoop<DataType::Real64, Motorola>(l, frames, n, start, frequency, x, y);
    }
}

// What the bits of a field become, chosen once per batch so that the loop
// body has no switch. Unsigned fields below 64 bits fit a signed 64-bit
// integer, whose conversion to double is the cheaper one.
enum class BitKind { Unsigned, Unsigned64, Signed, Float32, Float64 };

// Signed fields are read by the loop itself, with two shifts.
template <BitKind Kind> inline double rawOf(uint64_t bits)
{
    if constexpr (Kind == BitKind::Unsigned) {
        return static_cast<double>(static_cast<int64_t>(bits));
    } else if constexpr (Kind == BitKind::Unsigned64) {
        return static_cast<double>(bits);
    } else if constexpr (Kind == BitKind::Float32) {
        const uint32_t b32 = static_cast<uint32_t>(bits);
        float f;
        std::memcpy(&f, &b32, sizeof f);
        return f;
    } else {
        static_assert(Kind == BitKind::Float64, "unknown kind");
        double d;
        std::memcpy(&d, &bits, sizeof d);
        return d;
    }
}

BitKind bitKindOf(const BitLayout& bits)
{
    switch (bits.valueType) {
    case SignalValueType::Float32:
        return BitKind::Float32;
    case SignalValueType::Float64:
        return BitKind::Float64;
    case SignalValueType::Integer:
        break;
    }
    if (bits.isSigned)
        return BitKind::Signed;
    return bits.field.length < 64 ? BitKind::Unsigned : BitKind::Unsigned64;
}

// Where the switch of a multiplexed row is read: none, from the frame word
// of the signal's own byte order, or from a word of the other order.
enum class SwitchRead { None, SameWord, OtherWord };

// A bit layout over a batch: frames that don't hold the value are no samples.
// The caller has checked that the layout can be decoded at all.
template <bool Motorola, BitKind Kind, SwitchRead Switch>
DecodeSummary decodeBitLoop(const ValueLayout& layout, const TessFrameT* frames, unsigned n,
                            uint64_t timestampStart, uint64_t timestampFrequency, double* x, double* y)
{
    const BitLayout& bits = *layout.bitLayout;
    const FrameFit fits(layout);
    const BitExtractor field(bits.field);
    const BitExtractor mux(bits.muxField);
    const uint64_t muxMask = mux.fieldMask() << mux.lowBit();
    const uint64_t muxBits = bits.muxValue << mux.lowBit();
    const double scale = layout.scale;
    const double offset = layout.offset;
    const double frequency = static_cast<double>(timestampFrequency);

    const auto holds = [&](const TessFrameT& f) {
        if (!fits(f.len))
            return false;
        // The switch compared where it stands in the word: no shift.
        if constexpr (Switch == SwitchRead::SameWord)
            return (frameWord<Motorola>(f.data) & muxMask) == muxBits;
        else if constexpr (Switch == SwitchRead::OtherWord)
            return (frameWord<!Motorola>(f.data) & muxMask) == muxBits;
        return true;
    };
    // A signed field moves up to the word's top and back down with its sign:
    // two shifts instead of a mask and a sign extension.
    const unsigned up = 64u - (field.lowBit() + unsigned(bits.field.length));
    const unsigned down = 64u - unsigned(bits.field.length);
    const auto rawOfFrame = [&](const TessFrameT& f) {
        if constexpr (Kind == BitKind::Signed)
            return static_cast<double>(static_cast<int64_t>(frameWord<Motorola>(f.data) << up) >> down);
        else
            return rawOf<Kind>(field.take(frameWord<Motorola>(f.data)));
    };

    Range range;
    unsigned count = 0;
    for (unsigned k = 0; k < n; ++k) {
        const TessFrameT& f = frames[n - 1 - k];
        if (!holds(f))
            continue;
        const double value = scaled(rawOfFrame(f), scale, offset);
        range.take(value);
        x[count] = frameTime(f.timestamp, timestampStart, frequency);
        y[count] = value;
        ++count;
    }
    // The newest sample's raw value, found again rather than kept in the loop.
    double rawNewest = 0.0;
    for (unsigned k = 0; k < n && count > 0; ++k) {
        if (holds(frames[n - 1 - k])) {
            rawNewest = rawOfFrame(frames[n - 1 - k]);
            break;
        }
    }
    return {range.lowest, range.highest, rawNewest, count};
}

template <bool Motorola, BitKind Kind>
DecodeSummary decodeBitsOfKind(const ValueLayout& l, const TessFrameT* frames, unsigned n, uint64_t start,
                               uint64_t frequency, double* x, double* y)
{
    const BitLayout& bits = *l.bitLayout;
    if (!bits.multiplexed)
        return decodeBitLoop<Motorola, Kind, SwitchRead::None>(l, frames, n, start, frequency, x, y);
    if (bits.muxField.motorola == Motorola)
        return decodeBitLoop<Motorola, Kind, SwitchRead::SameWord>(l, frames, n, start, frequency, x, y);
    return decodeBitLoop<Motorola, Kind, SwitchRead::OtherWord>(l, frames, n, start, frequency, x, y);
}

template <bool Motorola>
DecodeSummary decodeBitsOrdered(const ValueLayout& l, const TessFrameT* frames, unsigned n, uint64_t start,
                                uint64_t frequency, double* x, double* y)
{
    switch (bitKindOf(*l.bitLayout)) {
    case BitKind::Unsigned:
        return decodeBitsOfKind<Motorola, BitKind::Unsigned>(l, frames, n, start, frequency, x, y);
    case BitKind::Unsigned64:
        return decodeBitsOfKind<Motorola, BitKind::Unsigned64>(l, frames, n, start, frequency, x, y);
    case BitKind::Signed:
        return decodeBitsOfKind<Motorola, BitKind::Signed>(l, frames, n, start, frequency, x, y);
    case BitKind::Float32:
        return decodeBitsOfKind<Motorola, BitKind::Float32>(l, frames, n, start, frequency, x, y);
    case BitKind::Float64:
        break;
    }
    return decodeBitsOfKind<Motorola, BitKind::Float64>(l, frames, n, start, frequency, x, y);
}

DecodeSummary decodeBits(const ValueLayout& l, const TessFrameT* frames, unsigned n, uint64_t start,
                         uint64_t frequency, double* x, double* y)
{
    if (!FrameFit(l).possible()) {
        const Range none;
        return {none.lowest, none.highest, 0.0, 0};
    }
    return l.bitLayout->field.motorola ? decodeBitsOrdered<true>(l, frames, n, start, frequency, x, y)
                                       : decodeBitsOrdered<false>(l, frames, n, start, frequency, x, y);
}

// One frame by a bit layout; the remote frame has been turned away.
bool decodeBitValue(const ValueLayout& layout, uint8_t lenByte, const uint8_t* data, bool checkOnly,
                    double* value, double* raw)
{
    const FrameFit fits(layout);
    if (!fits(lenByte))
        return false;
    if (checkOnly && !fits.multiplexed())
        return true;
    // Only the bytes the frame has are readable; the rest of the word stays 0
    // and lies outside the fields.
    uint8_t bytes[8] = {};
    std::memcpy(bytes, data, fits.neededLength());
    if (!fits.holds(lenByte, bytes))
        return false;
    if (checkOnly)
        return true;
    const BitLayout& bits = *layout.bitLayout;
    *raw = rawOfBits(BitExtractor(bits.field).extract(bytes), bits);
    *value = scaled(*raw, layout.scale, layout.offset);
    return true;
}

} // namespace

bool decodeValue(const ValueLayout& layout, uint8_t lenByte, const uint8_t* data, bool checkOnly,
                 double* value, double* raw)
{
    if (lenByte & TESS_FRAME_RTR)
        return false;
    *value = 0.0;
    *raw = 0.0;
    if (layout.bitLayout)
        return decodeBitValue(layout, lenByte, data, checkOnly, value, raw);
    if (!fitsFrame(layout, lenByte))
        return false;
    if (checkOnly)
        return true;
    *raw = layout.byteOrder == 0 ? readRawOrdered<false>(layout, data) : readRawOrdered<true>(layout, data);
    *value = scaled(*raw, layout.scale, layout.offset);
    return true;
}

DecodeSummary decodeFramesNewestFirst(const ValueLayout& layout, const TessFrameT* frames, unsigned n,
                                      uint64_t timestampStart, uint64_t timestampFrequency, double* x,
                                      double* y)
{
    if (layout.bitLayout)
        return decodeBits(layout, frames, n, timestampStart, timestampFrequency, x, y);
    if (!FrameFit(layout).possible())
        return decodeNothing(frames, n, timestampStart, timestampFrequency, x, y);

    switch (layout.dataType) {
    case DataType::Integer8:
        return decodeLoop<DataType::Integer8, false>(layout, frames, n, timestampStart, timestampFrequency, x,
                                                     y);
    case DataType::Unsigned8:
        return decodeLoop<DataType::Unsigned8, false>(layout, frames, n, timestampStart, timestampFrequency,
                                                      x, y);
    default:
        return layout.byteOrder == 0
                   ? decodeOrdered<false>(layout, frames, n, timestampStart, timestampFrequency, x, y)
                   : decodeOrdered<true>(layout, frames, n, timestampStart, timestampFrequency, x, y);
    }
}
