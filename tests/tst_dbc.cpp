// DBC files and bit-level signals: the reader, the layout text and decoding
// at the edges of the bit numbering (tst_convert decodes a whole drive
// against python3-canmatrix).
#include "bitlayouttext.h"
#include "canlog.h"
#include "dbcfile.h"
#include "framedecode.h"
#include "framering.h"
#include "testsupport.h"

#include <QtTest>

#include <cmath>
#include <limits>

namespace {

// The database written out plainly, a line a message or signal; what a
// signal has by default (scaling 1 and 0, no range, no unit, receiver X) is
// left out.
QString describe(const DbcDatabase& db)
{
    const auto n = [](double v) { return QString::number(v); };
    QStringList out;
    for (const DbcMessage& m : db.messages) {
        out << m.name + " 0x" + QString::number(m.id, 16) + (m.extended ? " ext " : " std ") + n(m.length) +
                   (m.transmitter.isEmpty() ? "" : " " + m.transmitter) +
                   (m.comment.isEmpty() ? "" : " \"" + m.comment + '"');
        for (const DbcSignal& s : m.signalList) {
            const char* const types[] = {"", "f", "d"};
            const char* const muxes[] = {"", " M", " m", " mM"};
            QString line = ' ' + s.name + muxes[int(s.multiplex)] +
                           (s.multiplex >= DbcMultiplex::Switched ? n(s.multiplexValue) : QString()) + ' ' +
                           n(s.field.startBit) + '|' + n(s.field.length) + '@' +
                           (s.field.motorola ? '0' : '1') + (s.isSigned ? '-' : '+') +
                           types[int(s.valueType)];
            if (s.factor != 1.0 || s.offset != 0.0)
                line += " (" + n(s.factor) + ',' + n(s.offset) + ')';
            if (s.minimum != 0.0 || s.maximum != 0.0)
                line += " [" + n(s.minimum) + '|' + n(s.maximum) + ']';
            if (!s.unit.isEmpty())
                line += " \"" + s.unit + '"';
            if (s.receivers != QStringList{"X"})
                line += ' ' + s.receivers.join(',');
            if (!s.comment.isEmpty())
                line += " \"" + s.comment + '"';
            QStringList values;
            for (auto it = s.values.cbegin(); it != s.values.cend(); ++it)
                values << n(it.key()) + '=' + it.value();
            if (!values.isEmpty())
                line += " {" + values.join(',') + '}';
            const std::optional<BitLayout> layout = dbcSignalLayout(m, s);
            if (!layout)
                line += " undecodable";
            else if (layout->multiplexed)
                line += " when " + n(layout->muxField.startBit) + '|' + n(layout->muxField.length) + '=' +
                        n(layout->muxValue);
            out << line;
        }
    }
    return out.join('\n');
}

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
    void readsConstructs_data()
    {
        QTest::addColumn<QByteArray>("dbc");
        QTest::addColumn<QString>("expected");

        const QByteArray sg = " (1,0) [0|0] \"\" X\n"; // the usual end of a SG_ line
        QTest::newRow("message, Motorola signed signal, receivers")
            << QByteArray(
                   "BO_ 291 ENGINE: 8 ECU\n SG_ Accel : 24|9@0- (-0.02,0) [-20|20] \"m/s2\" ABS,DASH\n")
            << "ENGINE 0x123 std 8 ECU\n Accel 24|9@0- (-0.02,0) [-20|20] \"m/s2\" ABS,DASH";
        QTest::newRow("extended ids, an id above 0x7FF taken as extended, no transmitter")
            << QByteArray("BO_ 2566844693 J1939: 8 Vector__XXX\nBO_ 2048 HUD: 5\n")
            << "J1939 0x18fef115 ext 8 Vector__XXX\nHUD 0x800 ext 5";
        QTest::newRow("Intel, floats, exponents, CRLF")
            << "BO_ 1 F: 8 X\r\n SG_ S : 0|32@1- (1E-3,+2.5) [-1e3|.5] \"\" X\r\n SG_ D : 0|64@1+" + sg +
                   " SG_ Bad : 0|16@1+" + sg +
                   "SIG_VALTYPE_ 1 S : 1;\r\nSIG_VALTYPE_ 1 D : 2;\r\nSIG_VALTYPE_ 1 Bad 1;\n"
            << "F 0x1 std 8 X\n S 0|32@1-f (0.001,2.5) [-1000|0.5]\n D 0|64@1+d\n Bad 0|16@1+f undecodable";
        QTest::newRow("multiplexers, extended multiplexing read")
            << "BO_ 5 MUX: 8 X\n SG_ Sel M : 0|8@1+" + sg + " SG_ A m0 : 8|8@1+" + sg +
                   " SG_ B m12 : 15|16@0-" + sg + " SG_ C m2M : 16|4@1+" + sg +
                   "SG_MUL_VAL_ 5 C Sel 2-2;\nBO_ 6 NOSWITCH: 8 X\n SG_ L m1 : 0|8@1+" + sg
            << "MUX 0x5 std 8 X\n Sel M 0|8@1+\n A m0 8|8@1+ when 0|8=0\n B m12 15|16@0- when 0|8=12\n"
               " C mM2 16|4@1+ when 0|8=2\nNOSWITCH 0x6 std 8 X\n L m1 0|8@1+ undecodable";
        QTest::newRow("value tables and comments, multi-line and escaped")
            << "BO_ 7 GEAR: 1 X\n SG_ G : 0|3@1+" + sg + " SG_ H : 3|5@1-" + sg +
                   "CM_ \"bus\";\nCM_ BO_ 7 \"the \\\"gear\\\"\nline 2\";\nCM_ SG_ 7 G \"lever\";\n"
                   "CM_ SG_ 7 \"no signal named\";\nCM_ SG_ 99 G \"no such message\";\nCM_ BU_ X \"node\";\n"
                   "VAL_ 7 G 0 \"Park\" 2 \"Drive\" ;\nVAL_ 7 H -1 \"Error\" 3 \"Three\";\n"
                   "VAL_TABLE_ Gears 1 \"R\" 0 \"P\";\nVAL_ EnvVar 1 \"on\";\n"
            << "GEAR 0x7 std 1 X \"the \"gear\"\nline 2\"\n G 0|3@1+ \"lever\" {0=Park,2=Drive}\n H 3|5@1- "
               "{-1=Error,3=Three}";
        QTest::newRow("what the program doesn't use is passed over")
            << "VERSION \"1.2\"\n\nNS_ :\n\tNS_DESC_\n\tCM_\n\tBA_DEF_\n\tVAL_TABLE_\n\n BS_:\nBU_: ECU ABS\n"
               "VAL_TABLE_ T 1 \"a\" ;\nBO_ 3221225472 VECTOR__INDEPENDENT_SIG_MSG: 0 Vector__XXX\n SG_ O : "
               "0|8@1+" +
                   sg + "BO_ 8 ONE: 2 ECU\n SG_ S : 0|8@1+" + sg +
                   "BO_TX_BU_ 8 : ECU,ABS;\nEV_ Env: 0 [0|1] \"\" 0 1 DUMMY_NODE_VECTOR0 Vector__XXX;\n"
                   "BA_DEF_ BO_ \"GenMsgCycleTime\" INT 0 65535;\nBA_DEF_ SG_ \"E\" ENUM \"a\",\n\"b\";\n"
                   "BA_DEF_DEF_ \"GenMsgCycleTime\" 100;\nBA_ \"GenMsgCycleTime\" BO_ 8 20;\nSIG_GROUP_ 8 G "
                   "1 : "
                   "S;\n"
            << "ONE 0x8 std 2 ECU\n S 0|8@1+";
        QTest::newRow("Latin-1 when not UTF-8")
            << QByteArray("BO_ 9 T: 8 X\n SG_ T : 0|8@1+ (1,0) [0|0] \"\xb0\x43\" X\n")
            << "T 0x9 std 8 X\n T 0|8@1+ \"\u00b0C\"";
        QTest::newRow("UTF-8 with byte order mark")
            << QByteArray("\xef\xbb\xbf\x42O_ 9 T: 8 X\n SG_ T : 0|8@1+ (1,0) [0|0] \"\xc2\xb0\x43\" X\n")
            << "T 0x9 std 8 X\n T 0|8@1+ \"\u00b0C\"";
    }

    void readsConstructs()
    {
        QFETCH(QByteArray, dbc);
        QFETCH(QString, expected);
        const DbcReadResult result = readDbc(dbc);
        QCOMPARE(result.errors.size(), 0);
        QCOMPARE(describe(result.database), expected);
    }

    void reportsErrors_data()
    {
        QTest::addColumn<QByteArray>("dbc");
        QTest::addColumn<QList<int>>("lines");
        QTest::addColumn<QString>("kept");

        const QByteArray good("BO_ 2 GOOD: 8 X\n SG_ G : 0|8@1+ (1,0) [0|0] \"\" X\n");
        const QString goodKept = "GOOD 0x2 std 8 X\n G 0|8@1+";
        QTest::newRow("malformed BO_ passes over its signals")
            << "BO_ 1 BAD 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n" + good << QList<int>{1} << goodKept;
        QTest::newRow("malformed SG_ and bad lengths, the rest kept")
            << good + " SG_ B : 8|8@1 (1,0) [0|0] \"\" X\n SG_ Z : 8|0@1+ (1,0) [0|0] \"\" X\n"
                      " SG_ W : 0|65@1+ (1,0) [0|0] \"\" X\n SG_ H : 8|8@1+ (1,0) [0|0] \"\" X\n"
            << QList<int>{3, 4, 5} << goodKept + "\n H 8|8@1+";
        QTest::newRow("signals outside any message")
            << " SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n" + good +
                   "CM_ BO_ 2 \"c\";\n SG_ B : 8|8@1+ (1,0) [0|0] \"\" X\n"
            << QList<int>{1, 5} << "GOOD 0x2 std 8 X \"c\"\n G 0|8@1+";
        QTest::newRow("statement without ';' ends before the next keyword")
            << "VERSION \"\"\nCM_ BO_ 2 \"open\"\n" + good + "CM_ \"unclosed" << QList<int>{2, 5} << goodKept;
    }

    void reportsErrors()
    {
        QFETCH(QByteArray, dbc);
        QFETCH(QList<int>, lines);
        QFETCH(QString, kept);
        const DbcReadResult result = readDbc(dbc);
        QList<int> reported;
        for (const DbcError& e : result.errors) {
            reported << e.line;
            QVERIFY(!e.text.isEmpty());
        }
        QCOMPARE(reported, lines);
        QCOMPARE(describe(result.database), kept);
    }

    void layoutText_data()
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

    void layoutText()
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

    void decodesBits_data()
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

    void decodesBits()
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
        QCOMPARE(decodeValue(value, uint8_t(len), reinterpret_cast<const uint8_t*>(data.constData()), true,
                             &v, &r),
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

    void otherMuxValuesAreNoSamples()
    {
        ValueLayout value;
        value.bitLayout = layoutOf("8|8@1+ m1", "0|8@1+");
        // Frames oldest first: switch values 1, 2, remote, 1, short, 2, 1.
        std::vector<TessFrameT> frames;
        const QList<QByteArray> hex = QByteArray("010A 020B 010C 010D 01 020E 010F").split(' ');
        const int lengths[] = {2, 2, TESS_FRAME_RTR | 2, 2, 1, 2, 8};
        for (int i = 0; i < 7; ++i)
            frames.push_back(frameOf(QByteArray::fromHex(hex[i]), lengths[i], 10 * uint64_t(i + 1)));
        const QVector<double> expectedY = {15, 13, 10}; // newest first
        QVector<double> x(7, -1.0), y(7, -1.0);
        const DecodeSummary s = decodeFramesNewestFirst(value, frames.data(), 7, 0, 100, x.data(), y.data());
        QCOMPARE(s.count, 3u);
        QCOMPARE(y.mid(0, 3), expectedY);
        QCOMPARE(x.mid(0, 3), (QVector<double>{0.7, 0.4, 0.1}));
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
};

QTEST_GUILESS_MAIN(TestDbc)
#include "tst_dbc.moc"
