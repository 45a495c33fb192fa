// The manual of an installed program: beside the program first, as in the
// build folder, then in the documentation folder of the installed tree.
#include "manualpath.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

class TestManualPath : public QObject
{
    Q_OBJECT

private slots:
    void installedManual_data();
    void installedManual();
};

void TestManualPath::installedManual_data()
{
    // Manuals as "folder/lang", folder "bin" (the program's) or "docs".
    QTest::addColumn<QStringList>("present");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("expected");

    QTest::newRow("beside the program first") << QStringList{"bin/de", "docs/fr"} << "fr_FR"
                                              << "bin/de";
    QTest::newRow("installed, own language") << QStringList{"docs/fr", "docs/de", "docs/en"} << "fr_FR"
                                             << "docs/fr";
    QTest::newRow("installed, German before English") << QStringList{"docs/de", "docs/en"} << "fr_FR"
                                                      << "docs/de";
    QTest::newRow("none anywhere") << QStringList{} << "en_US"
                                   << "bin/en";
}

void TestManualPath::installedManual()
{
    QFETCH(QStringList, present);
    QFETCH(QString, locale);
    QFETCH(QString, expected);

    // The layout of an installation under any prefix: bin/ and share/doc/vistrel/.
    const QTemporaryDir prefix;
    const auto manual = [&prefix](const QString& place) {
        const QString folder = place.section('/', 0, 0) == "bin" ? "bin" : "share/doc/vistrel";
        return prefix.filePath(folder + "/Vistrel_manual_" + place.section('/', 1) + ".pdf");
    };
    QVERIFY(QDir(prefix.path()).mkpath("bin") && QDir(prefix.path()).mkpath("share/doc/vistrel"));
    for (const QString& place : present)
        QVERIFY(QFile(manual(place)).open(QIODevice::WriteOnly));

    QCOMPARE(manualPath(prefix.filePath("bin"), locale), manual(expected));
}

QTEST_APPLESS_MAIN(TestManualPath)
#include "tst_manualpath.moc"
