#ifndef BITLAYOUT_H
#define BITLAYOUT_H

#include <cstdint>
#include <cstring>

// A run of bits in the 8 data bytes of a frame, numbered as DBC files do:
// bit b of data byte i is bit 8 * i + b. Intel (little-endian) signals give
// their least significant bit as start bit and count upwards; Motorola
// (big-endian) signals give their most significant bit and run down through
// a byte, then on to bit 7 of the next byte (the "sawtooth" order).
struct BitField
{
    int startBit = 0;
    int length = 0; // 1 to 64
    bool motorola = false;
};

// How the bits of a signal become its raw value.
enum class SignalValueType : uint8_t {
    Integer, // unsigned, or two's complement when signed
    Float32, // IEEE 754 single precision, 32 bits
    Float64, // IEEE 754 double precision, 64 bits
};

// Where a signal sits in a frame and how its bits are read. A multiplexed
// signal is present only in frames whose switch (an unsigned integer at
// muxField) holds muxValue.
struct BitLayout
{
    BitField field;
    bool isSigned = false; // integers only; floats carry their own sign
    SignalValueType valueType = SignalValueType::Integer;
    bool multiplexed = false;
    BitField muxField;
    uint64_t muxValue = 0;
};

inline bool operator==(const BitField& a, const BitField& b)
{
    return a.startBit == b.startBit && a.length == b.length && a.motorola == b.motorola;
}

inline bool operator==(const BitLayout& a, const BitLayout& b)
{
    return a.field == b.field && a.isSigned == b.isSigned && a.valueType == b.valueType &&
           a.multiplexed == b.multiplexed &&
           (!a.multiplexed || (a.muxField == b.muxField && a.muxValue == b.muxValue));
}

// An unsigned integer from possibly unaligned bytes, in the frame's byte
// order (Motorola: most significant byte first): one load, and a byte swap
// where that order differs from the machine's.
template <typename U, bool Motorola> inline U loadOrdered(const uint8_t* p)
{
    U v;
    std::memcpy(&v, p, sizeof v);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    constexpr bool swap = !Motorola;
#else
    constexpr bool swap = Motorola;
#endif
    if constexpr (swap) {
#if defined(__GNUC__)
        if constexpr (sizeof(U) == 2)
            v = __builtin_bswap16(v);
        else if constexpr (sizeof(U) == 4)
            v = __builtin_bswap32(v);
        else
            v = __builtin_bswap64(v);
#else
        U r = 0;
        for (unsigned i = 0; i < sizeof(U); ++i)
            r = static_cast<U>((r << 8) | ((v >> (8 * i)) & 0xFF));
        v = r;
#endif
    }
    return v;
}

// The 8 data bytes as one word: byte 0 lowest for Intel, highest for Motorola.
// In either word a field is a contiguous run of bits, so one shift and one
// mask take it out.
template <bool Motorola> inline uint64_t frameWord(const uint8_t* data8)
{
    return loadOrdered<uint64_t, Motorola>(data8);
}

// A BitField made ready for reading: its shift and mask in the frame word
// of its byte order, and the data length it needs. A field that does not lie
// within 8 data bytes is not valid and needs more bytes than a frame has.
class BitExtractor
{
public:
    constexpr BitExtractor() = default;
    explicit constexpr BitExtractor(const BitField& f)
    {
        if (f.startBit < 0 || f.startBit > 63 || f.length < 1 || f.length > 64)
            return;
        // Position of the lowest bit in the frame word.
        int low = f.startBit;
        if (f.motorola) {
            const int msb = (7 - f.startBit / 8) * 8 + f.startBit % 8;
            low = msb - f.length + 1;
            if (low < 0)
                return;
            needed = static_cast<unsigned>(8 - low / 8);
        } else {
            if (f.startBit + f.length > 64)
                return;
            needed = static_cast<unsigned>((f.startBit + f.length - 1) / 8 + 1);
        }
        shift = static_cast<unsigned>(low);
        mask = f.length == 64 ? ~uint64_t(0) : (uint64_t(1) << f.length) - 1;
        motorola = f.motorola;
    }

    constexpr bool valid() const { return needed <= 8; }
    // Data bytes a frame must have; above 8 when not valid.
    constexpr unsigned neededBytes() const { return needed; }
    constexpr uint64_t fieldMask() const { return mask; }
    // Position of the field's lowest bit in the frame word.
    constexpr unsigned lowBit() const { return shift; }
    constexpr bool isMotorola() const { return motorola; }

    // The field from a word of its own byte order.
    constexpr uint64_t take(uint64_t word) const { return (word >> shift) & mask; }

    // The field from 8 readable data bytes.
    uint64_t extract(const uint8_t* data8) const
    {
        return take(motorola ? frameWord<true>(data8) : frameWord<false>(data8));
    }

private:
    unsigned shift = 0;
    uint64_t mask = 0;
    unsigned needed = 9;
    bool motorola = false;
};

// Two's complement of a field of `length` bits (1 to 64).
constexpr int64_t signExtend(uint64_t bits, int length)
{
    const uint64_t sign = uint64_t(1) << (length - 1);
    return static_cast<int64_t>((bits ^ sign) - sign);
}

// The raw value of a field's bits, by the layout's type and sign.
inline double rawOfBits(uint64_t bits, const BitLayout& layout)
{
    switch (layout.valueType) {
    case SignalValueType::Float32: {
        const uint32_t b32 = static_cast<uint32_t>(bits);
        float f;
        std::memcpy(&f, &b32, sizeof f);
        return f;
    }
    case SignalValueType::Float64: {
        double d;
        std::memcpy(&d, &bits, sizeof d);
        return d;
    }
    case SignalValueType::Integer:
        break;
    }
    if (layout.isSigned)
        return static_cast<double>(signExtend(bits, layout.field.length));
    return static_cast<double>(bits);
}

// Whether a layout can be decoded at all: its field (and switch) within 8
// data bytes, floats of their own width, a switch value the switch can hold.
constexpr bool isDecodable(const BitLayout& layout)
{
    if (!BitExtractor(layout.field).valid())
        return false;
    if (layout.valueType == SignalValueType::Float32 && layout.field.length != 32)
        return false;
    if (layout.valueType == SignalValueType::Float64 && layout.field.length != 64)
        return false;
    if (layout.multiplexed) {
        const BitExtractor mux(layout.muxField);
        return mux.valid() && (layout.muxValue & ~mux.fieldMask()) == 0;
    }
    return true;
}

#endif // BITLAYOUT_H
