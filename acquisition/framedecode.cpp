#include "framedecode.h"

#include <cstring>
#include <limits>

namespace {

template <typename U> inline U swapBytes(U v)
{
#if defined(__GNUC__)
    if constexpr (sizeof(U) == 2)
        return __builtin_bswap16(v);
    else if constexpr (sizeof(U) == 4)
        return __builtin_bswap32(v);
    else
        return __builtin_bswap64(v);
#else
    U r = 0;
    for (unsigned i = 0; i < sizeof(U); ++i)
        r = static_cast<U>((r << 8) | ((v >> (8 * i)) & 0xFF));
    return r;
#endif
}

// Reads an unsigned integer from possibly unaligned bytes: one load, and a
// byte swap where the frame's order differs from the machine's.
template <typename U, bool Motorola> inline U loadBytes(const uint8_t* p)
{
    U v;
    std::memcpy(&v, p, sizeof v);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    constexpr bool swap = !Motorola;
#else
    constexpr bool swap = Motorola;
#endif
    if constexpr (swap)
        v = swapBytes(v);
    return v;
}

template <int Type, bool Motorola> inline double readRaw(const uint8_t* p, uint8_t mask8)
{
    if constexpr (Type == DataType::Integer8) {
        return static_cast<int8_t>(static_cast<uint8_t>(p[0] & mask8));
    } else if constexpr (Type == DataType::Unsigned8) {
        return static_cast<uint8_t>(p[0] & mask8);
    } else if constexpr (Type == DataType::Integer16) {
        return static_cast<int16_t>(loadBytes<uint16_t, Motorola>(p));
    } else if constexpr (Type == DataType::Unsigned16) {
        return loadBytes<uint16_t, Motorola>(p);
    } else if constexpr (Type == DataType::Integer32) {
        return static_cast<int32_t>(loadBytes<uint32_t, Motorola>(p));
    } else if constexpr (Type == DataType::Unsigned32) {
        return loadBytes<uint32_t, Motorola>(p);
    } else if constexpr (Type == DataType::Real32) {
        const uint32_t bits = loadBytes<uint32_t, Motorola>(p);
        float f;
        std::memcpy(&f, &bits, sizeof f);
        return f;
    } else {
        static_assert(Type == DataType::Real64, "unknown data type");
        const uint64_t bits = loadBytes<uint64_t, Motorola>(p);
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
    return {range.lowest, range.highest, rawNewest};
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
    return {range.lowest, range.highest, 0.0};
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

} // namespace

bool decodeValue(const ValueLayout& layout, uint8_t lenByte, const uint8_t* data, bool checkOnly,
                 double* value, double* raw)
{
    if (lenByte & TESS_FRAME_RTR)
        return false;
    *value = 0.0;
    *raw = 0.0;
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
