// Frame decoding: every data type in both byte orders at its boundaries, which
// frames hold a value, and the refresh's batch decoder against the per-frame one.
#include "driver_support.h"
#include "framedecode.h"

#include <QtTest>

#include <cmath>
#include <limits>
#include <random>

Q_DECLARE_METATYPE(ValueLayout)

using namespace TestSupport;

namespace {

using namespace DataType;

QByteArray reversed(QByteArray b)
{
    std::reverse(b.begin(), b.end());
    return b;
}

// Bytes of a float or double in an Intel frame, made apart from the decoder.
template <typename T> QByteArray intelBytes(T v)
{
    return QSysInfo::ByteOrder == QSysInfo::LittleEndian ? bytes(&v) : reversed(bytes(&v));
}

const QByteArray ff("\xFF", 1);
// The bytes lie at the position, counted from 0.
// clang-format off
const struct { const char* name; int dataType, byteOrder, bytePos, mask; QByteArray bytes; double raw; }
rawRows[] = {
    {"Integer8, mask 0x7F: never negative", Integer8, 0, 0, 0x7F, ff, 127},
    {"Integer8, mask 0xF0", Integer8, 0, 0, 0xF0, ff, -16},
    {"Integer8, mask bits above 0xFF ignored", Integer8, 0, 3, 0x1FF, ff, -1},
    {"Integer8 at Pos 8, Motorola alike", Integer8, 1, 7, 0xFF, "\x85", -123},
    {"Unsigned8, mask 0xFF", Unsigned8, 0, 0, 0xFF, ff, 255},
    {"Unsigned8, mask 0x0F", Unsigned8, 0, 2, 0x0F, "\xAB", 11},
    {"Integer16 Motorola", Integer16, 1, 0, 0xFF, "\x12\x34", 4660},
    {"Integer16, order 2 is Motorola", Integer16, 2, 0, 0xFF, "\x12\x34", 4660},
    {"Integer16, mask has no effect", Integer16, 0, 6, 0x0F, "\x12\x34", 13330},
    {"Integer16 Intel min", Integer16, 0, 1, 0xFF, QByteArray("\x00\x80", 2), -32768},
    {"Integer16 Motorola min", Integer16, 1, 1, 0xFF, QByteArray("\x80\x00", 2), -32768},
    {"Unsigned16 Intel max", Unsigned16, 0, 0, 0xFF, "\xFF\xFF", 65535},
    {"Unsigned16 Motorola at Pos 7", Unsigned16, 1, 6, 0xFF, "\xAB\xCD", 43981},
    {"Integer32 Intel", Integer32, 0, 4, 0xFF, "\x78\x56\x34\x12", 305419896},
    {"Integer32 0xFFFFFFFF", Integer32, 1, 0, 0xFF, "\xFF\xFF\xFF\xFF", -1},
    {"Unsigned32 0xFFFFFFFF", Unsigned32, 0, 0, 0xFF, "\xFF\xFF\xFF\xFF", 4294967295.0},
    {"Unsigned32 Motorola", Unsigned32, 1, 4, 0xFF, QByteArray("\x80\x00\x00\x01", 4), 2147483649.0},
    {"Real32 Intel", Real32, 0, 0, 0xFF, intelBytes(-123.25f), -123.25},
    {"Real32 Motorola", Real32, 1, 4, 0xFF, reversed(intelBytes(-123.25f)), -123.25},
    {"Real32 not a number", Real32, 1, 1, 0xFF, reversed(intelBytes(std::nanf(""))), double(std::nanf(""))},
    {"Real64 Intel", Real64, 0, 0, 0xFF, intelBytes(3.141592653589793), 3.141592653589793},
    {"Real64 Motorola", Real64, 1, 0, 0xFF, reversed(intelBytes(-1e300)), -1e300}};
// clang-format on

} // namespace

class TestFrameDecode : public QObject
{
    Q_OBJECT

private slots:
    void readsRawValues_data() { addRows(rawRows); }
    void readsRawValues()
    {
        const auto& row = tableRow(rawRows);
        // The other bytes hold a pattern that would change any value read off by one.
        TessFrameT frame = frameT(0x123, {0xC3, 0x5A, 0x96, 0x69, 0xA5, 0x3C, 0xE1, 0x1E});
        std::memcpy(frame.data + row.bytePos, row.bytes.constData(), size_t(row.bytes.size()));
        double got[] = {99.0, 99.0}; // value, raw
        QVERIFY(decodeValue({row.dataType, row.byteOrder, row.bytePos, row.mask, 2.0, 1.0}, frame, false,
                            &got[0], &got[1]));
        const double expected[] = {row.raw * 2.0 + 1.0, row.raw};
        QCOMPARE(bytes(got, 2).toHex(), bytes(expected, 2).toHex());
    }

    // Every type, position and length byte: a value is read where the frame
    // isn't remote, the type is known and the value ends within the data (a
    // length above 8 counts as 8); else false with value and raw at 0, which a
    // remote frame leaves alone. A check reads no byte and leaves both at 0.
    void whichFramesHoldAValue()
    {
        const int sizes[] = {1, 1, 2, 2, 4, 4, 4, 8};
        uint8_t data[8];
        std::memset(data, 0x11, sizeof data);
        for (int type = -1; type <= 8; ++type) {
            for (int pos = -1; pos <= 9; ++pos) {
                for (int len = 0; len < 256; ++len) {
                    const bool remote = len & TESS_FRAME_RTR;
                    const bool fits = !remote && type >= 0 && type <= 7 && pos >= 0 &&
                                      pos + sizes[type] <= std::min(len & 0x0F, 8);
                    for (const bool checkOnly : {true, false}) {
                        double value = 99.0;
                        double raw = 99.0;
                        const ValueLayout layout{type, 1, pos};
                        const bool got = decodeValue(layout, uint8_t(len), checkOnly ? nullptr : data,
                                                     checkOnly, &value, &raw);
                        const bool read = fits && !checkOnly;
                        if (got != fits || fitsFrame(layout, uint8_t(len)) != fits ||
                            (remote ? value != 99.0 || raw != 99.0
                                    : (raw != 0.0) != read || (value != 0.0) != read))
                            QFAIL(qPrintable(
                                QString::asprintf("type %d, position %d, length byte %d, check only %d", type,
                                                  pos, len, checkOnly)));
                    }
                }
            }
        }
    }

    void batchEqualsPerFrame_data()
    {
        QTest::addColumn<ValueLayout>("layout");
        // Every type and order at position 0, at the last that fits and one beyond.
        for (int type = 0; type < DataType::count; ++type) {
            for (const int order : {0, 1}) {
                for (const int pos : {0, 8 - dataTypeSize(type), 9 - dataTypeSize(type)})
                    QTest::addRow("type %d, order %d, pos %d", type, order, pos)
                        << ValueLayout{type, order, pos, 0xFF, 0.37, -12.5};
            }
        }
        QTest::newRow("Integer8, mask 0x3C") << ValueLayout{Integer8, 0, 5, 0x3C, 0.37, -12.5};
        QTest::newRow("Unsigned8, mask 0x1F0") << ValueLayout{Unsigned8, 1, 1, 0x1F0, 0.37, -12.5};
        QTest::newRow("never fits: type 8") << ValueLayout{8, 0, 0, 0xFF, 0.37, -12.5};
    }

    // Random frames, mostly full; some short, remote, longer than 8 or with a
    // lost count; some of all-ones bits (not a number); some before the start.
    void batchEqualsPerFrame()
    {
        QFETCH(ValueLayout, layout);
        std::mt19937_64 rng(uint64_t(layout.dataType * 100 + layout.byteOrder * 10 + layout.bytePos));
        const uint64_t start = 5000000;
        std::vector<TessFrameT> frames(3000);
        for (size_t i = 0; i < frames.size(); ++i) {
            const uint64_t bits = i % 97 == 0 ? ~uint64_t(0) : rng();
            std::memcpy(frames[i].data, &bits, 8);
            const unsigned kind = unsigned(rng() % 16);
            frames[i].len = kind < 10 ? 8 : kind < 13 ? uint8_t(rng() % 9) : kind < 14 ? 0x18 : 15;
            frames[i].lost = kind == 5 ? 3 : 0;
            frames[i].timestamp = start - 20000 + i * 137 + rng() % 50;
        }
        frames.front().len = frames.back().len = 0x18; // the newest is a remote frame
        for (const size_t n : {size_t(0), size_t(1), size_t(2), frames.size()}) {
            // The refresh written plainly: newest first, value and raw carried
            // from frame to frame. One element more on each side of the
            // arrays, to see that nothing outside is written.
            const TessFrameT* const part = frames.data() + frames.size() - n;
            std::vector<double> x(n + 2, 99.0), y(n + 2, 99.0), refX = x, refY = y;
            DecodeSummary ref{std::numeric_limits<double>::max(), -std::numeric_limits<double>::max(), 0.0};
            double value = 0.0;
            double raw = 0.0;
            for (size_t k = 0; k < n; ++k) {
                decodeValue(layout, part[n - 1 - k], false, &value, &raw);
                ref = {value < ref.lowest ? value : ref.lowest, value > ref.highest ? value : ref.highest,
                       k == 0 ? raw : ref.rawNewest};
                refX[k + 1] = double(int64_t(part[n - 1 - k].timestamp - start)) / 1e6;
                refY[k + 1] = value;
            }
            const DecodeSummary s =
                decodeFramesNewestFirst(layout, part, unsigned(n), start, 1000000, &x[1], &y[1]);
            QCOMPARE(bytes(&s.lowest, 3).toHex(), bytes(&ref.lowest, 3).toHex()); // lowest, highest, raw
            QVERIFY(bytes(x.data(), n + 2) == bytes(refX.data(), n + 2) &&
                    bytes(y.data(), n + 2) == bytes(refY.data(), n + 2));
        }
    }
};

QTEST_GUILESS_MAIN(TestFrameDecode)
#include "tst_framedecode.moc"
