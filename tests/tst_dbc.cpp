// Bit-level signals: the layout text, and decoding at the edges of the bit
// numbering of DBC files.
#include "bitlayouttext.h"
#include "canlog.h"
#include "framedecode.h"
#include "framering.h"
#include "tessbus.h"

#include <QtTest>

#include <cmath>
#include <limits>

namespace {

std::optional<BitLayout> layoutOf(const QString& text, const QString& switchText = QString())
{
    const std::optional<BitLayout> sw =
        switchText.isEmpty() ? std::nullopt : parseBitLayoutText(switchText, {}).layout;
    return parseBitLayoutText(text, sw ? std::optional<BitField>(sw->field) : std::nullopt).layout;
}

TessFrameT frameOf(const QByteArray& data, int len, uint64_t timestamp = 0)
{
    TessFrameT f{};
    f.len = uint8_t(len);
    std::memcpy(f.data, data.constData(), size_t(qMin(data.size(), 8)));
    f.timestamp = timestamp;
    return f;
}

} // namespace

class TestDbc : public QObject
{
    Q_OBJECT

private slots:
    void layoutText_data();
    void layoutText();
    void decodesBits_data();
    void decodesBits();
    void otherMuxValuesAreNoSamples();
};

void TestDbc::layoutText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("switchText");
    QTest::addColumn<QString>("canonical"); // empty: refused

    const auto row = [](const char* name, const char* text, const char* sw, const char* canonical) {
        QTest::newRow(name) << QString(text) << QString(sw) << QString(canonical);
    };
    row("9-bit signed Motorola", "24|9@0-", "", "24|9@0-");
    row("blanks, float32", " 0 | 32 @ 1 - f ", "", "0|32@1-f");
    row("float64", "0|64@1+d", "", "0|64@1+d");
    row("multiplexed", "8|16@1+ m3", "0|8@1+", "8|16@1+ m3");
    row("highest switch value", "8|8@1+m255", "0|8@1+", "8|8@1+ m255");
    row("Motorola within the last byte", "63|8@0+", "", "63|8@0+");
    row("multiplexed without a switch", "8|16@1+ m3", "", "");
    row("switch value too wide", "8|8@1+ m256", "0|8@1+", "");
    row("start bit 64", "64|1@1+", "", "");
    row("length 0", "0|0@1+", "", "");
    row("length 65", "0|65@1+", "", "");
    row("Intel past byte 8", "60|8@1+", "", "");
    row("Motorola past byte 8", "56|16@0+", "", "");
    row("f of 16 bits", "0|16@1+f", "", "");
    row("order 2", "0|8@2+", "", "");
    row("words", "Speed", "", "");
}

void TestDbc::layoutText()
{
    QFETCH(QString, text);
    QFETCH(QString, switchText);
    QFETCH(QString, canonical);
    const std::optional<BitField> sw =
        switchText.isEmpty() ? std::nullopt : std::optional<BitField>(layoutOf(switchText)->field);
    const BitLayoutParse parsed = parseBitLayoutText(text, sw);
    if (canonical.isEmpty()) {
        QVERIFY(!parsed.layout);
        QVERIFY(!parsed.error.isEmpty());
        return;
    }
    QVERIFY2(parsed.layout, qPrintable(parsed.error));
    QCOMPARE(bitLayoutText(*parsed.layout), canonical);
    QVERIFY(parseBitLayoutText(canonical, sw).layout == parsed.layout);
}

void TestDbc::decodesBits_data()
{
    QTest::addColumn<QString>("layout");
    QTest::addColumn<QString>("switchText");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<int>("len");
    QTest::addColumn<double>("raw");

    const double none = std::numeric_limits<double>::quiet_NaN(); // the frame holds no value
    const auto row = [](const char* name, const char* layout, const char* sw, const char* hex, int len,
                        double raw) {
        QTest::newRow(name) << QString(layout) << QString(sw) << QByteArray::fromHex(hex) << len << raw;
    };
    // Intel: the start bit is the lowest bit, counting up through the bytes.
    row("Intel 1 bit, bit 0", "0|1@1+", "", "01", 1, 1);
    row("Intel 1 bit, bit 63", "63|1@1+", "", "0000000000000080", 8, 1);
    row("Intel last byte", "56|8@1+", "", "0000000000000081", 8, 129);
    row("Intel last byte, frame of 7", "56|8@1+", "", "00000000000000", 7, none);
    row("length 15 counts as 8", "56|8@1+", "", "00000000000000FE", 15, 254);
    row("Intel 9 signed minimum", "4|9@1-", "", "0010", 2, -256);
    row("Intel 16 signed minimum", "8|16@1-", "", "000080", 3, -32768);
    row("Intel 32 unsigned", "0|32@1+", "", "FFFFFFFF", 4, 4294967295.0);
    row("Intel 64 unsigned", "0|64@1+", "", "FFFFFFFFFFFFFFFF", 8, 18446744073709551615.0);
    row("Intel 64 signed minimum", "0|64@1-", "", "0000000000000080", 8, -9223372036854775808.0);
    row("Intel float32", "0|32@1-f", "", "0000C03F", 4, 1.5);
    row("Intel float64", "0|64@1-d", "", "00000000000002C0", 8, -2.25);
    // Motorola: the start bit is the highest bit; bits run down a byte, then
    // on from bit 7 of the next one.
    row("Motorola 16 as the seed reads it", "7|16@0+", "", "1234", 2, 4660);
    row("Motorola 1 bit, bit 0", "0|1@0+", "", "01", 1, 1);
    row("Motorola nibbles across bytes", "3|8@0+", "", "0AB0", 2, 171);
    row("Motorola 9 signed -256", "24|9@0-", "", "0000000100", 5, -256);
    row("Motorola 9 signed -1", "24|9@0-", "", "00000001FF", 5, -1);
    row("Motorola 9, frame of 4", "24|9@0-", "", "00000001", 4, none);
    row("Motorola 15", "8|15@0+", "", "0001FFFC", 4, 32767);
    row("Motorola 15, frame of 3", "8|15@0+", "", "0001FF", 3, none);
    row("Motorola 16 in the last bytes", "55|16@0+", "", "000000000000FF01", 8, 65281);
    row("Motorola 32", "39|32@0+", "", "0000000080000001", 8, 2147483649.0);
    row("Motorola 64 signed minimum", "7|64@0-", "", "8000000000000000", 8, -9223372036854775808.0);
    row("Motorola float32", "7|32@0-f", "", "3FC00000", 4, 1.5);
    row("Motorola float64", "7|64@0-d", "", "C002000000000000", 8, -2.25);
    row("remote frame", "0|8@1+", "", "FF", TESS_FRAME_RTR | 8, none);
    // Multiplexed signals: present only where the switch holds their value.
    row("switch matches", "8|8@1+ m3", "0|8@1+", "032A", 2, 42);
    row("switch differs", "8|8@1+ m3", "0|8@1+", "042A", 2, none);
    row("Motorola switch matches", "15|8@0+ m1", "7|4@0+", "1F55", 2, 85);
    row("Motorola switch differs", "15|8@0+ m1", "7|4@0+", "2155", 2, none);
    row("switch beyond the frame", "0|8@1+ m1", "56|8@1+", "01000000", 4, none);
}

void TestDbc::decodesBits()
{
    QFETCH(QString, layout);
    QFETCH(QString, switchText);
    QFETCH(QByteArray, data);
    QFETCH(int, len);
    QFETCH(double, raw);
    const bool holds = !std::isnan(raw);

    ValueLayout value;
    value.bitLayout = layoutOf(layout, switchText);
    QVERIFY(value.bitLayout);
    value.scale = 0.5;
    value.offset = -1.0;
    // Only the frame's own bytes: what lies behind them must not count.
    QByteArray padded = data + QByteArray(8, '\xA5');
    const TessFrameT frame = frameOf(padded, len, 700);

    double v = 99.0;
    double r = 99.0;
    const bool remote = len & TESS_FRAME_RTR; // leaves both alone
    QCOMPARE(decodeValue(value, frame, false, &v, &r), holds);
    QCOMPARE(r, holds ? raw : remote ? 99.0 : 0.0);
    QCOMPARE(v, holds ? raw * 0.5 - 1.0 : remote ? 99.0 : 0.0);
    QCOMPARE(
        decodeValue(value, uint8_t(len), reinterpret_cast<const uint8_t*>(data.constData()), true, &v, &r),
        holds);
    QCOMPARE(FrameFit(value)(frame), holds);

    double x = 0.0;
    double y = 0.0;
    const DecodeSummary s = decodeFramesNewestFirst(value, &frame, 1, 200, 1000, &x, &y);
    QCOMPARE(s.count, holds ? 1u : 0u);
    if (holds) {
        QCOMPARE(y, raw * 0.5 - 1.0);
        QCOMPARE(x, 0.5);
        QCOMPARE(s.rawNewest, raw);
    }
}

void TestDbc::otherMuxValuesAreNoSamples()
{
    ValueLayout value;
    value.bitLayout = layoutOf("8|8@1+ m1", "0|8@1+");
    // Frames oldest first: switch values 1, 2, remote, 1, short, 2, 1.
    const std::vector<TessFrameT> frames = {frameOf(QByteArray::fromHex("010A"), 2, 10),
                                            frameOf(QByteArray::fromHex("020B"), 2, 20),
                                            frameOf(QByteArray::fromHex("010C"), TESS_FRAME_RTR | 2, 30),
                                            frameOf(QByteArray::fromHex("010D"), 2, 40),
                                            frameOf(QByteArray::fromHex("01"), 1, 50),
                                            frameOf(QByteArray::fromHex("020E"), 2, 60),
                                            frameOf(QByteArray::fromHex("010F"), 8, 70)};
    const QVector<double> expectedY = {15, 13, 10}; // newest first
    const QVector<double> expectedX = {0.7, 0.4, 0.1};

    QVector<double> x(7, -1.0), y(7, -1.0);
    const DecodeSummary s = decodeFramesNewestFirst(value, frames.data(), 7, 0, 100, x.data(), y.data());
    QCOMPARE(s.count, 3u);
    QCOMPARE(y.mid(0, 3), expectedY);
    QCOMPARE(x.mid(0, 3), expectedX);
    QCOMPARE(s.lowest, 10.0);
    QCOMPARE(s.highest, 15.0);

    // The ring keeps only what decodes, as the capture thread's filter does.
    FrameRing ring(10);
    const FrameFit fits(value);
    ring.appendIf(frames.data(), 7, [&fits](const TessFrameT& f) { return fits(f); });
    QCOMPARE(ring.count, 3u);

    // The import: samples 1 to 3, newest first.
    CanLog log;
    for (size_t i = 0; i < frames.size(); ++i) {
        TessFrame plain;
        std::memcpy(&plain, &frames[i], sizeof plain);
        log.frames.push_back({plain, double(i)});
        log.framesById[0].push_back(uint32_t(i));
    }
    QVector<double> ix(9, -1.0), iy(9, -1.0);
    int samples = -1;
    QVERIFY(decodeSamples(log, 0, value, ix.data(), iy.data(), nullptr, &samples));
    QCOMPARE(samples, 3);
    QCOMPARE(iy.mid(1, 3), expectedY);
    QCOMPARE(ix.mid(1, 3), (QVector<double>{6, 3, 0}));
    QCOMPARE(iy[4], -1.0);
}

QTEST_GUILESS_MAIN(TestDbc)
#include "tst_dbc.moc"
