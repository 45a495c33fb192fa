#include "qcombotablesupportitem.h"
#include "tableplotconfig.h"
#include "testsupport.h"
#include "tooltipsupportitem.h"
#include "vistrelmainwindow.h"

#include <QtTest>

#include <memory>

namespace {

const QString twoNets = QStringLiteral("net 0 virtual demo\nnet 2 virtual name=MY_CAN_BOX\n");
const QString dummyText = QStringLiteral("(internal error)itemSaveDummy");

constexpr int alignLeft = Qt::AlignLeft | Qt::AlignVCenter;
constexpr int alignRight = Qt::AlignRight | Qt::AlignVCenter;
constexpr int alignCentre = Qt::AlignHCenter | Qt::AlignVCenter;

} // namespace

class TestTableConfig : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void newRowCells_data();
    void newRowCells();
    void buildingRowChangesOnlyItself_data();
    void buildingRowChangesOnlyItself();
    void baudCode_data();
    void baudCode();
    void btrColumnVisibility_data();
    void btrColumnVisibility();
    void cellsOutsideTheTable_data();
    void cellsOutsideTheTable();
    void comboSetters_data();
    void comboSetters();
    void netList_data();
    void netList();
    void curveColor_data();
    void curveColor();
    void columnLocked_data();
    void columnLocked();
    void comboSelectionRaisesCellChanged();
    void setDataTypeBlocksOnlyTheItem_data();
    void setDataTypeBlocksOnlyTheItem();
    void comboBoxLifetime_data();
    void comboBoxLifetime();
    void lastMouseButtons_data();
    void lastMouseButtons();
};

void TestTableConfig::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void TestTableConfig::newRowCells_data()
{
    QTest::addColumn<int>("col");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("alignment"); // 0: not set
    QTest::addColumn<bool>("combo");
    QTest::addColumn<bool>("editable");

    QTest::newRow("Name") << int(TablePlotConfig::ColName) << "NewName" << alignLeft << false << true;
    QTest::newRow("Net") << int(TablePlotConfig::ColNet) << "0: DEMO" << 0 << true << true;
    QTest::newRow("Baud") << int(TablePlotConfig::ColBaud) << "1000.0" << 0 << true << true;
    QTest::newRow("BTR/hex") << int(TablePlotConfig::ColBtr) << "-----" << alignCentre << false << true;
    QTest::newRow("Id") << int(TablePlotConfig::ColId) << "0" << alignRight << false << true;
    QTest::newRow("Pos") << int(TablePlotConfig::ColPos) << "1" << 0 << true << true;
    QTest::newRow("DataType") << int(TablePlotConfig::ColDataType) << "Integer8" << 0 << true << true;
    QTest::newRow("Mask") << int(TablePlotConfig::ColMask) << "0xFF" << alignRight << false << true;
    QTest::newRow("Int/Mot") << int(TablePlotConfig::ColIntMot) << "Intel" << 0 << true << true;
    QTest::newRow("Axis") << int(TablePlotConfig::ColAxis) << "Left" << 0 << true << true;
    QTest::newRow("Scale is locked") << int(TablePlotConfig::ColScale) << "0.7843137254901961" << alignRight
                                     << false << false;
    QTest::newRow("Offset is locked")
        << int(TablePlotConfig::ColOffset) << "0.3921568627450966" << alignRight << false << false;
    QTest::newRow("Unit") << int(TablePlotConfig::ColUnit) << "" << alignLeft << false << true;
    QTest::newRow("Raw Value Min") << int(TablePlotConfig::ColRawValueMin) << "-128" << 0 << false << true;
    QTest::newRow("Value Max") << int(TablePlotConfig::ColValueMax) << "100" << 0 << false << true;
}

void TestTableConfig::newRowCells()
{
    QFETCH(int, col);
    QFETCH(QString, text);
    QFETCH(int, alignment);
    QFETCH(bool, combo);
    QFETCH(bool, editable);

    const auto window = TestSupport::windowWithBareTable(twoNets, 2);
    TablePlotConfig* table = window->tableConfig;
    for (int row = 0; row < 2; ++row) {
        QCOMPARE(table->cellText(row, col), text);
        QTableWidgetItem* item = table->item(row, col);
        QVERIFY(item);
        QCOMPARE(item->type(), combo ? int(QComboTableSupportItem::Type) : int(TooltipSupportItem::Type));
        if (alignment)
            QCOMPARE(item->data(Qt::TextAlignmentRole).toInt(), alignment);
        if (combo) {
            QVERIFY(table->cellWidget(row, col));
            QCOMPARE(table->cellWidget(row, col),
                     static_cast<QComboTableSupportItem*>(item)->comboBox.data());
        } else {
            QCOMPARE(bool(item->flags() & Qt::ItemIsEditable), editable);
        }
    }
    // Every row gets a check box that can be checked but not typed into.
    QTableWidgetItem* check = table->item(0, TablePlotConfig::Col29Bit);
    QCOMPARE(check->data(Qt::CheckStateRole).toInt(), int(Qt::Unchecked));
    QVERIFY(check->flags() & Qt::ItemIsUserCheckable);
    QVERIFY(!(check->flags() & Qt::ItemIsEditable));
    QCOMPARE(check->data(Qt::TextAlignmentRole).toInt(), alignRight);
    QVERIFY(!table->is29Bit(0));
}

void TestTableConfig::buildingRowChangesOnlyItself_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("newRow");
    QTest::newRow("empty table") << 0 << 0;
    QTest::newRow("between rows") << 3 << 1;
    QTest::newRow("at the end") << 2 << 2;
}

void TestTableConfig::buildingRowChangesOnlyItself()
{
    QFETCH(int, rows);
    QFETCH(int, newRow);

    const auto window = TestSupport::windowWithBareTable(QString(), rows);
    TablePlotConfig* table = window->tableConfig;
    QCOMPARE(table->rowUnderConstruction(), -1);
    QSet<int> changedRows;
    QSet<int> changedColumns;
    QSet<int> building;
    connect(table, &QTableWidget::cellChanged, this, [&](int row, int col) {
        changedRows << row;
        changedColumns << col;
        building << table->rowUnderConstruction();
    });

    table->addCurveRow(newRow);
    // The edit rules see every cell of the new row, and the row is marked
    // as being built, so that they keep its copies within it.
    QCOMPARE(changedRows, QSet<int>{newRow});
    QCOMPARE(building, QSet<int>{newRow});
    for (const int col : {TablePlotConfig::ColColor, TablePlotConfig::ColName, TablePlotConfig::ColId,
                          TablePlotConfig::ColScale, TablePlotConfig::ColUnit})
        QVERIFY2(changedColumns.contains(col), qPrintable(QString::number(col)));
    QCOMPARE(table->rowUnderConstruction(), -1);
}

// setCode: what setBaud gets; typed: a BTR/hex text written afterwards
// (null: none).
void TestTableConfig::baudCode_data()
{
    QTest::addColumn<int>("setCode");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("btrText");
    QTest::addColumn<int>("index");

    const QStringList rates = TablePlotConfig::baudEntries();
    for (int index = 0; index < 14; ++index)
        QTest::addRow("rate %s", qPrintable(rates[index])) << index << QString() << index << "-----" << index;
    QTest::newRow("btr 1c") << int(0x8000001C) << QString() << -2147483620 << "1c" << 14;
    QTest::newRow("btr 0") << int(0x80000000) << QString() << int(0x80000000) << "0" << 14;
    QTest::newRow("btr upper bits dropped") << int(0xFFFF001C) << QString() << int(0x8000001C) << "1c" << 14;
    QTest::newRow("btr text -----") << int(0x8000001C) << "-----" << int(0x80000000) << "-----" << 14;
    QTest::newRow("btr text FFFF") << int(0x8000001C) << "FFFF" << int(0x8000FFFF) << "FFFF" << 14;
    QTest::newRow("btr text 0x1C") << int(0x80000000) << "0x1C" << int(0x8000001C) << "0x1C" << 14;
}

void TestTableConfig::baudCode()
{
    QFETCH(int, setCode);
    QFETCH(QString, typed);
    QFETCH(int, code);
    QFETCH(QString, btrText);
    QFETCH(int, index);

    const auto window = TestSupport::windowWithBareTable(QString(), 1);
    TablePlotConfig* table = window->tableConfig;
    QCOMPARE(table->baud(0), 0);
    table->setBaud(0, setCode);
    if (!typed.isNull())
        table->setBtrText(0, typed);

    QCOMPARE(table->baud(0), code);
    QCOMPARE(table->btrText(0), btrText);
    QCOMPARE(table->comboSave(0, TablePlotConfig::ColBaud)->comboBox->currentIndex(), index);

    // The code goes round: setBaud writes the canonical text back.
    table->setBaud(0, table->baud(0));
    QCOMPARE(table->baud(0), code);
    QCOMPARE(table->btrText(0), code < 0 ? QString::number(code & 0xFFFF, 16) : QStringLiteral("-----"));
    QCOMPARE(table->comboSave(0, TablePlotConfig::ColBaud)->comboBox->currentIndex(), index);

    // A bit rate ends the BTR mode and the timing text.
    table->setBaud(0, 6);
    QCOMPARE(table->baud(0), 6);
    QCOMPARE(table->btrText(0), QStringLiteral("-----"));
    QCOMPARE(table->cellText(0, TablePlotConfig::ColBaud), QStringLiteral("125.0"));
}

void TestTableConfig::btrColumnVisibility_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<QList<int>>("btrRows");
    QTest::addColumn<QString>("action"); // "rate N", "btr N", "remove N" or empty
    QTest::addColumn<bool>("hidden");

    QTest::newRow("no rows") << 0 << QList<int>{} << "" << true;
    QTest::newRow("no BTR row") << 3 << QList<int>{} << "" << true;
    for (const int row : {0, 1, 2})
        QTest::addRow("BTR in row %d", row) << 3 << QList<int>{row} << "" << false;
    QTest::newRow("rate in the only BTR row") << 3 << QList<int>{1} << "rate 1" << true;
    QTest::newRow("rate in one of two BTR rows") << 3 << QList<int>{0, 2} << "rate 2" << false;
    QTest::newRow("BTR in another row") << 3 << QList<int>{} << "btr 2" << false;
    QTest::newRow("remove the only BTR row") << 3 << QList<int>{1} << "remove 1" << true;
    QTest::newRow("remove another row") << 3 << QList<int>{1} << "remove 2" << false;
    QTest::newRow("remove all rows") << 3 << QList<int>{0} << "clear" << true;
}

void TestTableConfig::btrColumnVisibility()
{
    QFETCH(int, rows);
    QFETCH(QList<int>, btrRows);
    QFETCH(QString, action);
    QFETCH(bool, hidden);

    const auto window = TestSupport::windowWithBareTable(QString(), rows);
    TablePlotConfig* table = window->tableConfig;
    QVERIFY(table->isColumnHidden(TablePlotConfig::ColBtr));
    for (const int row : btrRows) {
        table->setBaud(row, int(0x80000000 | 0x1C));
        QVERIFY(!table->isColumnHidden(TablePlotConfig::ColBtr));
    }

    const QStringList words = action.split(QLatin1Char(' '));
    const int row = words.value(1).toInt();
    if (words[0] == QLatin1String("rate"))
        table->setBaud(row, 2);
    else if (words[0] == QLatin1String("btr"))
        table->setBaud(row, int(0x80000000));
    else if (words[0] == QLatin1String("remove"))
        table->removeCurveRow(row);
    else if (words[0] == QLatin1String("clear"))
        table->removeAllRows();

    QCOMPARE(table->isColumnHidden(TablePlotConfig::ColBtr), hidden);
}

// Cell access never fails: what isn't in the table ends on a dummy item
// and a dummy combo box outside it, and the table doesn't change.
void TestTableConfig::cellsOutsideTheTable_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("col");
    QTest::addColumn<bool>("outside"); // the cell itself is outside the table
    QTest::newRow("row -1") << -1 << int(TablePlotConfig::ColName) << true;
    QTest::newRow("row past the end") << 3 << int(TablePlotConfig::ColName) << true;
    QTest::newRow("column -1") << 0 << -1 << true;
    QTest::newRow("column past the end") << 0 << int(TablePlotConfig::ColumnCount) << true;
    QTest::newRow("combo of a missing row") << 5 << int(TablePlotConfig::ColDataType) << true;
    QTest::newRow("empty cell") << 2 << int(TablePlotConfig::ColDataType) << false;
    QTest::newRow("text cell") << 0 << int(TablePlotConfig::ColName) << false;
}

void TestTableConfig::cellsOutsideTheTable()
{
    QFETCH(int, row);
    QFETCH(int, col);
    QFETCH(bool, outside);

    const auto window = TestSupport::windowWithBareTable(QString(), 2);
    TablePlotConfig* table = window->tableConfig;
    table->setRowCount(3); // row 2 has no items at all
    QSignalSpy changes(table, &QTableWidget::cellChanged);

    if (outside) {
        QCOMPARE(table->cellText(row, col), dummyText);
        QTableWidgetItem* dummy = table->itemSave(row, col);
        QCOMPARE(dummy, table->itemSave(-1, 0));
        QVERIFY(!dummy->tableWidget());
        table->setCellText(row, col, QStringLiteral("written"));
        QCOMPARE(table->cellText(row, col), QStringLiteral("written"));
        QCOMPARE(table->cellText(-5, 3), QStringLiteral("written"));
        table->setCellText(row, col, dummyText);
    }

    QComboTableSupportItem* shared = table->comboSave(row, col);
    QVERIFY(shared);
    QVERIFY(!shared->tableWidget());
    QCOMPARE(shared, table->comboSave(-7, TablePlotConfig::ColAxis));
    QCOMPARE(shared->comboBox->currentIndex(), -1);
    shared->comboBox->setCurrentIndex(3);
    QCOMPARE(shared->comboBox->currentIndex(), -1);

    // The typed access ends there too when the row is missing.
    if (row != 0) {
        table->setDataType(row, 3);
        table->setValueAxis(row, 1);
        table->setByteOrder(row, 1);
        table->setPosition(row, QStringLiteral("4"));
        table->setNetIndex(row, 0);
        QCOMPARE(table->dataType(row), -1);
        QCOMPARE(table->valueAxis(row), -1);
        QCOMPARE(table->byteOrder(row), -1);
        QCOMPARE(table->netNumber(row), 0);
        QCOMPARE(table->netText(row), QString());
        QCOMPARE(table->baud(row), 0);
    }

    // Nothing in the table moved.
    QCOMPARE(table->rowCount(), 3);
    QCOMPARE(changes.count(), 0);
    for (int r = 0; r < 2; ++r) {
        QCOMPARE(table->curveName(r), QStringLiteral("NewName"));
        QCOMPARE(table->dataType(r), 0);
    }
}

void TestTableConfig::comboSetters_data()
{
    QTest::addColumn<int>("col");
    QTest::addColumn<QString>("value");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("text");
    const int axis = TablePlotConfig::ColAxis;
    const int pos = TablePlotConfig::ColPos;
    QTest::newRow("axis left") << axis << QString("0") << 0 << QString("Left");
    QTest::newRow("axis right") << axis << QString("1") << 1 << QString("Right");
    for (const char* index : {"2", "99", "-1"})
        QTest::addRow("axis %s is left", index) << axis << QString(index) << 0 << QString("Left");
    QTest::newRow("position 1") << pos << QString("1") << 0 << QString("1");
    QTest::newRow("position 5") << pos << QString("5") << 4 << QString("5");
    QTest::newRow("position 8") << pos << QString("8") << 7 << QString("8");
}

void TestTableConfig::comboSetters()
{
    QFETCH(int, col);
    QFETCH(QString, value);
    QFETCH(int, index);
    QFETCH(QString, text);

    const auto window = TestSupport::windowWithBareTable(QString(), 1);
    TablePlotConfig* table = window->tableConfig;
    if (col == TablePlotConfig::ColAxis) {
        // Start from the other side so that a change is visible.
        table->setValueAxis(0, index == 0 ? 1 : 0);
        table->setValueAxis(0, value.toInt());
        QCOMPARE(table->valueAxis(0), index);
    } else {
        table->setPosition(0, value);
        QCOMPARE(table->positionText(0), text);
    }
    QCOMPARE(table->comboSave(0, col)->comboBox->currentIndex(), index);
    QCOMPARE(table->cellText(0, col), text);
}

void TestTableConfig::netList_data()
{
    QTest::addColumn<QString>("config");
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<int>("select");
    QTest::addColumn<int>("net");
    QTest::addColumn<QString>("text");

    QTest::newRow("no interface") << QString() << QStringList() << 0 << 0 << QString();
    QTest::newRow("first of two") << twoNets << QStringList{"0: DEMO", "2: MYBOX"} << 0 << 0 << "0: DEMO";
    QTest::newRow("second of two") << twoNets << QStringList{"0: DEMO", "2: MYBOX"} << 1 << 2 << "2: MYBOX";
    QTest::newRow("high net") << "net 17 virtual name=CAN_17\n"
                              << QStringList{"17: 17"} << 0 << 17 << "17: 17";
}

void TestTableConfig::netList()
{
    QFETCH(QString, config);
    QFETCH(QStringList, entries);
    QFETCH(int, select);
    QFETCH(int, net);
    QFETCH(QString, text);

    const auto window = TestSupport::windowWithBareTable(config, 1);
    TablePlotConfig* table = window->tableConfig;
    const QComboBox* box = table->comboSave(0, TablePlotConfig::ColNet)->comboBox;
    QStringList shown;
    for (int i = 0; i < box->count(); ++i)
        shown << box->itemText(i);
    QCOMPARE(shown, entries);

    table->setNetIndex(0, select);
    QCOMPARE(table->netNumber(0), net);
    QCOMPARE(table->netText(0), text);
    QCOMPARE(table->cellText(0, TablePlotConfig::ColNet), text);
}

void TestTableConfig::curveColor_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("stored");
    QTest::newRow("hex") << QString("#123456") << QString("#123456");
    QTest::newRow("upper-case hex") << QString("#ABCDEF") << QString("#abcdef");
    QTest::newRow("named") << QString("red") << QString("#ff0000");
    QTest::newRow("grey is the named colour") << QString("grey") << QString("#808080");
}

void TestTableConfig::curveColor()
{
    QFETCH(QString, name);
    QFETCH(QString, stored);

    const auto window = TestSupport::windowWithBareTable(QString(), 1);
    TablePlotConfig* table = window->tableConfig;
    table->setCurveColor(0, name);
    QCOMPARE(table->curveColor(0), stored);
    QTableWidgetItem* item = table->item(0, TablePlotConfig::ColColor);
    QCOMPARE(item->data(Qt::BackgroundRole).value<QColor>(), QColor(stored));
    // Only the editable flag can survive: the cell is neither selectable
    // nor enabled, so a click on it doesn't select the row's colour away.
    QVERIFY(!(item->flags() & ~Qt::ItemIsEditable));
}

void TestTableConfig::columnLocked_data()
{
    QTest::addColumn<int>("col");
    QTest::addColumn<bool>("blockedBefore");
    QTest::newRow("text") << int(TablePlotConfig::ColId) << false;
    QTest::newRow("check box") << int(TablePlotConfig::Col29Bit) << false;
    QTest::newRow("combo box") << int(TablePlotConfig::ColDataType) << false;
    QTest::newRow("combo box, signals blocked before") << int(TablePlotConfig::ColNet) << true;
}

void TestTableConfig::columnLocked()
{
    QFETCH(int, col);
    QFETCH(bool, blockedBefore);

    const auto window = TestSupport::windowWithBareTable(twoNets, 3);
    TablePlotConfig* table = window->tableConfig;
    QSignalSpy changes(table, &QTableWidget::cellChanged);
    table->blockSignals(blockedBefore);

    const Qt::ItemFlags both = Qt::ItemIsEditable | Qt::ItemIsUserCheckable;
    for (const bool locked : {true, false, true}) {
        table->setColumnLocked(col, locked);
        QCOMPARE(table->signalsBlocked(), blockedBefore);
        for (int row = 0; row < 3; ++row) {
            QTableWidgetItem* item = table->item(row, col);
            QCOMPARE(item->flags() & both, locked ? Qt::ItemFlags() : both);
            if (item->type() == QComboTableSupportItem::Type)
                QCOMPARE(static_cast<QComboTableSupportItem*>(item)->comboBox->isEnabled(), !locked);
        }
    }
    table->blockSignals(false);
    QCOMPARE(changes.count(), 0);

    // A row made later gets the flags of a new row, whatever the column says.
    table->addCurveRow(3);
    QVERIFY(table->comboSave(3, TablePlotConfig::ColDataType)->comboBox->isEnabled());
}

void TestTableConfig::comboSelectionRaisesCellChanged()
{
    const auto window = TestSupport::windowWithBareTable(QString(), 2);
    TablePlotConfig* table = window->tableConfig;
    QComboTableSupportItem* item = table->comboSave(1, TablePlotConfig::ColIntMot);
    QSignalSpy changes(table, &QTableWidget::cellChanged);
    QSignalSpy selections(item, &QComboTableSupportItem::signalComboSelChange);

    item->comboBox->setCurrentIndex(1);
    QCOMPARE(changes.count(), 1);
    QCOMPARE(changes.at(0), (QVariantList{1, int(TablePlotConfig::ColIntMot)}));
    QCOMPARE(selections.count(), 1);
    QCOMPARE(selections.at(0), (QVariantList{1, 1}));
    // The stored text is the index; the cell shows the entry.
    QCOMPARE(item->QTableWidgetItem::data(Qt::DisplayRole).toString(), QStringLiteral("1"));
    QCOMPARE(table->cellText(1, TablePlotConfig::ColIntMot), QStringLiteral("Motorola"));
    QCOMPARE(table->byteOrder(1), 1);

    // The row follows the item when rows above it come and go.
    table->addCurveRow(0);
    item->comboBox->setCurrentIndex(0);
    QCOMPARE(selections.count(), 2);
    QCOMPARE(selections.at(1), (QVariantList{2, 0}));
    QCOMPARE(changes.last(), (QVariantList{2, int(TablePlotConfig::ColIntMot)}));
}

void TestTableConfig::setDataTypeBlocksOnlyTheItem_data()
{
    QTest::addColumn<int>("col");
    QTest::newRow("DataType") << int(TablePlotConfig::ColDataType);
    QTest::newRow("Axis") << int(TablePlotConfig::ColAxis);
}

void TestTableConfig::setDataTypeBlocksOnlyTheItem()
{
    QFETCH(int, col);

    const auto window = TestSupport::windowWithBareTable(QString(), 1);
    TablePlotConfig* table = window->tableConfig;
    QComboTableSupportItem* item = table->comboSave(0, col);
    QSignalSpy changes(table, &QTableWidget::cellChanged);
    QSignalSpy selections(item, &QComboTableSupportItem::signalComboSelChange);

    if (col == TablePlotConfig::ColDataType)
        table->setDataType(0, 1);
    else
        table->setValueAxis(0, 1);
    QCOMPARE(item->comboBox->currentIndex(), 1);
    QCOMPARE(changes.count(), 1);
    QCOMPARE(selections.count(), 0);
    QVERIFY(!item->signalsBlocked());

    item->comboBox->setCurrentIndex(0);
    QCOMPARE(selections.count(), 1);
}

void TestTableConfig::comboBoxLifetime_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("item never in a table") << "alone";
    QTest::newRow("item taken out of the table") << "take";
    QTest::newRow("row removed") << "removeRow";
    QTest::newRow("all rows removed") << "clear";
    QTest::newRow("widget replaced, then row removed") << "replace";
    QTest::newRow("table deleted") << "deleteTable";
}

void TestTableConfig::comboBoxLifetime()
{
    QFETCH(QString, how);

    auto table = std::make_unique<QTableWidget>(2, 2);
    auto* item = new QComboTableSupportItem({"a", "b"});
    QPointer<QComboBox> box = item->comboBox.data();
    QPointer<QObject> itemAlive = item;

    if (how == QLatin1String("alone")) {
        delete item;
        QVERIFY(box.isNull());
        return;
    }

    table->setItem(1, 1, item);
    table->setCellWidget(1, 1, item->comboBox);
    QCOMPARE(box->parentWidget(), table->viewport());

    if (how == QLatin1String("take")) {
        // Taken out, the item no longer owns what the table shows.
        QCOMPARE(table->takeItem(1, 1), item);
        delete item;
        QVERIFY(!box.isNull());
        QCOMPARE(table->cellWidget(1, 1), box.data());
    } else if (how == QLatin1String("removeRow")) {
        table->removeRow(1);
        QVERIFY(itemAlive.isNull());
    } else if (how == QLatin1String("clear")) {
        table->setRowCount(0);
        QVERIFY(itemAlive.isNull());
    } else if (how == QLatin1String("replace")) {
        table->setCellWidget(1, 1, new QComboBox);
        QTRY_VERIFY(box.isNull());
        QVERIFY(item->comboBox.isNull());
        // The item's display falls back to its own text without a box.
        QCOMPARE(item->data(Qt::DisplayRole), QVariant());
        table->removeRow(1);
        QVERIFY(itemAlive.isNull());
    } else if (how == QLatin1String("deleteTable")) {
        table.reset();
        QVERIFY(itemAlive.isNull());
    }
    // Whoever owns the box in the end deletes it exactly once.
    table.reset();
    QTRY_VERIFY(box.isNull());
}

void TestTableConfig::lastMouseButtons_data()
{
    QTest::addColumn<int>("button");
    QTest::newRow("left") << int(Qt::LeftButton);
    QTest::newRow("right") << int(Qt::RightButton);
    QTest::newRow("middle") << int(Qt::MiddleButton);
}

void TestTableConfig::lastMouseButtons()
{
    QFETCH(int, button);

    const auto window = TestSupport::windowWithBareTable(QString(), 2);
    TablePlotConfig* table = window->tableConfig;
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    QCOMPARE(table->lastPressButtons(), 0);
    const QPoint cell = table->visualRect(table->model()->index(1, TablePlotConfig::ColName)).center();
    QTest::mousePress(table->viewport(), Qt::MouseButton(button), Qt::NoModifier, cell);
    QCOMPARE(table->lastPressButtons(), button);
    // The press still reaches the table: a left press makes the cell current.
    QTest::mouseRelease(table->viewport(), Qt::MouseButton(button), Qt::NoModifier, cell);
    if (button == Qt::LeftButton)
        QCOMPARE(table->currentRow(), 1);
}

QTEST_MAIN(TestTableConfig)
#include "tst_tableconfig.moc"
