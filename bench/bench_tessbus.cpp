// Throughput of the driver's virtual net: one thread injects frames, one
// reader takes them in batches of 2047 with tessReadT, as a capture thread
// does. The baseline, measured in the same run, is a plain memcpy of the
// same records in the same batches.
#include "tessbus.h"
#include "tessbus_test.h"

#include <QFile>
#include <QTemporaryDir>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr int kBatch = 2047;
constexpr long kFrames = 4000000;

struct Result
{
    const char* name;
    long frames;
    long lost;
    double seconds;
};

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

Result memcpyBaseline()
{
    std::vector<TessFrameT> source(kBatch);
    std::vector<TessFrameT> target(kBatch);
    for (int i = 0; i < kBatch; ++i) {
        source[i] = TessFrameT{};
        source[i].id = 0x100;
        source[i].len = 8;
        source[i].data[0] = static_cast<uint8_t>(i);
    }
    unsigned checksum = 0;
    const auto start = std::chrono::steady_clock::now();
    for (long done = 0; done < kFrames; done += kBatch) {
        const long n = std::min<long>(kBatch, kFrames - done);
        source[0].data[1] = static_cast<uint8_t>(done); // a new batch each time
        std::memcpy(target.data(), source.data(), static_cast<size_t>(n) * sizeof(TessFrameT));
        // The copy must really happen, though only two bytes of it are read.
        asm volatile("" : : "r"(target.data()) : "memory");
        checksum += target[static_cast<size_t>(n - 1)].data[0] + target[0].data[1];
    }
    const double seconds = secondsSince(start);
    std::printf("(memcpy checksum %u)\n", checksum);
    std::fflush(stdout);
    return {"memcpy, batches of 2047", kFrames, 0, seconds};
}

// Injects kFrames in batches of `injectBatch`; the reader drains in batches
// of 2047. With `paced`, the injector stays less than a queue ahead of the
// reader, so that nothing is lost; without, the queue overflows.
Result throughVirtualNet(const char* name, int injectBatch, int rxQueue, bool paced)
{
    int handle = -1;
    if (tessOpen(0, 0, 1, rxQueue, 0, 0, &handle) != 0 || tessIdAdd(handle, 0x100) != 0) {
        std::fprintf(stderr, "cannot open the virtual net\n");
        return {name, 0, 0, 0};
    }
    std::atomic<long> received{0};
    std::atomic<long> lost{0};
    std::thread reader([&] {
        std::vector<TessFrameT> frames(kBatch);
        long got = 0;
        // The last frame is marked; a full queue drops the oldest frames,
        // so it always arrives.
        for (bool last = false; !last;) {
            int count = kBatch;
            if (tessReadT(handle, frames.data(), &count, nullptr) != 0)
                break;
            got += count;
            received.store(got, std::memory_order_release);
            last = frames[static_cast<size_t>(count - 1)].data[7] == 0xFF;
        }
        lost = kFrames - got;
    });
    tessTestWaitForReaders(0, 1, 5000);

    std::vector<TessFrame> batch(static_cast<size_t>(injectBatch));
    for (int i = 0; i < injectBatch; ++i) {
        batch[static_cast<size_t>(i)] = TessFrame{};
        batch[static_cast<size_t>(i)].id = 0x100;
        batch[static_cast<size_t>(i)].len = 8;
    }
    const auto start = std::chrono::steady_clock::now();
    for (long done = 0; done < kFrames; done += injectBatch) {
        const int n = static_cast<int>(std::min<long>(injectBatch, kFrames - done));
        while (paced && done + n - received.load(std::memory_order_acquire) > rxQueue)
            std::this_thread::yield();
        batch[0].data[0] = static_cast<uint8_t>(done);
        if (done + n == kFrames)
            batch[static_cast<size_t>(n - 1)].data[7] = 0xFF;
        tessTestInject(0, batch.data(), n);
    }
    reader.join();
    const double seconds = secondsSince(start);
    tessClose(handle);
    return {name, received.load(), lost.load(), seconds};
}

void print(const Result& r, double baselineRate)
{
    const double rate = r.seconds > 0 ? r.frames / r.seconds : 0;
    const double mb = rate * sizeof(TessFrameT) / 1e6;
    std::printf("%-44s %9ld %8ld %8.3f %14.0f %9.1f %9.3f\n", r.name, r.frames, r.lost, r.seconds, rate, mb,
                baselineRate > 0 ? rate / baselineRate : 0);
}

} // namespace

int main()
{
    QTemporaryDir dir;
    QFile config(dir.filePath("tessbus.conf"));
    if (!config.open(QIODevice::WriteOnly))
        return 1;
    config.write("net 0 virtual name=BENCH_CAN\n");
    config.close();
    qputenv("TESSBUS_CONFIG", QFile::encodeName(config.fileName()));
    tessTestReload();

    const Result baseline = memcpyBaseline();
    const std::vector<Result> results = {
        throughVirtualNet("virtual net, inject 2047, queue 2047", 2047, 2047, true),
        throughVirtualNet("virtual net, inject 2047, queue 65536", 2047, 65536, true),
        throughVirtualNet("virtual net, inject 64, queue 65536", 64, 65536, true),
        throughVirtualNet("virtual net, inject 1, queue 65536", 1, 65536, true),
        throughVirtualNet("overflowing: inject 2047 unpaced, queue 2047", 2047, 2047, false),
    };

    const double baselineRate = baseline.frames / baseline.seconds;
    std::printf("\n%-44s %9s %8s %8s %14s %9s %9s\n", "path (24-byte records, reads of 2047)", "frames",
                "lost", "seconds", "frames/s", "MB/s", "ratio");
    print(baseline, baselineRate);
    for (const Result& r : results)
        print(r, baselineRate);
    std::printf("\nframes/s counts the frames read; lost: dropped by the full queue (oldest first).\n");
    qputenv("TESSBUS_CONFIG", "/dev/null");
    tessTestReload();
    return 0;
}
