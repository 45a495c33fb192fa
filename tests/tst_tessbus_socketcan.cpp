// The SocketCAN backend of the driver: its pure mappings (baud values, bit
// timing, frames, filters) and that a machine without CAN sockets gets no
// net instead of a crash.
//
// The mappings are compiled into this test from the library's sources: the
// library exports nothing but the driver and test interfaces.
#include "../tessbus/src/bittiming.cpp"
#include "../tessbus/src/socketcanmapping.cpp"

#include "tessbus_test.h"
#include "testsupport.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QtTest>

#include <linux/can/error.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <functional>

using namespace tessbus;

Q_DECLARE_METATYPE(can_frame)
Q_DECLARE_METATYPE(TessFrame)

namespace {

can_frame canFrame(canid_t id, std::initializer_list<uint8_t> data, uint8_t dlc = 0xFF)
{
    can_frame f{};
    f.can_id = id;
    f.can_dlc = dlc == 0xFF ? static_cast<uint8_t>(data.size()) : dlc;
    std::copy(data.begin(), data.end(), f.data);
    return f;
}

TessFrame tessFrame(uint32_t id, uint8_t len, std::initializer_list<uint8_t> data)
{
    TessFrame f{};
    f.id = id;
    f.len = len;
    std::copy(data.begin(), data.end(), f.data);
    return f;
}

bool canAfCan()
{
    const int fd = socket(PF_CAN, SOCK_RAW, CAN_RAW);
    if (fd < 0)
        return false;
    ::close(fd);
    return true;
}

} // namespace

class TestTessbusSocketCan : public QObject
{
    Q_OBJECT

private slots:
    void cleanupTestCase()
    {
        QTemporaryDir dir;
        QFile file(dir.filePath("empty.conf"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        qputenv("TESSBUS_CONFIG", QFile::encodeName(file.fileName()));
        tessTestReload();
    }

    void baudIndex_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<uint>("bitrate");
        const uint rates[] = {1000000, 666666, 500000, 333333, 250000, 166666, 125000,
                              100000,  66666,  50000,  33333,  20000,  12500,  10000};
        for (int i = 0; i < 14; ++i)
            QTest::addRow("index %d", i) << i << true << rates[i];
        QTest::newRow("index -1") << -1 << false << 0u;
        QTest::newRow("index 14") << 14 << false << 0u;
    }

    void baudIndex()
    {
        QFETCH(int, index);
        QFETCH(bool, valid);
        QFETCH(uint, bitrate);
        uint32_t actual = 0;
        QCOMPARE(baudIndexToBitrate(index, &actual), valid);
        if (valid)
            QCOMPARE(actual, bitrate);
        BaudSetting setting;
        QCOMPARE(parseBaud(static_cast<uint32_t>(index), &setting), valid);
        if (valid) {
            QVERIFY(!setting.isBtr);
            QCOMPARE(setting.bitrate, bitrate);
        }
    }

    void btr_data()
    {
        QTest::addColumn<uint>("btr");
        QTest::addColumn<uint>("brp");
        QTest::addColumn<uint>("sjw");
        QTest::addColumn<uint>("tseg1");
        QTest::addColumn<uint>("tseg2");
        QTest::addColumn<bool>("triple");
        QTest::addColumn<uint>("bitrate");
        QTest::addColumn<uint>("samplePoint");
        QTest::newRow("0x0014 1 Mbit/s") << 0x0014u << 1u << 1u << 5u << 2u << false << 1000000u << 750u;
        QTest::newRow("0x001C 500 kbit/s") << 0x001Cu << 1u << 1u << 13u << 2u << false << 500000u << 875u;
        QTest::newRow("0x011C 250 kbit/s") << 0x011Cu << 2u << 1u << 13u << 2u << false << 250000u << 875u;
        QTest::newRow("0x031C 125 kbit/s") << 0x031Cu << 4u << 1u << 13u << 2u << false << 125000u << 875u;
        QTest::newRow("0x432F 100 kbit/s") << 0x432Fu << 4u << 2u << 16u << 3u << false << 100000u << 850u;
        QTest::newRow("0x472F 50 kbit/s") << 0x472Fu << 8u << 2u << 16u << 3u << false << 50000u << 850u;
        QTest::newRow("0x672F 10 kbit/s") << 0x672Fu << 40u << 2u << 16u << 3u << false << 10000u << 850u;
        QTest::newRow("0x00AC triple sampling")
            << 0x00ACu << 1u << 1u << 13u << 3u << true << 470588u << 824u;
        QTest::newRow("0xFFFF slowest") << 0xFFFFu << 64u << 4u << 16u << 8u << true << 5000u << 680u;
    }

    void btr()
    {
        QFETCH(uint, btr);
        QFETCH(uint, brp);
        QFETCH(uint, sjw);
        QFETCH(uint, tseg1);
        QFETCH(uint, tseg2);
        QFETCH(bool, triple);
        QFETCH(uint, bitrate);
        QFETCH(uint, samplePoint);
        const BtrTiming t = decodeBtr(static_cast<uint16_t>(btr));
        QCOMPARE(t.brp, brp);
        QCOMPARE(t.sjw, sjw);
        QCOMPARE(t.tseg1, tseg1);
        QCOMPARE(t.tseg2, tseg2);
        QCOMPARE(t.tripleSampling, triple);
        QCOMPARE(t.bitrate, bitrate);
        QCOMPARE(t.samplePoint, samplePoint);
        QCOMPARE(t.tqNs, brp * 125); // two periods of 16 MHz per prescaler step
        // The kernel gets the same quantum and segments.
        const can_bittiming k = kernelBittiming(t);
        QCOMPARE(k.tq, brp * 125);
        QCOMPARE(k.prop_seg + k.phase_seg1, tseg1);
        QCOMPARE(k.phase_seg2, tseg2);
        QCOMPARE(k.sjw, sjw);
        QCOMPARE(k.bitrate, bitrate);
        BaudSetting setting;
        QVERIFY(parseBaud(TESS_BAUD_BTR | btr, &setting));
        QVERIFY(setting.isBtr);
        QCOMPARE(setting.bitrate, bitrate);
    }

    void badBaudValues_data()
    {
        QTest::addColumn<uint>("baud");
        QTest::newRow("BTR 0x0000 above 1 Mbit/s") << uint(TESS_BAUD_BTR);
        QTest::newRow("BTR 0x0011 above 1 Mbit/s") << uint(TESS_BAUD_BTR | 0x0011);
        QTest::newRow("bits above the BTR value") << uint(TESS_BAUD_BTR | 0x1001C);
        QTest::newRow("index 14") << 14u;
        QTest::newRow("no flag, large") << 0x001C0000u;
    }

    void badBaudValues()
    {
        QFETCH(uint, baud);
        BaudSetting setting;
        QVERIFY(!parseBaud(baud, &setting));
    }

    void bitratesMatchTolerance()
    {
        QVERIFY(bitratesMatch(666666, 666666));
        QVERIFY(bitratesMatch(666667, 666666));
        QVERIFY(bitratesMatch(33333, 33333));
        QVERIFY(!bitratesMatch(250000, 500000));
        QVERIFY(!bitratesMatch(510000, 500000));
    }

    void frameConversion_data()
    {
        QTest::addColumn<can_frame>("can");
        QTest::addColumn<TessFrame>("tess");
        QTest::newRow("11-bit data") << canFrame(0x123, {0xDE, 0xAD, 0xBE, 0xEF})
                                     << tessFrame(0x123, 4, {0xDE, 0xAD, 0xBE, 0xEF});
        QTest::newRow("29-bit data") << canFrame(0x18FEF100 | CAN_EFF_FLAG, {1, 2, 3, 4, 5, 6, 7, 8})
                                     << tessFrame(0x18FEF100 | TESS_ID_29BIT, 8, {1, 2, 3, 4, 5, 6, 7, 8});
        QTest::newRow("29-bit 0x123")
            << canFrame(0x123 | CAN_EFF_FLAG, {9}) << tessFrame(0x123 | TESS_ID_29BIT, 1, {9});
        QTest::newRow("empty") << canFrame(0x7FF, {}) << tessFrame(0x7FF, 0, {});
        QTest::newRow("11-bit remote, length 4")
            << canFrame(0x321 | CAN_RTR_FLAG, {}, 4) << tessFrame(0x321, TESS_FRAME_RTR | 4, {});
        QTest::newRow("29-bit remote") << canFrame(0x1FFFFFFF | CAN_EFF_FLAG | CAN_RTR_FLAG, {}, 0)
                                       << tessFrame(0x1FFFFFFF | TESS_ID_29BIT, TESS_FRAME_RTR, {});
    }

    void frameConversion()
    {
        QFETCH(can_frame, can);
        QFETCH(TessFrame, tess);
        TessFrame toTess;
        std::memset(&toTess, 0x77, sizeof(toTess));
        QVERIFY(canFrameToTess(can, &toTess));
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(&toTess), sizeof(TessFrame)),
                 QByteArray(reinterpret_cast<const char*>(&tess), sizeof(TessFrame)));
        can_frame toCan;
        std::memset(&toCan, 0x77, sizeof(toCan));
        QVERIFY(tessToCanFrame(tess, &toCan));
        QCOMPARE(toCan.can_id, can.can_id);
        QCOMPARE(toCan.can_dlc, can.can_dlc);
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(toCan.data), 8),
                 QByteArray(reinterpret_cast<const char*>(can.data), 8));
    }

    void framesThatDoNotConvert()
    {
        TessFrame tess;
        QVERIFY(!canFrameToTess(canFrame(CAN_ERR_FLAG | CAN_ERR_BUSOFF, {}, 8), &tess));
        can_frame tooLong = canFrame(0x100, {}, 9);
        QVERIFY(!canFrameToTess(tooLong, &tess));
        can_frame can;
        QVERIFY(!tessToCanFrame(tessFrame(0x800, 1, {1}), &can));
        QVERIFY(!tessToCanFrame(tessFrame(0x40000000 | TESS_ID_29BIT, 1, {1}), &can));
        QVERIFY(!tessToCanFrame(tessFrame(0x100, 9, {}), &can));
    }

    void filters_data()
    {
        QTest::addColumn<uint>("id");
        QTest::addColumn<uint>("canId");
        QTest::addColumn<uint>("mask");
        QTest::newRow("11-bit") << 0x123u << 0x123u << uint(CAN_SFF_MASK | CAN_EFF_FLAG);
        QTest::newRow("29-bit") << uint(0x123 | TESS_ID_29BIT) << uint(0x123 | CAN_EFF_FLAG)
                                << uint(CAN_EFF_MASK | CAN_EFF_FLAG);
    }

    void filters()
    {
        QFETCH(uint, id);
        QFETCH(uint, canId);
        QFETCH(uint, mask);
        const can_filter f = filterForId(id);
        QCOMPARE(f.can_id, canId);
        QCOMPARE(f.can_mask, mask);
        // The kernel's rule: a frame passes when (frame id & mask) == (filter id & mask).
        const auto passes = [&f](canid_t frameId) {
            return (frameId & f.can_mask) == (f.can_id & f.can_mask);
        };
        QVERIFY(passes(canId));
        QVERIFY(passes(canId | CAN_RTR_FLAG));
        QVERIFY(!passes(canId ^ CAN_EFF_FLAG));
        QVERIFY(!passes(canId + 1));
    }

    void socketCanNetFailsCleanlyWithoutCanSockets()
    {
        QTemporaryDir dir;
        QFile file(dir.filePath("tessbus.conf"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        // An interface name that no machine has, so that the net fails here
        // even where CAN sockets exist.
        file.write("net 0 socketcan tbnone7\nnet 1 virtual\n");
        file.close();
        qputenv("TESSBUS_CONFIG", QFile::encodeName(file.fileName()));
        const QByteArray errors = TestSupport::captureStderr([] { tessTestReload(); });
        QVERIFY2(errors.startsWith(QFile::encodeName(file.fileName()) + ":1: socketcan tbnone7: "),
                 errors.constData());
        QVERIFY(errors.contains(canAfCan() ? "no network interface" : "CAN sockets are not available"));
        int handle = 99;
        QVERIFY(tessOpen(0, 0, 1, 2047, 0, 0, &handle) != 0);
        QCOMPARE(handle, -1);
        QCOMPARE(tessTestOpenHandles(0), -1);
        QCOMPARE(tessOpen(1, 0, 1, 2047, 0, 0, &handle), 0);
    }

    void noConfigurationMeansTheMachinesInterfaces()
    {
        if (QFile::exists("/etc/tessbus.conf"))
            QSKIP("this machine has a driver configuration in /etc");
        if (canAfCan())
            QSKIP("this machine has CAN sockets; its interfaces would become nets");
        QTemporaryDir home;
        const QByteArray savedConfig = qgetenv("TESSBUS_CONFIG");
        const QByteArray savedXdg = qgetenv("XDG_CONFIG_HOME");
        qunsetenv("TESSBUS_CONFIG");
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path()));
        tessTestReload();
        int handle;
        const int result = tessOpen(0, 0, 1, 1, 0, 0, &handle);
        const int nets = tessTestOpenHandles(0);
        qputenv("TESSBUS_CONFIG", savedConfig);
        qputenv("XDG_CONFIG_HOME", savedXdg);
        QVERIFY(result != 0);
        QCOMPARE(nets, -1);
    }
};

QTEST_GUILESS_MAIN(TestTessbusSocketCan)
#include "tst_tessbus_socketcan.moc"
