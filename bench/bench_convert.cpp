// vistrel-convert's speed and memory. A generated candump log (5 million
// frames by default) of four DBC messages with three signals each, among
// other ids (a fifth of the frames), is read by canlogs' LogReader alone
// (the baseline) and converted to long CSV in a file by LogConverter, in
// the same run, the two taking turns, best of three. The goal: conversion
// at a quarter of the parsing speed or better. Processor seconds (all
// threads) are shown beside the wall-clock ones.
//
// Then the real binary converts a log of 20 million frames (and, as the
// baseline, one of half a million) to CSV, and its peak resident memory is
// read from getrusage of the child; the goal is 200 MB at most. Last, the
// 20 million frames as two logs given in reverse, which the converter
// sorts through temporary files.
//
// Usage: bench_convert [frames] [rss-frames]
#include "convertoptions.h"
#include "logconverter.h"

#include <canlogs/canlog_reader.h>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

const char* const dbcText = R"(VERSION ""
BU_: ECU
BO_ 256 ENGINE: 8 ECU
 SG_ RPM : 0|16@1+ (0.25,0) [0|16383.75] "rpm" ECU
 SG_ COOLANT : 16|8@1+ (1,-40) [-40|215] "degC" ECU
 SG_ LOAD : 24|8@1+ (0.5,0) [0|127.5] "%" ECU
BO_ 512 WHEELS: 8 ECU
 SG_ FRONT_LEFT : 7|16@0+ (0.01,0) [0|655.35] "km/h" ECU
 SG_ FRONT_RIGHT : 23|16@0+ (0.01,0) [0|655.35] "km/h" ECU
 SG_ REAR : 39|16@0+ (0.01,0) [0|655.35] "km/h" ECU
BO_ 768 MOTION: 8 ECU
 SG_ LONG_ACCEL : 0|12@1- (0.02,0) [-40.96|40.94] "m/s2" ECU
 SG_ LAT_ACCEL : 12|12@1- (0.02,0) [-40.96|40.94] "m/s2" ECU
 SG_ YAW_RATE : 24|16@1- (0.01,0) [-327.68|327.67] "deg/s" ECU
BO_ 2364540158 EEC1: 8 ECU
 SG_ TORQUE : 16|8@1+ (1,-125) [-125|130] "%" ECU
 SG_ SPEED : 24|16@1+ (0.125,0) [0|8031.875] "rpm" ECU
 SG_ SOURCE : 40|8@1+ (1,0) [0|255] "" ECU
)";

// Four fifths of the frames are the DBC's messages, the rest other ids;
// 50 to 500 µs apart, random data. With several paths the frames are cut
// into that many logs, one after the other in time.
void writeLog(const std::vector<std::string>& paths, size_t count)
{
    std::mt19937 rnd(42);
    uint64_t t = 1600000000ULL * 1000000;
    char line[96];
    for (size_t part = 0; part < paths.size(); ++part) {
        std::FILE* out = std::fopen(paths[part].c_str(), "wb");
        if (!out) {
            std::perror(paths[part].c_str());
            std::exit(1);
        }
        for (size_t i = count * part / paths.size(); i < count * (part + 1) / paths.size(); ++i) {
            t += 50 + rnd() % 450;
            const unsigned pick = rnd() % 5;
            const bool extended = pick == 3;
            const uint32_t id = pick == 0   ? 0x100
                                : pick == 1 ? 0x200
                                : pick == 2 ? 0x300
                                : extended  ? 0x0CF004FE
                                            : 0x400 + rnd() % 0x300;
            int n = std::snprintf(line, sizeof line,
                                  extended ? "(%" PRIu64 ".%06" PRIu64 ") can0 %08X#"
                                           : "(%" PRIu64 ".%06" PRIu64 ") can0 %03X#",
                                  t / 1000000, t % 1000000, id);
            for (int b = 0; b < 8; ++b)
                n += std::snprintf(line + n, sizeof line - size_t(n), "%02X", unsigned(rnd() & 0xFF));
            line[n++] = '\n';
            std::fwrite(line, 1, size_t(n), out);
        }
        std::fclose(out);
    }
}

uint64_t parseOnly(const std::string& path)
{
    canlogs::LogReader reader(path);
    std::vector<canlogs::Frame> batch(4096);
    uint64_t frames = 0, check = 0;
    while (const size_t n = reader.read(batch.data(), batch.size())) {
        frames += n;
        for (size_t i = 0; i < n; ++i)
            check += batch[i].id + uint64_t(batch[i].timeNs) + batch[i].data[0];
    }
    return check == 42 ? 0 : frames; // keeps the parsing alive
}

bool convert(const std::string& dbc, const std::string& log, const std::string& csv)
{
    const ConvertArguments arguments =
        parseConvertArguments({"--dbc", QString::fromStdString(dbc), "-o", QString::fromStdString(csv),
                               QString::fromStdString(log)});
    LogConverter converter(arguments.options);
    const LogConverter::Outcome outcome = converter.run();
    if (outcome.status != 0)
        std::fprintf(stderr, "%s\n", qPrintable(outcome.error));
    return outcome.status == 0;
}

// Wall-clock and processor seconds (all threads, user and system) of a job.
struct Seconds
{
    double wall = 1e9;
    double cpu = 1e9;
};

double processorSeconds()
{
    struct rusage usage
    {};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Keeps the best of the runs.
void measure(Seconds& best, const std::function<void()>& work)
{
    const double cpu = processorSeconds();
    const Clock::time_point start = Clock::now();
    work();
    best.wall = std::min(best.wall, std::chrono::duration<double>(Clock::now() - start).count());
    best.cpu = std::min(best.cpu, processorSeconds() - cpu);
}

double megabytes(const std::string& path)
{
    struct stat st
    {};
    ::stat(path.c_str(), &st);
    return double(st.st_size) / 1e6;
}

// Runs the binary on logs into a CSV file; its peak resident set in MB.
double peakMegabytes(const std::string& dbc, const std::vector<std::string>& logs, const std::string& csv,
                     double* wall)
{
    const std::string binary = VISTREL_CONVERT_BINARY;
    std::vector<std::string> args{binary, "--dbc", dbc, "-o", csv};
    args.insert(args.end(), logs.begin(), logs.end());
    std::vector<char*> argv;
    for (std::string& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    const Clock::time_point start = Clock::now();
    if (posix_spawn(&pid, binary.c_str(), nullptr, nullptr, argv.data(), environ) != 0) {
        std::perror(binary.c_str());
        std::exit(1);
    }
    int status = 0;
    struct rusage usage
    {};
    wait4(pid, &status, 0, &usage);
    *wall = std::chrono::duration<double>(Clock::now() - start).count();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        std::printf("the converter failed\n");
    return double(usage.ru_maxrss) / 1024.0; // kilobytes on Linux
}

} // namespace

int main(int argc, char** argv)
{
    const size_t count = argc > 1 ? size_t(std::strtoull(argv[1], nullptr, 10)) : 5000000;
    const size_t rssCount = argc > 2 ? size_t(std::strtoull(argv[2], nullptr, 10)) : 20000000;
    char folder[] = "/tmp/bench_convert-XXXXXX";
    if (!::mkdtemp(folder))
        return 1;
    const std::string dir = folder;
    const std::string dbc = dir + "/bench.dbc", log = dir + "/bench.log", csv = dir + "/bench.csv";
    if (std::FILE* f = std::fopen(dbc.c_str(), "wb")) {
        std::fputs(dbcText, f);
        std::fclose(f);
    }
    writeLog({log}, count);

    Seconds parse, conversion;
    uint64_t parsed = 0;
    bool converted = true;
    for (int run = 0; run < 3; ++run) {
        measure(parse, [&] { parsed = parseOnly(log); });
        measure(conversion, [&] { converted = convert(dbc, log, csv) && converted; });
    }
    const double parseRate = double(parsed) / parse.wall, convertRate = double(count) / conversion.wall;
    std::printf("candump log of %zu frames (%.0f MB), 12 signals of 4 messages in 4/5 of the frames\n", count,
                megabytes(log));
    std::printf("%-28s %12s %10s %10s\n", "", "frames/s", "seconds", "cpu s");
    std::printf("%-28s %10.2f M %10.3f %10.3f\n", "parse only (baseline)", parseRate / 1e6, parse.wall,
                parse.cpu);
    std::printf("%-28s %10.2f M %10.3f %10.3f   CSV %.0f MB\n", "convert to long CSV", convertRate / 1e6,
                conversion.wall, conversion.cpu, megabytes(csv));
    std::printf("ratio convert/parse: %.2f (goal 0.25)%s; by processor time %.2f\n", convertRate / parseRate,
                converted ? "" : ", FAILED", parse.cpu / conversion.cpu);
    std::printf("(the conversion parses on one thread and writes on another: on a busy machine it gets less "
                "of its share)\n");
    ::unlink(csv.c_str());
    ::unlink(log.c_str());

    if (rssCount > 0) {
        std::printf("\npeak resident memory of vistrel-convert to long CSV (goal 200 MB at most):\n");
        const std::string first = dir + "/first.log", second = dir + "/second.log";
        struct Case
        {
            size_t frames;
            std::vector<std::string> written;
            std::vector<std::string> given;
            const char* what;
        } cases[] = {{500000, {log}, {log}, "in order (baseline)"},
                     {rssCount, {log}, {log}, "in order"},
                     {rssCount, {first, second}, {second, first}, "two halves given in reverse"}};
        for (const Case& c : cases) {
            writeLog(c.written, c.frames);
            double wall = 0.0;
            const double peak = peakMegabytes(dbc, c.given, csv, &wall);
            double logMegabytes = 0.0;
            for (const std::string& path : c.written)
                logMegabytes += megabytes(path);
            std::printf("%10zu frames, %-28s %7.1f MB peak RSS, %6.1f s, log %.0f MB, CSV %.0f MB\n",
                        c.frames, c.what, peak, wall, logMegabytes, megabytes(csv));
            ::unlink(csv.c_str());
            for (const std::string& path : c.written)
                ::unlink(path.c_str());
        }
    }
    ::unlink(dbc.c_str());
    ::rmdir(folder);
    return 0;
}
