#include "manualpath.h"
#include "mformabout.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <QDesktopServices>
#include <QPointer>
#include <QRegularExpression>
#include <QTextBlock>
#include <QtTest>

#include <memory>

using TestSupport::ModalAnswerer;

// Stands in for the desktop: takes the URLs that QDesktopServices hands to
// a scheme's handler.
class UrlReceiver : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> urls;

public slots:
    void openUrl(const QUrl& url) { urls << url; }
};

// What the about box shows, read while it is open.
struct AboutTexts
{
    QString title;
    QString name;
    QString info;
    bool isAboutBox = false;
    bool heldByWindow = false;

    bool operator==(const AboutTexts& other) const
    {
        return title == other.title && name == other.name && info == other.info;
    }
};

class TestHelp : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void manualPath_data();
    void manualPath();
    void contentsAndIndexOpenTheManual_data();
    void contentsAndIndexOpenTheManual();
    void manualThatCannotBeOpenedIsReported();
    void aboutBoxTexts();
    void aboutBoxOpensAgainWithTheSameTexts();
    void aboutBoxForm();
    void browserLooksLikeTheDialog();
    void linkOpensInTheDesktopsBrowser();
    void manualPdfsBesideTheProgram_data();
    void manualPdfsBesideTheProgram();
    void manualLanguagesHaveTheSameShape();

private:
    std::unique_ptr<VistrelMainWindow> makeWindow();
    AboutTexts runAboutBox(VistrelMainWindow& window, QPointer<QWidget>* dialog = nullptr);
};

void TestHelp::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

std::unique_ptr<VistrelMainWindow> TestHelp::makeWindow()
{
    TestSupport::useDriverConfig(QString());
    return std::make_unique<VistrelMainWindow>();
}

void TestHelp::manualPath_data()
{
    QTest::addColumn<QStringList>("present");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("expected");

    const QStringList all{"en", "de", "fr"};
    QTest::newRow("English system, all present") << all << "en_US"
                                                 << "en";
    QTest::newRow("German system") << QStringList{"en", "de"} << "de_AT"
                                   << "de";
    QTest::newRow("French system with French") << all << "fr_FR"
                                               << "fr";
    QTest::newRow("French system without French takes German") << QStringList{"en", "de"} << "fr_FR"
                                                               << "de";
    QTest::newRow("French system, English only") << QStringList{"en"} << "fr_CH"
                                                 << "en";
    QTest::newRow("English system without English takes German") << QStringList{"de"} << "en_GB"
                                                                 << "de";
    QTest::newRow("C locale") << QStringList{"en", "de"} << "C"
                              << "de";
    QTest::newRow("nothing present") << QStringList() << "fr_FR"
                                     << "en";
    QTest::newRow("two letters only") << QStringList{"pt", "de"} << "pt_BR"
                                      << "pt";
}

void TestHelp::manualPath()
{
    QFETCH(QStringList, present);
    QFETCH(QString, locale);
    QFETCH(QString, expected);

    QTemporaryDir directory;
    QVERIFY(directory.isValid());
    for (const QString& lang : present) {
        QFile file(directory.filePath(QStringLiteral("Vistrel_manual_%1.pdf").arg(lang)));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QCOMPARE(::manualPath(directory.path(), locale),
             directory.path() + QStringLiteral("/Vistrel_manual_%1.pdf").arg(expected));
}

void TestHelp::contentsAndIndexOpenTheManual_data()
{
    QTest::addColumn<bool>("index");
    QTest::newRow("Contents") << false;
    QTest::newRow("Index") << true;
}

void TestHelp::contentsAndIndexOpenTheManual()
{
    QFETCH(bool, index);
    const auto window = makeWindow();
    UrlReceiver desktop;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &desktop, "openUrl");
    ModalAnswerer answerer(QMessageBox::Ok);
    if (index)
        window->helpIndex();
    else
        window->helpContents();
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));

    const QString directory = QCoreApplication::applicationDirPath();
    QCOMPARE(desktop.urls.size(), 1);
    QCOMPARE(desktop.urls.first(), QUrl::fromLocalFile(::manualPath(directory, QLocale::system().name())));
    // The build puts both manuals beside the program, so one that exists
    // is opened.
    QVERIFY(QFileInfo::exists(desktop.urls.first().toLocalFile()));
    QCOMPARE(answerer.answered(), 0);
}

void TestHelp::manualThatCannotBeOpenedIsReported()
{
    // The offscreen platform has no desktop to open documents with, as a
    // machine without PDF viewer.
    if (QGuiApplication::platformName() != QLatin1String("offscreen"))
        QSKIP("needs the offscreen platform, where no viewer opens the manual");
    const auto window = makeWindow();
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QWidget* parent = nullptr;
    QMessageBox::StandardButtons buttons;
    ModalAnswerer handler([&](QWidget* widget) {
        if (auto* box = qobject_cast<QMessageBox*>(widget)) {
            title = box->windowTitle();
            text = box->text();
            icon = box->icon();
            parent = box->parentWidget();
            buttons = box->standardButtons();
        }
        widget->close();
    });
    window->helpContents();

    QCOMPARE(handler.answered(), 1);
    QCOMPARE(title, QStringLiteral("Vistrel"));
    QCOMPARE(text, QStringLiteral("Cannot open pdf manual!"));
    QCOMPARE(icon, QMessageBox::Information);
    QCOMPARE(parent, window.get());
    QCOMPARE(buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
}

AboutTexts TestHelp::runAboutBox(VistrelMainWindow& window, QPointer<QWidget>* dialog)
{
    AboutTexts texts;
    ModalAnswerer handler([&](QWidget* widget) {
        auto* about = qobject_cast<MFormAbout*>(widget);
        texts.isAboutBox = about != nullptr;
        if (!about) {
            widget->close();
            return;
        }
        texts.heldByWindow = window.aboutDialog == about;
        texts.title = about->windowTitle();
        texts.name = about->textLabelAboutOrvane->text();
        texts.info = about->labelInfo->text();
        if (dialog)
            *dialog = about;
        about->pushButtonAbout->click();
    });
    window.helpAbout();
    return texts;
}

void TestHelp::aboutBoxTexts()
{
    const auto window = makeWindow();
    const AboutTexts texts = runAboutBox(*window);

    QVERIFY(texts.isAboutBox);
    QVERIFY(texts.heldByWindow);
    QCOMPARE(texts.title, QStringLiteral("About Vistrel"));
    const QStringList lines = texts.name.split(QLatin1Char('\n'));
    QCOMPARE(lines.size(), 4);
    QCOMPARE(lines.at(0), QStringLiteral("Vistrel"));
    QCOMPARE(lines.at(1), QStringLiteral("Version 2.2.5.0"));
    QVERIFY(lines.at(2).contains(QStringLiteral("Vistrel developers")));
    QVERIFY(lines.at(3).isEmpty()); // the closing line feed

    const QStringList info = texts.info.split(QLatin1Char('\n'));
    QCOMPARE(info.size(), 2);
    QCOMPARE(info.at(0), QStringLiteral("Vistrel is based in part on the work of the Qwt project:"));
    QVERIFY(info.at(1).startsWith(QStringLiteral("https://")));
    QVERIFY(info.at(1).endsWith(QStringLiteral(", Versions: Qt4, Qwt6")));
}

void TestHelp::aboutBoxOpensAgainWithTheSameTexts()
{
    const auto window = makeWindow();
    QPointer<QWidget> first;
    const AboutTexts before = runAboutBox(*window, &first);
    // "Ok" has closed the box, and the window has let go of it.
    QVERIFY(before.isAboutBox);
    QVERIFY(first.isNull());
    QVERIFY(!window->aboutDialog);

    QPointer<QWidget> second;
    const AboutTexts after = runAboutBox(*window, &second);
    QVERIFY(after.isAboutBox);
    QVERIFY(after.heldByWindow);
    QVERIFY(after == before);
    QVERIFY(second.isNull());
    QVERIFY(!window->aboutDialog);
}

void TestHelp::aboutBoxForm()
{
    MFormAbout about(nullptr);
    QCOMPARE(about.objectName(), QStringLiteral("FormAbout"));
    // As the form has it, or larger where the font needs more room; fixed.
    QVERIFY(about.width() >= 312 && about.height() >= 221);
    QCOMPARE(about.minimumSize(), about.maximumSize());
    QVERIFY(about.isModal());
    const Qt::WindowFlags flags = about.windowFlags();
    QVERIFY(flags & Qt::WindowTitleHint);
    QVERIFY(flags & Qt::WindowCloseButtonHint);
    QVERIFY(!(flags & Qt::WindowContextHelpButtonHint));
    QVERIFY(!(flags & Qt::WindowMaximizeButtonHint));

    QCOMPARE(about.pushButtonAbout->text(), QStringLiteral("Ok"));
    QVERIFY(!about.pixmapLabelAbout->pixmap(Qt::ReturnByValue).isNull());
    QCOMPARE(about.pixmapLabelAbout->size(), QSize(135, 90));
    QVERIFY(about.textBrowser->width() <= 123);
    QVERIFY(!about.textBrowser->openLinks());
    // The whole address shows, without scrolling.
    QCOMPARE(about.textBrowser->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    QVERIFY(about.textBrowser->height() >= about.textBrowser->document()->size().height());
    QCOMPARE(about.layout()->contentsMargins().bottom(), 4);
}

void TestHelp::browserLooksLikeTheDialog()
{
    MFormAbout about(nullptr);
    const QColor window = about.pixmapLabelAbout->palette().color(QPalette::Window);
    const QPalette browser = about.textBrowser->palette();
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        QCOMPARE(browser.brush(group, QPalette::Base).color(), window);
        QCOMPARE(browser.brush(group, QPalette::Base).style(), Qt::SolidPattern);
    }
    QVERIFY(about.textBrowser->autoFillBackground());
}

void TestHelp::linkOpensInTheDesktopsBrowser()
{
    MFormAbout about(nullptr);
    about.show();
    QVERIFY(QTest::qWaitForWindowExposed(&about));
    QTextBrowser* browser = about.textBrowser;
    const QString textBefore = browser->toPlainText();

    // Where the anchors stand on the screen.
    QList<QPair<QString, QPoint>> anchors;
    for (QTextBlock block = browser->document()->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (!fragment.charFormat().isAnchor())
                continue;
            QTextCursor cursor(browser->document());
            cursor.setPosition(fragment.position() + fragment.length() / 2);
            anchors.append({fragment.charFormat().anchorHref(), browser->cursorRect(cursor).center()});
        }
    }
    QCOMPARE(anchors.size(), 2);
    QVERIFY(anchors.at(0).first != anchors.at(1).first);

    UrlReceiver desktop;
    QDesktopServices::setUrlHandler(QStringLiteral("https"), &desktop, "openUrl");
    for (const auto& anchor : anchors) {
        QTest::mouseClick(browser->viewport(), Qt::LeftButton, Qt::NoModifier, anchor.second);
        QTRY_COMPARE(desktop.urls.size(), anchors.indexOf(anchor) + 1);
        QCOMPARE(desktop.urls.last(), QUrl(anchor.first));
    }
    QDesktopServices::unsetUrlHandler(QStringLiteral("https"));

    // The browser itself stays where it was.
    QVERIFY(browser->source().isEmpty());
    QCOMPARE(browser->toPlainText(), textBefore);
}

void TestHelp::manualPdfsBesideTheProgram_data()
{
    QTest::addColumn<QString>("lang");
    QTest::newRow("English") << "en";
    QTest::newRow("German") << "de";
}

void TestHelp::manualPdfsBesideTheProgram()
{
    QFETCH(QString, lang);
    // The tests live in the folder of the program.
    QFile manual(QCoreApplication::applicationDirPath() + QStringLiteral("/Vistrel_manual_%1.pdf").arg(lang));
    QVERIFY2(manual.open(QIODevice::ReadOnly), qPrintable(manual.fileName()));
    const QByteArray pdf = manual.readAll();
    QVERIFY(pdf.startsWith("%PDF"));
    QVERIFY(pdf.trimmed().endsWith("%%EOF"));
    // Several pages of text, not an empty shell.
    const int pages = pdf.count("/Type /Page\n") + pdf.count("/Type /Page ");
    QVERIFY2(pages >= 5, qPrintable(QString::number(pages)));
}

void TestHelp::manualLanguagesHaveTheSameShape()
{
    // Both manuals are translations of each other: the same chapters,
    // tables, lists, pictures and code blocks, in the same order.
    const auto shape = [](const QString& lang) {
        QFile source(QStringLiteral(VISTREL_SOURCE_DIR "/docs/manual/manual_%1.md").arg(lang));
        if (!source.open(QIODevice::ReadOnly))
            return QStringList{QStringLiteral("unreadable ") + source.fileName()};
        QStringList kinds;
        const QRegularExpression heading(QStringLiteral("^(#+) (\\d+(\\.\\d+)?)?"));
        const QRegularExpression listItem(QStringLiteral("^(- |\\d+\\. )"));
        const QRegularExpression image(QStringLiteral("^!\\[[^\\]]*\\]\\(([^)]+)\\)"));
        for (const QString& line : QString::fromUtf8(source.readAll()).split(QLatin1Char('\n'))) {
            const auto headingMatch = heading.match(line);
            const auto imageMatch = image.match(line);
            if (headingMatch.hasMatch())
                kinds << QStringLiteral("heading ") + headingMatch.captured(1) + headingMatch.captured(2);
            else if (line.startsWith(QLatin1Char('|')))
                kinds << QStringLiteral("table row of %1").arg(line.count(QLatin1Char('|')));
            else if (listItem.match(line).hasMatch())
                kinds << QStringLiteral("list item");
            else if (line.startsWith(QLatin1String("```")))
                kinds << QStringLiteral("code fence");
            else if (imageMatch.hasMatch())
                kinds << QStringLiteral("image ") + imageMatch.captured(1);
        }
        return kinds;
    };
    const QStringList english = shape(QStringLiteral("en"));
    const QStringList german = shape(QStringLiteral("de"));
    QVERIFY(english.size() > 100);
    QCOMPARE(german, english);
    for (const QString& kind : english)
        if (kind.startsWith(QLatin1String("image ")))
            QVERIFY2(QFileInfo::exists(QStringLiteral(VISTREL_SOURCE_DIR "/docs/manual/") + kind.mid(6)),
                     qPrintable(kind));
}

QTEST_MAIN(TestHelp)
#include "tst_help.moc"
