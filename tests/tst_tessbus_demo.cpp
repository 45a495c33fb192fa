// The demo bus of the driver: its messages arrive at their periods, and
// their signals, decoded here by hand, are plausible and move.
#include "tessbus.h"
#include "tessbus_test.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <cstring>
#include <map>
#include <vector>

namespace {

constexpr uint32_t k29 = TESS_ID_29BIT;

struct Message
{
    uint32_t id;
    int periodMs;
};

const std::vector<Message> kMessages = {{0x100, 10},           {0x1A0, 20}, {0x2F0, 100},
                                        {0x2F1, 100},          {0x3C0, 50}, {0x18FEF100 | k29, 100},
                                        {0x0CF00400 | k29, 50}};

// A value at a byte position (from 0) in a frame's data, for the data type
// index of the curve table (0 Integer8 .. 7 Real64).
double decode(const TessFrameT& f, int pos, int type, bool motorola, uint8_t mask)
{
    static const int sizes[] = {1, 1, 2, 2, 4, 4, 4, 8};
    const int size = sizes[type];
    uint64_t bits = 0;
    for (int i = 0; i < size; ++i) {
        const uint64_t byte = f.data[pos + (motorola ? i : size - 1 - i)];
        bits = (bits << 8) | byte;
    }
    switch (type) {
    case 0:
        return int8_t(uint8_t(bits) & mask);
    case 1:
        return uint8_t(bits) & mask;
    case 2:
        return int16_t(bits);
    case 3:
        return uint16_t(bits);
    case 4:
        return int32_t(bits);
    case 5:
        return uint32_t(bits);
    case 6: {
        float v;
        const uint32_t b = uint32_t(bits);
        std::memcpy(&v, &b, 4);
        return v;
    }
    default: {
        double v;
        std::memcpy(&v, &bits, 8);
        return v;
    }
    }
}

} // namespace

class TestTessbusDemo : public QObject
{
    Q_OBJECT

private:
    void configure(const QByteArray& text)
    {
        const QString path = dir_.filePath("tessbus.conf");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(text);
        file.close();
        qputenv("TESSBUS_CONFIG", QFile::encodeName(path));
        tessTestReload();
    }

    // Collects about a second and a half of the demo bus.
    void record(std::vector<TessFrameT>* frames)
    {
        configure("net 0 virtual demo\n");
        int h = -1;
        QCOMPARE(tessOpen(0, 0, 1, 2047, 0, 500, &h), 0);
        QCOMPARE(tessSetBaudrate(h, 2), 0);
        for (const Message& m : kMessages)
            QCOMPARE(tessIdAdd(h, static_cast<int32_t>(m.id)), 0);
        uint64_t frequency = 0;
        QCOMPARE(tessIoctl(h, TESS_IOCTL_GET_TIMESTAMP_FREQ, &frequency), 0);
        TessFrameT batch[2047];
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 1500) {
            int count = 2047;
            QCOMPARE(tessReadT(h, batch, &count, nullptr), 0);
            frames->insert(frames->end(), batch, batch + count);
        }
        QCOMPARE(tessClose(h), 0);
        QVERIFY(!frames->empty());
        frequency_ = frequency;
    }

    QTemporaryDir dir_;
    std::vector<TessFrameT> frames_;
    uint64_t frequency_ = 0;

private slots:
    void initTestCase()
    {
        QVERIFY(dir_.isValid());
        record(&frames_);
    }

    void cleanupTestCase() { configure(""); }

    void messagesArriveAtTheirPeriods_data()
    {
        QTest::addColumn<uint>("id");
        QTest::addColumn<int>("periodMs");
        for (const Message& m : kMessages)
            QTest::addRow("0x%x%s", m.id & ~k29, m.id & k29 ? " (29-bit)" : "") << uint(m.id) << m.periodMs;
    }

    void messagesArriveAtTheirPeriods()
    {
        QFETCH(uint, id);
        QFETCH(int, periodMs);
        // Counted over one second of the bus's own timestamps.
        const uint64_t start = frames_.front().timestamp;
        int count = 0;
        for (const TessFrameT& f : frames_) {
            if (f.id == id && f.timestamp >= start && f.timestamp < start + frequency_)
                ++count;
            QCOMPARE(int(f.len), 8);
        }
        const int expected = 1000 / periodMs;
        QVERIFY2(count >= expected * 6 / 10 && count <= expected * 14 / 10 + 1,
                 qPrintable(QString("%1 frames, %2 expected").arg(count).arg(expected)));
    }

    void decodedSignals_data()
    {
        QTest::addColumn<uint>("id");
        QTest::addColumn<int>("pos"); // from 0
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("motorola");
        QTest::addColumn<int>("mask");
        QTest::addColumn<double>("scale");
        QTest::addColumn<double>("min"); // scaled, while the vehicle idles
        QTest::addColumn<double>("max");
        QTest::addColumn<bool>("moves"); // within the recorded time
        QTest::newRow("engine speed U16 Intel")
            << 0x100u << 0 << 3 << false << 0xFF << 0.25 << 600.0 << 1000.0 << true;
        QTest::newRow("coolant I8") << 0x100u << 2 << 0 << false << 0xFF << 1.0 << 10.0 << 95.0 << false;
        QTest::newRow("throttle U8") << 0x100u << 3 << 1 << false << 0xFF << 0.4 << 0.0 << 100.0 << false;
        QTest::newRow("torque I16 Motorola")
            << 0x100u << 4 << 2 << true << 0xFF << 0.1 << -100.0 << 400.0 << false;
        QTest::newRow("alive counter U8") << 0x100u << 7 << 1 << false << 0xFF << 1.0 << 0.0 << 255.0 << true;
        QTest::newRow("vehicle speed R32 Intel")
            << 0x1A0u << 0 << 6 << false << 0xFF << 1.0 << 0.0 << 1.0 << false;
        QTest::newRow("steering I32 Motorola")
            << 0x1A0u << 4 << 4 << true << 0xFF << 0.001 << -3.0 << 3.0 << true;
        QTest::newRow("battery voltage R64 Motorola")
            << 0x2F0u << 0 << 7 << true << 0xFF << 1.0 << 12.0 << 15.0 << true;
        QTest::newRow("battery current R64 Intel")
            << 0x2F1u << 0 << 7 << false << 0xFF << 1.0 << -10.0 << 45.0 << true;
        QTest::newRow("acceleration I32 Intel")
            << 0x3C0u << 0 << 4 << false << 0xFF << 0.001 << -0.5 << 0.5 << true;
        QTest::newRow("fuel used U32 Motorola")
            << 0x3C0u << 4 << 5 << true << 0xFF << 1.0 << 0.0 << 100.0 << false;
        QTest::newRow("distance U32 Intel")
            << (0x18FEF100u | k29) << 0 << 5 << false << 0xFF << 1.0 << 0.0 << 10.0 << false;
        QTest::newRow("gear, low nibble")
            << (0x18FEF100u | k29) << 4 << 1 << false << 0x0F << 1.0 << 0.0 << 0.0 << false;
        QTest::newRow("mode, high nibble")
            << (0x18FEF100u | k29) << 4 << 1 << false << 0xF0 << 0.0625 << 0.0 << 0.0 << false;
        QTest::newRow("ambient I8") << (0x18FEF100u | k29) << 5 << 0 << false << 0xFF << 1.0 << 15.0 << 30.0
                                    << false;
        QTest::newRow("yaw rate I16 Intel")
            << (0x0CF00400u | k29) << 0 << 2 << false << 0xFF << 0.01 << -1.0 << 1.0 << false;
        QTest::newRow("boost U16 Motorola")
            << (0x0CF00400u | k29) << 2 << 3 << true << 0xFF << 1.0 << 900.0 << 2200.0 << false;
        QTest::newRow("oil temperature R32 Motorola")
            << (0x0CF00400u | k29) << 4 << 6 << true << 0xFF << 1.0 << 15.0 << 110.0 << true;
    }

    void decodedSignals()
    {
        QFETCH(uint, id);
        QFETCH(int, pos);
        QFETCH(int, type);
        QFETCH(bool, motorola);
        QFETCH(int, mask);
        QFETCH(double, scale);
        QFETCH(double, min);
        QFETCH(double, max);
        QFETCH(bool, moves);
        std::vector<double> values;
        for (const TessFrameT& f : frames_) {
            if (f.id == id)
                values.push_back(decode(f, pos, type, motorola, uint8_t(mask)) * scale);
        }
        QVERIFY(values.size() > 5);
        for (double v : values)
            QVERIFY2(v >= min && v <= max, qPrintable(QString::number(v)));
        const auto [lo, hi] = std::minmax_element(values.begin(), values.end());
        if (moves)
            QVERIFY2(*hi > *lo, "the value stands still");
    }

    void timestampsRise()
    {
        for (size_t i = 1; i < frames_.size(); ++i)
            QVERIFY(frames_[i].timestamp >= frames_[i - 1].timestamp);
    }

    void noTwentyNineBitWithoutTheFeature()
    {
        configure("net 0 virtual demo name=BENCH_CAN features=Fc,Ts\n");
        int h = -1;
        QCOMPARE(tessOpen(0, 0, 1, 2047, 0, 500, &h), 0);
        QVERIFY(tessIdAdd(h, static_cast<int32_t>(0x18FEF100 | k29)) != 0);
        QCOMPARE(tessIdAdd(h, 0x1A0), 0);
        TessFrame frames[64];
        int count = 64;
        QCOMPARE(tessRead(h, frames, &count, nullptr), 0);
        QVERIFY(count >= 1);
        QCOMPARE(frames[0].id, 0x1A0u);
    }

    void listenerLeavingAndComing()
    {
        configure("net 0 virtual demo\n");
        for (int round = 0; round < 3; ++round) {
            int h = -1;
            QCOMPARE(tessOpen(0, 0, 1, 16, 0, 1000, &h), 0);
            QCOMPARE(tessIdAdd(h, 0x100), 0);
            TessFrame frames[16];
            int count = 16;
            QCOMPARE(tessRead(h, frames, &count, nullptr), 0);
            QVERIFY(count >= 1);
            QCOMPARE(tessClose(h), 0);
        }
        // A handle that admits no id hears nothing.
        int idle = -1;
        QCOMPARE(tessOpen(0, 0, 1, 16, 0, 50, &idle), 0);
        TessFrame frames[16];
        int count = 16;
        QCOMPARE(tessRead(idle, frames, &count, nullptr), TESS_ERR_TIMEOUT);
    }
};

QTEST_GUILESS_MAIN(TestTessbusDemo)
#include "tst_tessbus_demo.moc"
