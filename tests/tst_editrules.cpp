#include "dataplot.h"
#include "plotcurve.h"
#include "qcombotablesupportitem.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_curve.h>

#include <QAction>
#include <QColorDialog>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QtTest>

#include <memory>

using TestSupport::ModalAnswerer;

namespace {

const QString demoNet = QStringLiteral("net 0 virtual demo\n");

// The text an item holds itself; for a combo box cell not the entry shown.
QString storedText(TablePlotConfig* table, int row, int col)
{
    return table->itemSave(row, col)->QTableWidgetItem::data(Qt::DisplayRole).toString();
}

QPoint cellCentre(TablePlotConfig* table, int row, int col)
{
    return table->visualRect(table->model()->index(row, col)).center();
}

} // namespace

class TestEditRules : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void textRepairs_data();
    void textRepairs();
    void typedTextPassesTheRule();
    void positionRule_data();
    void positionRule();
    void btrText_data();
    void btrText();
    void btrModeTransitions();
    void copiesReachDescriptionAndCurve_data();
    void copiesReachDescriptionAndCurve();
    void buildingRowTouchesNoOtherRow_data();
    void buildingRowTouchesNoOtherRow();
    void axisRule();
    void colourCell_data();
    void colourCell();
    void contextMenu_data();
    void contextMenu();

private:
    std::unique_ptr<VistrelMainWindow> makeWindow(int rows, bool shown = false);
};

void TestEditRules::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

std::unique_ptr<VistrelMainWindow> TestEditRules::makeWindow(int rows, bool shown)
{
    TestSupport::useDriverConfig(demoNet);
    auto window = std::make_unique<VistrelMainWindow>();
    for (int row = 0; row < rows; ++row)
        window->projectAddCurve();
    if (shown) {
        window->show();
        QApplication::setActiveWindow(window.get());
        if (!QTest::qWaitForWindowExposed(window.get()))
            qWarning("window not exposed");
    }
    return window;
}

// canId: the identifier of a curve built from the cell afterwards, read in
// base 0 (-1: not a CAN id column).
void TestEditRules::textRepairs_data()
{
    QTest::addColumn<int>("col");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("result");
    QTest::addColumn<int>("canId");

    struct Row
    {
        const char* name;
        const char* typed;
        const char* result;
        int canId;
    };
    const Row idRows[] = {{"largest 29-bit", "0x1FFFFFFF", "0x1FFFFFFF", 0x1FFFFFFF},
                          {"one above", "0x20000000", "0", 0},
                          {"decimal above", "536870912", "0", 0},
                          {"negative", "-1", "0", 0},
                          {"empty", "", "0", 0},
                          {"octal", "010", "010", 8},
                          {"bad octal", "08", "0", 0},
                          {"hex keeps its form", "0x123", "0x123", 0x123},
                          {"decimal", "291", "291", 291},
                          {"letters", "abc", "0", 0},
                          {"huge", "0x1FFFFFFFF", "0", 0}};
    for (const Row& r : idRows)
        QTest::addRow("Id %s", r.name)
            << int(TablePlotConfig::ColId) << QString(r.typed) << QString(r.result) << r.canId;
    const Row maskRows[] = {{"255", "255", "255", -1},   {"octal 0377", "0377", "0377", -1},
                            {"256", "256", "0", -1},     {"hex", "0x0F", "0x0F", -1},
                            {"0x100", "0x100", "0", -1}, {"negative", "-1", "0", -1},
                            {"empty", "", "0", -1}};
    for (const Row& r : maskRows)
        QTest::addRow("Mask %s", r.name)
            << int(TablePlotConfig::ColMask) << QString(r.typed) << QString(r.result) << r.canId;
}

void TestEditRules::textRepairs()
{
    QFETCH(int, col);
    QFETCH(QString, typed);
    QFETCH(QString, result);
    QFETCH(int, canId);

    const auto window = makeWindow(2);
    TablePlotConfig* table = window->tableConfig;
    const QString otherRow = table->cellText(0, col);
    table->setCellText(1, col, typed);
    QCOMPARE(table->cellText(1, col), result);
    QCOMPARE(table->cellText(0, col), otherRow);
    if (canId >= 0) {
        // As at Start: the curve is made anew from the cells.
        window->curves.removeLast();
        window->createCurve(1);
        QCOMPARE(window->curves[1]->canId, canId);
    }
}

void TestEditRules::typedTextPassesTheRule()
{
    // The way of the keyboard: the editor's commit reaches the same rule.
    const auto window = makeWindow(1, true);
    TablePlotConfig* table = window->tableConfig;
    table->setCurrentCell(0, TablePlotConfig::ColId);
    table->editItem(table->item(0, TablePlotConfig::ColId));
    auto* editor = table->viewport()->findChild<QLineEdit*>();
    QVERIFY(editor);
    editor->selectAll();
    QTest::keyClicks(editor, QStringLiteral("0x20000000"));
    QTest::keyClick(editor, Qt::Key_Return);
    QCOMPARE(table->idText(0), QStringLiteral("0"));
}

void TestEditRules::positionRule_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QString>("stored");
    // The stored text is the index that the combo box raised; the rule
    // reads the entry shown.
    QTest::newRow("first") << 0 << QString("1") << QString("0");
    QTest::newRow("last") << 7 << QString("8") << QString("7");
    // No selection: nothing to read, the repair reaches the stored text only.
    QTest::newRow("no selection") << -1 << QString() << QString("1");
}

void TestEditRules::positionRule()
{
    QFETCH(int, index);
    QFETCH(QString, shown);
    QFETCH(QString, stored);

    const auto window = makeWindow(1);
    TablePlotConfig* table = window->tableConfig;
    table->setPosition(0, QStringLiteral("4"));
    table->comboSave(0, TablePlotConfig::ColPos)->comboBox->setCurrentIndex(index);
    QCOMPARE(table->positionText(0), shown);
    QCOMPARE(storedText(table, 0, TablePlotConfig::ColPos), stored);
    QCOMPARE(table->comboSave(0, TablePlotConfig::ColPos)->comboBox->currentIndex(), index);
}

void TestEditRules::btrText_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("result");
    QTest::addColumn<int>("timing");

    QTest::newRow("above 16 bits") << QString("10000") << QString("0") << 0;
    QTest::newRow("largest") << QString("FFFF") << QString("ffff") << 0xFFFF;
    QTest::newRow("upper case") << QString("1C") << QString("1c") << 0x1C;
    QTest::newRow("with prefix") << QString("0x1C") << QString("1c") << 0x1C;
    QTest::newRow("leading zeros") << QString("001c") << QString("1c") << 0x1C;
    QTest::newRow("not a number") << QString("xyz") << QString("0") << 0;
    QTest::newRow("negative") << QString("-1") << QString("0") << 0;
    QTest::newRow("empty") << QString() << QString("0") << 0;
}

void TestEditRules::btrText()
{
    QFETCH(QString, typed);
    QFETCH(QString, result);
    QFETCH(int, timing);

    const auto window = makeWindow(2);
    TablePlotConfig* table = window->tableConfig;
    table->comboSave(1, TablePlotConfig::ColBaud)->comboBox->setCurrentIndex(TablePlotConfig::BaudBtrIndex);
    table->setBtrText(1, typed);
    QCOMPARE(table->btrText(1), result);
    QCOMPARE(table->btrCopyText(1), result);
    QCOMPARE(table->baud(1), int(0x80000000u + uint(timing)));
    QVERIFY(!table->isColumnHidden(TablePlotConfig::ColBtr));
    // The other row stays out of BTR mode.
    QCOMPARE(table->btrText(0), QStringLiteral("-----"));
    QCOMPARE(table->baud(0), 0);
}

void TestEditRules::btrModeTransitions()
{
    const auto window = makeWindow(2);
    TablePlotConfig* table = window->tableConfig;
    QComboBox* baudBox = table->comboSave(1, TablePlotConfig::ColBaud)->comboBox;
    QVERIFY(table->isColumnHidden(TablePlotConfig::ColBtr));

    // Outside BTR mode the cell can't be typed into for good.
    table->setBtrText(1, QStringLiteral("1c"));
    QCOMPARE(table->btrText(1), QStringLiteral("-----"));
    QCOMPARE(table->baud(1), 0);
    QVERIFY(table->isColumnHidden(TablePlotConfig::ColBtr));

    // "BTR01": "-----" doesn't convert, so the timing starts at 0.
    baudBox->setCurrentIndex(TablePlotConfig::BaudBtrIndex);
    QCOMPARE(table->btrText(1), QStringLiteral("0"));
    QCOMPARE(table->btrCopyText(1), QStringLiteral("0"));
    QVERIFY(!table->isColumnHidden(TablePlotConfig::ColBtr));

    table->setBtrText(1, QStringLiteral("0x1C"));
    QCOMPARE(table->btrText(1), QStringLiteral("1c"));

    // A bit rate ends BTR mode; the copy keeps the last timing.
    baudBox->setCurrentIndex(2);
    QCOMPARE(table->btrText(1), QStringLiteral("-----"));
    QCOMPARE(table->btrCopyText(1), QStringLiteral("1c"));
    QCOMPARE(table->baud(1), 2);
    QVERIFY(table->isColumnHidden(TablePlotConfig::ColBtr));

    // And the timing is gone from the cell: BTR01 starts from 0 again.
    baudBox->setCurrentIndex(TablePlotConfig::BaudBtrIndex);
    QCOMPARE(table->btrText(1), QStringLiteral("0"));
    QCOMPARE(table->baud(1), int(0x80000000u));
}

void TestEditRules::copiesReachDescriptionAndCurve_data()
{
    QTest::addColumn<int>("col");
    QTest::addColumn<int>("row");
    QTest::newRow("name, first row") << int(TablePlotConfig::ColName) << 0;
    QTest::newRow("name, last row") << int(TablePlotConfig::ColName) << 2;
    QTest::newRow("unit, middle row") << int(TablePlotConfig::ColUnit) << 1;
}

void TestEditRules::copiesReachDescriptionAndCurve()
{
    QFETCH(int, col);
    QFETCH(int, row);

    const auto window = makeWindow(3);
    VistrelMainWindow& w = *window;
    const int descriptionCol =
        col == TablePlotConfig::ColName ? TablePlotDescription::ColName : TablePlotDescription::ColUnit;
    QStringList before;
    for (int r = 0; r < 3; ++r)
        before << w.tableDescription->text(r, descriptionCol);

    w.tableConfig->setCellText(row, col, QStringLiteral("Speed"));

    for (int r = 0; r < 3; ++r) {
        QCOMPARE(w.tableDescription->text(r, descriptionCol), r == row ? QStringLiteral("Speed") : before[r]);
        // Only the name is the plot item's title; it changes without Start.
        const QString title =
            col == TablePlotConfig::ColName && r == row ? QStringLiteral("Speed") : QStringLiteral("NewName");
        QCOMPARE(w.curves[r]->plotItem->title().text(), title);
    }
}

void TestEditRules::buildingRowTouchesNoOtherRow_data()
{
    QTest::addColumn<int>("current"); // the new row comes below it
    QTest::newRow("above all") << -1;
    QTest::newRow("between") << 0;
    QTest::newRow("below all") << 2;
}

void TestEditRules::buildingRowTouchesNoOtherRow()
{
    QFETCH(int, current);

    const auto window = makeWindow(3);
    VistrelMainWindow& w = *window;
    for (int row = 0; row < 3; ++row) {
        w.tableConfig->setCurveName(row, QStringLiteral("c%1").arg(row));
        w.tableConfig->setUnitText(row, QStringLiteral("u%1").arg(row));
        w.tableConfig->setValueAxis(row, 0);
    }
    QVector<QwtPlotCurve*> items;
    QStringList colours;
    for (int row = 0; row < 3; ++row) {
        items << w.curves[row]->plotItem;
        colours << w.tableConfig->curveColor(row);
    }
    if (current < 0)
        w.tableConfig->setCurrentIndex(QModelIndex());
    else
        w.tableConfig->setCurrentCell(current, TablePlotConfig::ColUnit);

    w.projectAddCurve();

    const int newRow = current + 1;
    for (int old = 0; old < 3; ++old) {
        const int row = old < newRow ? old : old + 1;
        QCOMPARE(w.tableDescription->text(row, TablePlotDescription::ColName),
                 QStringLiteral("c%1").arg(old));
        QCOMPARE(w.tableDescription->text(row, TablePlotDescription::ColUnit),
                 QStringLiteral("u%1").arg(old));
        QCOMPARE(w.tableDescription->curveColor(row), colours[old]);
        QCOMPARE(w.curves[row]->plotItem, items[old]);
        QCOMPARE(w.curves[row]->plotItem->title().text(), QStringLiteral("c%1").arg(old));
        QCOMPARE(w.curves[row]->plotItem->pen().color(), QColor(colours[old]));
    }
    QCOMPARE(w.tableDescription->text(newRow, TablePlotDescription::ColName), QStringLiteral("NewName"));
    QCOMPARE(w.tableDescription->curveColor(newRow), w.tableConfig->curveColor(newRow));
    QCOMPARE(w.curves[newRow]->plotItem->pen().color(), QColor(w.tableConfig->curveColor(newRow)));
}

void TestEditRules::axisRule()
{
    const auto window = makeWindow(2);
    VistrelMainWindow& w = *window;
    QComboBox* axisBox = w.tableConfig->comboSave(1, TablePlotConfig::ColAxis)->comboBox;
    QVERIFY(!w.plot->axisEnabled(QwtPlot::yRight));

    axisBox->setCurrentIndex(1);
    QVERIFY(w.axisSettings[1]->visible);
    QCOMPARE(w.curves[1]->plotItem->yAxis(), int(QwtPlot::yRight));
    QCOMPARE(w.curves[0]->plotItem->yAxis(), int(QwtPlot::yLeft));
    // Integer8 fills the right viewport, 0 to 100.
    QCOMPARE(w.tableConfig->scaleText(1), QStringLiteral("0.392156862745098"));
    QCOMPARE(w.tableConfig->valueMinText(1), QStringLiteral("0"));
    QCOMPARE(w.tableConfig->valueMaxText(1), QStringLiteral("100"));
    // The plot follows behind the cell's own signal.
    QVERIFY(!w.plot->axisEnabled(QwtPlot::yRight));
    QTRY_VERIFY(w.plot->axisEnabled(QwtPlot::yRight));

    // Back to the left: the curve moves, the axis stays.
    axisBox->setCurrentIndex(0);
    QCOMPARE(w.curves[1]->plotItem->yAxis(), int(QwtPlot::yLeft));
    QCOMPARE(w.tableConfig->scaleText(1), QStringLiteral("0.7843137254901961"));
    QCoreApplication::processEvents();
    QVERIFY(w.axisSettings[1]->visible);
    QVERIFY(w.plot->axisEnabled(QwtPlot::yRight));
}

void TestEditRules::colourCell_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<bool>("running");
    QTest::addColumn<int>("answer"); // what the colour dialog gets; -1: it must not open
    QTest::newRow("accepted") << int(Qt::LeftButton) << false << int(QDialog::Accepted);
    QTest::newRow("cancelled") << int(Qt::LeftButton) << false << int(QDialog::Rejected);
    QTest::newRow("right click") << int(Qt::RightButton) << false << -1;
    QTest::newRow("middle click") << int(Qt::MiddleButton) << false << -1;
    QTest::newRow("left click during a run") << int(Qt::LeftButton) << true << -1;
}

void TestEditRules::colourCell()
{
    QFETCH(int, button);
    QFETCH(bool, running);
    QFETCH(int, answer);

    const auto window = makeWindow(2, true);
    VistrelMainWindow& w = *window;
    TablePlotConfig* table = w.tableConfig;
    const QString before = table->curveColor(1);
    const QColor chosen(QStringLiteral("#123456"));
    QVERIFY(before != chosen.name());
    w.running = running;

    QString title;
    QColor initial;
    ModalAnswerer handler(
        [&](QWidget* widget) {
            auto* dialog = qobject_cast<QColorDialog*>(widget);
            if (!dialog || answer < 0) {
                widget->close();
                return;
            }
            title = dialog->windowTitle();
            initial = dialog->currentColor();
            dialog->setCurrentColor(chosen);
            if (answer == QDialog::Accepted)
                dialog->accept();
            else
                dialog->reject();
        },
        100);
    QTest::mouseClick(table->viewport(), Qt::MouseButton(button), Qt::NoModifier,
                      cellCentre(table, 1, TablePlotConfig::ColColor));
    if (answer < 0) {
        // The rule itself, whether or not the view reports such a click.
        w.slotClickedTablePlotConfig(1, TablePlotConfig::ColColor);
        // F2 on "Scale" asks for a plain left click before it too.
        table->setCurrentCell(1, TablePlotConfig::ColScale);
        QTest::keyClick(table, Qt::Key_F2);
        QTest::qWait(20); // gives the poll of the handler its turns
        w.running = false;
        QCOMPARE(handler.answered(), 0);
        QCOMPARE(table->curveColor(1), before);
        return;
    }

    QCOMPARE(handler.answered(), 1);
    QCOMPARE(title, QStringLiteral("Select Curve Color"));
    QCOMPARE(initial, QColor(before));
    const QString expected = answer == QDialog::Accepted ? chosen.name() : before;
    QCOMPARE(table->curveColor(1), expected);
    QCOMPARE(w.tableDescription->curveColor(1), expected);
    QCOMPARE(w.curves[1]->plotItem->pen().color(), QColor(expected));
    // The other row keeps its colour.
    QCOMPARE(w.curves[0]->plotItem->pen().color(), QColor(table->curveColor(0)));
}

void TestEditRules::contextMenu_data()
{
    QTest::addColumn<bool>("started");
    QTest::newRow("stopped") << false;
    QTest::newRow("started") << true;
}

void TestEditRules::contextMenu()
{
    QFETCH(bool, started);

    const auto window = makeWindow(1, true);
    VistrelMainWindow& w = *window;
    w.pushButtonStartStop->setChecked(started);

    QList<QAction*> shown;
    int popups = 0;
    QTimer poll;
    poll.setInterval(5);
    connect(&poll, &QTimer::timeout, [&] {
        if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            ++popups;
            shown = menu->actions();
            menu->close();
        }
    });
    poll.start();
    emit w.tableConfig->customContextMenuRequested(QPoint(5, 5));
    QTest::qWait(20);
    poll.stop();
    w.pushButtonStartStop->setChecked(false);

    if (started) {
        QCOMPARE(popups, 0);
    } else {
        QCOMPARE(popups, 1);
        QCOMPARE(shown, (QList<QAction*>{w.projectAdd_CurveAction, w.projectCalculateAction,
                                         w.projectDelete_CurveAction}));
    }
}

QTEST_MAIN(TestEditRules)
#include "tst_editrules.moc"
