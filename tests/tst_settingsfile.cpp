// The settings document alone: what the writer puts into the bytes, read
// back by a separate parser, and what the reader makes of documents written
// by hand.
#include "settingsfile.h"

#include <QBuffer>
#include <QDomDocument>
#include <QDomNamedNodeMap>
#include <QFile>
#include <QtTest>

using AttributeMap = QMap<QString, QString>;
Q_DECLARE_METATYPE(Settings)

namespace {

Settings customSettings()
{
    Settings settings;
    settings.backgroundColor = QColor(0x12, 0x34, 0x56);
    settings.gridColor = QColor(0xab, 0xcd, 0xef);
    settings.marker1Color = QColor(0xff, 0x00, 0x00);
    settings.marker2Color = QColor(0x00, 0x80, 0x00);
    settings.plotSize = 100000;
    settings.refreshTime = 50;
    settings.lineWidth = 4;
    settings.continuousScroll = false;
    settings.antialiasing = true;
    return settings;
}

QByteArray writtenBytes(const Settings& settings, const QString& dateTime)
{
    QBuffer buffer;
    if (!writeSettingsDocument(buildSettingsDocument(settings, dateTime), &buffer))
        return QByteArray();
    return buffer.data();
}

SettingsReadResult readBytes(const QByteArray& bytes)
{
    QByteArray data = bytes;
    QBuffer buffer(&data);
    return readSettingsDocument(&buffer);
}

// A settings record field by field, so that a failure names the field.
void compareSettings(const Settings& actual, const Settings& expected)
{
    QCOMPARE(actual.backgroundColor, expected.backgroundColor);
    QCOMPARE(actual.gridColor, expected.gridColor);
    QCOMPARE(actual.marker1Color, expected.marker1Color);
    QCOMPARE(actual.marker2Color, expected.marker2Color);
    QCOMPARE(actual.plotSize, expected.plotSize);
    QCOMPARE(actual.refreshTime, expected.refreshTime);
    QCOMPARE(actual.lineWidth, expected.lineWidth);
    QCOMPARE(actual.continuousScroll, expected.continuousScroll);
    QCOMPARE(actual.antialiasing, expected.antialiasing);
}

} // namespace

class TestSettingsFile : public QObject
{
    Q_OBJECT

private slots:
    void written_data();
    void written();
    void roundTrip_data();
    void roundTrip();
    void read_data();
    void read();
    void failures_data();
    void failures();
    void deviceThatCannotOpen();
    void filePath_data();
    void filePath();
};

void TestSettingsFile::written_data()
{
    QTest::addColumn<Settings>("settings");
    QTest::addColumn<AttributeMap>("expected");

    const QString dateTime = QStringLiteral("Tue Mar 4 10:11:12 2025");
    // The named "grey" is #808080, not the #a0a0a4 of Qt::gray.
    QTest::newRow("first start") << Settings::defaults()
                                 << AttributeMap{{"datetime", dateTime},      {"BackgroundColor", "#ffffff"},
                                                 {"GridColor", "#808080"},    {"Marker1Color", "#0000ff"},
                                                 {"Marker2Color", "#0000ff"}, {"PlotSize", "5000"},
                                                 {"RefreshTime", "250"},      {"LineWidth", "1"},
                                                 {"ContinousScoll", "1"},     {"Antialiasing", "0"}};
    QTest::newRow("custom") << customSettings()
                            << AttributeMap{{"datetime", dateTime},      {"BackgroundColor", "#123456"},
                                            {"GridColor", "#abcdef"},    {"Marker1Color", "#ff0000"},
                                            {"Marker2Color", "#008000"}, {"PlotSize", "100000"},
                                            {"RefreshTime", "50"},       {"LineWidth", "4"},
                                            {"ContinousScoll", "0"},     {"Antialiasing", "1"}};
}

void TestSettingsFile::written()
{
    QFETCH(Settings, settings);
    QFETCH(AttributeMap, expected);

    const QByteArray bytes = writtenBytes(settings, expected.value("datetime"));
    QVERIFY(!bytes.contains("<?xml"));
    QVERIFY2(bytes.startsWith("<Vistrel "), bytes.constData());
    // One element, no text, no children: it closes itself on its one line.
    QVERIFY2(bytes.endsWith("/>\n"), bytes.constData());
    QCOMPARE(bytes.count('\n'), 1);

    QDomDocument document;
    QString error;
    QVERIFY2(document.setContent(bytes, &error), qPrintable(error));
    const QDomElement root = document.documentElement();
    QCOMPARE(root.tagName(), QStringLiteral("Vistrel"));
    QVERIFY(!root.hasChildNodes());
    const QDomNamedNodeMap attributes = root.attributes();
    AttributeMap actual;
    for (int i = 0; i < attributes.count(); ++i) {
        const QDomAttr attribute = attributes.item(i).toAttr();
        actual.insert(attribute.name(), attribute.value());
    }
    QCOMPARE(actual, expected);
}

void TestSettingsFile::roundTrip_data()
{
    QTest::addColumn<Settings>("settings");
    QTest::newRow("defaults") << Settings::defaults();
    QTest::newRow("custom") << customSettings();
    Settings extreme = customSettings();
    extreme.plotSize = 4000000000u;
    extreme.refreshTime = 4000000000u;
    extreme.lineWidth = 0;
    QTest::newRow("beyond the dialog's limits") << extreme;
}

void TestSettingsFile::roundTrip()
{
    QFETCH(Settings, settings);
    const SettingsReadResult result = readBytes(writtenBytes(settings, QStringLiteral("x")));
    QCOMPARE(result.status, SettingsReadResult::Ok);
    compareSettings(result.settings, settings);
}

void TestSettingsFile::read_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<Settings>("expected");

    const Settings custom = customSettings();
    const QByteArray customAttributes =
        R"(BackgroundColor="#123456" GridColor="#abcdef" Marker1Color="#ff0000" Marker2Color="#008000" )"
        R"(PlotSize="100000" RefreshTime="50" LineWidth="4" ContinousScoll="0" Antialiasing="1")";

    QTest::newRow("as written") << QByteArray("<Vistrel datetime=\"x\" " + customAttributes + "/>\n")
                                << custom;
    QTest::newRow("other root name") << QByteArray("<Einstellungen " + customAttributes + "/>") << custom;
    QTest::newRow("with declaration and children")
        << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Vistrel " + customAttributes +
                      "><Other PlotSize=\"1\"/></Vistrel>")
        << custom;

    Settings named = custom;
    named.backgroundColor = QColor(255, 0, 0);
    named.gridColor = QColor(0, 255, 0);
    named.marker1Color = QColor(0x00, 0x64, 0x00);
    named.marker2Color = QColor(0x11, 0x22, 0x33);
    QTest::newRow("colour names") << QByteArray(
                                         R"(<Vistrel BackgroundColor="red" GridColor="#00ff00" )"
                                         R"(Marker1Color="darkgreen" Marker2Color="#123" PlotSize="100000" )"
                                         R"(RefreshTime="50" LineWidth="4" ContinousScoll="0" )"
                                         R"(Antialiasing="1"/>)")
                                  << named;

    Settings noRefresh = custom;
    noRefresh.refreshTime = 0;
    QTest::newRow("RefreshTime missing")
        << QByteArray(R"(<Vistrel BackgroundColor="#123456" GridColor="#abcdef" Marker1Color="#ff0000" )"
                      R"(Marker2Color="#008000" PlotSize="100000" LineWidth="4" ContinousScoll="0" )"
                      R"(Antialiasing="1"/>)")
        << noRefresh;

    Settings zeroWidth = custom;
    zeroWidth.lineWidth = 0;
    QTest::newRow("LineWidth 0")
        << QByteArray(R"(<Vistrel BackgroundColor="#123456" GridColor="#abcdef" Marker1Color="#ff0000" )"
                      R"(Marker2Color="#008000" PlotSize="100000" RefreshTime="50" LineWidth="0" )"
                      R"(ContinousScoll="0" Antialiasing="1"/>)")
        << zeroWidth;

    // Numbers are decimal only: no hexadecimal, no octal.
    Settings decimal = custom;
    decimal.plotSize = 10;
    decimal.refreshTime = 0;
    decimal.lineWidth = 8;
    decimal.continuousScroll = true;
    decimal.antialiasing = false;
    QTest::newRow("base 10 and switches")
        << QByteArray(R"(<Vistrel BackgroundColor="#123456" GridColor="#abcdef" Marker1Color="#ff0000" )"
                      R"(Marker2Color="#008000" PlotSize="010" RefreshTime="0x10" LineWidth="8" )"
                      R"(ContinousScoll="2" Antialiasing="yes"/>)")
        << decimal;

    // Nothing falls back to a default: no colour is valid, all numbers 0.
    QTest::newRow("empty element") << QByteArray("<Vistrel/>") << Settings();

    Settings badColour = custom;
    badColour.backgroundColor = QColor();
    badColour.marker2Color = QColor();
    QTest::newRow("unknown colour names")
        << QByteArray(
               R"(<Vistrel BackgroundColor="nocolour" GridColor="#abcdef" Marker1Color="#ff0000" )"
               R"(Marker2Color="" PlotSize="100000" RefreshTime="50" LineWidth="4" ContinousScoll="0" )"
               R"(Antialiasing="1"/>)")
        << badColour;
}

void TestSettingsFile::read()
{
    QFETCH(QByteArray, bytes);
    QFETCH(Settings, expected);

    const SettingsReadResult result = readBytes(bytes);
    QCOMPARE(result.status, SettingsReadResult::Ok);
    compareSettings(result.settings, expected);
}

void TestSettingsFile::failures_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("status");

    QTest::newRow("not XML") << QByteArray("PlotSize=5000\nRefreshTime=250\n")
                             << int(SettingsReadResult::ParseFailed);
    QTest::newRow("empty") << QByteArray() << int(SettingsReadResult::ParseFailed);
    QTest::newRow("unclosed element")
        << QByteArray("<Vistrel PlotSize=\"5000\"") << int(SettingsReadResult::ParseFailed);
}

void TestSettingsFile::failures()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, status);
    QCOMPARE(int(readBytes(bytes).status), status);
}

void TestSettingsFile::deviceThatCannotOpen()
{
    const QString missing = QStringLiteral("/nonexistent-vistrel-dir/vistrelsettings.xml");
    QFile reading(missing);
    QCOMPARE(readSettingsDocument(&reading).status, SettingsReadResult::OpenFailed);
    QFile writing(missing);
    QVERIFY(!writeSettingsDocument(buildSettingsDocument(Settings::defaults(), QString()), &writing));
}

void TestSettingsFile::filePath_data()
{
    QTest::addColumn<QString>("dir");
    QTest::addColumn<QString>("expected");
    QTest::newRow("no directory") << QString() << QStringLiteral("vistrelsettings.xml");
    QTest::newRow("directory") << QStringLiteral("/home/u/.local/share/vistrel")
                               << QStringLiteral("/home/u/.local/share/vistrel/vistrelsettings.xml");
}

void TestSettingsFile::filePath()
{
    QFETCH(QString, dir);
    QFETCH(QString, expected);
    QCOMPARE(settingsFilePath(dir), expected);
}

QTEST_APPLESS_MAIN(TestSettingsFile)
#include "tst_settingsfile.moc"
