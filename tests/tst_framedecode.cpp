#include "framedecode.h"

#include <QtTest>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

// Bytes of a float or double, least significant first, built apart from the decoder.
template <typename T> QByteArray intelBytes(T v)
{
    QByteArray b(sizeof v, '\0');
    std::memcpy(b.data(), &v, sizeof v);
    if (QSysInfo::ByteOrder == QSysInfo::BigEndian)
        std::reverse(b.begin(), b.end());
    return b;
}

QByteArray reversed(QByteArray b)
{
    std::reverse(b.begin(), b.end());
    return b;
}

ValueLayout layoutOf(int dataType, int byteOrder, int bytePos, int mask = 0xFF, double scale = 1.0,
                     double offset = 0.0)
{
    ValueLayout l;
    l.dataType = dataType;
    l.byteOrder = byteOrder;
    l.bytePos = bytePos;
    l.mask = mask;
    l.scale = scale;
    l.offset = offset;
    return l;
}

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

struct Reference
{
    std::vector<double> x, y;
    double lowest, highest, rawNewest;
};

// The refresh loop written plainly over decodeValue.
Reference referenceDecode(const ValueLayout& layout, const std::vector<TessFrameT>& frames, uint64_t start,
                          uint64_t frequency)
{
    Reference r{{}, {}, std::numeric_limits<double>::max(), -std::numeric_limits<double>::max(), 0.0};
    double value = 0.0;
    double raw = 0.0;
    const size_t n = frames.size();
    for (size_t k = 0; k < n; ++k) {
        const TessFrameT& f = frames[n - 1 - k];
        decodeValue(layout, f, false, &value, &raw);
        if (k == 0)
            r.rawNewest = raw;
        if (value < r.lowest)
            r.lowest = value;
        if (value > r.highest)
            r.highest = value;
        r.x.push_back(double(int64_t(f.timestamp - start)) / double(frequency));
        r.y.push_back(value);
    }
    return r;
}

constexpr double sentinel = 99.0;

} // namespace

class TestFrameDecode : public QObject
{
    Q_OBJECT

private slots:
    void readsRawValues_data();
    void readsRawValues();
    void nanReal32();
    void scaling_data();
    void scaling();
    void checkRules_data();
    void checkRules();
    void fitsFrameAgreesWithCheckOnly();
    void frameOverloadsAgree();
    void batchEqualsPerFrame_data();
    void batchEqualsPerFrame();
    void batchNewestFirstSkipsNaN();
    void batchOfNothing();
};

void TestFrameDecode::readsRawValues_data()
{
    QTest::addColumn<int>("dataType");
    QTest::addColumn<int>("byteOrder");
    QTest::addColumn<int>("bytePos");
    QTest::addColumn<int>("mask");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<double>("raw");

    using namespace DataType;
    const QByteArray ff("\xFF", 1);
    QTest::newRow("Integer8 mask 0x7F never negative") << Integer8 << 0 << 0 << 0x7F << ff << 127.0;
    QTest::newRow("Integer8 mask 0xFF") << Integer8 << 0 << 0 << 0xFF << ff << -1.0;
    QTest::newRow("Integer8 mask 0xF0") << Integer8 << 0 << 0 << 0xF0 << ff << -16.0;
    QTest::newRow("Integer8 mask bits above 0xFF ignored") << Integer8 << 0 << 3 << 0x1FF << ff << -1.0;
    QTest::newRow("Integer8 mask 0x100 is no bit") << Integer8 << 0 << 3 << 0x100 << ff << 0.0;
    QTest::newRow("Integer8 -1 mask is all bits")
        << Integer8 << 0 << 0 << -1 << QByteArray("\x80", 1) << -128.0;
    QTest::newRow("Integer8 Motorola alike") << Integer8 << 1 << 7 << 0xFF << QByteArray("\x85", 1) << -123.0;
    QTest::newRow("Unsigned8 mask 0xFF") << Unsigned8 << 0 << 0 << 0xFF << ff << 255.0;
    QTest::newRow("Unsigned8 mask 0x0F") << Unsigned8 << 0 << 2 << 0x0F << QByteArray("\xAB", 1) << 11.0;
    QTest::newRow("Unsigned8 mask 0xF00") << Unsigned8 << 1 << 2 << 0xF00 << ff << 0.0;
    QTest::newRow("Integer16 Motorola") << Integer16 << 1 << 0 << 0xFF << QByteArray("\x12\x34") << 4660.0;
    QTest::newRow("Integer16 Intel") << Integer16 << 0 << 0 << 0xFF << QByteArray("\x12\x34") << 13330.0;
    QTest::newRow("Integer16 order 2 is Motorola")
        << Integer16 << 2 << 0 << 0xFF << QByteArray("\x12\x34") << 4660.0;
    QTest::newRow("Integer16 mask has no effect")
        << Integer16 << 0 << 6 << 0x0F << QByteArray("\x12\x34") << 13330.0;
    QTest::newRow("Integer16 0xFFFF") << Integer16 << 0 << 0 << 0xFF << QByteArray("\xFF\xFF") << -1.0;
    QTest::newRow("Integer16 Intel min")
        << Integer16 << 0 << 1 << 0xFF << QByteArray("\x00\x80", 2) << -32768.0;
    QTest::newRow("Integer16 Motorola min")
        << Integer16 << 1 << 1 << 0xFF << QByteArray("\x80\x00", 2) << -32768.0;
    QTest::newRow("Unsigned16 0xFFFF Intel")
        << Unsigned16 << 0 << 0 << 0xFF << QByteArray("\xFF\xFF") << 65535.0;
    QTest::newRow("Unsigned16 0xFFFF Motorola")
        << Unsigned16 << 1 << 6 << 0xFF << QByteArray("\xFF\xFF") << 65535.0;
    QTest::newRow("Unsigned16 Motorola") << Unsigned16 << 1 << 3 << 0xFF << QByteArray("\xAB\xCD") << 43981.0;
    QTest::newRow("Unsigned32 0xFFFFFFFF")
        << Unsigned32 << 0 << 0 << 0xFF << QByteArray("\xFF\xFF\xFF\xFF") << 4294967295.0;
    QTest::newRow("Integer32 0xFFFFFFFF")
        << Integer32 << 1 << 0 << 0xFF << QByteArray("\xFF\xFF\xFF\xFF") << -1.0;
    QTest::newRow("Integer32 Intel") << Integer32 << 0 << 4 << 0xFF << QByteArray("\x78\x56\x34\x12")
                                     << 305419896.0;
    QTest::newRow("Integer32 Motorola")
        << Integer32 << 1 << 2 << 0xFF << QByteArray("\x12\x34\x56\x78") << 305419896.0;
    QTest::newRow("Integer32 Motorola min")
        << Integer32 << 1 << 0 << 0xFF << QByteArray("\x80\x00\x00\x00", 4) << -2147483648.0;
    QTest::newRow("Unsigned32 Motorola")
        << Unsigned32 << 1 << 4 << 0xFF << QByteArray("\x80\x00\x00\x01", 4) << 2147483649.0;
    QTest::newRow("Unsigned32 Intel")
        << Unsigned32 << 0 << 1 << 0xFF << QByteArray("\x01\x00\x00\x80", 4) << 2147483649.0;
    QTest::newRow("Real32 Intel") << Real32 << 0 << 0 << 0xFF << intelBytes(-123.25f) << -123.25;
    QTest::newRow("Real32 Motorola") << Real32 << 1 << 4 << 0xFF << reversed(intelBytes(-123.25f)) << -123.25;
    QTest::newRow("Real32 inexact") << Real32 << 1 << 1 << 0xFF << reversed(intelBytes(0.1f)) << double(0.1f);
    QTest::newRow("Real32 mask has no effect") << Real32 << 0 << 2 << 0x00 << intelBytes(1.5f) << 1.5;
    QTest::newRow("Real64 Intel") << Real64 << 0 << 0 << 0xFF << intelBytes(3.141592653589793)
                                  << 3.141592653589793;
    QTest::newRow("Real64 Motorola") << Real64 << 1 << 0 << 0xFF << reversed(intelBytes(-1e300)) << -1e300;
    QTest::newRow("Real64 denormal") << Real64 << 1 << 0 << 0xFF << reversed(intelBytes(4.9e-324))
                                     << 4.9e-324;
}

void TestFrameDecode::readsRawValues()
{
    QFETCH(int, dataType);
    QFETCH(int, byteOrder);
    QFETCH(int, bytePos);
    QFETCH(int, mask);
    QFETCH(QByteArray, bytes);
    QFETCH(double, raw);

    // The other bytes hold a pattern that would change any value read off by one.
    uint8_t data[8] = {0xC3, 0x5A, 0x96, 0x69, 0xA5, 0x3C, 0xE1, 0x1E};
    QVERIFY(bytePos + bytes.size() <= 8);
    std::memcpy(data + bytePos, bytes.constData(), static_cast<size_t>(bytes.size()));

    const ValueLayout layout = layoutOf(dataType, byteOrder, bytePos, mask, 2.0, 1.0);
    double value = sentinel;
    double got = sentinel;
    QVERIFY(decodeValue(layout, 8, data, false, &value, &got));
    QVERIFY2(sameBits(got, raw), qPrintable(QString::number(got, 'g', 17)));
    QCOMPARE(value, raw * 2.0 + 1.0);
}

void TestFrameDecode::nanReal32()
{
    for (int byteOrder : {0, 1}) {
        QByteArray bytes = intelBytes(std::numeric_limits<float>::quiet_NaN());
        if (byteOrder)
            bytes = reversed(bytes);
        TessFrame frame{};
        frame.len = 4;
        std::memcpy(frame.data, bytes.constData(), 4);
        double value = 0.0;
        double raw = 0.0;
        QVERIFY(decodeValue(layoutOf(DataType::Real32, byteOrder, 0, 0xFF, 3.0, 4.0), frame, false, &value,
                            &raw));
        QVERIFY(std::isnan(raw));
        QVERIFY(std::isnan(value));
    }
}

void TestFrameDecode::scaling_data()
{
    QTest::addColumn<double>("scale");
    QTest::addColumn<double>("offset");
    QTest::addColumn<double>("value");
    // The raw value is 200 in every row.
    QTest::newRow("scale 0 gives the offset") << 0.0 << 5.0 << 5.0;
    QTest::newRow("scale 0, offset 0") << 0.0 << 0.0 << 0.0;
    QTest::newRow("half, shifted") << 0.5 << -10.0 << 90.0;
    QTest::newRow("negative") << -1.0 << 0.0 << -200.0;
    QTest::newRow("fraction") << 0.1 << 0.0 << 200.0 * 0.1;
}

void TestFrameDecode::scaling()
{
    QFETCH(double, scale);
    QFETCH(double, offset);
    QFETCH(double, value);
    const uint8_t data[8] = {200};
    double got = sentinel;
    double raw = sentinel;
    QVERIFY(
        decodeValue(layoutOf(DataType::Unsigned8, 0, 0, 0xFF, scale, offset), 1, data, false, &got, &raw));
    QCOMPARE(raw, 200.0);
    QVERIFY(sameBits(got, value));
}

void TestFrameDecode::checkRules_data()
{
    QTest::addColumn<int>("dataType");
    QTest::addColumn<int>("bytePos");
    QTest::addColumn<int>("lenByte");
    QTest::addColumn<bool>("checkOnly");
    QTest::addColumn<bool>("result");
    QTest::addColumn<bool>("zeroed"); // false: value and raw untouched

    using namespace DataType;
    QTest::newRow("remote frame") << Integer8 << 0 << (TESS_FRAME_RTR | 8) << false << false << false;
    QTest::newRow("remote frame, check only")
        << Integer8 << 0 << (TESS_FRAME_RTR | 8) << true << false << false;
    QTest::newRow("remote frame, bad type") << 8 << 0 << TESS_FRAME_RTR << false << false << false;
    QTest::newRow("data type 8") << 8 << 0 << 8 << false << false << true;
    QTest::newRow("data type -1") << -1 << 0 << 8 << false << false << true;
    QTest::newRow("Integer16 at Pos 8") << Integer16 << 7 << 8 << false << false << true;
    QTest::newRow("Integer8 at Pos 8") << Integer8 << 7 << 8 << false << true << true;
    QTest::newRow("Real64 at Pos 1, 7 bytes") << Real64 << 0 << 7 << false << false << true;
    QTest::newRow("Real64 at Pos 1, 8 bytes") << Real64 << 0 << 8 << false << true << true;
    QTest::newRow("Real32 at Pos 5, 8 bytes") << Real32 << 4 << 8 << false << true << true;
    QTest::newRow("Real32 at Pos 6, 8 bytes") << Real32 << 5 << 8 << false << false << true;
    QTest::newRow("Unsigned32 in a short frame") << Unsigned32 << 0 << 3 << false << false << true;
    QTest::newRow("empty frame") << Integer8 << 0 << 0 << false << false << true;
    QTest::newRow("negative position") << Integer8 << -1 << 8 << false << false << true;
    QTest::newRow("position far out") << Integer8 << 1000000 << 8 << false << false << true;
    QTest::newRow("length 15 has only 8 data bytes") << Integer8 << 8 << 15 << false << false << true;
    QTest::newRow("length 15 covers the 8 bytes") << Real64 << 0 << 15 << false << true << true;
    QTest::newRow("lost and flag bits above RTR ignored")
        << Integer16 << 0 << (0xE0 | 2) << false << true << true;
    QTest::newRow("check only") << Integer16 << 6 << 8 << true << true << true;
    QTest::newRow("check only, too short") << Integer16 << 6 << 7 << true << false << true;
}

void TestFrameDecode::checkRules()
{
    QFETCH(int, dataType);
    QFETCH(int, bytePos);
    QFETCH(int, lenByte);
    QFETCH(bool, checkOnly);
    QFETCH(bool, result);
    QFETCH(bool, zeroed);

    // All bytes 0x11: any read gives a value that isn't 0.
    uint8_t data[8];
    std::memset(data, 0x11, sizeof data);
    double value = sentinel;
    double raw = sentinel;
    const ValueLayout layout = layoutOf(dataType, 1, bytePos, 0xFF, 1.0, 0.0);
    QCOMPARE(decodeValue(layout, static_cast<uint8_t>(lenByte), data, checkOnly, &value, &raw), result);
    if (!zeroed) {
        QCOMPARE(value, sentinel);
        QCOMPARE(raw, sentinel);
    } else if (!result || checkOnly) {
        QCOMPARE(value, 0.0);
        QCOMPARE(raw, 0.0);
    } else {
        QVERIFY(raw != 0.0);
    }
}

void TestFrameDecode::fitsFrameAgreesWithCheckOnly()
{
    // A check reads no data byte: any read through this pointer would crash.
    const uint8_t* data = nullptr;
    for (int dataType = -2; dataType <= 9; ++dataType) {
        for (int bytePos = -2; bytePos <= 10; ++bytePos) {
            const ValueLayout layout = layoutOf(dataType, 0, bytePos);
            for (int len = 0; len < 256; ++len) {
                double value = 0.0;
                double raw = 0.0;
                const bool checked = decodeValue(layout, static_cast<uint8_t>(len), data, true, &value, &raw);
                QCOMPARE(fitsFrame(layout, static_cast<uint8_t>(len)), checked);
                const bool expected = !(len & TESS_FRAME_RTR) && dataType >= 0 && dataType <= 7 &&
                                      bytePos >= 0 &&
                                      bytePos + dataTypeSize(dataType) <= std::min(len & 0x0F, 8);
                QCOMPARE(checked, expected);
            }
        }
    }
}

void TestFrameDecode::frameOverloadsAgree()
{
    TessFrame plain{};
    plain.len = 6;
    const uint8_t bytes[8] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};
    std::memcpy(plain.data, bytes, 8);
    TessFrameT stamped{};
    stamped.len = 6;
    std::memcpy(stamped.data, bytes, 8);
    stamped.timestamp = 12345;

    const ValueLayout layout = layoutOf(DataType::Unsigned32, 1, 2, 0xFF, 0.5, 3.0);
    double v1 = 0, r1 = 0, v2 = 0, r2 = 0, v3 = 0, r3 = 0;
    QVERIFY(decodeValue(layout, plain, false, &v1, &r1));
    QVERIFY(decodeValue(layout, stamped, false, &v2, &r2));
    QVERIFY(decodeValue(layout, 6, bytes, false, &v3, &r3));
    QCOMPARE(r1, double(0x03040506));
    QCOMPARE(r2, r1);
    QCOMPARE(r3, r1);
    QCOMPARE(v1, double(0x03040506) * 0.5 + 3.0);
    QCOMPARE(v2, v1);
    QCOMPARE(v3, v1);
}

void TestFrameDecode::batchEqualsPerFrame_data()
{
    QTest::addColumn<int>("dataType");
    QTest::addColumn<int>("byteOrder");
    QTest::addColumn<int>("bytePos");
    QTest::addColumn<int>("mask");
    for (int type = 0; type < DataType::count; ++type) {
        const int lastPos = 8 - dataTypeSize(type);
        for (int order : {0, 1}) {
            for (int pos : {0, lastPos / 2, lastPos})
                QTest::addRow("type %d order %d pos %d", type, order, pos) << type << order << pos << 0xFF;
        }
    }
    QTest::newRow("Integer8 mask 0x3C") << DataType::Integer8 << 0 << 5 << 0x3C;
    QTest::newRow("Unsigned8 mask 0x1F0") << DataType::Unsigned8 << 1 << 1 << 0x1F0;
    QTest::newRow("no fit: Integer16 at 7") << DataType::Integer16 << 0 << 7 << 0xFF;
    QTest::newRow("no fit: Real64 at 1") << DataType::Real64 << 1 << 1 << 0xFF;
    QTest::newRow("no fit: type 8") << 8 << 0 << 0 << 0xFF;
    QTest::newRow("no fit: type -1") << -1 << 0 << 0 << 0xFF;
    QTest::newRow("no fit: position -1") << DataType::Unsigned8 << 0 << -1 << 0xFF;
}

void TestFrameDecode::batchEqualsPerFrame()
{
    QFETCH(int, dataType);
    QFETCH(int, byteOrder);
    QFETCH(int, bytePos);
    QFETCH(int, mask);
    const ValueLayout layout = layoutOf(dataType, byteOrder, bytePos, mask, 0.37, -12.5);

    std::mt19937_64 rng(static_cast<uint64_t>(dataType * 100 + byteOrder * 10 + bytePos));
    const uint64_t start = 5000000;
    const uint64_t frequency = 1000000;
    std::vector<TessFrameT> frames(3000);
    for (size_t i = 0; i < frames.size(); ++i) {
        TessFrameT& f = frames[i];
        const uint64_t bits = rng();
        std::memcpy(f.data, &bits, 8);
        f.id = 0x123;
        // Mostly full frames; some short ones, remote ones, lengths above 8 and lost counts.
        const unsigned kind = static_cast<unsigned>(rng() % 16);
        f.len = kind < 10 ? 8 : kind < 13 ? static_cast<uint8_t>(rng() % 9) : kind < 14 ? 0x18 : 15;
        f.lost = static_cast<uint8_t>(kind == 5 ? 3 : 0);
        f.timestamp = start - 20000 + i * 137 + rng() % 50;
        if (i % 97 == 0 && (dataType == DataType::Real32 || dataType == DataType::Real64)) {
            // Not-a-number values, in the frame's own byte order.
            const uint8_t nanBytes[8] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
            std::memcpy(f.data, nanBytes, 8);
        }
    }
    frames.front().len = 0x18; // the newest is a remote frame
    frames.back().len = 0x18;

    for (size_t n : {size_t(0), size_t(1), size_t(2), frames.size()}) {
        const std::vector<TessFrameT> part(frames.end() - static_cast<long>(n), frames.end());
        const Reference ref = referenceDecode(layout, part, start, frequency);

        // One element more on each side, to see that nothing outside is written.
        std::vector<double> x(n + 2, sentinel);
        std::vector<double> y(n + 2, sentinel);
        const DecodeSummary s = decodeFramesNewestFirst(layout, part.data(), static_cast<unsigned>(n), start,
                                                        frequency, &x[1], &y[1]);
        QVERIFY(sameBits(s.lowest, ref.lowest));
        QVERIFY(sameBits(s.highest, ref.highest));
        QVERIFY(sameBits(s.rawNewest, ref.rawNewest));
        QCOMPARE(x.front(), sentinel);
        QCOMPARE(y.front(), sentinel);
        QCOMPARE(x.back(), sentinel);
        QCOMPARE(y.back(), sentinel);
        for (size_t k = 0; k < n; ++k) {
            QVERIFY2(sameBits(x[k + 1], ref.x[k]), qPrintable(QStringLiteral("x[%1]").arg(k)));
            QVERIFY2(sameBits(y[k + 1], ref.y[k]), qPrintable(QStringLiteral("y[%1]").arg(k)));
        }
    }
}

void TestFrameDecode::batchNewestFirstSkipsNaN()
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float values[] = {2.0f, nan, -3.0f, nan, 7.5f};
    const uint64_t stamps[] = {600, 1400, 1800, 2200, 101000};
    std::vector<TessFrameT> frames;
    for (int i = 0; i < 5; ++i) {
        TessFrameT f{};
        f.len = 8;
        const QByteArray b = reversed(intelBytes(values[i]));
        std::memcpy(f.data + 2, b.constData(), 4);
        f.timestamp = stamps[i];
        frames.push_back(f);
    }
    double x[5];
    double y[5];
    const ValueLayout layout = layoutOf(DataType::Real32, 1, 2, 0xFF, 2.0, 1.0);
    const DecodeSummary s = decodeFramesNewestFirst(layout, frames.data(), 5, 1000, 100000, x, y);
    QCOMPARE(s.lowest, -5.0);
    QCOMPARE(s.highest, 16.0);
    QCOMPARE(s.rawNewest, 7.5);
    QCOMPARE(x[0], 1.0);
    QCOMPARE(x[2], 0.008);
    QCOMPARE(x[4], -0.004); // before the start: the difference is signed
    QCOMPARE(y[0], 16.0);
    QVERIFY(std::isnan(y[1]));
    QCOMPARE(y[2], -5.0);
    QVERIFY(std::isnan(y[3]));
    QCOMPARE(y[4], 5.0);

    // Only not-a-number: the bounds keep their start values.
    const DecodeSummary onlyNaN = decodeFramesNewestFirst(layout, &frames[1], 1, 1000, 100000, x, y);
    QCOMPARE(onlyNaN.lowest, std::numeric_limits<double>::max());
    QCOMPARE(onlyNaN.highest, -std::numeric_limits<double>::max());
    QVERIFY(std::isnan(onlyNaN.rawNewest));
}

void TestFrameDecode::batchOfNothing()
{
    double x = sentinel;
    double y = sentinel;
    const DecodeSummary s = decodeFramesNewestFirst(ValueLayout{}, nullptr, 0, 0, 100000, &x, &y);
    QCOMPARE(s.lowest, std::numeric_limits<double>::max());
    QCOMPARE(s.highest, -std::numeric_limits<double>::max());
    QCOMPARE(s.rawNewest, 0.0);
    QCOMPARE(x, sentinel);
    QCOMPARE(y, sentinel);
}

QTEST_GUILESS_MAIN(TestFrameDecode)
#include "tst_framedecode.moc"
