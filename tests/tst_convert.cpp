// CSV export: the codec against bytes written here by hand, numbers against
// std::to_chars in a comma locale, and the merge of curves' point arrays.
#include "csvexport.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QtTest>

#include <charconv>
#include <clocale>
#include <cmath>
#include <limits>

Q_DECLARE_METATYPE(std::vector<CsvCurve>)
Q_DECLARE_METATYPE(std::vector<CsvSample>)
Q_DECLARE_METATYPE(CsvOptions)

namespace {

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

// Where glibc finds de_DE.UTF-8 for LOCPATH: empty when the system has it,
// else a folder where localedef made it for the tests.
QString commaLocaleFolder()
{
    static const QString folder = [] {
        if (std::setlocale(LC_ALL, "de_DE.UTF-8")) {
            std::setlocale(LC_ALL, "C");
            return QString();
        }
        const QString made = TestSupport::temporaryPath("locales");
        QDir().mkpath(made);
        QProcess::execute("localedef", {"-i", "de_DE", "-f", "UTF-8", made + "/de_DE.UTF-8"});
        return made;
    }();
    return folder;
}

// A decimal comma for C and for Qt while it lives.
struct CommaLocale
{
    CommaLocale()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        if (!commaLocaleFolder().isEmpty())
            qputenv("LOCPATH", QFile::encodeName(commaLocaleFolder()));
        std::setlocale(LC_ALL, "de_DE.UTF-8");
        active = *std::localeconv()->decimal_point == ',';
    }
    ~CommaLocale()
    {
        std::setlocale(LC_ALL, "C");
        qunsetenv("LOCPATH");
        QLocale::setDefault(QLocale::c());
    }
    bool active = false;
};

} // namespace

class TestConvert : public QObject
{
    Q_OBJECT

private slots:
    void csvBytes_data();
    void csvBytes();
    void numbersAsToCharsInACommaLocale();
    void mergesCurves_data();
    void mergesCurves();
};

void TestConvert::csvBytes_data()
{
    QTest::addColumn<std::vector<CsvCurve>>("curves");
    QTest::addColumn<CsvOptions>("options");
    QTest::addColumn<std::vector<CsvSample>>("samples");
    QTest::addColumn<QByteArray>("expected");

    const std::vector<CsvCurve> two{{"speed", "km/h"}, {"rpm", ""}};
    const CsvOptions wide{CsvLayout::Wide, false, std::nullopt};
    const CsvOptions filled{CsvLayout::Wide, true, std::nullopt};
    // speed every 0.1 s, rpm at 0.15 and 0.2: different rates.
    const std::vector<CsvSample> rates{
        {0.1, 1.5, 15, 0}, {0.15, 800, 3200, 1}, {0.2, 2.5, 25, 0}, {0.2, 900, 3600, 1}, {0.3, 3, 30, 0}};
    QTest::newRow("long") << two << CsvOptions() << rates
                          << QByteArray(
                                 "time_s,name,value,raw,unit\n0.1,speed,1.5,15,km/h\n0.15,rpm,800,3200,\n"
                                 "0.2,speed,2.5,25,km/h\n0.2,rpm,900,3600,\n0.3,speed,3,30,km/h\n");
    QTest::newRow("wide, empty cells")
        << two << wide << rates << QByteArray("time_s,speed,rpm\n0.1,1.5,\n0.15,,800\n0.2,2.5,900\n0.3,3,\n");
    QTest::newRow("wide, last values")
        << two << filled << rates
        << QByteArray("time_s,speed,rpm\n0.1,1.5,\n0.15,1.5,800\n0.2,2.5,900\n0.3,3,900\n");
    QTest::newRow("wide, a curve twice at one time")
        << two << wide << std::vector<CsvSample>{{1, 1, 1, 0}, {1, 2, 2, 0}, {1, 7, 7, 1}}
        << QByteArray("time_s,speed,rpm\n1,1,\n1,2,7\n");
    QTest::newRow("quoting") << std::vector<CsvCurve>{{"a,b", "\"%\""},
                                                      {"two\nlines", "x"},
                                                      {"plain", "m\rs"}}
                             << CsvOptions()
                             << std::vector<CsvSample>{{0, 1, 1, 0}, {0, 2, 2, 1}, {0, 3, 3, 2}}
                             << QByteArray("time_s,name,value,raw,unit\n0,\"a,b\",1,1,\"\"\"%\"\"\"\n"
                                           "0,\"two\nlines\",2,2,x\n0,plain,3,3,\"m\rs\"\n");
    QTest::newRow("quoted names in the wide header")
        << std::vector<CsvCurve>{{"say \"hi\"", ""}, {"a,b", ""}} << wide
        << std::vector<CsvSample>{{0, 1, 1, 1}} << QByteArray("time_s,\"say \"\"hi\"\"\",\"a,b\"\n0,,1\n");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    QTest::newRow("unknown raw, not a number, infinities")
        << two << CsvOptions()
        << std::vector<CsvSample>{{0, 5, 0, 0, false}, {0, -nan, inf, 1}, {0, -inf, -0.0, 1}}
        << QByteArray("time_s,name,value,raw,unit\n0,speed,5,,km/h\n0,rpm,nan,inf,\n0,rpm,-inf,-0,\n");
    // 1674148739.212264 s is 2023-01-19 17:18:59.212264 UTC.
    const CsvOptions utc{CsvLayout::Long, false, 1674148739212264000};
    QTest::newRow("UTC column")
        << two << utc
        << std::vector<CsvSample>{{0, 1, 1, 0},
                                  {0.0000004, 2, 2, 0},
                                  {0.0000006, 3, 3, 0},
                                  {-1674148739.212264, 4, 4, 0}}
        << QByteArray("time_s,time_utc,name,value,raw,unit\n0,2023-01-19T17:18:59.212264Z,speed,1,1,km/h\n"
                      "4e-07,2023-01-19T17:18:59.212264Z,speed,2,2,km/h\n"
                      "6e-07,2023-01-19T17:18:59.212265Z,speed,3,3,km/h\n"
                      "-1674148739.212264,1970-01-01T00:00:00.000000Z,speed,4,4,km/h\n");
    const CsvOptions newYear{CsvLayout::Wide, false,
                             1703980800000000000 + 86399999999000}; // 2023-12-31 23:59:59.999999
    QTest::newRow("UTC column over a new year, wide")
        << two << newYear << std::vector<CsvSample>{{0, 1, 1, 0}, {0.000001, 2, 2, 1}, {5097600.5, 3, 3, 0}}
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
        samples.push_back(
            {double(random.bounded(1u << 30)) / 1e6, raw * scales[i % 8] - (i % 3) * 40.5, bits, 0});
    }
    samples.push_back({0, 100000, 1e15, 0});
    samples.push_back({0, 1e16, 0.0001, 0});
    std::vector<QByteArray> expected;
    for (const CsvSample& s : samples) {
        char text[3][40];
        char* ends[3];
        int k = 0;
        for (const double v : {s.time, s.value, s.raw})
            ends[k] = std::to_chars(text[k], text[k] + 40, v).ptr, ++k;
        expected.push_back(QByteArray(text[0], int(ends[0] - text[0])) + ",x," +
                           QByteArray(text[1], int(ends[1] - text[1])) + ',' +
                           QByteArray(text[2], int(ends[2] - text[2])) + ",u");
    }
    const CommaLocale comma;
    QVERIFY(comma.active);
    const QList<QByteArray> lines = csvOf({{"x", "u"}}, CsvOptions(), samples).split('\n');
    QCOMPARE(size_t(lines.size()), samples.size() + 2);
    for (size_t i = 0; i < samples.size(); ++i)
        QCOMPARE(lines[int(i) + 1], expected[i]);
}

void TestConvert::mergesCurves_data()
{
    QTest::addColumn<QVector<QVector<double>>>("xy"); // per curve: x newest first, then y
    QTest::addColumn<QString>("expected");            // time:curve:value:raw

    QTest::newRow("equal times in curve order")
        << QVector<QVector<double>>{{3, 1, 30, 10}, {3, 2, 1, 31, 21, 11}, {}}
        << "1:0:10:4.5 1:1:11:11 2:1:21:21 3:0:30:14.5 3:1:31:31";
    QTest::newRow("a curve out of order, a time that is not a number")
        << QVector<QVector<double>>{{1, qQNaN(), 2, 5, 10, 99, 20, 50}, {4, 3, 40, 30}}
        << "1:0:10:4.5 2:0:20:9.5 3:1:30:30 4:1:40:40 5:0:50:24.5";
    QTest::newRow("scale 0 gives no raw value") << QVector<QVector<double>>{{}, {}, {7, 70}} << "7:2:70:";
}

void TestConvert::mergesCurves()
{
    QFETCH(QVector<QVector<double>>, xy);
    QFETCH(QString, expected);
    const double scales[] = {2, 1, 0};
    std::vector<CurvePoints> curves;
    for (int c = 0; c < xy.size(); ++c) {
        const size_t n = size_t(xy[c].size() / 2);
        curves.push_back({xy[c].constData(), xy[c].constData() + n, n, scales[c], c == 0 ? 1.0 : 0.0});
    }
    CurvePointMerge merge(curves);
    QStringList got;
    CsvSample s;
    while (merge.next(s))
        got << QStringLiteral("%1:%2:%3:%4")
                   .arg(s.time)
                   .arg(s.curve)
                   .arg(s.value)
                   .arg(s.rawKnown ? QString::number(s.raw) : "");
    QCOMPARE(got.join(' '), expected);
    QCOMPARE(merge.delivered(), merge.total());
}

QTEST_GUILESS_MAIN(TestConvert)
#include "tst_convert.moc"
