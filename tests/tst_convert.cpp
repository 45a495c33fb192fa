// CSV export and vistrel-convert against hand-written bytes, std::to_chars
// and a drive decoded by python-can and canmatrix (data/convert/make_drive.py).
#include "backgroundwriter.h"
#include "convertoptions.h"
#include "csvexport.h"
#include "datafile.h"
#include "logconverter.h"
#include "testsupport.h"

#include <QDateTime>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QtTest>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

Q_DECLARE_METATYPE(std::vector<CsvCurve>)
Q_DECLARE_METATYPE(std::vector<CsvSample>)
Q_DECLARE_METATYPE(CsvOptions)

namespace {

const QString dataDir = QStringLiteral(VISTREL_TEST_DATA_DIR "/convert/");
using TestSupport::readAll;
using TestSupport::writeFile;

QByteArray csvOf(const std::vector<CsvCurve>& curves, const CsvOptions& options,
                 const std::vector<CsvSample>& samples)
{
    QByteArray out;
    CsvWriter writer(curves, options, [&out](const char* data, size_t size) {
        out.append(data, int(size));
        return true;
    });
    for (const CsvSample& s : samples)
        writer.add(s);
    writer.finish();
    return out;
}

// Runs the conversion in this process; standard output goes to a file.
LogConverter::Outcome convert(const QStringList& arguments, QByteArray* csv = nullptr, size_t window = 0,
                              bool* external = nullptr)
{
    const ConvertArguments parsed = parseConvertArguments(arguments);
    if (parsed.action != ConvertArguments::Convert)
        return {2, parsed.error, {}};
    LogConverter converter(parsed.options);
    if (window > 0)
        converter.setWindowFrames(window);
    char* buffer = nullptr;
    size_t size = 0;
    std::FILE* out = open_memstream(&buffer, &size);
    const LogConverter::Outcome outcome = converter.run(out);
    std::fclose(out);
    const QByteArray text(buffer, int(size));
    std::free(buffer);
    if (csv)
        *csv = parsed.options.outputPath == "-" ? text : readAll(parsed.options.outputPath);
    if (external)
        *external = converter.sortedExternally();
    return outcome;
}

// The lines of a long CSV as fields, header left out.
QVector<QList<QByteArray>> rowsOf(const QByteArray& csv)
{
    QVector<QList<QByteArray>> rows;
    for (const QByteArray& line : csv.split('\n').mid(1))
        if (!line.isEmpty())
            rows.append(line.split(','));
    return rows;
}

// A number's double in full, to compare exactly.
QByteArray exact(const QByteArray& number)
{
    return QByteArray::number(number.toDouble(), 'g', 17);
}

// A CSV row with its numbers so.
QByteArray exactRow(QList<QByteArray> row)
{
    for (const int i : {0, 2, 3})
        if (i < row.size())
            row[i] = exact(row[i]);
    return row.join(',');
}

// Microseconds of a candump line's time.
qint64 microsOf(const QByteArray& line)
{
    const int dot = line.indexOf('.');
    return line.mid(1, dot - 1).toLongLong() * 1000000 + line.mid(dot + 1, 6).toLongLong();
}

} // namespace

class TestConvert : public QObject
{
    Q_OBJECT

private slots:
    void csvBytes_data();
    void csvBytes();
    void numbersAsToCharsInACommaLocale();
    void mergesCurves();
    void driveMatchesCanmatrix_data();
    void driveMatchesCanmatrix();
    void sortsOutOfOrderLogs_data();
    void sortsOutOfOrderLogs();
    void dataFileOutputReadsBack();
    void backgroundWriterKeepsOrder();
    void programExitCodes_data();
    void programExitCodes();
};

void TestConvert::csvBytes_data()
{
    QTest::addColumn<std::vector<CsvCurve>>("curves");
    QTest::addColumn<CsvOptions>("options");
    QTest::addColumn<std::vector<CsvSample>>("samples");
    QTest::addColumn<QByteArray>("expected");

    using Curves = std::vector<CsvCurve>;
    using Samples = std::vector<CsvSample>;
    const Curves two{{"speed", "km/h"}, {"rpm", ""}};
    const CsvOptions wide{CsvLayout::Wide, false, std::nullopt};
    // speed every 0.1 s, rpm at 0.15 and 0.2: different rates.
    const Samples rates{
        {0.1, 1.5, 15, 0}, {0.15, 800, 3200, 1}, {0.2, 2.5, 25, 0}, {0.2, 900, 3600, 1}, {0.3, 3, 30, 0}};
    QTest::newRow("long") << two << CsvOptions() << rates
                          << QByteArray(
                                 "time_s,name,value,raw,unit\n0.1,speed,1.5,15,km/h\n0.15,rpm,800,3200,\n"
                                 "0.2,speed,2.5,25,km/h\n0.2,rpm,900,3600,\n0.3,speed,3,30,km/h\n");
    QTest::newRow("wide, empty cells")
        << two << wide << rates << QByteArray("time_s,speed,rpm\n0.1,1.5,\n0.15,,800\n0.2,2.5,900\n0.3,3,\n");
    QTest::newRow("wide, last values")
        << two << CsvOptions{CsvLayout::Wide, true, std::nullopt} << rates
        << QByteArray("time_s,speed,rpm\n0.1,1.5,\n0.15,1.5,800\n0.2,2.5,900\n0.3,3,900\n");
    QTest::newRow("wide, a curve twice at one time, quoted names")
        << Curves{{"say \"hi\"", ""}, {"a,b", ""}} << wide
        << Samples{{1, 1, 1, 0}, {1, 2, 2, 0}, {1, 7, 7, 1}}
        << QByteArray("time_s,\"say \"\"hi\"\"\",\"a,b\"\n1,1,\n1,2,7\n");
    QTest::newRow("quoting") << Curves{{"a,b", "\"%\""}, {"two\nlines", "x"}, {"plain", "m\rs"}}
                             << CsvOptions() << Samples{{0, 1, 1, 0}, {0, 2, 2, 1}, {0, 3, 3, 2}}
                             << QByteArray("time_s,name,value,raw,unit\n0,\"a,b\",1,1,\"\"\"%\"\"\"\n"
                                           "0,\"two\nlines\",2,2,x\n0,plain,3,3,\"m\rs\"\n");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    QTest::newRow("unknown raw, not a number, infinities")
        << two << CsvOptions() << Samples{{0, 5, 0, 0, false}, {0, -nan, inf, 1}, {0, -inf, -0.0, 1}}
        << QByteArray("time_s,name,value,raw,unit\n0,speed,5,,km/h\n0,rpm,nan,inf,\n0,rpm,-inf,-0,\n");
    // 1674148739.212264 s is 2023-01-19 17:18:59.212264 UTC.
    QTest::newRow("UTC column")
        << two << CsvOptions{CsvLayout::Long, false, 1674148739212264000}
        << Samples{{0, 1, 1, 0}, {0.0000004, 2, 2, 0}, {0.0000006, 3, 3, 0}, {-1674148739.212264, 4, 4, 0}}
        << QByteArray("time_s,time_utc,name,value,raw,unit\n0,2023-01-19T17:18:59.212264Z,speed,1,1,km/h\n"
                      "4e-07,2023-01-19T17:18:59.212264Z,speed,2,2,km/h\n"
                      "6e-07,2023-01-19T17:18:59.212265Z,speed,3,3,km/h\n"
                      "-1674148739.212264,1970-01-01T00:00:00.000000Z,speed,4,4,km/h\n");
    const CsvOptions newYear{CsvLayout::Wide, false,
                             1703980800000000000 + 86399999999000}; // 2023-12-31 23:59:59.999999
    QTest::newRow("UTC column over a new year, wide")
        << two << newYear << Samples{{0, 1, 1, 0}, {0.000001, 2, 2, 1}, {5097600.5, 3, 3, 0}}
        << QByteArray("time_s,time_utc,speed,rpm\n0,2023-12-31T23:59:59.999999Z,1,\n"
                      "1e-06,2024-01-01T00:00:00.000000Z,,2\n5097600.5,2024-02-29T00:00:00.499999Z,3,\n");
}

void TestConvert::csvBytes()
{
    QFETCH(std::vector<CsvCurve>, curves);
    QFETCH(CsvOptions, options);
    QFETCH(std::vector<CsvSample>, samples);
    QFETCH(QByteArray, expected);
    QCOMPARE(csvOf(curves, options, samples), expected);
}

// Shortest round-trip text of every kind of double, as the standard library
// writes it, while C and Qt both use a decimal comma.
void TestConvert::numbersAsToCharsInACommaLocale()
{
    QRandomGenerator random(11);
    std::vector<CsvSample> samples;
    const double scales[] = {0.01, 0.1, 0.25, 0.02, 1e-6, 3.0517578125e-05, 1, 1e9};
    for (int i = 0; i < 200000; ++i) {
        const double raw =
            double(qint64(random.generate64() >> (12 + random.bounded(50))) - (i % 2 ? 0 : 1 << 20));
        const double bits = std::ldexp(double(random.generate64() >> 11), random.bounded(200) - 150);
        samples.push_back({double(random.bounded(1u << 30)) / 1e6, raw * scales[i % 8] - (i % 3) * 40.5, bits,
                           uint32_t(i % 2)});
    }
    samples.insert(samples.end(), {{0, 100000, 1e15, 0}, {0, 1e16, 0.0001, 0}});
    const auto text = [](double v) {
        char t[40];
        return QByteArray(t, int(std::to_chars(t, t + sizeof t, v).ptr - t));
    };
    const TestSupport::CommaLocale comma;
    QVERIFY(comma.active);
    const QList<QByteArray> lines = csvOf({{"x", "u"}, {"y", "v"}}, CsvOptions(), samples).split('\n');
    QCOMPARE(size_t(lines.size()), samples.size() + 2);
    for (size_t i = 0; i < samples.size(); ++i) {
        const CsvSample& s = samples[i];
        QCOMPARE(lines[int(i) + 1], text(s.time) + (s.curve ? ",y," : ",x,") + text(s.value) + ',' +
                                        text(s.raw) + (s.curve ? ",v" : ",u"));
    }
}

// A curve out of order, a time that is not a number, an empty curve; raw
// values from scale and offset (equal times are in the window's export).
void TestConvert::mergesCurves()
{
    const QVector<QVector<double>> xy{{1, qQNaN(), 2, 5, 10, 99, 20, 50}, {4, 3, 40, 30}, {}}; // x, then y
    const double scales[] = {2, 1, 0};
    std::vector<CurvePoints> curves;
    for (int c = 0; c < xy.size(); ++c) {
        const size_t n = size_t(xy[c].size() / 2);
        curves.push_back({xy[c].constData(), xy[c].constData() + n, n, scales[c], c == 0 ? 1.0 : 0.0});
    }
    CurvePointMerge merge(curves);
    QStringList got;
    for (CsvSample s; merge.next(s);)
        got << QString::asprintf("%g:%u:%g:%g", s.time, s.curve, s.value, s.rawKnown ? s.raw : -1);
    QCOMPARE(got.join(' '), "1:0:10:4.5 2:0:20:9.5 3:1:30:30 4:1:40:40 5:0:50:24.5");
    QCOMPARE(merge.delivered(), merge.total());
}

void TestConvert::driveMatchesCanmatrix_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("names"); // the expected rows whose name matches
    QTest::addColumn<bool>("can1");     // those of the frame on can1 alone

    const QString out = TestSupport::temporaryPath("drive.csv");
    const QString dbc = dataDir + "drive.dbc", log = dataDir + "drive.log";
    const QString row =
        "<Graph%1 name=\"ENGINE.RPM\" netstr=\"%1: virt\" net=\"0\" id=\"0x123\" Id29Bit=\"0\" "
        "pos=\"1\" datatype=\"3\" intmot=\"0\" mask=\"0xFF\" scale=\"0.25\" offset=\"0\" unit=\"rpm\"/>";
    // A row described bit by bit: its Signal text stands for Pos, DataType and Mask.
    const QString bits = "<Graph2 name=\"ENGINE.TORQUE\" net=\"0\" id=\"0x123\" pos=\"1\" datatype=\"0\" "
                         "mask=\"0xFF\" signal=\"24|12@1-\" scale=\"0.5\" offset=\"0\" unit=\"Nm\"/>";
    const QString project =
        writeFile("drive.vtlprj", ("<Vistrel>" + row.arg(0) + row.arg(1) + bits + "</Vistrel>").toUtf8());
    QTest::newRow("DBC") << QStringList{"--dbc", dbc, "-o", out, log} << "" << false;
    QTest::newRow("some signals") << QStringList{"--signals", "^WHEELS\\.|BATTERY", "--dbc", dbc, "-o", out,
                                                 log}
                                  << "^WHEELS\\.|BATTERY" << false;
    QTest::newRow("project row on net 1, can1 alone")
        << QStringList{"--project", project, "--channel", "1=1", "-o", out, log} << "^ENGINE.RPM$" << true;
    QTest::newRow("project row by its bits")
        << QStringList{"--project", project, "--signals", "TORQUE", "-o", out, log} << "^ENGINE.TORQUE$"
        << false;
}

// Every sample of the drive, in order, against python-can and canmatrix.
void TestConvert::driveMatchesCanmatrix()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, names);
    QFETCH(bool, can1);

    QByteArray csv;
    const LogConverter::Outcome outcome = convert(arguments, &csv);
    QCOMPARE(outcome.status, 0);
    // The CAN FD frame is on can0.
    QCOMPARE(outcome.notes,
             can1 ? QStringList()
                  : QStringList{dataDir + "drive.log: CAN FD frames of more than 8 data bytes left out: 1"});

    const QRegularExpression pattern(names);
    QVector<QList<QByteArray>> expected;
    for (const QList<QByteArray>& e : rowsOf(readAll(dataDir + "drive.expected.csv")))
        // The one frame on can1 comes at the time of a frame of another id on can0.
        if (pattern.match(e[1]).hasMatch() && (!can1 || exact(e[0]) == exact("0.803296")))
            expected.append(e);
    const QVector<QList<QByteArray>> got = rowsOf(csv);
    QCOMPARE(got.size(), expected.size());
    QVERIFY(expected.size() >= (can1 ? 1 : 30));
    for (int i = 0; i < got.size(); ++i)
        QCOMPARE(exactRow(got[i]), exactRow(expected[i]));
}

void TestConvert::sortsOutOfOrderLogs_data()
{
    QTest::addColumn<QVector<int>>("order"); // frame i, at i / 2 ms, comes at order[i]
    QTest::addColumn<int>("logs");           // cut into this many logs, given in reverse
    QTest::addColumn<QString>("output");
    QTest::addColumn<bool>("external");

    QVector<int> inOrder(300);
    std::iota(inOrder.begin(), inOrder.end(), 0);
    QVector<int> nearly = inOrder, far = inOrder;
    for (int i = 0; i + 5 < nearly.size(); i += 9)
        std::swap(nearly[i], nearly[i + 5]);
    std::rotate(far.begin(), far.begin() + 251, far.end());
    const QString file = TestSupport::temporaryPath("sorted.csv");
    QTest::newRow("within the window") << nearly << 1 << file << false;
    QTest::newRow("beyond the window") << far << 1 << file << true;
    QTest::newRow("beyond the window, to standard output") << far << 1 << "-" << true;
    QTest::newRow("logs given in reverse") << inOrder << 3 << file << true;
}

// Times sorted, equal times in the order read: frames of one id whose value
// is their position in the log.
void TestConvert::sortsOutOfOrderLogs()
{
    QFETCH(QVector<int>, order);
    QFETCH(int, logs);
    QFETCH(QString, output);
    QFETCH(bool, external);

    const QString dbc =
        writeFile("one.dbc", "VERSION \"\"\nBO_ 256 M: 8 X\n SG_ V : 0|16@1+ (1,0) [0|0] \"\" X\n");
    QStringList arguments{"--dbc", dbc, "-o", output};
    QVector<QPair<qint64, int>> frames; // time in µs, value
    for (int position = 0; position < order.size(); ++position)
        frames.append({1600000000000000LL + order[position] / 2 * 1000, position});
    const int perLog = (frames.size() + logs - 1) / logs;
    QVector<QPair<qint64, int>> read; // the logs as given, then a stable sort by time
    for (int l = logs - 1; l >= 0; --l) {
        read += frames.mid(l * perLog, perLog);
        QByteArray text;
        for (int i = l * perLog; i < std::min((l + 1) * perLog, frames.size()); ++i)
            text +=
                QString::asprintf("(%lld.%06lld) can0 100#%02X%02X\n", frames[i].first / 1000000,
                                  frames[i].first % 1000000, frames[i].second & 0xFF, frames[i].second >> 8);
        // A CAN FD frame of 12 bytes first, left out, and told once even
        // where the conversion starts over.
        if (l == logs - 1)
            text.prepend(text.left(text.indexOf('#')) + "##1" + QByteArray(24, '0') + '\n');
        arguments << writeFile(QStringLiteral("order%1.log").arg(l), text);
    }
    QByteArray csv;
    bool sortedExternally = false;
    const LogConverter::Outcome outcome = convert(arguments, &csv, 32, &sortedExternally);
    QCOMPARE(outcome.status, 0);
    QCOMPARE(outcome.notes.size(), 1);
    QCOMPARE(sortedExternally, external);

    std::stable_sort(read.begin(), read.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    const QVector<QList<QByteArray>> rows = rowsOf(csv);
    QCOMPARE(rows.size(), read.size());
    const qint64 origin = frames[(logs - 1) * perLog].first;
    for (int i = 0; i < rows.size(); ++i) {
        QCOMPARE(rows[i][0].toDouble(), double((read[i].first - origin) * 1000) / 1e9);
        QCOMPARE(rows[i][2].toInt(), read[i].second);
    }
}

// The drive as a data file: records and points as the window reads them,
// and back to CSV with the samples python-can and canmatrix found.
void TestConvert::dataFileOutputReadsBack()
{
    const QString vtldat = TestSupport::temporaryPath("drive.vtldat");
    QCOMPARE(convert({"--dbc", dataDir + "drive.dbc", "-o", vtldat, dataDir + "drive.log"}).status, 0);
    const QVector<QList<QByteArray>> rows = rowsOf(readAll(dataDir + "drive.expected.csv"));

    QFile file(vtldat);
    QVERIFY(file.open(QIODevice::ReadOnly));
    DataFileReader reader(file);
    const DataHeaderResult head = reader.readHeader();
    QCOMPARE(head.status, DataHeaderResult::Ok);
    QCOMPARE(head.version, DataFileVersion::Current);
    QCOMPARE(head.header.curveCount, 10);
    // The first frame, 2023-01-19 17:18:59.212 UTC, as the day of the year and
    // local time of day on the window's clock.
    QCOMPARE(head.header.timeOrigin,
             19 * 86400 + 62339.212 + QDateTime::fromSecsSinceEpoch(1674148739).offsetFromUtc());
    const QList<QByteArray> log = readAll(dataDir + "drive.log").trimmed().split('\n');
    QVERIFY(head.header.runTime == double(microsOf(log.last()) - microsOf(log.first())) / 1e6);

    // id, pos, data type and byte order of some rows
    const QMap<QString, QVector<int>> layouts{{"ENGINE.RPM", {0x123, 1, 3, 0}},
                                              {"WHEELS.SPEED_FL", {0x1D0, 1, 3, 1}},
                                              {"CCVS.VEHICLE_SPEED", {0x38FEF100, 2, 3, 0}}};
    int most = 0;
    DataCurveRecord record;
    for (int c = 0; c < head.header.curveCount; ++c) {
        QVERIFY(reader.readCurveRecord(record));
        std::vector<double> x(size_t(reader.points())), y(x.size());
        reader.readPoints(x.data(), y.data(), int(x.size()));
        most = std::max(most, record.pointCount);
        if (layouts.contains(record.name))
            QCOMPARE((QVector<int>{record.id, record.pos, record.dataType, record.byteOrder}),
                     layouts[record.name]);
        QCOMPARE(record.flags, DataCurveRecord::rangesValid);
        QCOMPARE(record.axis, 0);
        // Samples newest first behind the live point: the run time and the last value.
        QVector<double> times, values;
        for (const QList<QByteArray>& r : rows)
            if (r[1] == record.name.toUtf8())
                times.prepend(r[0].toDouble()), values.prepend(r[2].toDouble());
        QCOMPARE(QVector<double>(x.begin(), x.end()), QVector<double>{head.header.runTime} + times);
        QCOMPARE(QVector<double>(y.begin(), y.end()), QVector<double>{values.value(0)} + values);
    }
    QCOMPARE(head.header.plotSize, uint32_t(most));

    // Back to CSV; equal times come in curve order there, in frame order here.
    QByteArray back;
    QCOMPARE(convert({"-o", "-", vtldat}, &back).status, 0);
    const auto byTimeAndName = [](QVector<QList<QByteArray>> r) {
        std::stable_sort(r.begin(), r.end(), [](const QList<QByteArray>& a, const QList<QByteArray>& b) {
            return std::make_pair(a[0].toDouble(), a[1]) < std::make_pair(b[0].toDouble(), b[1]);
        });
        return r;
    };
    const QVector<QList<QByteArray>> again = byTimeAndName(rowsOf(back)), sorted = byTimeAndName(rows);
    QCOMPARE(again.size(), rows.size());
    for (int i = 0; i < rows.size(); ++i) {
        QCOMPARE(exactRow(again[i].mid(0, 3)), exactRow(sorted[i].mid(0, 3)));
        const double raw = sorted[i][3].toDouble();
        QVERIFY(qAbs(again[i][3].toDouble() - raw) < 1e-6 * qMax(1.0, qAbs(raw)));
    }
}

// Many small chunks, so that the writer thread takes some while others are
// queued (a race there shows under ThreadSanitizer); all arrive in order.
void TestConvert::backgroundWriterKeepsOrder()
{
    char* buffer = nullptr;
    size_t size = 0;
    std::FILE* out = open_memstream(&buffer, &size);
    QByteArray expected;
    {
        BackgroundWriter writer(out);
        for (int i = 0; i < 5000; ++i) {
            const QByteArray chunk = QByteArray::number(i) + ',';
            expected += chunk;
            QVERIFY(writer.write(chunk.constData(), size_t(chunk.size())));
        }
        QVERIFY(writer.finish());
    }
    std::fclose(out);
    const QByteArray written(buffer, int(size));
    std::free(buffer);
    QCOMPARE(written, expected);
}

void TestConvert::programExitCodes_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message"); // how standard error (or, with status 0, output) begins

    const QString dbc = dataDir + "drive.dbc", log = dataDir + "drive.log";
    const QString out = TestSupport::temporaryPath("exit.csv");
    const QString damaged = writeFile(
        "damaged.log", "(1.000000) can0 123#0011\n(1.001000) can0 123#0011\n(1.002000) can0 12X#00\n");
    const QString badDbc = writeFile("bad.dbc", "VERSION \"\"\nBO_ 12x FOO: 8 X\n");
    const QString usage =
        "\nUsage: vistrel-convert [--dbc FILE]... [--project FILE.vtlprj] [--signals REGEX]\n";

    QTest::newRow("converts as in this process")
        << QStringList{"--dbc", dbc, "--layout", "wide", "--utc", "-o", out, log} << 0 << "";
    QTest::newRow("help") << QStringList{"--help"} << 0 << usage.mid(1);
    QTest::newRow("version") << QStringList{"--version"} << 0 << "vistrel-convert " VISTREL_VERSION "\n";
    QTest::newRow("unknown option") << QStringList{"--bogus"} << 2
                                    << "vistrel-convert: Unknown option 'bogus'." + usage;
    QTest::newRow("no output") << QStringList{"--dbc", dbc, log} << 2
                               << "vistrel-convert: no output: give -o OUTPUT" + usage;
    QTest::newRow("no signals") << QStringList{"-o", out, log} << 2
                                << "vistrel-convert: no signals: give --dbc or --project" + usage;
    QTest::newRow("damaged log") << QStringList{"--dbc", dbc, "-o", out, damaged} << 1
                                 << "vistrel-convert: " + damaged + ", line 3: ";
    QTest::newRow("bad DBC") << QStringList{"--dbc", badDbc, "-o", out, log} << 1
                             << "vistrel-convert: " + badDbc + ", line 2: ";
    QTest::newRow("missing log") << QStringList{"--dbc", dbc, "-o", out, out + ".log"} << 1
                                 << "vistrel-convert: " + out + ".log: ";
}

// The built program, without a display or Qt platform, in a comma locale.
void TestConvert::programExitCodes()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QString, message);

    const QString out = TestSupport::temporaryPath("exit.csv");
    QFile::remove(out);
    QProcess process;
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "LOCPATH"})
        variables.remove(name);
    variables.insert("LC_ALL", "de_DE.UTF-8");
    if (!TestSupport::CommaLocale::localeFolder().isEmpty())
        variables.insert("LOCPATH", TestSupport::CommaLocale::localeFolder());
    process.setProcessEnvironment(variables);
    process.start(VISTREL_CONVERT_BINARY, arguments);
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), status);
    const QByteArray text = status == 0 ? process.readAllStandardOutput() : process.readAllStandardError();
    QVERIFY2(text.startsWith(message.toUtf8()), text.constData());
    // A failure leaves no output behind; a good one writes what the
    // conversion in this process, in the C locale, writes.
    QCOMPARE(QFile::exists(out), arguments.contains(out) && status == 0);
    if (QFile::exists(out)) {
        QByteArray here;
        QCOMPARE(convert(arguments, &here).status, 0);
        QCOMPARE(readAll(out), here);
    }
}

QTEST_GUILESS_MAIN(TestConvert)
#include "tst_convert.moc"
