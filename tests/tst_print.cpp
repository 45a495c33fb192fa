#include "dataplot.h"
#include "plotprint.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_renderer.h>

#include <QComboBox>
#include <QLineEdit>
#include <QPrintDialog>
#include <QRegularExpression>
#include <QtTest>

#include <memory>

using TestSupport::ModalAnswerer;

Q_DECLARE_METATYPE(QPrinter::ColorMode)

namespace {

// Page sizes of a PDF as Qt writes them, in points.
QList<QSizeF> pdfPageSizes(const QByteArray& pdf)
{
    QList<QSizeF> sizes;
    const QRegularExpression mediaBox(QStringLiteral("/MediaBox \\[0 0 ([0-9.]+) ([0-9.]+)\\]"));
    // Binary streams hold NULs: the whole array counts.
    auto it = mediaBox.globalMatch(QString::fromLatin1(pdf.constData(), pdf.size()));
    while (it.hasNext()) {
        const auto match = it.next();
        sizes << QSizeF(match.captured(1).toDouble(), match.captured(2).toDouble());
    }
    return sizes;
}

int pixelsOf(const QImage& image, const QColor& color)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += image.pixelColor(x, y) == color;
    return count;
}

} // namespace

class TestPrint : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void rendererFlags_data();
    void rendererFlags();
    void greyScaleLeavesOutTheCanvasColour_data();
    void greyScaleLeavesOutTheCanvasColour();
    void printsOneLandscapePage_data();
    void printsOneLandscapePage();
    void dialogOpensOnLandscape();
    void cancelPrintsNothing();
    void acceptPrintsThePlot();

private:
    std::unique_ptr<VistrelMainWindow> makeWindow();
};

void TestPrint::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

std::unique_ptr<VistrelMainWindow> TestPrint::makeWindow()
{
    TestSupport::useDriverConfig(QString());
    return std::make_unique<VistrelMainWindow>();
}

void TestPrint::rendererFlags_data()
{
    QTest::addColumn<QPrinter::ColorMode>("mode");
    QTest::addColumn<bool>("discardCanvas");
    QTest::addColumn<bool>("frameWithScales");
    QTest::newRow("colour") << QPrinter::Color << false << false;
    QTest::newRow("grey scale") << QPrinter::GrayScale << true << true;
}

void TestPrint::rendererFlags()
{
    QFETCH(QPrinter::ColorMode, mode);
    QFETCH(bool, discardCanvas);
    QFETCH(bool, frameWithScales);

    QwtPlotRenderer renderer;
    setUpPrintRenderer(renderer, mode);
    QCOMPARE(renderer.testDiscardFlag(QwtPlotRenderer::DiscardCanvasBackground), discardCanvas);
    QCOMPARE(renderer.testLayoutFlag(QwtPlotRenderer::FrameWithScales), frameWithScales);
    // Everything else stays as the renderer has it.
    const QwtPlotRenderer::DiscardFlags otherDiscards =
        renderer.discardFlags() & ~QwtPlotRenderer::DiscardFlags(QwtPlotRenderer::DiscardCanvasBackground);
    QCOMPARE(int(otherDiscards), int(QwtPlotRenderer().discardFlags()));
    const QwtPlotRenderer::LayoutFlags otherLayout =
        renderer.layoutFlags() & ~QwtPlotRenderer::LayoutFlags(QwtPlotRenderer::FrameWithScales);
    QCOMPARE(int(otherLayout), int(QwtPlotRenderer().layoutFlags()));
}

void TestPrint::greyScaleLeavesOutTheCanvasColour_data()
{
    QTest::addColumn<QPrinter::ColorMode>("mode");
    QTest::addColumn<bool>("canvasShows");
    QTest::newRow("colour") << QPrinter::Color << true;
    QTest::newRow("grey scale") << QPrinter::GrayScale << false;
}

void TestPrint::greyScaleLeavesOutTheCanvasColour()
{
    QFETCH(QPrinter::ColorMode, mode);
    QFETCH(bool, canvasShows);

    const auto window = makeWindow();
    const QColor canvas(200, 30, 40);
    window->plot->setCanvasColor(canvas);

    QImage image(800, 500, QImage::Format_RGB32);
    image.fill(Qt::white);
    QwtPlotRenderer renderer;
    setUpPrintRenderer(renderer, mode);
    renderer.renderTo(window->plot, image);

    const int canvasPixels = pixelsOf(image, canvas);
    if (canvasShows)
        QVERIFY2(canvasPixels > image.width() * image.height() / 3,
                 qPrintable(QString::number(canvasPixels)));
    else
        QCOMPARE(canvasPixels, 0);
}

void TestPrint::printsOneLandscapePage_data()
{
    QTest::addColumn<QPrinter::ColorMode>("mode");
    QTest::newRow("colour") << QPrinter::Color;
    QTest::newRow("grey scale") << QPrinter::GrayScale;
}

void TestPrint::printsOneLandscapePage()
{
    QFETCH(QPrinter::ColorMode, mode);
    const auto window = makeWindow();
    const QString path = TestSupport::temporaryPath(QStringLiteral("plot-%1.pdf").arg(int(mode)));

    QPrinter printer(QPrinter::ScreenResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(path);
    printer.setPageOrientation(QPageLayout::Landscape);
    printer.setColorMode(mode);
    printPlot(window->plot, printer);

    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray pdf = file.readAll();
    QVERIFY(pdf.startsWith("%PDF"));
    const QList<QSizeF> pages = pdfPageSizes(pdf);
    QCOMPARE(pages.size(), 1);
    QVERIFY(pages.first().width() > pages.first().height());
}

void TestPrint::dialogOpensOnLandscape()
{
    const auto window = makeWindow();
    bool isPrintDialog = false;
    bool withoutParent = false;
    QPageLayout::Orientation orientation = QPageLayout::Portrait;
    QString creator;
    QString docName = QStringLiteral("unread");
    ModalAnswerer handler([&](QWidget* widget) {
        auto* dialog = qobject_cast<QPrintDialog*>(widget);
        isPrintDialog = dialog != nullptr;
        if (dialog) {
            orientation = dialog->printer()->pageLayout().orientation();
            creator = dialog->printer()->creator();
            docName = dialog->printer()->docName();
            withoutParent = !dialog->parentWidget();
        }
        widget->close();
    });
    window->projectPrint();
    QVERIFY(isPrintDialog);
    QVERIFY(withoutParent);
    QCOMPARE(orientation, QPageLayout::Landscape);
    QCOMPARE(creator, QStringLiteral("Vistrel"));
    QVERIFY(docName.isEmpty());
}

void TestPrint::cancelPrintsNothing()
{
    const auto window = makeWindow();
    const QString path = TestSupport::temporaryPath(QStringLiteral("cancelled.pdf"));
    bool isPrintDialog = false;
    ModalAnswerer handler([&](QWidget* widget) {
        auto* dialog = qobject_cast<QPrintDialog*>(widget);
        isPrintDialog = dialog != nullptr;
        if (dialog) {
            // Were the plot printed after all, it would land here.
            dialog->printer()->setOutputFormat(QPrinter::PdfFormat);
            dialog->printer()->setOutputFileName(path);
            dialog->reject();
        } else {
            widget->close();
        }
    });
    window->projectPrint();
    QVERIFY(isPrintDialog);
    QVERIFY(!QFileInfo::exists(path));
}

void TestPrint::acceptPrintsThePlot()
{
    const auto window = makeWindow();
    const QString path = TestSupport::temporaryPath(QStringLiteral("accepted.pdf"));
    bool toFile = false;
    ModalAnswerer handler([&](QWidget* widget) {
        auto* dialog = qobject_cast<QPrintDialog*>(widget);
        if (!dialog) {
            widget->close();
            return;
        }
        // Qt's own dialog: the last destination prints to a PDF file whose
        // name stands in the dialog.
        auto* printers = dialog->findChild<QComboBox*>(QStringLiteral("printers"));
        auto* fileName = dialog->findChild<QLineEdit*>(QStringLiteral("filename"));
        toFile = printers && fileName;
        if (!toFile) {
            dialog->reject();
            return;
        }
        printers->setCurrentIndex(printers->count() - 1);
        fileName->setText(path);
        dialog->accept();
    });
    window->projectPrint();
    if (!toFile)
        QSKIP("this Qt's print dialog offers no printing to a file");

    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray pdf = file.readAll();
    QVERIFY(pdf.startsWith("%PDF"));
    const QList<QSizeF> pages = pdfPageSizes(pdf);
    QCOMPARE(pages.size(), 1);
    QVERIFY(pages.first().width() > pages.first().height());
}

QTEST_MAIN(TestPrint)
#include "tst_print.moc"
