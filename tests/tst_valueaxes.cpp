#include "dataplot.h"
#include "mdialogcustomaxis.h"
#include "tableplotconfig.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_grid.h>
#include <qwt_plot_picker.h>
#include <qwt_scale_div.h>
#include <qwt_scale_widget.h>

#include <QtTest>

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>

#include <memory>

using TestSupport::ModalAnswerer;

Q_DECLARE_METATYPE(ValueAxisSettings)

namespace {

// What the opened dialog showed, read by the handler before it closes it.
struct DialogState
{
    int tab = -1;
    bool rightVisibleChecked = false;
    bool rightVisibleEnabled = false;
    bool fitChecked = false;
    bool fitEnabled = false;
};

template <typename T> T* child(QWidget* parent, const char* name)
{
    T* found = parent->findChild<T*>(QLatin1String(name));
    if (!found)
        qFatal("no child %s", name);
    return found;
}

QWidget* page(QWidget* dialog, int index)
{
    return child<QTabWidget>(dialog, "tabWidget")->widget(index);
}

DialogState readState(QWidget* dialog)
{
    DialogState state;
    state.tab = child<QTabWidget>(dialog, "tabWidget")->currentIndex();
    const auto* rightVisible = child<QCheckBox>(page(dialog, 1), "checkBoxAxisVisible");
    state.rightVisibleChecked = rightVisible->isChecked();
    state.rightVisibleEnabled = rightVisible->isEnabled();
    const auto* fit = child<QCheckBox>(dialog, "checkBoxFitScaleToViewport");
    state.fitChecked = fit->isChecked();
    state.fitEnabled = fit->isEnabled();
    return state;
}

void click(QWidget* dialog, const char* button)
{
    child<QPushButton>(dialog, button)->click();
}

void setField(QWidget* dialog, int index, const char* field, const QString& text)
{
    child<QLineEdit>(page(dialog, index), field)->setText(text);
}

// Gives the table rows whose "Axis" cells stand on the given indices.
void addRows(TablePlotConfig* table, const QVector<int>& axes)
{
    for (const int axis : axes) {
        const int row = table->rowCount();
        table->addCurveRow(row);
        table->setValueAxis(row, axis);
    }
}

QList<double> majorTicks(const QwtPlot* plot, int axis)
{
    return plot->axisScaleDiv(axis).ticks(QwtScaleDiv::MajorTick);
}

} // namespace

class TestValueAxes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void axisWidgetsInvite();
    void plotFollowsRecords_data();
    void plotFollowsRecords();
    void resetRestoresThePlot();
    void openingState_data();
    void openingState();
    void fitFlagAfterOk_data();
    void fitFlagAfterOk();
    void okAppliesOnceAndCloses();
    void fitRecalculatesScaling_data();
    void fitRecalculatesScaling();
    void fitAfterOkUsesTheNewViewport();
    void cancelAfterApply();
    void pressOnAxis_data();
    void pressOnAxis();

private:
    std::unique_ptr<VistrelMainWindow> makeWindow();
};

void TestValueAxes::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

std::unique_ptr<VistrelMainWindow> TestValueAxes::makeWindow()
{
    TestSupport::useDriverConfig(QString());
    return std::make_unique<VistrelMainWindow>();
}

void TestValueAxes::axisWidgetsInvite()
{
    const auto window = makeWindow();
    for (const int axis : {int(QwtPlot::yLeft), int(QwtPlot::yRight)}) {
        const QwtScaleWidget* widget = window->plot->axisWidget(axis);
        QCOMPARE(widget->toolTip(), QStringLiteral("Click to set viewport."));
        QCOMPARE(widget->cursor().shape(), Qt::PointingHandCursor);
    }
}

void TestValueAxes::plotFollowsRecords_data()
{
    QTest::addColumn<ValueAxisSettings>("left");
    QTest::addColumn<ValueAxisSettings>("right");
    QTest::addColumn<int>("gridAxis");

    QTest::newRow("defaults") << ValueAxisSettings::leftDefault() << ValueAxisSettings::rightDefault()
                              << int(QwtPlot::yLeft);
    QTest::newRow("grid on the visible right")
        << ValueAxisSettings{-10, 10, 5, true, false} << ValueAxisSettings{0, 50, 10, true, true}
        << int(QwtPlot::yRight);
    QTest::newRow("hidden right can't hold the grid")
        << ValueAxisSettings{-10, 10, 5, true, false} << ValueAxisSettings{5, 55, 10, false, true}
        << int(QwtPlot::yLeft);
    QTest::newRow("left record's grid plays no part")
        << ValueAxisSettings{0, 1, 0.25, true, false} << ValueAxisSettings{-1, 1, 0.5, true, false}
        << int(QwtPlot::yLeft);
    QTest::newRow("both claim the grid") << ValueAxisSettings{0, 8, 2, true, true}
                                         << ValueAxisSettings{0, 4, 1, true, true} << int(QwtPlot::yRight);
}

void TestValueAxes::plotFollowsRecords()
{
    QFETCH(ValueAxisSettings, left);
    QFETCH(ValueAxisSettings, right);
    QFETCH(int, gridAxis);

    const auto window = makeWindow();
    DataPlot* plot = window->plot;
    // Start from the other grid axis, so that each row shows a change.
    plot->setGridAxis(gridAxis == QwtPlot::yLeft ? QwtPlot::yRight : QwtPlot::yLeft);
    *window->axisSettings[0] = left;
    *window->axisSettings[1] = right;
    window->slotAxisSettingsUpdated();

    const QwtScaleDiv& leftDiv = plot->axisScaleDiv(QwtPlot::yLeft);
    QCOMPARE(leftDiv.lowerBound(), left.min);
    QCOMPARE(leftDiv.upperBound(), left.max);
    const QList<double> leftTicks = majorTicks(plot, QwtPlot::yLeft);
    QVERIFY(leftTicks.size() >= 2);
    QCOMPARE(leftTicks.at(1) - leftTicks.at(0), left.step);
    // The hidden right axis keeps its viewport as well.
    const QwtScaleDiv& rightDiv = plot->axisScaleDiv(QwtPlot::yRight);
    QCOMPARE(rightDiv.lowerBound(), right.min);
    QCOMPARE(rightDiv.upperBound(), right.max);
    const QList<double> rightTicks = majorTicks(plot, QwtPlot::yRight);
    QVERIFY(rightTicks.size() >= 2);
    QCOMPARE(rightTicks.at(1) - rightTicks.at(0), right.step);

    QCOMPARE(plot->axisEnabled(QwtPlot::yRight), right.visible);
    QVERIFY(plot->axisEnabled(QwtPlot::yLeft));
    QCOMPARE(plot->grid()->yAxis(), gridAxis);
    QCOMPARE(plot->picker()->yAxis(), gridAxis);
    QCOMPARE(plot->picker()->xAxis(), int(QwtPlot::xBottom));

    // Step 0 leaves the tick distance to Qwt.
    window->axisSettings[0]->step = 0;
    window->slotAxisSettingsUpdated();
    QVERIFY(majorTicks(plot, QwtPlot::yLeft).size() > 2);
    QCOMPARE(plot->axisScaleDiv(QwtPlot::yLeft).upperBound(), left.max);
}

void TestValueAxes::resetRestoresThePlot()
{
    const auto window = makeWindow();
    *window->axisSettings[0] = {1, 2, 0.5, true, false};
    *window->axisSettings[1] = {3, 4, 0.5, true, true};
    window->slotAxisSettingsUpdated();
    QVERIFY(window->plot->axisEnabled(QwtPlot::yRight));

    QVERIFY(window->resetProject());
    QCOMPARE(window->plot->axisScaleDiv(QwtPlot::yLeft).lowerBound(), -100.0);
    QCOMPARE(window->plot->axisScaleDiv(QwtPlot::yLeft).upperBound(), 100.0);
    QCOMPARE(window->plot->axisScaleDiv(QwtPlot::yRight).lowerBound(), 0.0);
    QVERIFY(!window->plot->axisEnabled(QwtPlot::yRight));
    QCOMPARE(window->plot->grid()->yAxis(), int(QwtPlot::yLeft));
}

void TestValueAxes::openingState_data()
{
    QTest::addColumn<QVector<int>>("rowAxes");
    QTest::addColumn<bool>("running");
    QTest::addColumn<bool>("rightInUse");
    QTest::addColumn<bool>("fitAvailable");

    QTest::newRow("no rows") << QVector<int>{} << false << false << false;
    QTest::newRow("no rows, running") << QVector<int>{} << true << false << false;
    QTest::newRow("left rows") << QVector<int>{0, 0} << false << false << true;
    QTest::newRow("left rows, running") << QVector<int>{0, 0} << true << false << false;
    QTest::newRow("a right row") << QVector<int>{0, 1, 0} << false << true << true;
    QTest::newRow("a right row, running") << QVector<int>{1} << true << true << false;
}

void TestValueAxes::openingState()
{
    QFETCH(QVector<int>, rowAxes);
    QFETCH(bool, running);
    QFETCH(bool, rightInUse);
    QFETCH(bool, fitAvailable);

    const auto window = makeWindow();
    addRows(window->tableConfig, rowAxes);
    window->running = running;

    DialogState state;
    ModalAnswerer handler([&state](QWidget* dialog) {
        state = readState(dialog);
        click(dialog, "buttonCancel");
    });
    window->projectCustom_AxisAction->trigger();
    window->running = false;

    QCOMPARE(handler.answered(), 1);
    QCOMPARE(state.tab, 0);
    QCOMPARE(state.rightVisibleChecked, rightInUse);
    QCOMPARE(state.rightVisibleEnabled, !rightInUse);
    QCOMPARE(state.fitChecked, fitAvailable);
    QCOMPARE(state.fitEnabled, fitAvailable);
}

void TestValueAxes::fitFlagAfterOk_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<bool>("running");
    QTest::addColumn<bool>("before");
    QTest::addColumn<bool>("after");

    QTest::newRow("no rows clears") << 0 << false << true << false;
    QTest::newRow("running clears") << 1 << true << true << false;
    QTest::newRow("rows set") << 2 << false << false << true;
}

void TestValueAxes::fitFlagAfterOk()
{
    QFETCH(int, rows);
    QFETCH(bool, running);
    QFETCH(bool, before);
    QFETCH(bool, after);

    const auto window = makeWindow();
    addRows(window->tableConfig, QVector<int>(rows, 0));
    window->running = running;
    window->fitScaleToViewport = before;

    ModalAnswerer handler([](QWidget* dialog) { click(dialog, "buttonOk"); });
    window->openAxisDialog(0);
    window->running = false;

    QCOMPARE(handler.answered(), 1);
    QCOMPARE(window->fitScaleToViewport, after);
}

void TestValueAxes::okAppliesOnceAndCloses()
{
    const auto window = makeWindow();
    int emitted = -1;
    bool closed = false;
    ModalAnswerer handler([&](QWidget* dialog) {
        auto* axisDialog = qobject_cast<MDialogCustomAxis*>(dialog);
        QVERIFY(axisDialog);
        QSignalSpy applied(axisDialog, &MDialogCustomAxis::signalApplyAxisSettings);
        setField(dialog, 1, "lineEditMin", QStringLiteral("-20"));
        setField(dialog, 1, "lineEditMax", QStringLiteral("20"));
        setField(dialog, 1, "lineEditStep", QStringLiteral("4"));
        child<QCheckBox>(page(dialog, 1), "checkBoxAxisVisible")->setChecked(true);
        child<QCheckBox>(page(dialog, 1), "checkBoxGrid")->setChecked(true);
        click(dialog, "buttonOk");
        emitted = applied.count();
        closed = !dialog->isVisible();
    });
    window->openAxisDialog(1);

    QCOMPARE(handler.answered(), 1);
    QCOMPARE(emitted, 1);
    QVERIFY(closed);
    const DataPlot* plot = window->plot;
    QVERIFY(plot->axisEnabled(QwtPlot::yRight));
    QCOMPARE(plot->axisScaleDiv(QwtPlot::yRight).lowerBound(), -20.0);
    QCOMPARE(plot->axisScaleDiv(QwtPlot::yRight).upperBound(), 20.0);
    QCOMPARE(plot->grid()->yAxis(), int(QwtPlot::yRight));
    QCOMPARE(plot->picker()->yAxis(), int(QwtPlot::yRight));
    QVERIFY(!window->axisSettings[0]->grid);
}

void TestValueAxes::fitRecalculatesScaling_data()
{
    QTest::addColumn<bool>("fit");
    QTest::addColumn<bool>("running");
    QTest::addColumn<QString>("leftScale");
    QTest::addColumn<QString>("rightScale");
    QTest::addColumn<QString>("leftOffset");

    // Integer8 on -100..100 and on 0..100.
    QTest::newRow("fit") << true << false << "0.7843137254901961"
                         << "0.392156862745098"
                         << "0.3921568627450966";
    QTest::newRow("fit withheld during a run") << true << true << "5"
                                               << "5"
                                               << "3";
    QTest::newRow("no fit") << false << false << "5"
                            << "5"
                            << "3";
}

void TestValueAxes::fitRecalculatesScaling()
{
    QFETCH(bool, fit);
    QFETCH(bool, running);
    QFETCH(QString, leftScale);
    QFETCH(QString, rightScale);
    QFETCH(QString, leftOffset);

    const auto window = makeWindow();
    TablePlotConfig* table = window->tableConfig;
    addRows(table, {0, 1});
    for (int row = 0; row < 2; ++row) {
        table->setDataType(row, 0);
        // A scaling made by hand, which a fit overwrites.
        table->setScaleText(row, QStringLiteral("5"));
        table->setOffsetText(row, QStringLiteral("3"));
    }
    window->fitScaleToViewport = fit;
    window->running = running;
    window->slotAxisSettingsUpdated();
    window->running = false;

    QCOMPARE(table->scaleText(0), leftScale);
    QCOMPARE(table->offsetText(0), leftOffset);
    QCOMPARE(table->scaleText(1), rightScale);
}

void TestValueAxes::fitAfterOkUsesTheNewViewport()
{
    const auto window = makeWindow();
    TablePlotConfig* table = window->tableConfig;
    addRows(table, {0});
    table->setDataType(0, 1); // Unsigned8: 0..255
    table->setScaleText(0, QStringLiteral("5"));
    ModalAnswerer handler([](QWidget* dialog) {
        setField(dialog, 0, "lineEditMin", QStringLiteral("0"));
        setField(dialog, 0, "lineEditMax", QStringLiteral("255"));
        setField(dialog, 0, "lineEditStep", QStringLiteral("15"));
        QVERIFY(child<QCheckBox>(dialog, "checkBoxFitScaleToViewport")->isChecked());
        click(dialog, "buttonOk");
    });
    window->projectCustom_AxisAction->trigger();

    QCOMPARE(handler.answered(), 1);
    QVERIFY(window->fitScaleToViewport);
    QCOMPARE(table->scaleText(0), QStringLiteral("1"));
    QCOMPARE(table->offsetText(0), QStringLiteral("0"));
    QCOMPARE(table->valueMaxText(0), QStringLiteral("255"));
}

void TestValueAxes::cancelAfterApply()
{
    const auto window = makeWindow();
    ModalAnswerer handler([](QWidget* dialog) {
        setField(dialog, 0, "lineEditMax", QStringLiteral("50"));
        click(dialog, "pushButtonApply");
        setField(dialog, 0, "lineEditMax", QStringLiteral("75"));
        click(dialog, "buttonCancel");
    });
    window->projectCustom_AxisAction->trigger();

    QCOMPARE(handler.answered(), 1);
    QCOMPARE(window->axisSettings[0]->max, 50.0);
    QCOMPARE(window->plot->axisScaleDiv(QwtPlot::yLeft).upperBound(), 50.0);
}

void TestValueAxes::pressOnAxis_data()
{
    QTest::addColumn<int>("axis");
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("opened");
    QTest::addColumn<int>("tab");

    QTest::newRow("left axis") << int(QwtPlot::yLeft) << int(Qt::LeftButton) << 1 << 0;
    QTest::newRow("right axis") << int(QwtPlot::yRight) << int(Qt::LeftButton) << 1 << 1;
    QTest::newRow("right button on the left axis") << int(QwtPlot::yLeft) << int(Qt::RightButton) << 0 << -1;
    QTest::newRow("middle button on the right axis")
        << int(QwtPlot::yRight) << int(Qt::MiddleButton) << 0 << -1;
}

void TestValueAxes::pressOnAxis()
{
    QFETCH(int, axis);
    QFETCH(int, button);
    QFETCH(int, opened);
    QFETCH(int, tab);

    const auto window = makeWindow();
    window->axisSettings[1]->visible = true;
    window->slotAxisSettingsUpdated();
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    QwtScaleWidget* axisWidget = window->plot->axisWidget(axis);
    QVERIFY(axisWidget->isVisible());

    int shownTab = -1;
    const ModalAnswerer handler([&shownTab](QWidget* dialog) {
        shownTab = readState(dialog).tab;
        click(dialog, "buttonCancel");
    });
    // The dialog runs inside the press; it has been closed when the press
    // returns.
    QTest::mousePress(axisWidget, Qt::MouseButton(button), Qt::NoModifier, axisWidget->rect().center());
    QTest::mouseRelease(axisWidget, Qt::MouseButton(button), Qt::NoModifier, axisWidget->rect().center());
    QCOMPARE(handler.answered(), opened);
    QCOMPARE(shownTab, tab);

    // The press goes on to the axis widget in every case.
    const ModalAnswerer cancel([](QWidget* dialog) { click(dialog, "buttonCancel"); });
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(axisWidget->rect().center()), Qt::MouseButton(button),
                      Qt::MouseButton(button), Qt::NoModifier);
    QObject* filter = window.get();
    QCOMPARE(filter->eventFilter(axisWidget, &press), false);
    QCOMPARE(cancel.answered(), opened);
}

QTEST_MAIN(TestValueAxes)
#include "tst_valueaxes.moc"
