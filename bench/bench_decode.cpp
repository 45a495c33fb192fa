// Frames per second through the frame decoding, one frame at a time and in
// batches, beside a plain copy of the same frames; bit-level (DBC) rows beside
// the seed rows of the same width; and the ring's append, one frame at a
// time and in runs. No assertion: the figures are for reading.

#include "bitlayouttext.h"
#include "framedecode.h"
#include "framering.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include <sys/resource.h>

namespace {

constexpr unsigned frameCount = 100000;
constexpr double minSeconds = 0.2;

volatile double sink;

using Clock = std::chrono::steady_clock;

// Runs work (which handles frameCount frames) until minSeconds have passed; frames per second.
template <typename Work> double framesPerSecond(Work&& work)
{
    work(); // warm the caches and the branch predictors
    unsigned rounds = 0;
    const Clock::time_point start = Clock::now();
    double seconds = 0.0;
    do {
        work();
        ++rounds;
        seconds = std::chrono::duration<double>(Clock::now() - start).count();
    } while (seconds < minSeconds);
    return static_cast<double>(rounds) * frameCount / seconds;
}

// Frames per second of this thread's processor time, for work run until
// `seconds` of it have passed: time while another process has the core
// doesn't count.
template <typename Work> double framesPerCpuSecond(Work&& work, double seconds)
{
    const auto now = [] {
        rusage usage{};
        getrusage(RUSAGE_THREAD, &usage);
        const auto seconds = [](const timeval& t) {
            return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6;
        };
        return seconds(usage.ru_utime) + seconds(usage.ru_stime);
    };
    work();
    unsigned rounds = 0;
    const double start = now();
    double spent = 0.0;
    do {
        work();
        ++rounds;
        spent = now() - start;
    } while (spent < seconds);
    return static_cast<double>(rounds) * frameCount / spent;
}

// The best of many short alternating runs of two works, so that the other
// users of a shared machine (caches, a sibling hyperthread) spoil neither
// figure alone.
template <typename A, typename B> std::pair<double, double> bestOfAlternating(A&& a, B&& b)
{
    double bestA = 0.0;
    double bestB = 0.0;
    for (int i = 0; i < 15; ++i) {
        bestA = std::max(bestA, framesPerCpuSecond(a, 0.04));
        bestB = std::max(bestB, framesPerCpuSecond(b, 0.04));
    }
    return {bestA, bestB};
}

// The refresh loop over decodeValue, one frame at a time.
DecodeSummary perFrame(const ValueLayout& layout, const TessFrameT* frames, unsigned n, uint64_t start,
                       uint64_t frequency, double* x, double* y)
{
    DecodeSummary s{std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest(), 0.0};
    double value = 0.0;
    double raw = 0.0;
    for (unsigned k = 0; k < n; ++k) {
        const TessFrameT& f = frames[n - 1 - k];
        decodeValue(layout, f, false, &value, &raw);
        if (k == 0)
            s.rawNewest = raw;
        if (value < s.lowest)
            s.lowest = value;
        if (value > s.highest)
            s.highest = value;
        x[k] =
            static_cast<double>(static_cast<int64_t>(f.timestamp - start)) / static_cast<double>(frequency);
        y[k] = value;
    }
    return s;
}

} // namespace

// Frames that carry a slowly varying signal in the layout's type and order,
// as a sensor would send it, at bytePos 0 of 8 data bytes.
void fillFrames(std::vector<TessFrameT>& frames, const ValueLayout& layout)
{
    std::mt19937_64 rng(42);
    for (size_t i = 0; i < frames.size(); ++i) {
        TessFrameT& f = frames[i];
        f.id = 0x123;
        f.len = 8;
        f.timestamp = 1000000 + uint64_t(i) * 100;
        const uint64_t noise = rng();
        std::memcpy(f.data, &noise, sizeof noise);
        const double signal = std::sin(static_cast<double>(i) * 0.001) * 0.9 + (noise & 0xFF) / 2560.0;
        uint8_t bytes[8];
        const int size = dataTypeSize(layout.dataType);
        uint64_t bits = 0;
        switch (layout.dataType) {
        case DataType::Real32: {
            const float v = static_cast<float>(signal * 1000.0);
            uint32_t b32;
            std::memcpy(&b32, &v, 4);
            bits = b32;
            break;
        }
        case DataType::Real64: {
            const double v = signal * 1000.0;
            std::memcpy(&bits, &v, 8);
            break;
        }
        default:
            // Integers use most of their range; the two's complement bits serve signed and unsigned alike.
            bits = static_cast<uint64_t>(static_cast<int64_t>(signal * std::ldexp(1.0, 8 * size - 2)));
            break;
        }
        for (int b = 0; b < size; ++b) {
            const uint8_t byte = static_cast<uint8_t>(bits >> (8 * b));
            bytes[layout.byteOrder == 0 ? b : size - 1 - b] = byte;
        }
        std::memcpy(f.data + layout.bytePos, bytes, static_cast<size_t>(size));
    }
}

int main()
{
    std::vector<TessFrameT> frames(frameCount);
    fillFrames(frames, ValueLayout{});
    std::vector<TessFrameT> copy(frameCount);
    std::vector<double> x(frameCount);
    std::vector<double> y(frameCount);

    const double copyRate = framesPerSecond([&] {
        std::memcpy(copy.data(), frames.data(), frameCount * sizeof(TessFrameT));
        sink = static_cast<double>(copy[frameCount / 2].data[3]);
    });

    std::printf("Decoding %u frames a round, %.1f s at least per figure; Mframes/s\n", frameCount,
                minSeconds);
    std::printf("%-20s %12s %12s %12s %10s\n", "type", "memcpy", "per frame", "batch", "batch/pf");
    const char* names[] = {"Integer8",  "Unsigned8",  "Integer16", "Unsigned16",
                           "Integer32", "Unsigned32", "Real32",    "Real64"};
    for (int type = 0; type < DataType::count; ++type) {
        for (int order : {0, 1}) {
            if (dataTypeSize(type) == 1 && order == 1)
                continue;
            ValueLayout layout;
            layout.dataType = type;
            layout.byteOrder = order;
            layout.bytePos = 0;
            layout.mask = 0x7F;
            layout.scale = 0.1;
            layout.offset = -3.0;
            fillFrames(frames, layout);

            const double single = framesPerSecond([&] {
                const DecodeSummary s =
                    perFrame(layout, frames.data(), frameCount, 1000000, 100000, x.data(), y.data());
                sink = s.lowest + y[frameCount / 2] + x[frameCount / 3];
            });
            const double batch = framesPerSecond([&] {
                const DecodeSummary s = decodeFramesNewestFirst(layout, frames.data(), frameCount, 1000000,
                                                                100000, x.data(), y.data());
                sink = s.lowest + y[frameCount / 2] + x[frameCount / 3];
            });
            char label[32];
            std::snprintf(label, sizeof label, "%s%s", names[type],
                          dataTypeSize(type) == 1 ? "" : (order ? " Motorola" : " Intel"));
            std::printf("%-20s %12.1f %12.1f %12.1f %10.2f\n", label, copyRate / 1e6, single / 1e6,
                        batch / 1e6, batch / single);
        }
    }

    // Bit-level rows against the seed row of the same width, in batches; the
    // switch of the multiplexed rows (byte 0) holds the signal's value in
    // every frame, as in a ring that kept only such frames.
    std::printf(
        "\nBit-level rows against seed rows, batch decoding, best of 15; Mframes/s of processor time\n");
    std::printf("%-30s %-22s %10s %10s %10s\n", "bit layout", "seed row", "seed", "bit", "bit/seed");
    struct Pair
    {
        const char* bits;
        int seedType;
        int seedOrder;
        int seedPos;
    };
    const Pair pairs[] = {
        {"7|16@0+", DataType::Unsigned16, 1, 0},  {"0|16@1+", DataType::Unsigned16, 0, 0},
        {"24|9@0-", DataType::Integer16, 1, 3},   {"4|9@1-", DataType::Integer16, 0, 0},
        {"7|32@0-f", DataType::Real32, 1, 0},     {"0|32@1-", DataType::Integer32, 0, 0},
        {"7|64@0-d", DataType::Real64, 1, 0},     {"15|16@0+ m1", DataType::Unsigned16, 1, 1},
        {"8|9@1- m1", DataType::Integer16, 0, 1},
    };
    BitField muxSwitch;
    muxSwitch.length = 8;
    for (const Pair& pair : pairs) {
        ValueLayout seed;
        seed.dataType = pair.seedType;
        seed.byteOrder = pair.seedOrder;
        seed.bytePos = pair.seedPos;
        seed.scale = 0.1;
        seed.offset = -3.0;
        ValueLayout bits = seed;
        bits.bitLayout = parseBitLayoutText(QString::fromLatin1(pair.bits), muxSwitch).layout;
        if (!bits.bitLayout) {
            std::printf("%-30s refused\n", pair.bits);
            continue;
        }
        fillFrames(frames, seed);
        for (TessFrameT& f : frames)
            f.data[0] = bits.bitLayout->multiplexed ? 1 : f.data[0];
        const auto [seedRate, bitRate] = bestOfAlternating(
            [&] {
                const DecodeSummary s = decodeFramesNewestFirst(seed, frames.data(), frameCount, 1000000,
                                                                100000, x.data(), y.data());
                sink = s.lowest + y[frameCount / 2] + x[frameCount / 3];
            },
            [&] {
                const DecodeSummary s = decodeFramesNewestFirst(bits, frames.data(), frameCount, 1000000,
                                                                100000, x.data(), y.data());
                sink = s.lowest + y[frameCount / 2] + x[frameCount / 3] + s.count;
            });
        char seedLabel[32];
        std::snprintf(seedLabel, sizeof seedLabel, "%s %s @%d", names[pair.seedType],
                      pair.seedOrder ? "Mot" : "Int", pair.seedPos + 1);
        std::printf("%-30s %-22s %10.1f %10.1f %10.2f\n", pair.bits, seedLabel, seedRate / 1e6, bitRate / 1e6,
                    seedRate / bitRate);
    }

    // Capture path: batches of 2047 read frames into a ring of 5000, with no
    // frame or every 16th frame too short to keep.
    std::printf("\nRing append, batches of 2047 into a ring of 5000; Mframes/s\n");
    std::printf("%-20s %12s %12s %12s %10s\n", "frames dropped", "memcpy", "append", "appendIf", "If/append");
    ValueLayout layout;
    layout.dataType = DataType::Integer16;
    fillFrames(frames, layout);
    constexpr unsigned batches = frameCount / 2047;
    // framesPerSecond counts frameCount frames a round; these rounds handle batches * 2047.
    const double roundScale = static_cast<double>(batches) * 2047 / frameCount;
    for (unsigned dropEvery : {0u, 16u}) {
        std::vector<TessFrameT> reads(frames.begin(), frames.begin() + 2047);
        for (size_t i = 0; dropEvery != 0 && i < reads.size(); i += dropEvery)
            reads[i].len = 1;
        FrameRing ring(5000);
        const FrameFit fits(layout);
        const double ringCopy = framesPerSecond([&] {
            for (unsigned b = 0; b < batches; ++b)
                std::memcpy(copy.data() + (b % 2) * 2047, reads.data(), 2047 * sizeof(TessFrameT));
            sink = static_cast<double>(copy[100].data[1]);
        });
        const double ringSingle = framesPerSecond([&] {
            for (unsigned b = 0; b < batches; ++b) {
                for (const TessFrameT& f : reads) {
                    if (fits(f.len))
                        ring.append(f);
                }
            }
            sink = static_cast<double>(ring.frames[ring.head].data[0]);
        });
        const double ringRuns = framesPerSecond([&] {
            for (unsigned b = 0; b < batches; ++b) {
                ring.appendIf(reads.data(), static_cast<int>(reads.size()),
                              [&fits](const TessFrameT& f) { return fits(f.len); });
            }
            sink = static_cast<double>(ring.frames[ring.head].data[0]);
        });
        char label[32];
        std::snprintf(label, sizeof label, dropEvery ? "1 in %u" : "none", dropEvery);
        std::printf("%-20s %12.1f %12.1f %12.1f %10.2f\n", label, ringCopy * roundScale / 1e6,
                    ringSingle * roundScale / 1e6, ringRuns * roundScale / 1e6, ringRuns / ringSingle);
    }

    // The filter of a multiplexed bit-level row reads the switch of every
    // frame; beside it the seed row's length test. Both keep every 4th frame:
    // the seed row's others are too short, the bit row's hold other switch
    // values.
    std::printf("\nRing append filter, 1 frame in 4 kept, batches of 2047 into a ring of 5000, best of 15;"
                " Mframes/s of processor time\n");
    std::printf("%-20s %12s %12s %10s\n", "", "seed length", "bit switch", "bit/seed");
    {
        std::vector<TessFrameT> reads(frames.begin(), frames.begin() + 2047);
        std::vector<TessFrameT> shortReads = reads;
        for (size_t i = 0; i < reads.size(); ++i) {
            reads[i].data[0] = static_cast<uint8_t>(i % 4);
            shortReads[i].len = i % 4 == 1 ? 8 : 1;
        }
        ValueLayout muxed = layout;
        muxed.bitLayout = parseBitLayoutText(QStringLiteral("15|16@0+ m1"), muxSwitch).layout;
        FrameRing ring(5000);
        const auto appendAll = [&](const ValueLayout& l, const std::vector<TessFrameT>& batch, bool whole) {
            return [&, whole, fits = FrameFit(l)] {
                for (unsigned b = 0; b < batches; ++b) {
                    ring.appendIf(batch.data(), static_cast<int>(batch.size()),
                                  [&](const TessFrameT& f) { return whole ? fits(f) : fits(f.len); });
                }
                sink = static_cast<double>(ring.frames[ring.head].data[0]);
            };
        };
        const auto [seedFilter, muxFilter] =
            bestOfAlternating(appendAll(layout, shortReads, false), appendAll(muxed, reads, true));
        std::printf("%-20s %12.1f %12.1f %10.2f\n", "15|16@0+ m1", seedFilter * roundScale / 1e6,
                    muxFilter * roundScale / 1e6, seedFilter / muxFilter);
    }
    return 0;
}
