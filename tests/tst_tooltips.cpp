#include "iftooltiptextgenerator.h"
#include "qcombotablesupportitem.h"
#include "tableplotconfig.h"
#include "testsupport.h"
#include "tooltipsupportitem.h"
#include "vistrelmainwindow.h"

#include <QHelpEvent>
#include <QToolTip>
#include <QtTest>

#include <cstring>
#include <memory>

namespace {

const QString twoNets = QStringLiteral("net 0 virtual demo\nnet 2 virtual name=MY_CAN_BOX\n");

// Records what it was asked for.
struct RecordingGenerator : IFTooltipTextGenerator
{
    QString tooltipText(int nRow, int nCol) override
    {
        asked << QPoint(nCol, nRow);
        return QStringLiteral("generated %1,%2").arg(nRow).arg(nCol);
    }
    QList<QPoint> asked;
};

} // namespace

class TestTooltips : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void interfaceText_data();
    void interfaceText();
    void interfaceTextFromTheDriver();
    void identifierText_data();
    void identifierText();
    void scalingText_data();
    void scalingText();
    void cellsShowTheirText_data();
    void cellsShowTheirText();
    void itemAsksItsGenerator_data();
    void itemAsksItsGenerator();
    void comboCellShowsTooltip_data();
    void comboCellShowsTooltip();
};

void TestTooltips::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

// The record of net 2 as the test writes it; the row selects net 2.
void TestTooltips::interfaceText_data()
{
    QTest::addColumn<QByteArray>("board");
    QTest::addColumn<QList<uint>>("versions"); // hardware, firmware, driver, library
    QTest::addColumn<uint>("features");
    QTest::addColumn<uint>("status");
    QTest::addColumn<quint64>("frequency");
    QTest::addColumn<QString>("text");

    const QList<uint> versions{0x0102, 0x0A0B, 0x0100, 0x0100};
    QTest::newRow("no feature bits") << QByteArray("VIRTUAL_CAN") << versions << 0u << 0u << quint64(0)
                                     << "VIRTUAL_CAN\nHardware: 0102 Firmware: 0A0B Driver: 0100 DLL: 0100\n"
                                        "Features: 0000 ( ) Status: 0000\nTS-Freq : 0.000000 MHz";
    QTest::newRow("all five") << QByteArray("BOX") << versions << 0xE3u << 0u << quint64(8000000)
                              << "BOX\nHardware: 0102 Firmware: 0A0B Driver: 0100 DLL: 0100\n"
                                 "Features: 00E3 ( Fc 2b Ts Lo Sd ) Status: 0000\nTS-Freq : 8.000000 MHz";
    QTest::newRow("in their order") << QByteArray("BOX") << versions << 0x22u << 0u << quint64(1000000)
                                    << "BOX\nHardware: 0102 Firmware: 0A0B Driver: 0100 DLL: 0100\n"
                                       "Features: 0022 ( 2b Ts ) Status: 0000\nTS-Freq : 1.000000 MHz";
    QTest::newRow("other bits in the number only")
        << QByteArray("BOX") << versions << 0x811Cu << 0x12345u << quint64(1234567)
        << "BOX\nHardware: 0102 Firmware: 0A0B Driver: 0100 DLL: 0100\n"
           "Features: 811C ( ) Status: 12345\nTS-Freq : 1.234567 MHz";
    QTest::newRow("wide fields") << QByteArray("") << QList<uint>{0xABCD, 0xF, 0x1, 0xFFFF} << 0x41u
                                 << 0xFFFFFFFFu << quint64(12000000000)
                                 << "\nHardware: ABCD Firmware: 000F Driver: 0001 DLL: FFFF\n"
                                    "Features: 0041 ( Fc Lo ) Status: FFFFFFFF\nTS-Freq : 12000.000000 MHz";
    QTest::newRow("sub-hertz digits rounded") << QByteArray("B") << versions << 0x80u << 7u << quint64(3)
                                              << "B\nHardware: 0102 Firmware: 0A0B Driver: 0100 DLL: 0100\n"
                                                 "Features: 0080 ( Sd ) Status: 0007\nTS-Freq : 0.000003 MHz";
}

void TestTooltips::interfaceText()
{
    QFETCH(QByteArray, board);
    QFETCH(QList<uint>, versions);
    QFETCH(uint, features);
    QFETCH(uint, status);
    QFETCH(quint64, frequency);
    QFETCH(QString, text);

    const auto window = TestSupport::windowWithBareTable(twoNets, 1);
    NetInfo& net = window->nets[2];
    net.status = TessStatus{};
    std::strncpy(net.status.boardName, board.constData(), sizeof net.status.boardName - 1);
    net.status.hardwareVersion = uint16_t(versions[0]);
    net.status.firmwareVersion = uint16_t(versions[1]);
    net.status.driverVersion = uint16_t(versions[2]);
    net.status.libraryVersion = uint16_t(versions[3]);
    net.status.features = uint16_t(features);
    net.status.boardStatus = status;
    net.timestampFrequency = frequency;

    TablePlotConfig* table = window->tableConfig;
    table->setNetIndex(0, 1);
    QCOMPARE(table->tooltipText(0, TablePlotConfig::ColNet), text);
    // The same text reaches the view through the item.
    QCOMPARE(table->item(0, TablePlotConfig::ColNet)->data(Qt::ToolTipRole).toString(), text);
}

void TestTooltips::interfaceTextFromTheDriver()
{
    // What the window read from the driver at start, and the empty record
    // of net 0 when there is no interface at all.
    const auto window =
        TestSupport::windowWithBareTable(QStringLiteral("net 0 virtual name=BENCH_CAN features=Fc,2b,Ts tsfreq=8000000 "
                                  "hw=0x0102 fw=0x0304\n"),
                   1);
    QCOMPARE(window->tableConfig->tooltipText(0, TablePlotConfig::ColNet),
             QStringLiteral("BENCH_CAN\nHardware: 0102 Firmware: 0304 Driver: 0100 DLL: 0100\n"
                            "Features: 0023 ( Fc 2b Ts ) Status: 0000\nTS-Freq : 8.000000 MHz"));

    const auto empty = TestSupport::windowWithBareTable(QString(), 1);
    QCOMPARE(empty->tableConfig->netText(0), QString());
    QCOMPARE(empty->tableConfig->tooltipText(0, TablePlotConfig::ColNet),
             QStringLiteral("\nHardware: 0000 Firmware: 0000 Driver: 0000 DLL: 0000\n"
                            "Features: 0000 ( ) Status: 0000\nTS-Freq : 0.000000 MHz"));
}

void TestTooltips::identifierText_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<bool>("bit29");
    QTest::addColumn<QString>("text");

    QTest::newRow("0") << "0" << false << "11-Bit: 0|0x0";
    QTest::newRow("hexadecimal") << "0x123" << false << "11-Bit: 291|0x123";
    QTest::newRow("decimal") << "291" << false << "11-Bit: 291|0x123";
    QTest::newRow("octal") << "010" << false << "11-Bit: 8|0x8";
    QTest::newRow("largest 11-bit") << "2047" << false << "11-Bit: 2047|0x7FF";
    QTest::newRow("29-bit") << "0x1FFFFFFF" << true << "29-Bit: 536870911|0x1FFFFFFF";
    QTest::newRow("29-bit checked, small id") << "5" << true << "29-Bit: 5|0x5";
    QTest::newRow("not a number") << "abc" << false << "11-Bit: 0|0x0";
    QTest::newRow("empty") << "" << true << "29-Bit: 0|0x0";
}

void TestTooltips::identifierText()
{
    QFETCH(QString, id);
    QFETCH(bool, bit29);
    QFETCH(QString, text);

    const auto window = TestSupport::windowWithBareTable(QString(), 1);
    TablePlotConfig* table = window->tableConfig;
    table->setIdText(0, id);
    table->set29Bit(0, bit29);
    for (const int col : {int(TablePlotConfig::ColId), int(TablePlotConfig::Col29Bit)}) {
        QCOMPARE(table->tooltipText(0, col), text);
        QCOMPARE(table->item(0, col)->data(Qt::ToolTipRole).toString(), text);
    }
    // The check box changes the prefix at the next showing.
    table->set29Bit(0, !bit29);
    const QString other = (bit29 ? QStringLiteral("11-Bit: ") : QStringLiteral("29-Bit: ")) + text.mid(8);
    QCOMPARE(table->item(0, TablePlotConfig::ColId)->data(Qt::ToolTipRole).toString(), other);
}

void TestTooltips::scalingText_data()
{
    QTest::addColumn<QStringList>("ranges"); // null: as the new row has them
    QTest::addColumn<QString>("text");

    QTest::newRow("new row") << QStringList()
                             << "Raw Value    [min/max]: -128/127\nScaled Value [min/max]: -100/100";
    QTest::newRow("without range cells")
        << QStringList{"", "", "", ""} << "Raw Value    [min/max]: /\nScaled Value [min/max]: /";
    QTest::newRow("typed forms stay")
        << QStringList{"-55", "45", "-100.0", "+100.0"}
        << "Raw Value    [min/max]: -55/45\nScaled Value [min/max]: -100.0/+100.0";
    QTest::newRow("percent signs") << QStringList{"%2", "%1", "a", "b"}
                                   << "Raw Value    [min/max]: %2/%1\nScaled Value [min/max]: a/b";
}

void TestTooltips::scalingText()
{
    QFETCH(QStringList, ranges);
    QFETCH(QString, text);

    const auto window = TestSupport::windowWithBareTable(QString(), 1);
    TablePlotConfig* table = window->tableConfig;
    if (!ranges.isEmpty()) {
        table->setRawValueMinText(0, ranges[0]);
        table->setRawValueMaxText(0, ranges[1]);
        table->setValueMinText(0, ranges[2]);
        table->setValueMaxText(0, ranges[3]);
    }
    for (const int col :
         {int(TablePlotConfig::ColScale), int(TablePlotConfig::ColOffset), int(TablePlotConfig::ColCalc)})
        QCOMPARE(table->tooltipText(0, col), text);
    QCOMPARE(table->item(0, TablePlotConfig::ColScale)->data(Qt::ToolTipRole).toString(), text);
}

void TestTooltips::cellsShowTheirText_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("col");
    QTest::addColumn<QString>("text");

    QTest::newRow("Col is empty") << 0 << int(TablePlotConfig::ColColor) << "";
    QTest::newRow("Name") << 0 << int(TablePlotConfig::ColName) << "NewName";
    QTest::newRow("Mask") << 0 << int(TablePlotConfig::ColMask) << "0xFF";
    QTest::newRow("Pos shows the entry") << 0 << int(TablePlotConfig::ColPos) << "1";
    QTest::newRow("DataType in full") << 0 << int(TablePlotConfig::ColDataType) << "Integer8";
    QTest::newRow("Baud") << 0 << int(TablePlotConfig::ColBaud) << "1000.0";
    QTest::newRow("Unit") << 0 << int(TablePlotConfig::ColUnit) << "";
    QTest::newRow("row -1") << -1 << int(TablePlotConfig::ColNet) << "(internal error)itemSaveDummy";
}

void TestTooltips::cellsShowTheirText()
{
    QFETCH(int, row);
    QFETCH(int, col);
    QFETCH(QString, text);

    const auto window = TestSupport::windowWithBareTable(twoNets, 1);
    QCOMPARE(window->tableConfig->tooltipText(row, col), text);
}

void TestTooltips::itemAsksItsGenerator_data()
{
    QTest::addColumn<bool>("combo");
    QTest::newRow("text item") << false;
    QTest::newRow("combo box item") << true;
}

void TestTooltips::itemAsksItsGenerator()
{
    QFETCH(bool, combo);

    RecordingGenerator generator;
    QTableWidget table(3, 4);
    QTableWidgetItem* item =
        combo ? static_cast<QTableWidgetItem*>(new QComboTableSupportItem({"a"}, &generator))
              : new TooltipSupportItem(&generator);
    std::unique_ptr<QTableWidgetItem> owned(item);

    // In no table: row and column -1.
    QCOMPARE(item->data(Qt::ToolTipRole).toString(), QStringLiteral("generated -1,-1"));
    table.setItem(2, 3, owned.release());
    QCOMPARE(item->data(Qt::ToolTipRole).toString(), QStringLiteral("generated 2,3"));
    table.insertRow(0);
    QCOMPARE(item->data(Qt::ToolTipRole).toString(), QStringLiteral("generated 3,3"));
    QCOMPARE(generator.asked, (QList<QPoint>{{-1, -1}, {3, 2}, {3, 3}}));

    // A tooltip set on the item wins, also an empty one; other roles are the item's own.
    item->setData(Qt::ToolTipRole, QString(""));
    QCOMPARE(item->data(Qt::ToolTipRole), QVariant(QString("")));
    item->setData(Qt::ToolTipRole, QStringLiteral("own"));
    QCOMPARE(item->data(Qt::ToolTipRole).toString(), QStringLiteral("own"));
    item->setData(Qt::StatusTipRole, QStringLiteral("status"));
    QCOMPARE(item->data(Qt::StatusTipRole).toString(), QStringLiteral("status"));
    QCOMPARE(generator.asked.size(), 3);

    // Without a generator there is no tooltip.
    if (combo)
        static_cast<QComboTableSupportItem*>(item)->generator = nullptr;
    else
        static_cast<TooltipSupportItem*>(item)->generator = nullptr;
    item->setData(Qt::ToolTipRole, QVariant());
    QVERIFY(item->data(Qt::ToolTipRole).isNull());
}

void TestTooltips::comboCellShowsTooltip_data()
{
    QTest::addColumn<int>("col");
    QTest::newRow("Net") << int(TablePlotConfig::ColNet);
    QTest::newRow("Baud") << int(TablePlotConfig::ColBaud);
    QTest::newRow("Pos") << int(TablePlotConfig::ColPos);
    QTest::newRow("DataType") << int(TablePlotConfig::ColDataType);
    QTest::newRow("Axis") << int(TablePlotConfig::ColAxis);
}

void TestTooltips::comboCellShowsTooltip()
{
    QFETCH(int, col);

    const auto window = TestSupport::windowWithBareTable(twoNets, 2);
    VistrelMainWindow& w = *window;
    TablePlotConfig* table = w.tableConfig;
    table->setNetIndex(1, 1);
    table->setDataType(1, 5);
    w.show();
    w.tabWidgetPlot->setCurrentWidget(w.tab);
    QVERIFY(QTest::qWaitForWindowExposed(&w));

    QComboBox* box = table->comboSave(1, col)->comboBox;
    const QRect cell = table->visualRect(table->model()->index(1, col));
    QTRY_VERIFY(box->isVisible() && box->geometry().contains(cell.center()));
    QVERIFY(box->toolTip().isEmpty());

    // The help event of the box passes on to the table's viewport.
    QToolTip::hideText();
    const QPoint pos = box->rect().center();
    QHelpEvent help(QEvent::ToolTip, pos, box->mapToGlobal(pos));
    QApplication::sendEvent(box, &help);
    QTRY_VERIFY(QToolTip::isVisible());
    QCOMPARE(QToolTip::text(), table->tooltipText(1, col));
    QVERIFY(!QToolTip::text().isEmpty());
    QToolTip::hideText();
}

QTEST_MAIN(TestTooltips)
#include "tst_tooltips.moc"
