#include <QDir>
#include <QImage>
#include <QSet>
#include <QtTest>

// The pictures are compiled into the program; a missing or misnamed file
// only shows as an empty icon at run time, so every name is checked here.
class TstResources : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void pictureLoads_data();
    void pictureLoads();
    void nothingElseInCollection();
    void logosHaveTransparentGround();
};

namespace {

const QString prefix = QStringLiteral(":/MainWndPic/png/");

struct Picture
{
    const char* path;
    QSize size; // invalid: any size
};

const QVector<Picture>& pictures()
{
    static const QVector<Picture> list = {
        {"2098.png", {}},
        {"HorizGrip.png", {}},
        {"orvane_transparent_90x60.png", {90, 60}},
        {"orvane_transparent_135x90.png", {135, 90}},
        {"png-action/Inform.png", {22, 22}},
        {"png-action/add_curve2.png", {22, 22}},
        {"png-action/config_curve2.png", {22, 22}},
        {"png-action/document-new.png", {22, 22}},
        {"png-action/document-open.png", {22, 22}},
        {"png-action/document-print.png", {22, 22}},
        {"png-action/document-save-as.png", {22, 22}},
        {"png-action/document-save.png", {22, 22}},
        {"png-action/go-jump.png", {22, 22}},
        {"png-action/go-up.png", {22, 22}},
        {"png-action/help-browser.png", {22, 22}},
        {"png-action/media-floppy.png", {22, 22}},
        {"png-action/preferences-system.png", {22, 22}},
        {"png-action/remove_curve2.png", {22, 22}},
        {"png-action/scale.png", {22, 22}},
        {"png-action/system-log-out.png", {22, 22}},
        {"png-action/applications-system.png", {22, 22}},
        {"png-action/document-properties.png", {22, 22}},
        {"png-action/emblem-unreadable.png", {22, 22}},
        {"png-action/go-down.png", {22, 22}},
        {"png-action/user-trash.png", {22, 22}},
    };
    return list;
}

// Every file below the prefix, as paths relative to it.
QSet<QString> collectionFiles(const QString& dir, const QString& relative = QString())
{
    QSet<QString> files;
    const QDir d(dir);
    for (const QFileInfo& info : d.entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString name = relative + info.fileName();
        if (info.isDir())
            files.unite(collectionFiles(info.filePath(), name + QLatin1Char('/')));
        else
            files.insert(name);
    }
    return files;
}

} // namespace

void TstResources::initTestCase()
{
    // The collection lives in a static library: it must be registered by name.
    Q_INIT_RESOURCE(vistrel);
}

void TstResources::pictureLoads_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");
    for (const Picture& p : pictures())
        QTest::newRow(p.path) << prefix + QLatin1String(p.path) << p.size;
}

void TstResources::pictureLoads()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);

    const QImage img(path);
    QVERIFY2(!img.isNull(), qPrintable(path));
    if (size.isValid())
        QCOMPARE(img.size(), size);
    else
        QVERIFY(img.width() >= 16 && img.height() >= 4);

    // A picture that is all transparent would be as good as none.
    const QImage argb = img.convertToFormat(QImage::Format_ARGB32);
    int visible = 0;
    for (int y = 0; y < argb.height(); ++y)
        for (int x = 0; x < argb.width(); ++x)
            visible += qAlpha(argb.pixel(x, y)) > 128 ? 1 : 0;
    QVERIFY2(visible >= argb.width() * argb.height() / 20, qPrintable(path));
}

void TstResources::nothingElseInCollection()
{
    QSet<QString> expected;
    for (const Picture& p : pictures())
        expected.insert(QLatin1String(p.path));
    QCOMPARE(collectionFiles(prefix), expected);
}

void TstResources::logosHaveTransparentGround()
{
    // The logos stand on whatever colour the window has.
    for (const char* name : {"orvane_transparent_90x60.png", "orvane_transparent_135x90.png"}) {
        const QImage img(prefix + QLatin1String(name));
        QVERIFY(img.hasAlphaChannel());
        QCOMPARE(qAlpha(img.pixel(0, 0)), 0);
        QCOMPARE(qAlpha(img.pixel(img.width() - 1, img.height() - 1)), 0);
    }
}

QTEST_MAIN(TstResources)
#include "tst_resources.moc"
