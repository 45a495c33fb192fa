#include "dataplot.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_curve.h>

#include <QPushButton>
#include <QSignalMapper>
#include <QtTest>

#include <memory>

using TestSupport::ModalAnswerer;

class TestCurves : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void addToEmptyTable();
    void addBelowCurrentRow_data();
    void addBelowCurrentRow();
    void twoAddsDifferInColourOnly();
    void newCurveFromCells();
    void addAfterCurvesWereLost_data();
    void addAfterCurvesWereLost();
    void calcButtonsMapTheirRow_data();
    void calcButtonsMapTheirRow();
    void deleteCurves_data();
    void deleteCurves();
    void deleteLastRow();
    void deleteEmptyTableAsksNothing();
    void deleteOnlyBtrRowHidesColumn();

private:
    std::unique_ptr<VistrelMainWindow> makeWindow(int rows);
    // Names row r "c<r>" with unit "u<r>" in both tables and on the curve,
    // as the edit rules would.
    static void label(VistrelMainWindow& w, int row, const QString& name);
    // Checks that the three views of every curve agree and return the names.
    static QStringList names(VistrelMainWindow& w);
};

void TestCurves::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

std::unique_ptr<VistrelMainWindow> TestCurves::makeWindow(int rows)
{
    TestSupport::useDriverConfig(QStringLiteral("net 0 virtual demo\nnet 2 virtual name=MY_CAN_BOX\n"));
    auto window = std::make_unique<VistrelMainWindow>();
    for (int row = 0; row < rows; ++row) {
        window->tableConfig->setCurrentCell(row - 1, 1);
        window->projectAddCurve();
        label(*window, row, QStringLiteral("c%1").arg(row));
    }
    return window;
}

void TestCurves::label(VistrelMainWindow& w, int row, const QString& name)
{
    const QString unit = QString(name).replace(QLatin1Char('c'), QLatin1Char('u'));
    w.tableConfig->setCurveName(row, name);
    w.tableConfig->setUnitText(row, unit);
    w.tableDescription->setCurveName(row, name);
    w.tableDescription->setUnit(row, unit);
    w.curves[row]->setCurveTitle(name);
}

QStringList TestCurves::names(VistrelMainWindow& w)
{
    QStringList result;
    const int rows = w.tableConfig->rowCount();
    if (w.tableDescription->rowCount() != rows || w.curves.size() != rows) {
        result << QStringLiteral("counts differ: %1 %2 %3")
                      .arg(rows)
                      .arg(w.tableDescription->rowCount())
                      .arg(w.curves.size());
        return result;
    }
    for (int row = 0; row < rows; ++row) {
        const QString name = w.tableConfig->curveName(row);
        const QString unit = w.tableConfig->unitText(row);
        if (w.tableDescription->text(row, TablePlotDescription::ColName) != name ||
            w.tableDescription->text(row, TablePlotDescription::ColUnit) != unit ||
            w.curves[row]->plotItem->title().text() != name ||
            w.tableDescription->curveColor(row) != w.tableConfig->curveColor(row))
            result << QStringLiteral("row %1 differs").arg(row);
        else
            result << name;
    }
    return result;
}

void TestCurves::addToEmptyTable()
{
    const auto window = makeWindow(0);
    VistrelMainWindow& w = *window;
    QVERIFY(!w.pushButtonStartStop->isEnabled());
    QVERIFY(!w.projectDelete_CurveAction->isEnabled());

    w.projectAddCurve();
    QCOMPARE(w.tableConfig->rowCount(), 1);
    QCOMPARE(w.tableDescription->rowCount(), 1);
    QCOMPARE(w.curves.size(), 1);
    QCOMPARE(w.tableConfig->currentRow(), 0);
    QCOMPARE(w.tableConfig->currentColumn(), int(TablePlotConfig::ColName));
    QVERIFY(w.pushButtonStartStop->isEnabled());
    QVERIFY(w.projectDelete_CurveAction->isEnabled());
    QVERIFY(w.projectCalculateAction->isEnabled());
    // The curve is on the plot, empty, until Start.
    QVERIFY(w.plot->itemList(QwtPlotItem::Rtti_PlotCurve).contains(w.curves[0]->plotItem));
    QCOMPARE(w.curves[0]->plotItem->title().text(), QStringLiteral("NewName"));
    QCOMPARE(w.curves[0]->maxPoints, quint32(w.plotSize));
    QCOMPARE(w.currentOperatingMode(), int(ModeNone)); // adding changes no mode
}

void TestCurves::addBelowCurrentRow_data()
{
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("newRow");
    QTest::newRow("no current row") << -1 << 0;
    QTest::newRow("first row") << 0 << 1;
    QTest::newRow("row 2") << 2 << 3;
    QTest::newRow("last row") << 4 << 5;
}

void TestCurves::addBelowCurrentRow()
{
    QFETCH(int, current);
    QFETCH(int, newRow);

    const auto window = makeWindow(5);
    VistrelMainWindow& w = *window;
    QVector<QwtPlotCurve*> items;
    for (const auto& curve : w.curves)
        items << curve->plotItem;
    if (current < 0)
        w.tableConfig->setCurrentIndex(QModelIndex());
    else
        w.tableConfig->setCurrentCell(current, TablePlotConfig::ColUnit);

    w.projectAddCurve();

    QStringList expected{"c0", "c1", "c2", "c3", "c4"};
    expected.insert(newRow, QStringLiteral("NewName"));
    QCOMPARE(names(w), expected);
    QCOMPARE(w.tableConfig->unitText(newRow), QString());
    QCOMPARE(w.tableConfig->currentRow(), newRow);
    QCOMPARE(w.tableConfig->currentColumn(), int(TablePlotConfig::ColName));
    // The old curves keep their plot items, moved with their rows.
    for (int old = 0; old < 5; ++old)
        QCOMPARE(w.curves[old < newRow ? old : old + 1]->plotItem, items[old]);
    QVERIFY(!items.contains(w.curves[newRow]->plotItem));
    QCOMPARE(w.plot->itemList(QwtPlotItem::Rtti_PlotCurve).size(), 6);
}

void TestCurves::twoAddsDifferInColourOnly()
{
    const auto window = makeWindow(0);
    VistrelMainWindow& w = *window;
    w.projectAddCurve();
    w.projectAddCurve();
    QCOMPARE(w.tableConfig->curveName(0), QStringLiteral("NewName"));
    QCOMPARE(w.tableConfig->curveName(1), QStringLiteral("NewName"));
    // Three draws of 256 each: the colours coincide once in 2^24 runs.
    QVERIFY(w.tableConfig->curveColor(0) != w.tableConfig->curveColor(1));
    QCOMPARE(names(w), (QStringList{"NewName", "NewName"}));
    for (int row = 0; row < 2; ++row) {
        const QColor color(w.tableConfig->curveColor(row));
        QVERIFY(color.isValid());
        QCOMPARE(w.curves[row]->plotItem->pen().color(), color);
        QCOMPARE(w.tableDescription->item(row, TablePlotDescription::ColColor)->background().color(), color);
    }
}

void TestCurves::newCurveFromCells()
{
    // A curve built from a row that the file readers have filled: every
    // cell reaches the curve, in its own number form.
    const auto window = makeWindow(1);
    VistrelMainWindow& w = *window;
    TablePlotConfig* t = w.tableConfig;
    t->setNetIndex(0, 1);
    t->setBaud(0, int(0x8000001C));
    t->setIdText(0, QStringLiteral("0x123"));
    t->set29Bit(0, true);
    t->setPosition(0, QStringLiteral("3"));
    t->setDataType(0, 2);
    t->setMaskText(0, QStringLiteral("0x0F"));
    t->setByteOrder(0, 1);
    t->setValueAxis(0, 1);
    t->setScaleText(0, QStringLiteral("2.5"));
    t->setOffsetText(0, QStringLiteral("-1"));
    t->setUnitText(0, QStringLiteral("km/h"));
    w.tableDescription->setCurveStyleIndex(0, 2);
    w.tableDescription->setCurveEnabled(0, false);

    w.createCurve(0);
    QCOMPARE(w.curves.size(), 2);
    const PlotCurve& curve = *w.curves[0];
    QCOMPARE(curve.net, 2);
    QCOMPARE(curve.baud, int(0x8000001C));
    QCOMPARE(curve.canId, 0x123 | 0x20000000);
    QCOMPARE(curve.bytePos, 2);
    QCOMPARE(curve.dataType, 2);
    QCOMPARE(curve.mask, 0x0F);
    QCOMPARE(curve.byteOrder, 1);
    QCOMPARE(curve.axis, 1);
    QCOMPARE(curve.scale, 2.5);
    QCOMPARE(curve.offset, -1.0);
    QCOMPARE(curve.unit, QStringLiteral("km/h"));
    QCOMPARE(curve.style, 2);
    QCOMPARE(curve.name, QStringLiteral("c0"));
    QCOMPARE(curve.color, QColor(t->curveColor(0)));
    QCOMPARE(curve.plotItem->style(), QwtPlotCurve::NoCurve);
}

void TestCurves::calcButtonsMapTheirRow_data()
{
    QTest::addColumn<QString>("steps"); // "add N": add below row N; "del N": delete row N
    QTest::newRow("adds only") << "add -1,add 0,add 1";
    QTest::newRow("add at the top") << "add -1,add 0,add 1,add -1";
    QTest::newRow("delete in the middle") << "add -1,add 0,add 1,add 2,del 1";
    QTest::newRow("delete then add") << "add -1,add 0,add 1,del 0,add 0";
}

void TestCurves::calcButtonsMapTheirRow()
{
    QFETCH(QString, steps);

    const auto window = makeWindow(0);
    VistrelMainWindow& w = *window;
    TablePlotConfig* table = w.tableConfig;
    for (const QString& step : steps.split(QLatin1Char(','))) {
        const int row = step.mid(4).toInt();
        if (step.startsWith(QLatin1String("add"))) {
            if (row < 0)
                table->setCurrentIndex(QModelIndex());
            else
                table->setCurrentCell(row, 1);
            w.projectAddCurve();
        } else {
            table->clearSelection();
            table->setCurrentCell(row, 1);
            table->clearSelection();
            const ModalAnswerer yes(QMessageBox::Yes);
            w.projectDeleteCurve();
            QCOMPARE(yes.answered(), 1);
        }
        // Old buttons go with the event loop.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    QSignalMapper* mapper = table->calcButtonMapper();
    QVERIFY(mapper);
    QCOMPARE(mapper->parent(), table);
    QSignalSpy mapped(mapper, &QSignalMapper::mappedInt);
    for (int row = 0; row < table->rowCount(); ++row) {
        auto* button = qobject_cast<QPushButton*>(table->cellWidget(row, TablePlotConfig::ColCalc));
        QVERIFY(button);
        QCOMPARE(button->text(), QStringLiteral("Calc"));
        QVERIFY(button->isEnabled());
        QCOMPARE(mapper->mapping(row), button);
        // The button opens the scaling dialog of its own row.
        QString title;
        const TestSupport::ModalAnswerer closeDialog([&title](QWidget* dialog) {
            title = dialog->windowTitle();
            dialog->close();
        });
        button->click();
        QCOMPARE(mapped.count(), row + 1);
        QCOMPARE(mapped.last().at(0).toInt(), row);
        QCOMPARE(title, QStringLiteral("Curve Scaling %1 (Row: %2)").arg(table->curveName(row)).arg(row + 1));
    }
    // One mapper only, and it leads to the slot that opens the dialog.
    QTRY_COMPARE(table->findChildren<QSignalMapper*>().size(), 1);
    QVERIFY(QObject::disconnect(mapper, &QSignalMapper::mappedInt, table, &TablePlotConfig::slotCalcCmd));
}

void TestCurves::deleteCurves_data()
{
    QTest::addColumn<QList<int>>("selected");
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QStringList>("remaining");

    QTest::newRow("three selected rows")
        << QList<int>{0, 2, 4} << 1 << int(QMessageBox::Yes) << QStringList{"c1", "c3"};
    QTest::newRow("two neighbours") << QList<int>{3, 2} << 0 << int(QMessageBox::Yes)
                                    << QStringList{"c0", "c1", "c4"};
    QTest::newRow("no selection: the current row")
        << QList<int>{} << 3 << int(QMessageBox::Yes) << QStringList{"c0", "c1", "c2", "c4"};
    QTest::newRow("no selection, no current row: row 0")
        << QList<int>{} << -1 << int(QMessageBox::Yes) << QStringList{"c1", "c2", "c3", "c4"};
    QTest::newRow("declined") << QList<int>{1, 2} << 1 << int(QMessageBox::No)
                              << QStringList{"c0", "c1", "c2", "c3", "c4"};
}

void TestCurves::deleteCurves()
{
    QFETCH(QList<int>, selected);
    QFETCH(int, current);
    QFETCH(int, answer);
    QFETCH(QStringList, remaining);

    const auto window = makeWindow(5);
    VistrelMainWindow& w = *window;
    QItemSelectionModel* selection = w.tableConfig->selectionModel();
    selection->clear();
    selection->setCurrentIndex(current < 0 ? QModelIndex() : w.tableConfig->model()->index(current, 1),
                               QItemSelectionModel::NoUpdate);
    for (const int row : selected)
        selection->select(w.tableConfig->model()->index(row, 0),
                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
    QMap<QString, QwtPlotCurve*> items;
    for (const auto& curve : w.curves)
        items[curve->plotItem->title().text()] = curve->plotItem;

    const ModalAnswerer answerer{QMessageBox::StandardButton(answer)};
    w.projectDeleteCurve();
    QCOMPARE(answerer.answered(), 1);
    QCOMPARE(answerer.titles().value(0), QStringLiteral("Warning!"));
    QCOMPARE(answerer.lastText(), QStringLiteral("Do you really want to delete the curve(s)?\nContinue?"));

    QCOMPARE(names(w), remaining);
    for (int row = 0; row < w.curves.size(); ++row)
        QCOMPARE(w.curves[row]->plotItem, items[remaining[row]]);
    QCOMPARE(w.plot->itemList(QwtPlotItem::Rtti_PlotCurve).size(), remaining.size());
    QVERIFY(w.pushButtonStartStop->isEnabled());
}

void TestCurves::deleteLastRow()
{
    const auto window = makeWindow(1);
    VistrelMainWindow& w = *window;
    QVERIFY(w.projectDelete_CurveAction->isEnabled());
    const ModalAnswerer yes(QMessageBox::Yes);
    w.projectDeleteCurve();
    QCOMPARE(yes.answered(), 1);
    QCOMPARE(names(w), QStringList());
    QVERIFY(!w.pushButtonStartStop->isEnabled());
    QVERIFY(!w.projectDelete_CurveAction->isEnabled());
    QVERIFY(!w.projectCalculateAction->isEnabled());
    QVERIFY(w.projectAdd_CurveAction->isEnabled());
    QVERIFY(w.plot->itemList(QwtPlotItem::Rtti_PlotCurve).isEmpty());
}

void TestCurves::deleteEmptyTableAsksNothing()
{
    const auto window = makeWindow(0);
    const ModalAnswerer yes(QMessageBox::Yes);
    window->projectDeleteCurve();
    QCoreApplication::processEvents();
    QCOMPARE(yes.answered(), 0);
}

void TestCurves::deleteOnlyBtrRowHidesColumn()
{
    const auto window = makeWindow(3);
    VistrelMainWindow& w = *window;
    w.tableConfig->setBaud(1, int(0x80000000 | 0x1C));
    QVERIFY(!w.tableConfig->isColumnHidden(TablePlotConfig::ColBtr));
    w.tableConfig->setCurrentCell(1, 1);
    w.tableConfig->clearSelection();
    const ModalAnswerer yes(QMessageBox::Yes);
    w.projectDeleteCurve();
    QCOMPARE(names(w), (QStringList{"c0", "c2"}));
    QVERIFY(w.tableConfig->isColumnHidden(TablePlotConfig::ColBtr));
}

void TestCurves::addAfterCurvesWereLost_data()
{
    QTest::addColumn<int>("kept");    // curves left of 3 rows, as after an aborted import
    QTest::addColumn<int>("current"); // row below which the new one comes
    QTest::newRow("none kept, add at the end") << 0 << 2;
    QTest::newRow("one kept, add at the end") << 1 << 2;
    QTest::newRow("none kept, add at the top") << 0 << -1;
    QTest::newRow("two kept, add in the middle") << 2 << 0;
}

void TestCurves::addAfterCurvesWereLost()
{
    QFETCH(int, kept);
    QFETCH(int, current);

    const auto window = makeWindow(3);
    VistrelMainWindow& w = *window;
    w.curves.resize(kept);
    w.tableConfig->setCurrentCell(current, 1);
    w.projectAddCurve();
    const int added = current + 1;
    QCOMPARE(w.tableConfig->currentRow(), added);
    // Every row up to the new one has its own curve at its own index.
    QVERIFY(w.curves.size() >= added + 1);
    for (int row = 0; row <= added; ++row)
        QCOMPARE(w.curves[row]->plotItem->title().text(), w.tableConfig->curveName(row));
}

QTEST_MAIN(TestCurves)
#include "tst_curves.moc"
