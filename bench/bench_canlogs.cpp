// Frames per second through the log reader of canlogs/ on generated logs of
// 5 million frames each, beside a baseline measured in the same run on the
// same file: for the text formats the lines counted (read() into a buffer of
// the reader's size, memchr for each '\n'), for BLF its containers inflated
// and nothing else. The best of five runs counts, the two taking turns. Usage: bench_canlogs [frames]
#include "canlogs/canlog_reader.h"

#include <zlib.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr size_t kBuffer = 1 << 20; // the reader's buffer of text

struct GenFrame
{
    uint64_t timeUs;
    uint32_t id;
    bool extended;
    uint8_t length;
    uint8_t data[8];
};

// Frames of a busy bus: a few hundred ids, some 29-bit, 0 to 8 bytes, 50 to 500 µs apart.
std::vector<GenFrame> makeFrames(size_t count)
{
    std::mt19937 rnd(42);
    std::vector<GenFrame> frames(count);
    uint64_t t = 1600000000ULL * 1000000;
    for (GenFrame& f : frames) {
        t += 50 + rnd() % 450;
        f.timeUs = t;
        f.extended = rnd() % 5 == 0;
        f.id = f.extended ? 0x18F00000 + rnd() % 0x400 : 0x100 + rnd() % 0x300;
        f.length = rnd() % 4 == 0 ? uint8_t(rnd() % 9) : 8;
        for (uint8_t& b : f.data)
            b = uint8_t(rnd());
    }
    return frames;
}

class Writer
{
public:
    explicit Writer(const std::string& path) : file_(std::fopen(path.c_str(), "wb"))
    {
        if (!file_) {
            std::perror(path.c_str());
            std::exit(1);
        }
    }
    ~Writer() { std::fclose(file_); }
    void text(const char* s, size_t n) { std::fwrite(s, 1, n, file_); }
    template <typename... Args> void printf(const char* format, Args... args)
    {
        char line[256];
        text(line, size_t(std::snprintf(line, sizeof line, format, args...)));
    }

private:
    std::FILE* file_;
};

int hexBytes(char* out, const GenFrame& f, const char* separator)
{
    int n = 0;
    for (int i = 0; i < f.length; ++i)
        n += std::sprintf(out + n, "%s%02X", i ? separator : "", f.data[i]);
    return n;
}

void writeCandump(const std::string& path, const std::vector<GenFrame>& frames)
{
    Writer w(path);
    char data[32];
    for (const GenFrame& f : frames) {
        hexBytes(data, f, "");
        w.printf(f.extended ? "(%" PRIu64 ".%06" PRIu64 ") can0 %08X#%s\n"
                            : "(%" PRIu64 ".%06" PRIu64 ") can0 %03X#%s\n",
                 f.timeUs / 1000000, f.timeUs % 1000000, f.id, data);
    }
}

void writeAsc(const std::string& path, const std::vector<GenFrame>& frames)
{
    Writer w(path);
    w.printf("date Sun Sep 13 12:26:40.000 pm 2020\nbase hex  timestamps absolute\ninternal events logged\n"
             "Begin Triggerblock Sun Sep 13 12:26:40.000 pm 2020\n   0.000000 Start of measurement\n");
    char data[32], id[16];
    const uint64_t t0 = frames.front().timeUs;
    for (const GenFrame& f : frames) {
        hexBytes(data, f, " ");
        std::sprintf(id, f.extended ? "%Xx" : "%X", f.id);
        const uint64_t t = f.timeUs - t0;
        w.printf("%4" PRIu64 ".%06" PRIu64 " 1  %-15s Rx   d %u %s\n", t / 1000000, t % 1000000, id, f.length,
                 data);
    }
    w.printf("End TriggerBlock\n");
}

void writeTrc(const std::string& path, const std::vector<GenFrame>& frames)
{
    Writer w(path);
    w.printf(";$FILEVERSION=1.1\n;$STARTTIME=44087.5185185185\n;\n;   Message Number\n");
    char data[32];
    const uint64_t t0 = frames.front().timeUs;
    size_t number = 0;
    for (const GenFrame& f : frames) {
        hexBytes(data, f, " ");
        const uint64_t t = f.timeUs - t0;
        w.printf(f.extended ? "%7zu) %11" PRIu64 ".%01" PRIu64 "  Rx     %08X  %u  %s \n"
                            : "%7zu) %11" PRIu64 ".%01" PRIu64 "  Rx         %04X  %u  %s \n",
                 ++number, t / 1000, (t % 1000) / 100, f.id, f.length, data);
    }
}

template <typename T> void put(std::vector<uint8_t>& out, T value)
{
    const auto* p = reinterpret_cast<const uint8_t*>(&value);
    out.insert(out.end(), p, p + sizeof value);
}

// CAN_MESSAGE objects with 1 ns times in zlib containers of 128 KiB, as Vector's loggers write them.
void writeBlf(const std::string& path, const std::vector<GenFrame>& frames)
{
    Writer w(path);
    std::vector<uint8_t> header(144, 0);
    std::memcpy(header.data(), "LOGG", 4);
    header[4] = 144;
    const uint16_t start[8] = {2020, 9, 0, 13, 12, 0, 0, 0};
    std::memcpy(&header[40], start, sizeof start);
    w.text(reinterpret_cast<const char*>(header.data()), header.size());
    std::vector<uint8_t> stream, packed;
    auto flush = [&](size_t n) {
        uLongf size = compressBound(uLong(n));
        packed.resize(size);
        compress2(packed.data(), &size, stream.data(), uLong(n), Z_DEFAULT_COMPRESSION);
        std::vector<uint8_t> container;
        container.insert(container.end(), {'L', 'O', 'B', 'J'});
        put<uint16_t>(container, 16);
        put<uint16_t>(container, 1);
        put<uint32_t>(container, uint32_t(32 + size));
        put<uint32_t>(container, 10);
        put<uint16_t>(container, 2);
        container.resize(container.size() + 6);
        put<uint32_t>(container, uint32_t(n));
        container.resize(container.size() + 4);
        container.insert(container.end(), packed.begin(), packed.begin() + long(size));
        container.resize(container.size() + (32 + size) % 4);
        w.text(reinterpret_cast<const char*>(container.data()), container.size());
        stream.erase(stream.begin(), stream.begin() + long(n));
    };
    const uint64_t t0 = frames.front().timeUs;
    for (const GenFrame& f : frames) {
        stream.insert(stream.end(), {'L', 'O', 'B', 'J'});
        put<uint16_t>(stream, 32);
        put<uint16_t>(stream, 1);
        put<uint32_t>(stream, 48);
        put<uint32_t>(stream, 1);
        put<uint32_t>(stream, 2); // 1 ns
        put<uint32_t>(stream, 0);
        put<uint64_t>(stream, (f.timeUs - t0) * 1000);
        put<uint16_t>(stream, 1);
        stream.push_back(0);
        stream.push_back(f.length);
        put<uint32_t>(stream, f.id | (f.extended ? 0x80000000u : 0));
        stream.insert(stream.end(), f.data, f.data + 8);
        if (stream.size() >= 128 * 1024)
            flush(128 * 1024); // objects span containers
    }
    if (!stream.empty())
        flush(stream.size());
}

// The same reads as the reader: read() into a buffer of its size.
template <typename Chunk> void readChunks(const std::string& path, size_t bufferSize, Chunk&& chunk)
{
    const int fd = ::open(path.c_str(), O_RDONLY);
    std::vector<char> buffer(bufferSize);
    ssize_t n;
    while ((n = ::read(fd, buffer.data(), buffer.size())) > 0)
        chunk(buffer.data(), size_t(n));
    ::close(fd);
}

uint64_t countLines(const std::string& path)
{
    uint64_t lines = 0;
    readChunks(path, kBuffer, [&](const char* p, size_t n) {
        const char* end = p + n;
        while ((p = static_cast<const char*>(std::memchr(p, '\n', size_t(end - p))))) {
            ++lines;
            ++p;
        }
    });
    return lines;
}

// Inflates every container of a BLF file and does nothing with what comes out.
uint64_t inflateContainers(const std::string& path)
{
    const int fd = ::open(path.c_str(), O_RDONLY);
    uint64_t produced = 0;
    std::vector<uint8_t> raw(256 * 1024), out(1 << 20);
    size_t pos = 0, end = 0;
    auto ensure = [&](size_t n) {
        if (end - pos >= n)
            return true;
        std::memmove(raw.data(), &raw[pos], end - pos);
        end -= pos;
        pos = 0;
        const ssize_t got = ::read(fd, &raw[end], raw.size() - end);
        end += got > 0 ? size_t(got) : 0;
        return end - pos >= n;
    };
    z_stream zs{};
    inflateInit(&zs);
    ensure(144);
    pos = 144;
    while (ensure(32)) {
        uint32_t size;
        std::memcpy(&size, &raw[pos + 8], 4);
        pos += 32;
        uint64_t left = size - 32;
        inflateReset(&zs);
        while (left > 0 && ensure(1)) {
            const size_t in = size_t(std::min<uint64_t>(left, end - pos));
            zs.next_in = &raw[pos];
            zs.avail_in = uInt(in);
            zs.next_out = out.data();
            zs.avail_out = uInt(out.size());
            inflate(&zs, Z_NO_FLUSH);
            produced += out.size() - zs.avail_out;
            pos += in - zs.avail_in;
            left -= in - zs.avail_in;
        }
        ensure(size % 4);
        pos += size % 4;
    }
    inflateEnd(&zs);
    ::close(fd);
    return produced;
}

uint64_t readFrames(const std::string& path)
{
    canlogs::LogReader reader(path);
    std::vector<canlogs::Frame> batch(4096);
    uint64_t frames = 0, check = 0;
    while (const size_t n = reader.read(batch.data(), batch.size())) {
        frames += n;
        for (size_t i = 0; i < n; ++i)
            check += batch[i].id + uint64_t(batch[i].timeNs) + batch[i].data[0];
    }
    if (!reader.error().empty())
        std::fprintf(stderr, "%s\n", reader.error().c_str());
    return check == 42 ? 0 : frames; // keeps the checksum, and so the parsing, alive
}

// Best of five runs each, in seconds, the two taking turns, so that a busy
// moment of the shared machine weighs on both alike.
std::pair<double, double> bestSeconds(const std::function<void()>& work,
                                      const std::function<void()>& baseline)
{
    double best = 1e9, bestBaseline = 1e9;
    for (int run = 0; run < 5; ++run) {
        for (const auto* job : {&work, &baseline}) {
            const Clock::time_point start = Clock::now();
            (*job)();
            double& slot = job == &work ? best : bestBaseline;
            slot = std::min(slot, std::chrono::duration<double>(Clock::now() - start).count());
        }
    }
    return {best, bestBaseline};
}

} // namespace

int main(int argc, char** argv)
{
    const size_t count = argc > 1 ? size_t(std::strtoull(argv[1], nullptr, 10)) : 5000000;
    char folder[] = "/tmp/bench_canlogs-XXXXXX";
    if (!::mkdtemp(folder))
        return 1;
    const std::vector<GenFrame> frames = makeFrames(count);
    struct Format
    {
        const char* name;
        const char* file;
        void (*write)(const std::string&, const std::vector<GenFrame>&);
        bool binary;
    } formats[] = {{"candump", "/log.log", writeCandump, false},
                   {"ASC", "/log.asc", writeAsc, false},
                   {"TRC 1.1", "/log.trc", writeTrc, false},
                   {"BLF", "/log.blf", writeBlf, true}};

    std::printf("%zu frames a log; baseline: text lines counted with memchr, BLF containers inflated\n",
                count);
    std::printf("%-8s %9s %14s %16s %16s %7s\n", "format", "MB", "frames/s", "baseline", "baseline/s",
                "ratio");
    for (const Format& format : formats) {
        const std::string path = folder + std::string(format.file);
        format.write(path, frames);
        uint64_t parsed = 0, baseline = 0;
        const auto [parseSeconds, baseSeconds] =
            bestSeconds([&] { parsed = readFrames(path); },
                        [&] { baseline = format.binary ? inflateContainers(path) : countLines(path); });
        struct stat st
        {};
        ::stat(path.c_str(), &st);
        const double mb = double(st.st_size) / 1e6;
        if (parsed != count)
            std::printf("%s: %" PRIu64 " frames read, %zu written\n", format.name, parsed, count);
        // The ratio compares the same file: frames per second against lines (or inflated frames) per second.
        const double baseRate = format.binary ? double(count) / baseSeconds : double(baseline) / baseSeconds;
        std::printf("%-8s %9.1f %12.2f M %16s %14.2f M %7.2f\n", format.name, mb,
                    double(parsed) / parseSeconds / 1e6, format.binary ? "inflate" : "count lines",
                    baseRate / 1e6, (double(parsed) / parseSeconds) / baseRate);
        ::unlink(path.c_str());
    }
    ::rmdir(folder);
    return 0;
}
