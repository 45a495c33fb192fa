// The driver: its C interface on virtual nets, its configuration, the demo
// vehicle, replays, and SocketCAN's pure mappings (compiled in: not exported).
#include "../tessbus/src/bittiming.cpp"
#include "../tessbus/src/socketcanmapping.cpp"

#include "driver_support.h"
#include "framedecode.h"
#include "netrate.h"

#include <canlogs/canlog_reader.h>

#include <QtTest>

#include <sys/stat.h>

#include <future>

using namespace TestSupport;
using Ids = std::vector<uint32_t>;

namespace {

constexpr uint32_t k29 = TESS_ID_29BIT;
const QByteArray smallLog = VISTREL_TEST_DATA_DIR "/replay-small.log";
const QByteArray logsDir = VISTREL_TEST_DATA_DIR "/canlogs/";

// A handle that admits `ids`; its reads give up after `timeoutMs`.
int openHandle(int net, const Ids& ids = {}, int rxQueue = 2047, int timeoutMs = 100)
{
    int handle = -1;
    tessOpen(net, 0, 1, rxQueue, 0, timeoutMs, &handle);
    for (uint32_t id : ids)
        tessIdAdd(handle, int32_t(id));
    return handle;
}

// Reads up to `wanted` frames, `batch` at a time, until a read fails.
std::vector<TessFrameT> readFrames(int handle, size_t wanted = 100000, int batch = 64)
{
    std::vector<TessFrameT> all;
    std::vector<TessFrameT> buffer(size_t(batch), TessFrameT{});
    while (all.size() < wanted) {
        int count = int(std::min(size_t(batch), wanted - all.size()));
        if (tessReadT(handle, buffer.data(), &count, nullptr) != 0)
            break;
        all.insert(all.end(), buffer.begin(), buffer.begin() + count);
    }
    return all;
}

// Frames as "id length data", in hex: "123 4 deadbeef".
QStringList describe(const std::vector<TessFrameT>& frames)
{
    QStringList lines;
    for (const TessFrameT& f : frames) {
        const QByteArray data(reinterpret_cast<const char*>(f.data),
                              (f.len & TESS_FRAME_RTR) ? 0 : std::min(f.len & 0x0F, 8));
        lines << QStringLiteral("%1 %2 %3").arg(f.id, 0, 16).arg(f.len, 0, 16).arg(QString(data.toHex()));
    }
    return lines;
}

// clang-format off
// Frames of these ids are injected on every row.
const uint32_t max11 = 0x7FF, max29 = 0x1FFFFFFF | k29;
const Ids injectedIds = {0x000, 0x123, 0x123 | k29, 0x124, max11, max29, 0x18FEF101 | k29};
const struct { const char* name; QByteArray features; Ids added, refused, received; } filterRows[] = {
    {"no id, no frame",          "Fc,2b,Ts", {},                   {},                  {}},
    {"11-bit 0x123, not 29-bit", "Fc,2b,Ts", {0x123},              {},                  {0x123}},
    {"ids add up, largest ones", "2b",       {max11, max29, 0},    {},                  {0, max11, max29}},
    {"beyond 11 bits, bit 30",   "2b",       {0x800, 0x40000123},  {0x800, 0x40000123}, {}},
    {"29-bit without 2b",        "Fc,Ts",    {0x123 | k29, 0x124}, {0x123 | k29},       {0x124}}};

const struct { const char* name; int rxQueue, injected, lost; } overflowRows[] = {
    {"fits exactly", 4, 4, 0}, {"six too many", 4, 10, 6}, {"lost count stops at 255", 2, 400, 255}};

// A virtual net accepts a baud value exactly where the SocketCAN backend
// finds a bit rate (0: refused). A BTR value's timing goes to the kernel in
// quanta of 125 ns per prescaler step (16 MHz), with its sample point (per
// mille) and jump width.
const struct { const char* name; uint32_t baud, bitrate, quantumNs, samplePoint, sjw; } baudRows[] = {
    {"index 0",                    0,                        1000000, 0,    0,   0},
    {"index 13",                   13,                       10000,   0,    0,   0},
    {"index 14",                   14,                       0,       0,    0,   0},
    {"BTR 0x001C",                 TESS_BAUD_BTR | 0x001C,   500000,  125,  875, 1},
    {"BTR 0xFFFF, slowest",        TESS_BAUD_BTR | 0xFFFF,   5000,    8000, 680, 4},
    {"BTR 0x0011, above 1 Mbit/s", TESS_BAUD_BTR | 0x0011,   0,       0,    0,   0},
    {"bits between flag and BTR",  TESS_BAUD_BTR | 0x10001C, 0,       0,    0,   0},
    {"flag bit 30",                0x40000000,               0,       0,    0,   0}};

const struct { const char* name; canid_t canId; uint8_t dlc; TessFrame tess; } socketCanRows[] = {
    {"11-bit data",   0x123,                        4, frame(0x123, {0xDE, 0xAD, 0xBE, 0xEF})},
    {"29-bit 0x123",  0x123 | CAN_EFF_FLAG,         1, frame(0x123 | k29, {9})},
    {"29-bit remote", 0x1FFFFFFF | CAN_EFF_FLAG | CAN_RTR_FLAG, 4, frame(max29, {}, TESS_FRAME_RTR | 4)}};

// Nets 0 and 1 come from the good lines around the bad one.
const struct { const char* name; QByteArray line, message; } configErrorRows[] = {
    {"net twice",                   "net 0 virtual name=SECOND",               "twice"},
    {"net 256",                     "net 256 virtual",                         "bad net number"},
    {"no backend",                  "net 5",                                   "no backend"},
    {"unknown backend",             "net 5 pcan usb1",                         "unknown backend"},
    {"not a net line",              "bus 5 virtual",                           "expected 'net"},
    {"unknown option",              "net 5 virtual fast",                      "unknown option"},
    {"tsfreq 0",                    "net 5 virtual tsfreq=0",                  "tsfreq"},
    {"replay log missing",          "net 5 replay nowhere.log",                "nowhere.log"},
    {"replay log without frames",   "net 5 replay empty.log",                  "holds no CAN frames"},
    {"replay channel without",      "net 5 replay " + smallLog + " channel=1", "no CAN frames on channel 1"},
    {"replay speed -1",             "net 5 replay " + smallLog + " speed=-1", "speed"},
    // It would make loading the configuration wait.
    {"replay of a FIFO",            "net 5 replay fifo.log",                   "not a regular file"},
    {"socketcan interface missing", "net 5 socketcan tbnone7",                 "socketcan tbnone7: "}};

// A signal of each message of the demo vehicle, and those that move: type,
// byte order, position from 0, mask and scale; min and max hold over the
// first 2 s of the drive, in which each value covers at least `span` (the
// vehicle pulls away and steers out).
const uint32_t j1939a = 0x18FEF100 | k29, j1939b = 0x0CF00400 | k29;
const struct { const char* name; uint32_t id; int periodMs; ValueLayout layout; double min, max, span; }
demoRows[] = {
    {"engine speed",     0x100,  10,  {3, 0, 0, 0xFF, 0.25},  600,  1700, 300},
    {"vehicle speed",    0x1A0,  20,  {6, 0, 0, 0xFF, 1},     0,    20,   5},
    {"steering",         0x1A0,  20,  {4, 1, 4, 0xFF, 0.001}, -5,   50,   20},
    {"battery voltage",  0x2F0,  100, {7, 1, 0, 0xFF, 1},     12,   15,   0.01},
    {"battery current",  0x2F1,  100, {7, 0, 0, 0xFF, 1},     -10,  45,   0.5},
    {"acceleration",     0x3C0,  50,  {4, 0, 0, 0xFF, 0.001}, -0.5, 2.5,  1},
    {"distance",         j1939a, 100, {5, 0, 0, 0xFF, 1},     0,    10,   0},
    {"yaw rate",         j1939b, 50,  {2, 0, 0, 0xFF, 0.01},  -1,   6,    0}};

// 1000 frames of one kind each, their bits on the wire worked out by hand
// (worst-case stuffing), and their rate and load over `seconds`.
const struct { const char* name; uint32_t id; uint8_t len; uint64_t bits; int32_t baud; double seconds, fps, load; }
trafficRows[] = {
    {"11-bit, 8 bytes, 500 kbit/s",        0x123,     8,                  135, 2,                        1,    1000, 27},
    {"29-bit, 8 bytes, 250 kbit/s",        j1939a,    8,                  160, 4,                        1,    1000, 64},
    {"11-bit, empty, BTR 0x001C, 1.25 s",  max11,     0,                  55,  int32_t(TESS_BAUD_BTR | 0x001C), 1.25, 800, 8.8},
    {"11-bit remote for 8, 1 Mbit/s",      0x123,     TESS_FRAME_RTR | 8, 55,  0,                        1,    1000, 5.5},
    {"29-bit remote, BTR beyond 1 Mbit/s", max29,     TESS_FRAME_RTR | 2, 80,  int32_t(TESS_BAUD_BTR),   1,    1000, 0},
    {"no time between the samples",        0x123,     8,                  135, 2,                        0,    0,    0}};

// speed 0: as fast as read, and no loop
const struct { const char* name; QByteArray line; int rxQueue, speed; } replayRows[] = {
    {"relative path, queue of one loses nothing", "net 0 replay logs/small.log speed=0",          1,    0},
    {"twenty times the pace, looped",             "net 0 replay " + smallLog + " speed=20 loop=1", 2047, 20}};

// Logs of every format, copied under a name (with lines appended) and
// replayed at speed 0; channels count from 0 as canlogs numbers them.
const struct { const char* name; QByteArray source, copy, appended, options, board; } logRows[] = {
    {"candump, three buses, FD",   logsDir + "candump.log",        "candump.log",   "", "",          "candump.log"},
    {"candump, the third bus",     logsDir + "candump.log",        "candump.log",   "", "channel=2", "candump.log"},
    {"TRC 2.1, named",             logsDir + "peak-2.1.trc",       "peak-2.1.trc",  "", "name=PEAK", "PEAK"},
    {"BLF, name cut to 13",        logsDir + "vector.blf",         "bus-recording-2.blf", "", "",    "bus-recording"},
    {"BLF, remote and FD frames",  logsDir + "vector-kinds.blf",   "kinds.blf",     "", "",          "kinds.blf"},
    {"candump, damaged at the end", logsDir + "candump.log",       "damaged.log",
                                    "(1600000009.0) can0 123#0\n(1600000010.0) can0 123#01\n", "",  "damaged.log"}};

// Frames due beyond any life of the process (both conversions into the
// steady clock's integers would overflow).
const struct { const char* name; QByteArray log, options; } farRows[] = {
    {"gap of 9.2e9 s, the longest a log can state",
     "(0.000000) can0 123#01\n(9223372035.999999) can0 123#02\n", "speed=1"},
    {"speed 1e-300, looped", "(1.0) can0 123#01\n(2.0) can0 123#02\n", "speed=1e-300 loop=1"}};

// clang-format on

} // namespace

class TestTessbus : public QObject
{
    Q_OBJECT

    QByteArray configure(const QByteArray& t) { return writeDriverConfig(dir->filePath("tessbus.conf"), t); }
    void write(const QString& name, const QByteArray& bytes)
    {
        QVERIFY(!writeFile(dir->filePath(name), bytes).isEmpty());
    }

    std::unique_ptr<QTemporaryDir> dir;
    std::vector<TessFrameT> demoFrames;

private slots:
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void cleanupTestCase() { configure(""); } // no driver thread runs on at exit

    void filters_data() { addRows(filterRows); }
    void filters()
    {
        const auto& row = tableRow(filterRows);
        configure("net 0 virtual features=" + row.features + "\n");
        const int h = openHandle(0, {}, 100, 30);
        for (uint32_t id : row.added)
            QCOMPARE(tessIdAdd(h, int32_t(id)) == 0,
                     std::count(row.refused.begin(), row.refused.end(), id) == 0);
        std::vector<TessFrameT> expected;
        for (uint32_t id : injectedIds) {
            const TessFrameT f = frameT(id, {uint8_t(id)});
            QCOMPARE(tessTestInjectT(0, &f, 1), 0);
            if (std::count(row.received.begin(), row.received.end(), id))
                expected.push_back(f);
        }
        QCOMPARE(describe(readFrames(h)), describe(expected));
    }

    // A read without a time limit waits for frames, and then for more until
    // the handle is closed under it.
    void readsAndClose()
    {
        configure("net 0 virtual\n");
        const int h = openHandle(0, {0x10}, 2047, 0);
        const auto read = [h] {
            TessFrame got[4];
            int count = 4;
            return tessRead(h, got, &count, nullptr) + count * 1000;
        };
        std::future<int> first, last;
        const auto closeOnExit = qScopeGuard([h] { tessClose(h); }); // releases a read left waiting
        first = std::async(std::launch::async, read);
        QCOMPARE(tessTestWaitForReaders(0, 1, 5000), 0);
        const TessFrame frames[] = {frame(0x10, {1}), frame(0x10, {2}), frame(0x10, {3})};
        QCOMPARE(tessTestInject(0, frames, 3), 0);
        QCOMPARE(first.get(), 3000);
        last = std::async(std::launch::async, read);
        QCOMPARE(tessTestWaitForReaders(0, 1, 5000), 0);
        QCOMPARE(tessClose(h), 0);
        QCOMPARE(last.get(), TESS_ERR_HANDLE); // with a count of 0
        QVERIFY(tessClose(h) != 0);            // the handle is gone
        QCOMPARE(tessTestOpenHandles(0), 0);
    }

    void overflow_data() { addRows(overflowRows); }
    void overflow()
    {
        const auto& row = tableRow(overflowRows);
        configure("net 0 virtual\n");
        const int handles[] = {openHandle(0, {0x42}, row.rxQueue, 10), openHandle(0, {0x42}, 1000, 10)};
        for (int i = 0; i < row.injected; ++i) {
            const TessFrame f = frame(0x42, {uint8_t(i), uint8_t(i >> 8)});
            QCOMPARE(tessTestInject(0, &f, 1), 0);
        }
        std::vector<TessFrameT> got[] = {readFrames(handles[0]), readFrames(handles[1])};
        const TessFrame next = frame(0x42, {0xFF, 0xFF});
        tessTestInject(0, &next, 1);
        // The newest frames stay; the first of them carries the lost count,
        // once. The other handle on the same id lost nothing.
        for (int k = 0; k < 2; ++k) {
            got[k].push_back(readFrames(handles[k]).at(0));
            const int kept = k == 0 ? std::min(row.rxQueue, row.injected) : row.injected;
            QCOMPARE(int(got[k].size()), kept + 1);
            for (int i = 0; i <= kept; ++i) {
                QCOMPARE(got[k][size_t(i)].data[0] | got[k][size_t(i)].data[1] << 8,
                         i < kept ? row.injected - kept + i : 0xFFFF);
                QCOMPARE(int(got[k][size_t(i)].lost), i == 0 && k == 0 ? row.lost : 0);
            }
        }
    }

    // Frames that no handle admits, on a net without timestamps, still count
    // with their estimated bits; rate and load follow from two samples.
    void traffic_data() { addRows(trafficRows); }
    void traffic()
    {
        const auto& row = tableRow(trafficRows);
        configure("net 0 virtual features=Fc,2b\n");
        const int info = openHandle(0), other = openHandle(0, {0x42});
        TessTraffic before{1, 1}, after{};
        QCOMPARE(tessIoctl(other, TESS_IOCTL_GET_TRAFFIC, &before), 0);
        const std::vector<TessFrame> frames(1000, frame(row.id, {}, row.len));
        QCOMPARE(tessTestInject(0, frames.data(), int(frames.size())), 0);
        const TessFrame refused = frame(0x800, {1});
        QVERIFY(tessTestInject(0, &refused, 1) != 0);
        QCOMPARE(tessIoctl(info, TESS_IOCTL_GET_TRAFFIC, &after), 0);
        QCOMPARE(QVector<uint64_t>({before.frames, before.bits, after.frames, after.bits}),
                 QVector<uint64_t>({0, 0, 1000, 1000 * row.bits}));
        uint64_t stamp;
        QVERIFY(tessIoctl(info, TESS_IOCTL_GET_TIMESTAMP, &stamp) != 0);

        const NetRate rate = netRate({before.frames, before.bits, 10},
                                     {after.frames, after.bits, 10 + row.seconds}, bitRateOfBaud(row.baud));
        QVERIFY2(
            qAbs(rate.framesPerSecond - row.fps) <= 0.02 * row.fps &&
                qAbs(rate.loadPercent - row.load) <= 0.02 * row.load,
            qPrintable(QStringLiteral("%1 frames/s, %2 %").arg(rate.framesPerSecond).arg(rate.loadPercent)));
        // Counters that went back belong to a net made anew: no rate.
        const NetRate back = netRate({after.frames, after.bits, 11}, {before.frames, before.bits, 12}, 5e5);
        QCOMPARE(back.framesPerSecond + back.loadPercent, 0.0);
    }

    void baud_data() { addRows(baudRows); }
    void baud()
    {
        const auto& row = tableRow(baudRows);
        configure("net 0 virtual\n");
        const int h = openHandle(0);
        QCOMPARE(tessSetBaudrate(h, 3), 0);
        QCOMPARE(tessSetBaudrate(h, row.baud) == 0, row.bitrate != 0);
        uint32_t last = 0;
        QCOMPARE(tessTestHandleBaud(h, &last), 0);
        QCOMPARE(last, row.bitrate ? row.baud : 3u); // the last accepted value counts
        tessbus::BaudSetting setting;
        QCOMPARE(tessbus::parseBaud(row.baud, &setting), row.bitrate != 0);
        QCOMPARE(setting.bitrate, row.bitrate);
        QCOMPARE(setting.isBtr, row.quantumNs != 0);
        if (!setting.isBtr)
            return;
        const can_bittiming k = tessbus::kernelBittiming(setting.timing);
        const uint32_t quanta = 1 + k.prop_seg + k.phase_seg1 + k.phase_seg2;
        QCOMPARE(QVector<uint64_t>({k.tq, k.bitrate, k.sjw, k.sample_point,
                                    (1000 * (quanta - k.phase_seg2) + quanta / 2) / quanta,
                                    k.tq * quanta * k.bitrate}),
                 QVector<uint64_t>(
                     {row.quantumNs, row.bitrate, row.sjw, row.samplePoint, row.samplePoint, 1000000000}));
    }

    void socketCanFrames_data() { addRows(socketCanRows); }
    void socketCanFrames()
    {
        const auto& row = tableRow(socketCanRows);
        can_frame can{};
        can.can_id = row.canId;
        can.can_dlc = row.dlc;
        std::copy(row.tess.data, row.tess.data + 8, can.data);
        TessFrame toTess;
        std::memset(&toTess, 0x77, sizeof toTess);
        QVERIFY(tessbus::canFrameToTess(can, &toTess));
        QCOMPARE(bytes(&toTess), bytes(&row.tess));
        can_frame toCan;
        QVERIFY(tessbus::tessToCanFrame(row.tess, &toCan));
        QCOMPARE(bytes(&toCan), bytes(&can));
        // Error frames and impossible lengths or ids don't pass.
        can.can_id |= CAN_ERR_FLAG;
        QVERIFY(!tessbus::canFrameToTess(can, &toTess));
        QVERIFY(!tessbus::tessToCanFrame(frame(0x800, {1}), &toCan));
        // The kernel passes a frame when (its id & mask) == (filter id & mask):
        // data and remote frames of the id, not the other id width.
        const can_filter f = tessbus::filterForId(row.tess.id);
        const auto passes = [&f](canid_t id) { return (id & f.can_mask) == (f.can_id & f.can_mask); };
        const canid_t id = row.canId & (CAN_EFF_FLAG | CAN_EFF_MASK);
        QVERIFY(passes(id) && passes(id | CAN_RTR_FLAG));
        QVERIFY(!passes(id ^ CAN_EFF_FLAG) && !passes(id + 1));
    }

    void configurationErrors_data() { addRows(configErrorRows); }
    void configurationErrors()
    {
        const auto& row = tableRow(configErrorRows);
        write("empty.log", "# nothing recorded\n");
        QCOMPARE(mkfifo(QFile::encodeName(dir->filePath("fifo.log")).constData(), 0600), 0);
        const QByteArray errors =
            configure("# nets\nnet 0 virtual\n" + row.line + "   # comment\n\nnet 1 virtual\n");
        QVERIFY2(errors.startsWith(QFile::encodeName(dir->filePath("tessbus.conf")) + ":3: ") &&
                     errors.contains(row.message) && errors.count('\n') == 1,
                 errors.constData());
        // The other lines make their nets.
        QVERIFY(tessTestOpenHandles(0) == 0 && tessTestOpenHandles(1) == 0);
        QCOMPARE(tessTestOpenHandles(5), -1);
    }

    // Over the first 2 s of the demo bus, decoded by the curves' own decoder:
    // each message comes at its period, each value lies in its range, and
    // speed, engine speed and steering already move.
    void demoVehicle_data() { addRows(demoRows); }
    void demoVehicle()
    {
        const auto& row = tableRow(demoRows);
        if (demoFrames.empty()) {
            configure("net 0 virtual demo\n");
            const int h = openHandle(0, {0x100, 0x1A0, 0x2F0, 0x2F1, 0x3C0, j1939a, j1939b});
            for (QDeadlineTimer end(2000); !end.hasExpired();) {
                const std::vector<TessFrameT> got = readFrames(h, 64);
                demoFrames.insert(demoFrames.end(), got.begin(), got.end());
            }
        }
        int inFirstSecond = 0; // of the bus's own 1 MHz clock
        std::vector<double> values;
        for (const TessFrameT& f : demoFrames) {
            double value, raw;
            if (f.id != row.id || !decodeValue(row.layout, f, false, &value, &raw))
                continue;
            inFirstSecond += f.timestamp - demoFrames.front().timestamp < 1000000 ? 1 : 0;
            QVERIFY2(value >= row.min && value <= row.max, qPrintable(QString::number(value)));
            values.push_back(value);
        }
        QVERIFY2(inFirstSecond >= 600 / row.periodMs && inFirstSecond <= 1400 / row.periodMs + 1,
                 qPrintable(QString::number(inFirstSecond)));
        const auto range = std::minmax_element(values.begin(), values.end());
        QVERIFY2(*range.second - *range.first >= row.span,
                 qPrintable(QString::number(*range.second - *range.first)));
    }

    // tests/data/replay-small.log, written down here by hand.
    void replaySmallLog_data() { addRows(replayRows); }
    void replaySmallLog()
    {
        const auto& row = tableRow(replayRows);
        // "321 3 112233" is CAN FD in the log, short enough for a classic frame.
        const QStringList expected =
            QStringLiteral("123 4 deadbeef|38fef100 8 0102030405060708|7ff 0 |123 10 |"
                           "2cf00400 14 |321 3 112233|123 8 0011223344556677|"
                           "20000123 2 aabb|456 1 01|123 1 ff")
                .split('|');
        // Recorded offsets in us; a loop starts again after the mean frame
        // interval, at 2.2222 s.
        const int64_t offsetsUs[] = {0,      100000, 200000,  300000,  400000,  500000,
                                     600000, 800000, 1000000, 2000000, 2222222, 2322222};
        write("logs/small.log", readAll(smallLog));
        QCOMPARE(configure(row.line + "\n"), QByteArray());
        const Ids ids{0x123, 0x18FEF100 | k29, 0x7FF, 0x0CF00400 | k29, 0x321, 0x123 | k29, 0x456};
        const int wanted = row.speed ? 12 : 10;
        const int h = openHandle(0, ids, row.rxQueue, 1000);
        const std::vector<TessFrameT> got = readFrames(h, size_t(wanted), 1);
        QCOMPARE(describe(got), (expected + expected).mid(0, wanted));
        if (!row.speed) { // the net counted each frame once, bits by hand from the list above
            TessTraffic traffic{};
            QCOMPARE(tessIoctl(h, TESS_IOCTL_GET_TRAFFIC, &traffic), 0);
            QCOMPARE(QVector<uint64_t>({traffic.frames, traffic.bits}),
                     QVector<uint64_t>({10, 95 + 160 + 55 + 55 + 80 + 85 + 135 + 100 + 65 + 65}));
        }
        // Stamped on the 1 MHz counter at the recorded spacing over the speed.
        for (size_t i = 1; i < got.size() && row.speed; ++i) {
            const int64_t due = offsetsUs[i] / row.speed;
            QVERIFY2(qAbs(int64_t(got[i].timestamp - got[0].timestamp) - due) <= 1,
                     qPrintable(QString::number(i)));
        }
        // The next listener hears the log from its beginning.
        QCOMPARE(tessClose(h), 0);
        QCOMPARE(describe(readFrames(openHandle(0, ids, 10, 1000), 1)), expected.mid(0, 1));
    }

    // Each log gives the frames that canlogs reads from it, CAN FD frames of
    // up to 8 bytes as classic ones. The net's one warning counts the longer
    // ones and names the line where damage ends the log.
    void replayLogs_data() { addRows(logRows); }
    void replayLogs()
    {
        const auto& row = tableRow(logRows);
        write(row.copy, readAll(row.source) + row.appended);
        const QByteArray copy = QFile::encodeName(dir->filePath(row.copy));
        const canlogs::LogContents log = canlogs::readLog(copy.toStdString());
        const int channel = row.options.startsWith("channel=") ? row.options.mid(8).toInt() : -1;
        std::vector<TessFrameT> expected;
        Ids ids; // an id admitted twice is admitted once
        int skipped = 0;
        for (const canlogs::Frame& f : log.frames) {
            const bool remote = f.flags & canlogs::FrameRemote;
            skipped += f.length > 8 && !remote && (channel < 0 || f.channel == channel);
            if ((channel >= 0 && f.channel != channel) || (f.length > 8 && !remote))
                continue;
            TessFrameT t = frameT(f.id | (f.flags & canlogs::FrameExtended ? k29 : 0), {}, 0,
                                  f.length | (remote ? TESS_FRAME_RTR : 0));
            std::copy(f.data, f.data + (remote ? 0 : f.length), t.data);
            expected.push_back(t);
            ids.push_back(t.id);
        }
        QCOMPARE(configure("net 0 replay " + row.copy + " speed=0 " + row.options + "\n"), QByteArray());
        std::vector<TessFrameT> got;
        const int h = openHandle(0, ids);
        const QByteArray warning = captureStderr([&] {
            got = readFrames(h);
            tessTestReload(); // the playback has ended and said what it had to
        });
        QCOMPARE(describe(got), describe(expected));
        const QByteArray fd =
            QByteArray::number(skipped) + " CAN FD frames with more than 8 data bytes skipped";
        const QByteArray damage = QByteArray::fromStdString(log.error).mid(copy.size() + 2); // "line 7: ..."
        QVERIFY2(warning.isEmpty() == (!skipped && damage.isEmpty()) && warning.count('\n') <= 1 &&
                     (!skipped || warning.contains(fd)) && warning.contains(damage),
                 warning.constData());
        QVERIFY(row.appended.isEmpty() || damage.startsWith("line "));
        int info;
        TessStatus status;
        QVERIFY(tessOpen(0, 0, 1, 1, 0, 0, &info) == 0 && tessStatus(info, &status) == 0);
        QCOMPARE(QByteArray(status.boardName), row.board);
    }

    // The first frame plays, the far one never does, and the net still ends
    // at once.
    void replayFarFuture_data() { addRows(farRows); }
    void replayFarFuture()
    {
        const auto& row = tableRow(farRows);
        write("far.log", row.log);
        QCOMPARE(configure("net 0 replay far.log " + row.options + "\n"), QByteArray());
        QCOMPARE(describe(readFrames(openHandle(0, {0x123}, 10, 300))), QStringList{"123 1 01"});
        QCOMPARE(configure(""), QByteArray());
    }
};

QTEST_GUILESS_MAIN(TestTessbus)
#include "tst_tessbus.moc"
