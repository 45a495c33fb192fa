#include "commandline.h"
#include "wallclock.h"

#include <QtTest>

class TestCommandLine : public QObject
{
    Q_OBJECT

private slots:
    void fileToOpen_data();
    void fileToOpen();
    void wallClockAcrossMidnight_data();
    void wallClockAcrossMidnight();
};

void TestCommandLine::fileToOpen_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("name");

    const int none = CommandLineFile::None;
    const int project = CommandLineFile::Project;
    const int data = CommandLineFile::Data;
    QTest::newRow("no arguments") << QStringList{"vistrel"} << none << QString();
    QTest::newRow("project") << QStringList{"vistrel", "a.vtlprj"} << project << "a.vtlprj";
    QTest::newRow("data") << QStringList{"vistrel", "/tmp/rec.vtldat"} << data << "/tmp/rec.vtldat";
    QTest::newRow("project before data") << QStringList{"vistrel", "a.vtlprj", "b.vtldat"} << project
                                         << "a.vtlprj";
    QTest::newRow("data before project") << QStringList{"vistrel", "b.vtldat", "a.vtlprj"} << data
                                         << "b.vtldat";
    QTest::newRow("other kind then data") << QStringList{"vistrel", "notes.txt", "b.vtldat"} << data
                                          << "b.vtldat";
    QTest::newRow("upper-case extension") << QStringList{"vistrel", "A.VTLPRJ"} << none << QString();
    QTest::newRow("upper-case then data") << QStringList{"vistrel", "A.VTLPRJ", "b.vtldat"} << data
                                          << "b.vtldat";
    QTest::newRow("no dot") << QStringList{"vistrel", "myvtlprj"} << project << "myvtlprj";
    QTest::newRow("program name is no file") << QStringList{"x.vtlprj"} << none << QString();
    QTest::newRow("extension in the middle") << QStringList{"vistrel", "a.vtlprj.bak"} << none << QString();
}

void TestCommandLine::fileToOpen()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, kind);
    QFETCH(QString, name);
    const CommandLineFile file = commandLineFile(arguments);
    QCOMPARE(int(file.kind), kind);
    QCOMPARE(file.name, name);
}

void TestCommandLine::wallClockAcrossMidnight_data()
{
    QTest::addColumn<QDate>("dayBefore");
    QTest::addColumn<QTime>("timeBefore");
    QTest::addColumn<QDate>("dayAfter");
    QTest::addColumn<QTime>("timeAfter");
    QTest::addColumn<double>("difference");

    QTest::newRow("midnight") << QDate(2026, 3, 1) << QTime(23, 59, 59, 500) << QDate(2026, 3, 2)
                              << QTime(0, 0, 0, 250) << 0.75;
    QTest::newRow("same day") << QDate(2026, 3, 1) << QTime(13, 5, 9, 250) << QDate(2026, 3, 1)
                              << QTime(13, 5, 10, 0) << 0.75;
    QTest::newRow("leap day") << QDate(2024, 2, 29) << QTime(23, 59, 59, 0) << QDate(2024, 3, 1)
                              << QTime(0, 0, 1, 0) << 2.0;
    // At the turn of a year the clock falls by about a year's seconds.
    QTest::newRow("new year") << QDate(2025, 12, 31) << QTime(23, 59, 59, 0) << QDate(2026, 1, 1)
                              << QTime(0, 0, 0, 0) << (1.0 - 365 * 86400.0);
}

void TestCommandLine::wallClockAcrossMidnight()
{
    QFETCH(QDate, dayBefore);
    QFETCH(QTime, timeBefore);
    QFETCH(QDate, dayAfter);
    QFETCH(QTime, timeAfter);
    QFETCH(double, difference);
    const double before = wallClockSecondsAt(dayBefore, timeBefore);
    const double after = wallClockSecondsAt(dayAfter, timeAfter);
    QVERIFY(qAbs((after - before) - difference) < 1e-6);
    QCOMPARE(wallClockSecondsAt(QDate(2026, 1, 1), QTime(13, 5, 9, 250)), 86400.0 + 47109.25);
}

QTEST_APPLESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
