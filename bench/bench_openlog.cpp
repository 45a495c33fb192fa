// Opening a candump log of 5 million frames into rows of the window (Data,
// "Open CAN Log...": reading, the rows' frames kept, each row's curve built
// and decoded), beside two baselines measured in the same run on the same
// file: canlogs reading every frame and nothing else, and canlogs reading
// plus the rows' frames copied out and decoded as a refresh decodes them.
// The best of three runs counts, the three taking turns. Offscreen.
//
//   bench_openlog [frames] [rows]      default 5000000 frames, 8 rows
#include "canlogs/canlog_reader.h"
#include "framedecode.h"
#include "plotcurve.h"
#include "tableplotconfig.h"
#include "vistrelmainwindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr uint32_t firstId = 0x100;
constexpr uint32_t ids = 50; // of which the rows read the first ones

// A bus of 50 ids with 8 data bytes each, 100 to 300 µs apart.
void writeLog(const std::string& path, size_t count)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) {
        std::perror(path.c_str());
        std::exit(1);
    }
    std::mt19937 rnd(7);
    uint64_t t = 1600000000ULL * 1000000;
    for (size_t i = 0; i < count; ++i) {
        t += 100 + rnd() % 200;
        std::fprintf(file, "(%" PRIu64 ".%06" PRIu64 ") can0 %03X#%08X%08X\n", t / 1000000, t % 1000000,
                     unsigned(firstId + rnd() % ids), unsigned(rnd()), unsigned(rnd()));
    }
    std::fclose(file);
}

size_t readOnly(const std::string& path)
{
    canlogs::LogReader reader(path);
    std::vector<canlogs::Frame> batch(8192);
    size_t frames = 0;
    while (!reader.atEnd())
        frames += reader.read(batch.data(), batch.size());
    return frames;
}

// The rows' frames copied out as a capture thread would store them, then
// decoded per row into arrays of their size.
size_t readAndDecode(const std::string& path, int rows)
{
    canlogs::LogReader reader(path);
    std::vector<canlogs::Frame> batch(8192);
    std::vector<std::vector<TessFrameT>> kept(static_cast<size_t>(rows));
    int64_t first = -1;
    while (!reader.atEnd()) {
        const size_t n = reader.read(batch.data(), batch.size());
        for (size_t i = 0; i < n; ++i) {
            const canlogs::Frame& f = batch[i];
            if (first < 0)
                first = f.timeNs;
            if (f.id - firstId >= uint32_t(rows))
                continue;
            TessFrameT frame{};
            frame.id = f.id;
            frame.len = f.length;
            std::copy(f.data, f.data + 8, frame.data);
            frame.timestamp = uint64_t(f.timeNs);
            kept[f.id - firstId].push_back(frame);
        }
    }
    ValueLayout layout;
    layout.dataType = DataType::Unsigned16;
    size_t points = 0;
    for (const std::vector<TessFrameT>& frames : kept) {
        std::vector<double> x(frames.size()), y(frames.size());
        points += decodeFramesNewestFirst(layout, frames.data(), unsigned(frames.size()), uint64_t(first),
                                          1000000000, x.data(), y.data())
                      .count;
    }
    return points;
}

size_t openInWindow(VistrelMainWindow& window, const std::string& path)
{
    window.openCanLog(QString::fromStdString(path));
    size_t points = 0;
    for (const auto& curve : window.curves())
        points += size_t(curve->pointCount() - 1);
    return points;
}

template <typename Run> double seconds(Run run)
{
    QElapsedTimer timer;
    timer.start();
    run();
    return timer.nsecsElapsed() / 1e9;
}

} // namespace

int main(int argc, char** argv)
{
    const size_t count = argc > 1 ? size_t(std::strtoull(argv[1], nullptr, 10)) : 5000000;
    const int rows = argc > 2 ? std::clamp(std::atoi(argv[2]), 1, int(ids)) : 8;
    QTemporaryDir folder;
    // No nets: the rows and the log's one channel meet on net 0, unasked.
    const QString driverConfig = folder.filePath("tessbus.conf");
    QFile(driverConfig).open(QIODevice::WriteOnly);
    qputenv("TESSBUS_CONFIG", driverConfig.toLocal8Bit());
    QApplication app(argc, argv);
    const std::string path = folder.filePath("log.log").toStdString();
    writeLog(path, count);

    VistrelMainWindow window;
    TablePlotConfig& config = *window.tableConfig();
    for (int row = 0; row < rows; ++row) {
        config.setCurrentCell(row - 1, TablePlotConfig::ColName);
        window.projectAddCurve();
        config.setIdText(row, QString::number(firstId + uint32_t(row)));
        config.setDataType(row, DataType::Unsigned16);
    }

    double best[3] = {1e9, 1e9, 1e9};
    size_t results[3] = {};
    for (int round = 0; round < 3; ++round) {
        best[0] = std::min(best[0], seconds([&] { results[0] = readOnly(path); }));
        best[1] = std::min(best[1], seconds([&] { results[1] = readAndDecode(path, rows); }));
        // Fresh curves in place of those of the last round, so that
        // nothing is asked before their points are replaced.
        for (int row = 0; row < rows; ++row)
            window.createCurve(row), window.eraseCurve(row + 1);
        best[2] = std::min(best[2], seconds([&] { results[2] = openInWindow(window, path); }));
    }
    std::printf("%zu frames, %d rows of %zu points together\n", results[0], rows, results[2]);
    std::printf("%-34s %10s %14s\n", "", "seconds", "frames/s");
    const char* const names[] = {"baseline: canlogs reading", "baseline: reading + decoding",
                                 "Open CAN Log in the window"};
    for (int i = 0; i < 3; ++i)
        std::printf("%-34s %10.3f %14.0f\n", names[i], best[i], double(results[0]) / best[i]);
    std::printf("window / (reading + decoding): %.2f\n", best[2] / best[1]);
    return results[1] == results[2] ? 0 : 1;
}
