// The plot view: the time axis (time base, scrolling, the view at Start and
// during a run), the two markers with their cells and their dragging,
// zoom and pan with the mouse, printing and image export, and the value axes
// with the viewport dialog.
#include "controller_support.h"
#include "dataplot.h"
#include "driver_support.h"
#include "gui_support.h"
#include "mdialogcustomaxis.h"
#include "mdialogexportimage.h"
#include "plotcurve.h"
#include "programoptions.h"
#include "tableplotdescription.h"
#include "timebase.h"
#include "valueaxistabpage.h"

#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>
#include <qwt_plot_picker.h>
#include <qwt_scale_div.h>
#include <qwt_scale_draw.h>

#include <QComboBox>
#include <QDomDocument>
#include <QFileDialog>
#include <QLineEdit>
#include <QPrintDialog>
#include <QtTest>

#include <cmath>

using Doubles = QVector<double>;
using Steps = QVector<QPointF>; // run time, end of the view after the refresh

namespace {

// The viewport dialog on two records and a fit flag of its own.
struct AxisDialog
{
    ValueAxisSettings left = ValueAxisSettings::leftDefault();
    ValueAxisSettings right = ValueAxisSettings::rightDefault();
    QVector<ValueAxisSettings*> axes{&left, &right};
    bool fit = false;
    MDialogCustomAxis dialog{nullptr, &axes, &fit};
    QSignalSpy applied{&dialog, &MDialogCustomAxis::signalApplyAxisSettings};

    QLineEdit* field(int index, int which) // 0 min, 1 max, 2 step
    {
        const auto* page = qobject_cast<ValueAxisTabPage*>(dialog.tabWidget->widget(index));
        return QVector<QLineEdit*>{page->lineEditMin, page->lineEditMax, page->lineEditStep}[which];
    }
    void setViewport(int index, const QStringList& texts)
    {
        for (int which = 0; which < 3; ++which)
            field(index, which)->setText(texts[which]);
    }
};

// The pixels of an image for which `is` holds.
int pixels(const QImage& image, const std::function<bool(QRgb)>& is)
{
    int n = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            n += is(image.pixel(x, y));
    return n;
}

// Counts the replots of the plot it is attached to: each draws every item once.
struct ReplotCounter : QwtPlotItem
{
    mutable int count = 0;
    void draw(QPainter*, const QwtScaleMap&, const QwtScaleMap&, const QRectF&) const override { ++count; }
};

// A wheel turned by notches, or a drag with two moves.
void gesture(QWidget* canvas, double notches, Qt::MouseButton button, Qt::KeyboardModifiers modifiers,
             const QPoint& from, const QPoint& to)
{
    if (notches != 0.0) {
        QWheelEvent event(from, canvas->mapToGlobal(from), QPoint(), QPoint(0, qRound(notches * 120)),
                          Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
        QApplication::sendEvent(canvas, &event);
        return;
    }
    const std::pair<QEvent::Type, QPoint> steps[] = {{QEvent::MouseButtonPress, from},
                                                     {QEvent::MouseMove, (from + to) / 2},
                                                     {QEvent::MouseMove, to},
                                                     {QEvent::MouseButtonRelease, to}};
    for (const auto& [type, pos] : steps) {
        QMouseEvent event(
            type, pos, canvas->mapToGlobal(pos), type == QEvent::MouseMove ? Qt::NoButton : button,
            type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::MouseButtons(button), modifiers);
        QApplication::sendEvent(canvas, &event);
    }
}

// A shown window with a record of 100 s: two curves, the second on the right axis (0 to 100), the
// view on 45 to 55 s, the markers at 48 and 52 s.
struct Recorded
{
    std::unique_ptr<VistrelMainWindow> window = GuiSupport::windowWithCurves(QString(), 2, true);
    DataPlot* plot = window->plot();
    QWidget* canvas = plot->canvas();
    QSlider* slider = GuiSupport::child<QSlider>(window.get(), "sliderTimeBase");
    QScrollBar* scrollBar = GuiSupport::child<QScrollBar>(window.get(), "scrollBarTime");

    Recorded()
    {
        window->resize(1100, 850);
        window->tableConfig()->setValueAxis(1, 1);
        QCoreApplication::processEvents(); // the axes follow by a queued call
        for (int c = 0; c < 2; ++c) {
            PlotCurve& curve = *window->curves()[c];
            for (int k = 0; k < 201; ++k) {
                curve.xValues[size_t(k)] = 100.0 - k * 0.5;
                curve.yValues[size_t(k)] = 40.0 * std::sin(k * 0.1 + c);
            }
            curve.plotItem->setRawSamples(curve.xValues.get(), curve.yValues.get(), 201);
        }
        window->setRunTime(100.0);
        window->slotTimeBaseChanged(9);
        scrollBar->setValue(55000);
        plot->setMarker1(48.0);
        plot->setMarker2(52.0);
    }
    // The canvas position of a time and a value of the left axis.
    QPoint at(const QPointF& point) const
    {
        return QPoint(qRound(plot->transform(QwtPlot::xBottom, point.x())),
                      qRound(plot->transform(QwtPlot::yLeft, point.y())));
    }
    // Whether the plot shows {time start, end, left min, max, right min, max}, to a pixel of the first view.
    bool shows(const Doubles& view) const
    {
        static const double pixels[] = {0.012, 0.5, 0.25}; // 10 s, 200 and 100 over 800 and 400 pixels
        plot->updateAxes();
        for (const int axis : {QwtPlot::xBottom, QwtPlot::yLeft, QwtPlot::yRight}) {
            const size_t i = axis == QwtPlot::xBottom ? 0 : axis == QwtPlot::yLeft ? 2 : 4;
            const QwtScaleMap map = plot->canvasMap(axis);
            if (std::fabs(map.s1() - view[i]) > pixels[i / 2] ||
                std::fabs(map.s2() - view[i + 1]) > pixels[i / 2])
                return false;
        }
        return true;
    }
    // The markers' buttons and cells, and the axes' records.
    QStringList state() const
    {
        QStringList texts;
        for (const char* name : {"pushButtonMarker1", "pushButtonMarker2", "pushButtonDMarker"})
            texts << GuiSupport::child<QPushButton>(window.get(), name)->text();
        for (int cell = 0; cell < 4; ++cell)
            texts << window->tableDescription()->text(cell / 2, TablePlotDescription::ColM1 + cell % 2);
        for (const ValueAxisSettings* axis : window->axisSettings())
            texts << QStringLiteral("%1 %2 %3").arg(axis->min).arg(axis->max).arg(axis->step);
        return texts;
    }
};

// clang-format off
struct Navigation
{
    const char* name;
    Qt::MouseButton button;
    Qt::KeyboardModifiers modifiers;
    QPointF from, to; // time and value of the left axis
    double notches;   // 0: a drag
    Doubles view;     // time start, end; left min, max; right min, max
    int slider;
    int replots;
};
const Navigation navigations[] = {
    {"wheel up: time around the pointer", Qt::NoButton, {}, {50, 0}, {}, 1, {46, 54, -100, 100, 0, 100}, 9, 1},
    {"two notches down", Qt::NoButton, {}, {47, 0}, {}, -2, {43.875, 59.5, -100, 100, 0, 100}, 10, 1},
    {"Ctrl + wheel near the left axis", Qt::NoButton, Qt::ControlModifier, {47, 50}, {}, 1,
     {45, 55, -70, 90, 0, 100}, 9, 1},
    {"Ctrl + wheel near the right axis", Qt::NoButton, Qt::ControlModifier, {53, 0}, {}, 1,
     {45, 55, -100, 100, 10, 90}, 9, 1},
    {"middle drag pans", Qt::MiddleButton, {}, {50, 0}, {48, 20}, 0, {47, 57, -120, 80, -10, 90}, 9, 2},
    {"Shift + left drag pans", Qt::LeftButton, Qt::ShiftModifier, {46, 10}, {50, -30}, 0,
     {41, 51, -60, 140, 20, 120}, 9, 2},
    {"Ctrl + left drag zooms to the box", Qt::LeftButton, Qt::ControlModifier, {46, 50}, {49, -20}, 0,
     {46, 49, -20, 50, 40, 75}, 7, 1},
    {"plain left drag moves the nearer marker", Qt::LeftButton, {}, {51.9, 0}, {53, 0}, 0,
     {45, 55, -100, 100, 0, 100}, 9, 3},
};
// The ends of the table and of each unit; index 24 lies past the end.
const struct { const char* name; int index; double span; QString label; } timeBaseRows[] = {
    {"first", 0, 0.01, "10 ms"}, {"last in ms", 5, 0.5, "500 ms"}, {"first in s", 6, 1.0, "1 s"},
    {"last", 23, 500000.0, "500000 s"}, {"past the end", 24, 10.0, "10 s"}};

// startEnd: the end of the view at Start. A paged 10 s view opens from -5 to 5 and stays until
// the run time passes 5, then jumps so that the present is in the middle. Refreshed each 250 ms:
// 0.5 s <= 2 * 0.25 s follows although paged.
const struct { const char* name; bool continuous; int index; double startEnd; Steps steps; } followRows[] = {
    {"continuous", true, 9, 0.0, {{0.25, 0.25}, {12.5, 12.5}}},
    {"paged, 10 s", false, 9, 5.0, {{4.9, 5}, {5.0, 5}, {5.2, 10.2}, {10.2, 10.2}, {10.3, 15.3}}},
    {"paged, 500 ms follows", false, 5, 0.25, {{0.1, 0.1}}},
    {"paged, 1 s pages", false, 6, 0.5, {{0.25, 0.5}, {0.75, 1.25}}}};

const struct { const char* name; double marker1, marker2, runTime; int index; double end; } zoomRows[] = {
    {"4 and 1", 4.0, 1.0, 10.0, 8, 5.0},
    {"exactly 5 s apart: strictly greater", 1.0, 6.0, 20.0, 9, 8.5},
    {"500000 s apart: the last", 0.0, 500000.0, 1e6, 23, 500000.0}};

// x: the live point at 10, then samples at 8, 6, 4, 2. Unfilled elements of a live curve count
// as points at time 0, but not as older than 0. "before": unchanged.
const struct { const char* name; Doubles x; double scale, time; QString cell; } markerRows[] = {
    {"scale 0 gives raw 0", {10, 8, 6, 4, 2}, 0.0, 7.0, "30.000/0.000   [6.000 s]"},
    {"nothing older", {10, 8, 6, 4, 2}, 2.0, 2.0, "before"},
    {"unfilled, marker at 0", {3.5, 3.0}, 2.0, 0.0, "before"}};

// size invalid: the plot's own; written empty: the error box. A bare name gets the filter's extension.
const struct { const char* name; QString filter, typed; QSize size; bool grey; QString written; } exportRows[] = {
    {"PNG of a chosen size, grey", "SVG image (*.svg)", "grey.png",     QSize(640, 400),  true,  "grey.png"},
    {"SVG by its filter",          "SVG image (*.svg)", "drawing",      QSize(),          false, "drawing.svg"},
    {"no such folder",             "PNG image (*.png)", "missing/plot", QSize(),          false, QString()}};

const struct { const char* name; int page; QStringList viewport; QString suggestion; } refusedRows[] = {
    {"left, step equals range", 0, {"0", "100", "100"}, "20"},
    {"right, step above range", 1, {"-1", "2", "5"}, "0.6"},
    {"left, minimum equals maximum", 0, {"5", "5", "1"}, ""},
    {"right, empty step", 1, {"0", "10", ""}, ""}};

const struct { const char* name; bool accept; } printRows[] = {{"accepted", true}, {"cancelled", false}};
// clang-format on

} // namespace

class TestPlot : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::Parts> p;

    QwtScaleDiv axis() const { return p->plot.axisScaleDiv(QwtPlot::xBottom); }
    // Whether the view shows end - span to end, to a microsecond.
    bool viewEndsAt(double end, double span) const
    {
        return qAbs(axis().upperBound() - end) < 1e-6 && qAbs(axis().lowerBound() - end + span) < 1e-6;
    }
    void runTo(double runTime)
    {
        p->timeBase.setRunTime(runTime);
        p->timeBase.followRun();
    }
    void showPlot()
    {
        p->plot.resize(1000, 500);
        p->plot.show();
        QVERIFY(QTest::qWaitForWindowExposed(&p->plot));
    }
    // A canvas position near a time, and the time that it stands for.
    QPoint at(double time) const { return QPoint(qRound(p->plot.transform(QwtPlot::xBottom, time)), 50); }
    double timeAt(double time) const { return p->plot.invTransform(QwtPlot::xBottom, at(time).x()); }
    // A curve (offset 10) whose zeroed arrays start with the points given, newest first.
    QSharedPointer<PlotCurve> curveWith(const Doubles& x, const Doubles& y, unsigned points,
                                        double scale = 1.0)
    {
        const auto curve = QSharedPointer<PlotCurve>::create(
            &p->plot, 1, QColor(Qt::red), QStringLiteral("c"), 0, 2, 0x123, 1, 2, 0xFF, 0, 0, scale, 10.0,
            QString(), 2, true, points, true);
        std::copy(x.begin(), x.end(), curve->xValues.get());
        std::copy(y.begin(), y.end(), curve->yValues.get());
        return curve;
    }

private slots:
    void initTestCase() { GuiSupport::prepare(); }
    void init() { p = std::make_unique<TestSupport::Parts>(); }
    void cleanup() { p.reset(); }

    void timeBases_data() { TestSupport::addRows(timeBaseRows); }
    void timeBases()
    {
        const auto& [name, index, span, label] = TestSupport::tableRow(timeBaseRows);
        const GuiSupport::CommaLocale comma; // labels keep their point
        p->timeBase.slotTimeBaseChanged(index);
        QCOMPARE(p->label.text(), label);
        QVERIFY(viewEndsAt(0.0, span));
        // Ten intervals, labelled with three decimals.
        const QList<double> ticks = axis().ticks(QwtScaleDiv::MajorTick);
        QCOMPARE(ticks.size(), 11);
        QCOMPARE(p->plot.axisScaleDraw(QwtPlot::xBottom)->label(ticks[9]).text(),
                 QString::asprintf("%0.3f", -span / 10));
    }

    void followingARun_data() { TestSupport::addRows(followRows); }
    void followingARun()
    {
        const auto& [name, continuous, index, startEnd, steps] = TestSupport::tableRow(followRows);
        p->options.continuousScroll = continuous;
        p->slider.setValue(index);
        p->timeBase.setRunTime(0.0);
        p->timeBase.setTimeAxisForStart();
        const double span = axis().range();
        QVERIFY(viewEndsAt(startEnd, span));
        for (const QPointF& step : steps) {
            runTo(step.x());
            QVERIFY2(viewEndsAt(step.y(), span), qPrintable(QString::number(step.x())));
            // The scroll bar at its right end, with a range once the record outgrows the view.
            const int end = step.x() > span ? int(step.x() * 1000) : 0;
            QCOMPARE(p->scrollBar.maximum(), end);
            QCOMPARE(p->scrollBar.value(), end);
        }
    }

    void afterARun()
    {
        runTo(100.0);
        p->scrollBar.setValue(50000);
        p->slider.setValue(12); // the whole record fits
        QVERIFY(viewEndsAt(100.0, 100.0));
        QCOMPARE(p->scrollBar.maximum(), 0);
        p->slider.setValue(9);
        runTo(3.0);
        p->timeBase.slotScrollTimeChanged(1000); // a short record doesn't scroll
        QVERIFY(viewEndsAt(3.0, 10.0));
    }

    void zoomToMarkers_data() { TestSupport::addRows(zoomRows); }
    void zoomToMarkers()
    {
        const auto& [name, marker1, marker2, runTime, index, end] = TestSupport::tableRow(zoomRows);
        runTo(runTime);
        p->plot.setMarker1(marker1);
        p->plot.setMarker2(marker2);
        p->plot.slotDMarker();
        QCOMPARE(p->slider.value(), index);
        QVERIFY(viewEndsAt(end, timeBaseTable[size_t(index)]));
        QCOMPARE(p->scrollBar.value(), runTime > axis().range() ? int(end * 1000) : 0);
    }

    // Row 1's curve, behind a curve without points that leaves row 0 alone.
    void markerCells_data() { TestSupport::addRows(markerRows); }
    void markerCells()
    {
        const auto& [name, x, scale, time, cell] = TestSupport::tableRow(markerRows);
        const Doubles y = Doubles{50.0, 50.0, 30.0, 20.0, 10.0}.mid(0, x.size());
        p->curves.append(curveWith({}, {}, 0));
        p->curves.append(curveWith(x, y, x.size() == 5 ? 5 : 8, scale));
        TablePlotDescription* table = &p->description;
        table->setRowCount(2);
        for (int row = 0; row < 2; ++row) {
            table->setM1(row, QStringLiteral("before"));
            table->setM2(row, QStringLiteral("before"));
        }
        p->plot.setMarker1(time);
        QCOMPARE(table->text(1, TablePlotDescription::ColM1), cell);
        QCOMPARE(table->text(1, TablePlotDescription::ColM2), QStringLiteral("before"));
        p->plot.setMarker2(time);
        QCOMPARE(table->text(1, TablePlotDescription::ColM2), cell);
        QCOMPARE(table->text(0, TablePlotDescription::ColM2), QStringLiteral("before"));
    }

    void dragMovesTheNearerMarker()
    {
        showPlot();
        DataPlot* plot = &p->plot;
        plot->setMarker2Color(Qt::red);
        const QSignalSpy moved(plot, &DataPlot::signalMarkerMoved);
        // Nearer to marker 1 (of -6 and -4): it follows, also past the other; it is told at the release.
        plot->slotPickerMoved(at(-5.8));
        plot->slotPickerMoved(at(-3.0));
        QCOMPARE(plot->marker1()->xValue(), timeAt(-3.0));
        QCOMPARE(moved.count(), 0);
        plot->slotPickerSelected(QPolygon(QVector<QPoint>{at(-3.0)}));
        QCOMPARE(moved.last(), (QVariantList{1, timeAt(-3.0)}));
        QCOMPARE(plot->marker2()->xValue(), -4.0);
        // The next drag chooses afresh. Exactly midway (v +- 0.25 are exact
        // for v in (-1.75, -1.25]) marker 2 wins and lends the picker its colour.
        const double v = timeAt(-1.3);
        plot->setMarker1(v - 0.25);
        plot->setMarker2(v + 0.25);
        plot->slotPickerMoved(at(-1.3));
        QCOMPARE(plot->marker1()->xValue(), v - 0.25);
        QCOMPARE(plot->marker2()->xValue(), v);
        QCOMPARE(plot->picker()->trackerPen().color(), QColor(Qt::red));
        // In a run nothing moves, and a drag begun before doesn't end.
        plot->setMarkersMovable(false);
        plot->slotPickerSelected(QPolygon(QVector<QPoint>{at(-1.3)}));
        plot->slotPickerMoved(at(-5.0));
        QCOMPARE(plot->marker1()->xValue(), v - 0.25);
        QCOMPARE(plot->marker2()->xValue(), v);
        QCOMPARE(moved.count(), 3);
    }

    // Each gesture moves the view by what it points at, with one replot a step; the markers, their
    // texts and the axes' records stay. The slider and the scroll bar show the nearest state;
    // Escape or a double click go back to the view they give and to the records; moved, they take over.
    void zoomAndPan_data() { TestSupport::addRows(navigations); }

    void zoomAndPan()
    {
        const Navigation& row = TestSupport::tableRow(navigations);
        Recorded r;
        const QStringList state = r.state();
        QVERIFY(r.canvas->width() > 800 && r.canvas->height() > 400); // the pixels of shows()
        // Each replot paints at once, so that the counter counts replots.
        qobject_cast<QwtPlotCanvas*>(r.canvas)->setPaintAttribute(QwtPlotCanvas::ImmediatePaint, true);
        ReplotCounter replots;
        replots.attach(r.plot);
        gesture(r.canvas, row.notches, row.button, row.modifiers, r.at(row.from), r.at(row.to));
        QVERIFY(r.shows(row.view));
        QCOMPARE(replots.count, row.replots);
        QCOMPARE(r.slider->value(), row.slider);
        QCOMPARE(r.scrollBar->value(), qRound(r.plot->timeScaleEnd() * 1000));
        const bool markerDrag = row.button == Qt::LeftButton && !row.modifiers;
        QCOMPARE(r.state() == state, !markerDrag);
        QVERIFY(!markerDrag || std::fabs(r.plot->marker2()->xValue() - 53.0) < 0.02);

        if ((&row - navigations) % 2)
            QTest::mouseDClick(r.canvas, Qt::LeftButton, {}, r.at({45.5, -90}));
        else
            QTest::keyClick(r.canvas, Qt::Key_Escape);
        const double end = r.scrollBar->value() / 1000.0;
        QVERIFY(r.shows({end - timeBaseTable[size_t(row.slider)], end, -100, 100, 0, 100}));
        QCOMPARE(replots.count, row.replots + 1);

        // Zoomed again, the slider takes over with its span at the same right end, then the scroll bar.
        gesture(r.canvas, 3, Qt::NoButton, {}, r.at({50, 0}), {});
        const double zoomedEnd = r.plot->timeScaleEnd();
        r.slider->setValue(r.slider->value() + 2);
        const double span = timeBaseTable[size_t(r.slider->value())];
        QVERIFY(r.shows({zoomedEnd - span, zoomedEnd, -100, 100, 0, 100}));
        r.scrollBar->setValue(90000);
        QVERIFY(r.shows({90 - span, 90, -100, 100, 0, 100}));
    }

    // While a run follows the recording nothing zooms; paused it does, and the release gives the
    // view back to the run and the value axes to their records.
    void noZoomWhileARunFollows()
    {
        const auto window = GuiSupport::windowWithCurves("net 0 virtual\n", 1, true);
        DataPlot* plot = window->plot();
        // A notch in on the time and on the left axis: their spans as set, replotted or not.
        const auto zoom = [plot] {
            const QPoint middle = plot->canvas()->rect().center();
            gesture(plot->canvas(), 1, Qt::NoButton, {}, middle, {});
            gesture(plot->canvas(), 1, Qt::NoButton, Qt::ControlModifier, middle, {});
            plot->updateAxes();
            return QPointF(plot->axisScaleDiv(QwtPlot::xBottom).range(),
                           plot->axisScaleDiv(QwtPlot::yLeft).range());
        };
        QPushButton* pause = GuiSupport::child<QPushButton>(window.get(), "pushButtonPause");
        GuiSupport::child<QPushButton>(window.get(), "pushButtonStartStop")->click();
        QCOMPARE(zoom(), QPointF(10, 200));
        pause->click();
        QCOMPARE(zoom(), QPointF(8, 160));
        pause->click();
        QCOMPARE(zoom(), QPointF(10, 200));
    }

    // Export Image: the dialog gives size and scheme. A grey PNG has that size and only greys; an
    // SVG parses and draws each visible curve's samples as one line; a failed write is reported.
    void exportImage_data() { TestSupport::addRows(exportRows); }
    void exportImage()
    {
        const auto& row = TestSupport::tableRow(exportRows); // the dialogs' answer reads it
        const auto& [name, filter, typed, size, grey, written] = row;
        Recorded r;
        VistrelMainWindow* window = r.window.get();
        window->tableDescription()->setCurveEnabled(1, false); // no line in the SVG
        const QRgb canvas = qRgb(200, 30, 40);                 // left out in the grey scheme
        r.plot->setCanvasColor(canvas);
        const QString path = TestSupport::temporaryPath(typed);
        QStringList seen;
        const TestSupport::ModalAnswerer answerer(
            [&](QWidget* widget) {
                if (auto* files = qobject_cast<QFileDialog*>(widget)) {
                    files->selectNameFilter(row.filter);
                    return TestSupport::answerFileDialog(files, 0, path, &seen);
                }
                if (auto* dialog = qobject_cast<MDialogExportImage*>(widget)) {
                    dialog->radioButtonCustomSize->setChecked(row.size.isValid());
                    dialog->spinBoxWidth->setValue(row.size.width());
                    dialog->spinBoxHeight->setValue(row.size.height());
                    dialog->comboBoxColors->setCurrentIndex(row.grey ? 1 : 0);
                    return dialog->accept();
                }
                qobject_cast<QMessageBox*>(widget)->button(QMessageBox::Ok)->click();
            },
            3);
        GuiSupport::child<QAction>(window, "projectExportImageAction")->trigger();
        QCOMPARE(seen.mid(0, 2), (QStringList{"Export Image", "PNG image (*.png);SVG image (*.svg)"}));
        if (written.isEmpty()) {
            QCOMPARE(answerer.titles(), QStringList{"Critical Error"});
            QVERIFY(answerer.lastText().startsWith("Cannot write the image " + path + ".png:\n"));
            return;
        }
        QCOMPARE(answerer.answered(), 2);
        const QString file = TestSupport::temporaryPath(written);
        const QSize expected = size.isValid() ? size : window->plot()->size();
        const QRgb shown = window->curves()[0]->plotItem->pen().color().rgb();
        const QRgb hidden = window->curves()[1]->plotItem->pen().color().rgb();
        if (written.endsWith(".png")) {
            const QImage image(file, "PNG");
            QCOMPARE(image.size(), expected);
            QCOMPARE(image.allGray(), grey);
            // The grey scheme leaves the canvas colour out, not only its hue.
            QVERIFY(pixels(image, [&](QRgb c) { return qGray(c) == qGray(canvas); }) <
                    image.width() * image.height() / 3);
            return;
        }
        QDomDocument svg;
        QFile svgFile(file);
        QVERIFY(svgFile.open(QIODevice::ReadOnly) && svg.setContent(&svgFile));
        QCOMPARE(svg.documentElement().attribute("viewBox"),
                 QStringLiteral("0 0 %1 %2").arg(expected.width()).arg(expected.height()));
        // Long polylines, by the stroke of the group around each.
        QMap<QRgb, int> lines;
        const QDomNodeList polylines = svg.elementsByTagName("polyline");
        for (int i = 0; i < polylines.size(); ++i) {
            if (polylines.at(i).toElement().attribute("points").count(' ') > 20)
                ++lines[QColor(polylines.at(i).parentNode().toElement().attribute("stroke")).rgb()];
        }
        QCOMPARE(lines.value(shown), 1);
        QCOMPARE(lines.value(hidden), 0);
    }

    // The canvas keeps its picture between paints: a new colour shows at once.
    void canvasColourShowsAtOnce()
    {
        showPlot();
        p->plot.setCanvasColor(QColor(10, 200, 30));
        const QImage image = p->plot.canvas()->grab().toImage();
        QVERIFY(pixels(image, [](QRgb c) { return c == qRgb(10, 200, 30); }) >
                image.width() * image.height() * 4 / 5);
    }

    void printDialog_data() { TestSupport::addRows(printRows); }

    void printDialog()
    {
        const auto& [name, accept] = TestSupport::tableRow(printRows);
        const QString path = TestSupport::temporaryPath(QStringLiteral("plot-%1.pdf").arg(accept ? 1 : 0));
        QString printer;
        const TestSupport::ModalAnswerer answerer([&](QWidget* widget) {
            // Qt's own dialog: its last destination prints to a PDF file.
            auto* dialog = qobject_cast<QPrintDialog*>(widget);
            auto* printers = widget->findChild<QComboBox*>(QStringLiteral("printers"));
            auto* fileName = widget->findChild<QLineEdit*>(QStringLiteral("filename"));
            if (!dialog || !printers || !fileName)
                return widget->hide();
            printer = QString::number(dialog->printer()->pageLayout().orientation());
            printers->setCurrentIndex(printers->count() - 1);
            fileName->setText(path);
            dialog->printer()->setOutputFileName(path); // where a print after Cancel would land
            accept ? dialog->accept() : dialog->reject();
        });
        GuiSupport::windowWithCurves(QString())->projectPrint();
        if (printer.isEmpty())
            QSKIP("this Qt's print dialog offers no printing to a file");
        QCOMPARE(printer, QString::number(QPageLayout::Landscape));
        QFile file(path);
        QCOMPARE(file.open(QIODevice::ReadOnly) && file.read(4) == "%PDF", accept);
    }

    // Apply stores and stays, Cancel keeps what Apply did, OK stores and closes. Commas
    // become points; the comma locale stays the default.
    void viewportApplyOkCancel()
    {
        const GuiSupport::CommaLocale comma;
        AxisDialog d;
        QTimer::singleShot(0, &d.dialog, [&d] {
            d.setViewport(0, {"1,5", "2,5e2", "0"}); // step 0 leaves the ticks to Qwt
            d.dialog.pushButtonApply->click();
            QCOMPARE(d.field(0, 1)->text(), QStringLiteral("2.5e2"));
            QVERIFY(d.dialog.isVisible());
            d.field(1, 2)->setText(QStringLiteral("0,25"));
            d.dialog.buttonCancel->click();
        });
        QCOMPARE(d.dialog.exec(), int(QDialog::Rejected));
        QCOMPARE((QVector<double>{d.left.min, d.left.max, d.left.step, d.right.step}),
                 (QVector<double>{1.5, 250, 0, 10}));
        QVERIFY(d.fit); // the box stands checked
        QTimer::singleShot(0, &d.dialog, [&d] { QTest::keyClick(&d.dialog, Qt::Key_Return); });
        QCOMPARE(d.dialog.exec(), int(QDialog::Accepted));
        QCOMPARE(d.applied.count(), 2);
        QCOMPARE(d.right.step, 0.25);
        QCOMPARE(QLocale().decimalPoint(), QChar(','));
    }

    // A failing page stores nothing on either page. A step not below the range gets a
    // suggestion, shown and selected; other failures are silent.
    void refused_data() { TestSupport::addRows(refusedRows); }
    void refused()
    {
        const auto& [name, page, viewport, suggestion] = TestSupport::tableRow(refusedRows);
        AxisDialog d;
        d.setViewport(1 - page, {"-2,5", "7,5", "2,5"});
        d.setViewport(page, viewport);
        d.dialog.tabWidget->setCurrentIndex(1 - page);
        d.dialog.buttonOk->click();
        QCOMPARE(d.applied.count(), 0);
        QVERIFY(d.left.min == -100 && d.left.step == 10 && d.right.max == 100 && !d.right.visible);
        QCOMPARE(d.dialog.result(), int(QDialog::Rejected));
        QCOMPARE(d.field(1 - page, 0)->text(), QStringLiteral("-2.5")); // the points are there
        QCOMPARE(d.dialog.tabWidget->currentIndex(), suggestion.isEmpty() ? 1 - page : page);
        QCOMPARE(d.field(page, 2)->text(), suggestion.isEmpty() ? viewport[2] : suggestion);
        if (suggestion.isEmpty())
            return;
        QCOMPARE(d.field(page, 2)->selectedText(), suggestion);
        d.dialog.pushButtonApply->click(); // the suggestion passes
        QCOMPARE(d.applied.count(), 1);
        QCOMPARE((page ? d.right : d.left).step, suggestion.toDouble());
        QCOMPARE((page ? d.left : d.right).min, -2.5);
    }

    // With the viewport dialog's fit flag, each update rescales the rows to their axis, but not in a run.
    void fitRecalculatesTheScaling()
    {
        const auto window = GuiSupport::windowWithCurves("net 0 virtual\n", 2);
        TablePlotConfig* table = window->tableConfig();
        table->setValueAxis(1, 1);
        const auto update = [&] {
            for (int row = 0; row < 2; ++row)
                table->setScaleText(row, QStringLiteral("5"));
            window->slotAxisSettingsUpdated();
            return QStringList{table->scaleText(0), table->scaleText(1)};
        };
        QCOMPARE(update(), (QStringList{"5", "5"}));
        const TestSupport::ModalAnswerer fit([](QWidget* widget) {
            auto* dialog = qobject_cast<MDialogCustomAxis*>(widget);
            dialog->checkBoxFitScaleToViewport->setChecked(true);
            dialog->pushButtonApply->click();
            dialog->buttonCancel->click();
        });
        window->on_projectCustom_AxisAction_triggered(false);
        QPushButton* start = GuiSupport::child<QPushButton>(window.get(), "pushButtonStartStop");
        start->click();
        QVERIFY(window->isRunning());
        QCOMPARE(update(), (QStringList{"5", "5"}));
        start->click();
        QCOMPARE(update(), (QStringList{"0.7843137254901961", "0.392156862745098"}));
    }
};

QTEST_MAIN(TestPlot)
#include "tst_plot.moc"
