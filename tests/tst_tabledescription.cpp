#include "dataplot.h"
#include "plotcurve.h"
#include "qcombotablesupportitem.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_curve.h>

#include <QLineEdit>
#include <QtTest>

#include <memory>

class TestTableDescription : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void newRow_data();
    void newRow();
    void newRowLeavesTheCurveBelowAlone();
    void enableAndStyle_data();
    void enableAndStyle();
    void rowWithoutCurveIgnoresStyle();
    void syncRow();
    void clickSelectsNothing();
    void lockedCellsCannotBeEdited_data();
    void lockedCellsCannotBeEdited();
    void writersOutsideTheTable();

private:
    std::unique_ptr<VistrelMainWindow> makeWindow(int rows);
};

void TestTableDescription::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

std::unique_ptr<VistrelMainWindow> TestTableDescription::makeWindow(int rows)
{
    TestSupport::useDriverConfig(QStringLiteral("net 0 virtual demo\n"));
    auto window = std::make_unique<VistrelMainWindow>();
    for (int row = 0; row < rows; ++row) {
        window->tableConfig->setCurrentCell(row - 1, 1);
        window->projectAddCurve();
    }
    return window;
}

void TestTableDescription::newRow_data()
{
    QTest::addColumn<int>("col");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("rightAligned");
    QTest::addColumn<bool>("editable");

    QTest::newRow("Name") << 1 << "NewName" << false << false;
    QTest::newRow("Raw Value") << 3 << "" << true << false;
    QTest::newRow("Current Value") << 4 << "" << true << false;
    QTest::newRow("Time") << 5 << "" << true << false;
    QTest::newRow("Cnt") << 6 << "" << true << false;
    QTest::newRow("Unit") << 7 << "" << true << false;
    QTest::newRow("Style") << 8 << "Steps" << false << true;
    QTest::newRow("M1") << 9 << "" << false << false;
    QTest::newRow("M2") << 10 << "" << false << false;
}

void TestTableDescription::newRow()
{
    QFETCH(int, col);
    QFETCH(QString, text);
    QFETCH(bool, rightAligned);
    QFETCH(bool, editable);

    const auto window = makeWindow(2);
    TablePlotDescription* table = window->tableDescription;
    for (int row = 0; row < 2; ++row) {
        QCOMPARE(table->text(row, col), text);
        QTableWidgetItem* item = table->item(row, col);
        QVERIFY(item);
        QCOMPARE(item->data(Qt::TextAlignmentRole).toInt(),
                 rightAligned ? int(Qt::AlignRight | Qt::AlignVCenter) : 0);
        if (col == TablePlotDescription::ColStyle)
            QVERIFY(table->comboSave(row, col)->comboBox->isEnabled());
        else
            QCOMPARE(bool(item->flags() & Qt::ItemIsEditable), editable);
        // No generated tooltips in this table.
        QVERIFY(item->data(Qt::ToolTipRole).isNull());

        // The colour of the configuration row, and "En" checked.
        QCOMPARE(table->curveColor(row), window->tableConfig->curveColor(row));
        QCOMPARE(table->item(row, 0)->background().color(), QColor(window->tableConfig->curveColor(row)));
        QVERIFY(table->curveEnabled(row));
        QTableWidgetItem* enable = table->item(row, TablePlotDescription::ColEnable);
        QVERIFY(enable->flags() & Qt::ItemIsUserCheckable);
        QVERIFY(!(enable->flags() & Qt::ItemIsEditable));
        QCOMPARE(table->curveStyle(row), 0);
    }
}

void TestTableDescription::newRowLeavesTheCurveBelowAlone()
{
    const auto window = makeWindow(2);
    VistrelMainWindow& w = *window;
    // The curve of row 1 is hidden; a row inserted above it must not touch it.
    w.tableDescription->setCurveEnabled(1, false);
    QCOMPARE(w.curves[1]->plotItem->style(), QwtPlotCurve::NoCurve);
    QwtPlotCurve* below = w.curves[1]->plotItem;

    w.tableConfig->setCurrentCell(0, 1);
    w.projectAddCurve();
    QCOMPARE(w.curves[2]->plotItem, below);
    QCOMPARE(below->style(), QwtPlotCurve::NoCurve);
    QVERIFY(!w.tableDescription->curveEnabled(2));
    QVERIFY(w.tableDescription->curveEnabled(1));
    QCOMPARE(w.curves[1]->plotItem->style(), QwtPlotCurve::Steps);
}

// Steps of (enabled, style) applied one after the other, with the drawing
// style of the plot item after each.
void TestTableDescription::enableAndStyle_data()
{
    QTest::addColumn<QList<int>>("enabled");
    QTest::addColumn<QList<int>>("styles");
    QTest::addColumn<QList<int>>("drawn");

    const int none = QwtPlotCurve::NoCurve;
    const int steps = QwtPlotCurve::Steps;
    const int lines = QwtPlotCurve::Lines;
    const int sticks = QwtPlotCurve::Sticks;
    QTest::newRow("uncheck and check") << QList<int>{0, 1} << QList<int>{0, 0} << QList<int>{none, steps};
    QTest::newRow("styles") << QList<int>{1, 1, 1} << QList<int>{1, 2, 0} << QList<int>{lines, sticks, steps};
    QTest::newRow("style while unchecked, then check")
        << QList<int>{0, 0, 1} << QList<int>{0, 2, 2} << QList<int>{none, none, sticks};
}

void TestTableDescription::enableAndStyle()
{
    QFETCH(QList<int>, enabled);
    QFETCH(QList<int>, styles);
    QFETCH(QList<int>, drawn);

    const auto window = makeWindow(2);
    VistrelMainWindow& w = *window;
    QCOMPARE(w.curves[0]->plotItem->style(), QwtPlotCurve::Steps);
    for (int i = 0; i < enabled.size(); ++i) {
        // As the user does it: a click on the check box, a selection in the box.
        QTableWidgetItem* enable = w.tableDescription->item(0, TablePlotDescription::ColEnable);
        enable->setCheckState(enabled[i] ? Qt::Checked : Qt::Unchecked);
        w.tableDescription->comboSave(0, TablePlotDescription::ColStyle)
            ->comboBox->setCurrentIndex(styles[i]);
        QCOMPARE(int(w.curves[0]->plotItem->style()), drawn[i]);
    }
    // The other row's curve is untouched.
    QCOMPARE(w.curves[1]->plotItem->style(), QwtPlotCurve::Steps);
}

void TestTableDescription::rowWithoutCurveIgnoresStyle()
{
    const auto window = makeWindow(1);
    VistrelMainWindow& w = *window;
    // A row whose curve is not made yet, as while a file is read.
    w.tableConfig->addCurveRow(1);
    w.tableDescription->addCurveRow(1);
    w.tableDescription->setCurveEnabled(1, false);
    w.tableDescription->setCurveStyleIndex(1, 1);
    QCOMPARE(w.curves.size(), 1);
    QCOMPARE(w.curves[0]->plotItem->style(), QwtPlotCurve::Steps);
    // The curve takes both when it is built.
    w.createCurve(1);
    QCOMPARE(w.curves[1]->plotItem->style(), QwtPlotCurve::NoCurve);
    w.tableDescription->setCurveEnabled(1, true);
    QCOMPARE(w.curves[1]->plotItem->style(), QwtPlotCurve::Lines);
}

void TestTableDescription::syncRow()
{
    const auto window = makeWindow(0);
    VistrelMainWindow& w = *window;
    w.tableConfig->addCurveRow(0);
    w.tableConfig->setCurveColor(0, QStringLiteral("#102030"));
    w.tableConfig->setCurveName(0, QStringLiteral("Speed"));
    w.tableConfig->setUnitText(0, QStringLiteral("km/h"));
    w.tableDescription->addCurveRow(0);
    // A new row takes colour and name, not the unit.
    QCOMPARE(w.tableDescription->text(0, TablePlotDescription::ColName), QStringLiteral("Speed"));
    QCOMPARE(w.tableDescription->curveColor(0), QStringLiteral("#102030"));
    QCOMPARE(w.tableDescription->text(0, TablePlotDescription::ColUnit), QString());

    w.tableConfig->setCurveColor(0, QStringLiteral("#405060"));
    w.tableDescription->syncRow(0);
    QCOMPARE(w.tableDescription->text(0, TablePlotDescription::ColUnit), QStringLiteral("km/h"));
    QCOMPARE(w.tableDescription->curveColor(0), QStringLiteral("#405060"));
    QCOMPARE(w.tableDescription->item(0, 0)->background().color(), QColor(0x40, 0x50, 0x60));
}

void TestTableDescription::clickSelectsNothing()
{
    const auto window = makeWindow(3);
    VistrelMainWindow& w = *window;
    w.show();
    w.tabWidgetPlot->setCurrentWidget(w.tab_2);
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    TablePlotDescription* table = w.tableDescription;
    QTRY_VERIFY(table->isVisible());
    for (const int col : {1, 4, 6}) {
        const QRect cell = table->visualItemRect(table->item(1, col));
        QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
        QVERIFY(!table->selectionModel()->hasSelection());
        QVERIFY(table->selectedItems().isEmpty());
    }
}

void TestTableDescription::lockedCellsCannotBeEdited_data()
{
    QTest::addColumn<int>("col");
    QTest::newRow("Name") << 1;
    QTest::newRow("Unit") << 7;
    QTest::newRow("Cnt") << 6;
}

void TestTableDescription::lockedCellsCannotBeEdited()
{
    QFETCH(int, col);

    const auto window = makeWindow(1);
    VistrelMainWindow& w = *window;
    w.show();
    w.tabWidgetPlot->setCurrentWidget(w.tab_2);
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    TablePlotDescription* table = w.tableDescription;
    table->setCurrentCell(0, col);
    const QRect cell = table->visualItemRect(table->item(0, col));
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    QTest::keyClick(table, Qt::Key_F2);
    QVERIFY(!table->findChild<QLineEdit*>());
    const QString before = table->text(0, col);
    QTest::keyClicks(table, QStringLiteral("typed"));
    QTest::keyClick(table, Qt::Key_Return);
    QCOMPARE(table->text(0, col), before);
}

void TestTableDescription::writersOutsideTheTable()
{
    const auto window = makeWindow(1);
    TablePlotDescription* table = window->tableDescription;
    QSignalSpy changes(table, &QTableWidget::cellChanged);
    table->setCount(3, QStringLiteral("12"));
    table->setCurveEnabled(-1, true);
    table->setCurveStyleIndex(4, 2);
    QCOMPARE(table->curveStyle(4), -1);
    QCOMPARE(table->rowCount(), 1);
    QCOMPARE(changes.count(), 0);
    // The dummy took the text; put it back for the other tests.
    QCOMPARE(table->text(3, 6), QStringLiteral("12"));
    table->setCount(3, QStringLiteral("(internal error)itemSaveDummy"));
    table->setCurveEnabled(-1, false);
}

QTEST_MAIN(TestTableDescription)
#include "tst_tabledescription.moc"
