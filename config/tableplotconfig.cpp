#include "tableplotconfig.h"

#include "cellaccess.h"
#include "framedecode.h"
#include "mdialogscaleoffset.h"
#include "netlist.h"
#include "qcombotablesupportitem.h"
#include "scaling.h"
#include "signalcell.h"
#include "tooltipsupportitem.h"
#include "trafficmeter.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPushButton>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QSignalBlocker>
#include <QSignalMapper>

#include <algorithm>
#include <cstring>

namespace {

struct ColumnLayout
{
    const char* title;
    const char* key;
    int width;
    QHeaderView::ResizeMode mode;
};

const ColumnLayout columnLayouts[] = {
    {"Col", "color", 25, QHeaderView::Fixed},
    {"Name", "name", 65, QHeaderView::Interactive},
    {"Net", "net", 75, QHeaderView::Fixed},
    {"Baud [kBd]", "baud", 65, QHeaderView::Fixed},
    {"BTR/hex", "btr01", 50, QHeaderView::Fixed},
    {"Id", "id", 40, QHeaderView::Interactive},
    {"29-Bit", "Id29Bit", 40, QHeaderView::Fixed},
    {"Pos", "pos", 30, QHeaderView::Fixed},
    {"DataType", "datatype", 88, QHeaderView::Fixed},
    {"Mask", "mask", 40, QHeaderView::Fixed},
    {"Int/Mot", "intmot", 75, QHeaderView::Fixed},
    {"Axis", "axis", 53, QHeaderView::Fixed},
    {"Scale", "scale", 75, QHeaderView::Interactive},
    {"Offset", "offset", 55, QHeaderView::Interactive},
    {"Unit", "unit", 40, QHeaderView::Interactive},
    {"Calc", "calc", 40, QHeaderView::Fixed},
    {"Raw Value Min", "raw_value_min", 40, QHeaderView::Interactive},
    {"Raw Value Max", "raw_value_max", 40, QHeaderView::Interactive},
    {"Value Min", "value_min", 40, QHeaderView::Interactive},
    {"Value Max", "value_max", 40, QHeaderView::Interactive},
};

// Behind the hidden ones; the project file keeps them only for rows that
// have a layout.
const ColumnLayout bitLevelColumns[] = {
    {"Signal", "signal", 170, QHeaderView::Interactive},
    {"Values", "valuetable", 40, QHeaderView::Interactive},
};

// The cells that describe a value byte by byte; a row with a bit layout
// shows them locked.
constexpr int byteLevelColumns[] = {TablePlotConfig::ColPos, TablePlotConfig::ColDataType,
                                    TablePlotConfig::ColMask, TablePlotConfig::ColIntMot};

bool isByteLevelColumn(int nCol)
{
    return std::find(std::begin(byteLevelColumns), std::end(byteLevelColumns), nCol) !=
           std::end(byteLevelColumns);
}

constexpr int alignLeft = Qt::AlignLeft | Qt::AlignVCenter;
constexpr int alignRight = Qt::AlignRight | Qt::AlignVCenter;
constexpr int alignCentre = Qt::AlignHCenter | Qt::AlignVCenter;

constexpr uint maxCanId = 0x1FFFFFFF;
constexpr uint maxMask = 0xFF;
constexpr uint maxBtrTiming = 0xFFFF;

// True when the text reads as an unsigned number of the base, at most max.
bool unsignedAtMost(const QString& text, int base, uint max)
{
    bool ok = false;
    const uint value = text.toUInt(&ok, base);
    return ok && value <= max;
}

} // namespace

const QStringList& TablePlotConfig::baudEntries()
{
    static const QStringList entries{"1000.0", "666.6", "500.0", "333.3", "250.0", "166.6", "125.0", "100.0",
                                     "66.6",   "50.0",  "33.3",  "20.0",  "12.5",  "10.0",  "BTR01"};
    return entries;
}

const QStringList& TablePlotConfig::dataTypeEntries()
{
    static const QStringList entries{"Integer8",  "Unsigned8",  "Integer16", "Unsigned16",
                                     "Integer32", "Unsigned32", "Real32",    "Real64"};
    return entries;
}

const QStringList& TablePlotConfig::byteOrderEntries()
{
    static const QStringList entries{"Intel", "Motorola"};
    return entries;
}

const QStringList& TablePlotConfig::axisEntries()
{
    static const QStringList entries{"Left", "Right"};
    return entries;
}

const QStringList& TablePlotConfig::positionEntries()
{
    static const QStringList entries{"1", "2", "3", "4", "5", "6", "7", "8"};
    return entries;
}

TablePlotConfig::TablePlotConfig(const NetTable& nets, const QVector<ValueAxisSettings*>& axisSettings)
    : QTableWidget(), nets(nets), axisSettings(axisSettings)
{
    // The two last columns keep the pattern names; the others get their own.
    for (int col = 0; col < ColumnCount; ++col)
        columns[size_t(col)] = {QStringLiteral("Name_%1").arg(col), QStringLiteral("name_%1").arg(col)};
    for (int col = 0; col < int(std::size(columnLayouts)); ++col)
        columns[size_t(col)] = {QLatin1String(columnLayouts[col].title),
                                QLatin1String(columnLayouts[col].key)};
    for (int i = 0; i < int(std::size(bitLevelColumns)); ++i)
        columns[size_t(ColSignal + i)] = {QLatin1String(bitLevelColumns[i].title),
                                          QLatin1String(bitLevelColumns[i].key)};

    setColumnCount(ColumnCount);
    setRowCount(0);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);

    for (int col = 0; col < ColumnCount; ++col) {
        auto* header = new QTableWidgetItem(columns[size_t(col)].title);
        header->setData(Qt::ToolTipRole, QString());
        setHorizontalHeaderItem(col, header);
    }
    // Qt raises every section to the header's minimum, about 30 pixels in
    // most styles: "Col" and "Pos" are narrower.
    horizontalHeader()->setMinimumSectionSize(narrowestSection);
    for (int col = 0; col < ColumnCount; ++col) {
        const bool described = col < int(std::size(columnLayouts));
        horizontalHeader()->setSectionResizeMode(col, described ? columnLayouts[col].mode
                                                                : QHeaderView::Interactive);
        setColumnWidth(col, described ? columnLayouts[col].width : 40);
    }
    for (int i = 0; i < int(std::size(bitLevelColumns)); ++i) {
        horizontalHeader()->setSectionResizeMode(ColSignal + i, bitLevelColumns[i].mode);
        setColumnWidth(ColSignal + i, bitLevelColumns[i].width);
    }
    for (int col = ColCalc; col < ColumnCount; ++col) {
        if (col != ColSignal)
            hideColumn(col);
    }
    horizontalHeaderItem(ColSignal)->setData(
        Qt::ToolTipRole,
        tr("A signal's bits as a DBC file gives them: start|length@order (1 Intel, 0 Motorola), "
           "sign (+ or -), f or d for a 32- or 64-bit float; a multiplexed signal adds m<value> and "
           "its switch's start|length@order, as in 8|16@1+ m3 0|8@1.\n"
           "Empty: Pos, DataType, Mask and Int/Mot describe the value."));
}

TablePlotConfig::~TablePlotConfig() = default;

QTableWidgetItem* TablePlotConfig::itemSave(int nRow, int nCol)
{
    return ::itemSave(this, nRow, nCol);
}

QTableWidgetItem* TablePlotConfig::generatorItem(int nRow, int nCol)
{
    QTableWidgetItem* item = itemSave(nRow, nCol);
    if (item->type() == TooltipSupportItem::Type) {
        auto* tooltipItem = static_cast<TooltipSupportItem*>(item);
        if (!tooltipItem->generator)
            tooltipItem->generator = generatorSide();
    }
    return item;
}

QComboTableSupportItem* TablePlotConfig::comboSave(int nRow, int nCol)
{
    if (QComboTableSupportItem* item = comboItem(this, nRow, nCol))
        return item;
    if (!emptyComboItem)
        emptyComboItem = std::make_unique<QComboTableSupportItem>(QStringList());
    return emptyComboItem.get();
}

void TablePlotConfig::setComboCell(int nRow, int nCol, QComboTableSupportItem* item)
{
    ::setComboCell(this, nRow, nCol, item);
}

QString TablePlotConfig::cellText(int nRow, int nCol)
{
    return generatorItem(nRow, nCol)->data(Qt::DisplayRole).toString();
}

void TablePlotConfig::setCellText(int nRow, int nCol, const QString& text)
{
    generatorItem(nRow, nCol)->setData(Qt::DisplayRole, text);
}

QString TablePlotConfig::curveColor(int nRow)
{
    return generatorItem(nRow, ColColor)->data(Qt::UserRole).toString();
}

void TablePlotConfig::setCurveColor(int nRow, const QString& name)
{
    QColor color;
    color.setNamedColor(name);
    QTableWidgetItem* item = generatorItem(nRow, ColColor);
    // The colour cell is neither selectable nor editable: a click on it
    // opens the colour dialog instead.
    item->setFlags(item->flags() & Qt::ItemIsEditable);
    item->setData(Qt::BackgroundRole, color);
    item->setData(Qt::UserRole, color.name());
}

int TablePlotConfig::netNumber(int nRow)
{
    return netNumberFromEntry(netText(nRow));
}

QString TablePlotConfig::netText(int nRow)
{
    return comboSave(nRow, ColNet)->comboBox->currentText();
}

void TablePlotConfig::setNetIndex(int nRow, int nIndex)
{
    comboSave(nRow, ColNet)->comboBox->setCurrentIndex(nIndex);
}

int TablePlotConfig::baud(int nRow)
{
    const QComboTableSupportItem* item = comboItem(this, nRow, ColBaud);
    if (!item)
        return 0;
    const int index = item->comboBox->currentIndex();
    if (index != item->comboBox->count() - 1)
        return index;
    // "BTR01": the timing value in the low 16 bits, marked by the top bit.
    const uint32_t timing = uint32_t(btrText(nRow).toInt(nullptr, 16));
    return int(timing + TESS_BAUD_BTR);
}

void TablePlotConfig::setBaud(int nRow, int nBaud)
{
    const bool btr = nBaud < 0;
    const QString text = btr ? QString::number(nBaud & 0xFFFF, 16) : QStringLiteral("-----");
    comboSave(nRow, ColBaud)->comboBox->setCurrentIndex(btr ? BaudBtrIndex : nBaud);
    setBtrText(nRow, text);
    updateBtrColumn();
}

void TablePlotConfig::updateBtrColumn()
{
    for (int row = 0; row < rowCount(); ++row) {
        if (baud(row) < 0) {
            showColumn(ColBtr);
            return;
        }
    }
    hideColumn(ColBtr);
}

bool TablePlotConfig::is29Bit(int nRow)
{
    return generatorItem(nRow, Col29Bit)->data(Qt::CheckStateRole).toInt() != 0;
}

void TablePlotConfig::set29Bit(int nRow, bool bOn)
{
    generatorItem(nRow, Col29Bit)->setData(Qt::CheckStateRole, bOn ? Qt::Checked : Qt::Unchecked);
}

void TablePlotConfig::setPosition(int nRow, const QString& text)
{
    comboSave(nRow, ColPos)->comboBox->setCurrentIndex(text.toInt(nullptr, 10) - 1);
}

int TablePlotConfig::dataType(int nRow)
{
    return comboSave(nRow, ColDataType)->comboBox->currentIndex();
}

void TablePlotConfig::setDataType(int nRow, int nIndex)
{
    // Keeps a stored scaling: the recomputation hangs on the item's signal.
    QComboTableSupportItem* item = comboSave(nRow, ColDataType);
    const QSignalBlocker blocker(item);
    item->comboBox->setCurrentIndex(nIndex);
}

int TablePlotConfig::byteOrder(int nRow)
{
    return comboSave(nRow, ColIntMot)->comboBox->currentIndex();
}

void TablePlotConfig::setByteOrder(int nRow, int nIndex)
{
    comboSave(nRow, ColIntMot)->comboBox->setCurrentIndex(nIndex);
}

int TablePlotConfig::valueAxis(int nRow)
{
    return comboSave(nRow, ColAxis)->comboBox->currentIndex();
}

void TablePlotConfig::setValueAxis(int nRow, int nIndex)
{
    // There are two axes; anything else is the left one.
    if (nIndex < 0 || nIndex > 1)
        nIndex = 0;
    QComboTableSupportItem* item = comboSave(nRow, ColAxis);
    const QSignalBlocker blocker(item);
    item->comboBox->setCurrentIndex(nIndex);
}

std::optional<BitLayout> TablePlotConfig::signalLayout(int nRow)
{
    return signalCellLayout(signalText(nRow));
}

DbcValueTable TablePlotConfig::valueTable(int nRow)
{
    return valueTableFromText(valueTableCell(nRow));
}

QStringList TablePlotConfig::netEntries() const
{
    return netListEntries(nets);
}

void TablePlotConfig::setColumnLocked(int nCol, bool bLocked)
{
    ::setColumnLocked(this, nCol, bLocked);
    // Rows described bit by bit keep their byte-level cells locked, also
    // when a run ends.
    if (bLocked || !isByteLevelColumn(nCol))
        return;
    for (int row = 0; row < rowCount(); ++row) {
        if (!signalText(row).isEmpty())
            lockByteLevelCell(row, nCol, true);
    }
}

void TablePlotConfig::lockByteLevelCell(int nRow, int nCol, bool bLocked)
{
    // Flags raise cellChanged, which must not reach the edit rules.
    const QSignalBlocker blocker(this);
    QTableWidgetItem* item = itemSave(nRow, nCol);
    // Without ItemIsEnabled the text cell is drawn greyed, as a disabled box is.
    const Qt::ItemFlags open = Qt::ItemIsEditable | Qt::ItemIsEnabled;
    item->setFlags(bLocked ? item->flags() & ~open : item->flags() | open);
    if (QComboTableSupportItem* combo = comboItem(this, nRow, nCol))
        combo->comboBox->setEnabled(!bLocked);
}

QComboTableSupportItem* TablePlotConfig::makeComboItem(const QStringList& entries)
{
    return new QComboTableSupportItem(entries, generatorSide());
}

void TablePlotConfig::addCurveRow(int nRow)
{
    buildingRow = nRow;
    const auto built = qScopeGuard([this] { buildingRow = -1; });

    QRandomGenerator* random = QRandomGenerator::global();
    const int blue = int(random->generate() % 256);
    const int green = int(random->generate() % 256);
    const int red = int(random->generate() % 256);
    const QColor color(red, green, blue, 255);

    insertRow(nRow);

    generatorItem(nRow, ColName)->setData(Qt::TextAlignmentRole, alignLeft);
    generatorItem(nRow, ColId)->setData(Qt::TextAlignmentRole, alignRight);
    generatorItem(nRow, Col29Bit)->setData(Qt::TextAlignmentRole, alignRight);
    generatorItem(nRow, ColMask)->setData(Qt::TextAlignmentRole, alignRight);
    generatorItem(nRow, ColScale)->setData(Qt::TextAlignmentRole, alignRight);
    generatorItem(nRow, ColOffset)->setData(Qt::TextAlignmentRole, alignRight);
    generatorItem(nRow, ColUnit)->setData(Qt::TextAlignmentRole, alignLeft);
    generatorItem(nRow, ColSignal)->setData(Qt::TextAlignmentRole, alignLeft);

    // Scale and Offset come from the scaling dialog only.
    setColumnLocked(ColScale, true);
    setColumnLocked(ColOffset, true);

    setComboCell(nRow, ColPos, makeComboItem(positionEntries()));
    QComboTableSupportItem* dataTypeItem = makeComboItem(dataTypeEntries());
    setComboCell(nRow, ColDataType, dataTypeItem);
    setComboCell(nRow, ColIntMot, makeComboItem(byteOrderEntries()));
    QComboTableSupportItem* axisItem = makeComboItem(axisEntries());
    setComboCell(nRow, ColAxis, axisItem);
    setComboCell(nRow, ColBaud, makeComboItem(baudEntries()));
    connect(dataTypeItem, &QComboTableSupportItem::signalComboSelChange, this,
            &TablePlotConfig::slotDataTypeCurveSelection);
    connect(axisItem, &QComboTableSupportItem::signalComboSelChange, this,
            &TablePlotConfig::slotDataTypeCurveSelection);

    generatorItem(nRow, ColBtr)->setData(Qt::TextAlignmentRole, alignCentre);
    setBaud(nRow, baud(nRow));

    const QStringList netEntries = netListEntries(nets);
    QTableWidgetItem* checkItem = generatorItem(nRow, Col29Bit);
    checkItem->setFlags((checkItem->flags() | Qt::ItemIsUserCheckable) & ~Qt::ItemIsEditable);
    checkItem->setData(Qt::CheckStateRole, Qt::Unchecked);
    setComboCell(nRow, ColNet, makeComboItem(netEntries));

    setCurveColor(nRow, color.name());
    setCurveName(nRow, QStringLiteral("NewName"));
    setIdText(nRow, QStringLiteral("0"));
    set29Bit(nRow, false);
    setMaskText(nRow, QStringLiteral("0xFF"));
    setPosition(nRow, QStringLiteral("1"));

    slotDataTypeCurveSelection(nRow);
    rebuildCalcButtons();
}

void TablePlotConfig::removeCurveRow(int nRow)
{
    removeRow(nRow);
    rebuildCalcButtons();
    updateBtrColumn();
}

void TablePlotConfig::removeAllRows()
{
    setRowCount(0);
    // Without rows no row is in BTR mode.
    updateBtrColumn();
}

void TablePlotConfig::rebuildCalcButtons()
{
    // All buttons are made anew, so no mapping can hold a stale row.
    if (calcMapper)
        calcMapper->deleteLater();
    calcMapper = new QSignalMapper(this);
    connect(calcMapper, &QSignalMapper::mappedInt, this, &TablePlotConfig::slotCalcCmd);
    for (int row = 0; row < rowCount(); ++row) {
        auto* button = new QPushButton(QStringLiteral("Calc"));
        setCellWidget(row, ColCalc, button);
        connect(button, &QPushButton::clicked, calcMapper, qOverload<>(&QSignalMapper::map));
        calcMapper->setMapping(button, row);
    }
}

void TablePlotConfig::slotCalcCmd(int row)
{
    if (!scaleDialog) {
        // Owned by the window that shows the table.
        scaleDialog = new MDialogScaleOffset(window());
        connect(scaleDialog, &MDialogScaleOffset::signalCalcAccept, this,
                &TablePlotConfig::slotRefreshCalcDataInTable);
    }
    scaleDialog->setWindowTitle(
        tr("Curve Scaling %1 (Row: %2)").arg(curveName(row), QString::number(row + 1)));
    scaleDialog->row = row;
    // Each run starts from the row's cells, in the form they were typed.
    scaleDialog->lineEditOffset->setText(offsetText(row));
    scaleDialog->lineEditScale->setText(scaleText(row));
    scaleDialog->lineEditMin->setText(valueMinText(row));
    scaleDialog->lineEditMax->setText(valueMaxText(row));
    scaleDialog->lineEditRawMin->setText(rawValueMinText(row));
    scaleDialog->lineEditRawMax->setText(rawValueMaxText(row));
    scaleDialog->runScaleDialog();
}

void TablePlotConfig::slotRefreshCalcDataInTable(int row)
{
    if (!scaleDialog || row < 0 || row >= rowCount())
        return;
    setRawValueMinText(row, scaleDialog->lineEditRawMin->text());
    setRawValueMaxText(row, scaleDialog->lineEditRawMax->text());
    setValueMinText(row, scaleDialog->lineEditMin->text());
    setValueMaxText(row, scaleDialog->lineEditMax->text());
    setOffsetText(row, scaleDialog->lineEditOffset->text());
    setScaleText(row, scaleDialog->lineEditScale->text());
}

void TablePlotConfig::slotDataTypeCurveSelection(int nRow)
{
    // A signal's scaling is its own (a DBC's factor and offset, or what the
    // scaling dialog set); no data type or axis stands behind it.
    if (!signalText(nRow).isEmpty())
        return;
    const int type = dataType(nRow);
    const int axis = valueAxis(nRow) == 1 ? 1 : 0;
    const ValueAxisSettings& viewport = *axisSettings[axis];
    const RawRange raw = dataTypeRawRange(type);

    double scale = 1.0;
    double offset = 0.0;
    // Real values are plotted as they stand.
    if (type != DataType::Real32 && type != DataType::Real64)
        scalingFrom(raw.min, raw.max, viewport.min, viewport.max, scale, offset);

    setRawValueMinText(nRow, ::scalingText(raw.min));
    setRawValueMaxText(nRow, ::scalingText(raw.max));
    setValueMinText(nRow, ::scalingText(viewport.min));
    setValueMaxText(nRow, ::scalingText(viewport.max));
    setOffsetText(nRow, ::scalingText(offset));
    setScaleText(nRow, ::scalingText(scale));
}

void TablePlotConfig::repairCell(int nRow, int nCol)
{
    switch (nCol) {
    case ColBaud:
    case ColBtr:
        if (baud(nRow) < 0) {
            // "BTR/hex" is read as hexadecimal, with or without "0x".
            if (!unsignedAtMost(btrText(nRow), 16, maxBtrTiming))
                setBtrText(nRow, QStringLiteral("0"));
            setBtrCopyText(nRow, btrText(nRow));
        }
        // Writes the canonical form back: lower-case hexadecimal in BTR
        // mode, "-----" otherwise; shows or hides the column.
        setBaud(nRow, baud(nRow));
        break;
    case ColId:
        if (!unsignedAtMost(idText(nRow), 0, maxCanId))
            setIdText(nRow, QStringLiteral("0"));
        break;
    case ColPos: {
        // A combo box without selection reads empty; the repair only
        // reaches the item's stored text.
        bool ok = false;
        const int pos = positionText(nRow).toInt(&ok, 0);
        if (!ok || pos < 1 || pos > 8)
            setCellText(nRow, ColPos, QStringLiteral("1"));
        break;
    }
    case ColMask:
        if (!unsignedAtMost(maskText(nRow), 0, maxMask))
            setMaskText(nRow, QStringLiteral("0"));
        break;
    case ColSignal:
        repairSignalCell(nRow);
        break;
    default:
        break;
    }
}

void TablePlotConfig::repairSignalCell(int nRow)
{
    QTableWidgetItem* item = generatorItem(nRow, ColSignal);
    const QString text = signalText(nRow);
    // The last good text stands in the item's user data.
    const bool wasBitLevel = !item->data(Qt::UserRole).toString().isEmpty();
    QString result;
    if (!text.trimmed().isEmpty()) {
        const std::optional<BitLayout> layout = signalCellLayout(text);
        result = layout ? signalCellText(*layout) : item->data(Qt::UserRole).toString();
    }
    // The write comes back through this rule, which then finds it good.
    if (result != text)
        setSignalText(nRow, result);
    {
        const QSignalBlocker blocker(this);
        item->setData(Qt::UserRole, result);
    }
    if (result.isEmpty() && !wasBitLevel)
        return;
    // The names of the raw values belong to the signal.
    if (result.isEmpty())
        setValueTableCell(nRow, QString());
    for (const int col : byteLevelColumns)
        lockByteLevelCell(nRow, col, !result.isEmpty());
}

void TablePlotConfig::deriveRawRange(int nRow)
{
    // Each cell that doesn't convert is repaired with a plain default.
    const auto readOrRepair = [this, nRow](int nCol, const char* repair, double fallback) {
        bool ok = false;
        const double value = cellText(nRow, nCol).toDouble(&ok);
        if (ok)
            return value;
        setCellText(nRow, nCol, QLatin1String(repair));
        return fallback;
    };
    const double offset = readOrRepair(ColOffset, "0.0", 0.0);
    const double scale = readOrRepair(ColScale, "1.0", 1.0);
    const double valueMin = readOrRepair(ColValueMin, "-100.0", -100.0);
    const double valueMax = readOrRepair(ColValueMax, "100.0", 100.0);

    double rawMin = 0.0;
    double rawMax = 0.0;
    rawRangeFrom(valueMin, valueMax, scale, offset, rawMin, rawMax);
    setRawValueMinText(nRow, ::scalingText(rawMin));
    setRawValueMaxText(nRow, ::scalingText(rawMax));
}

QString TablePlotConfig::tooltipText(int nRow, int nCol)
{
    const QString text = cellText(nRow, nCol);
    if (nRow < 0)
        return text;
    switch (nCol) {
    case ColColor:
        return QString();
    case ColNet:
        return interfaceTooltip(nRow);
    case ColId:
    case Col29Bit:
        return identifierTooltip(nRow);
    case ColScale:
    case ColOffset:
    case ColCalc:
        return scalingTooltip(nRow);
    case ColPos:
    case ColDataType:
    case ColMask:
    case ColIntMot:
        if (!signalText(nRow).isEmpty())
            return tr("Not used: the row's \"Signal\" describes its value.");
        return text;
    default:
        return text;
    }
}

QString TablePlotConfig::interfaceTooltip(int nRow)
{
    const int net = netNumber(nRow);
    static const NetInfo noNet;
    const NetInfo& info = net >= 0 && net < int(nets.size()) ? nets[size_t(net)] : noNet;
    const TessStatus& status = info.status;

    QString text =
        QString::fromLatin1(status.boardName, int(strnlen(status.boardName, sizeof status.boardName)));
    text += QLatin1Char('\n');
    text += QString::asprintf("Hardware: %04X", unsigned(status.hardwareVersion));
    text += QString::asprintf(" Firmware: %04X", unsigned(status.firmwareVersion));
    text += QString::asprintf(" Driver: %04X", unsigned(status.driverVersion));
    text += QString::asprintf(" DLL: %04X\n", unsigned(status.libraryVersion));
    text += QString::asprintf("Features: %04X", unsigned(status.features));
    text += QLatin1String(" ( ");
    static const struct
    {
        uint16_t bit;
        const char* letters;
    } features[] = {{TESS_FEATURE_FC, "Fc "},
                    {TESS_FEATURE_29BIT, "2b "},
                    {TESS_FEATURE_TIMESTAMP, "Ts "},
                    {TESS_FEATURE_LO, "Lo "},
                    {TESS_FEATURE_SD, "Sd "}};
    for (const auto& feature : features) {
        if (status.features & feature.bit)
            text += QLatin1String(feature.letters);
    }
    text += QLatin1String(") ");
    text += QString::asprintf("Status: %04X\n", unsigned(status.boardStatus));
    text += QStringLiteral("TS-Freq : %1 MHz")
                .arg(double(info.timestampFrequency) / 1000000.0, 0, 'f', 6, QLatin1Char('0'));
    if (const QString rate = trafficMeter ? trafficMeter->rateText(net) : QString(); !rate.isEmpty())
        text += QStringLiteral("\nTraffic: ") + rate;
    return text;
}

QString TablePlotConfig::identifierTooltip(int nRow)
{
    const int id = idText(nRow).toInt(nullptr, 0);
    return (is29Bit(nRow) ? QStringLiteral("29-Bit: ") : QStringLiteral("11-Bit: ")) +
           QString::asprintf("%d|0x%X", id, unsigned(id));
}

QString TablePlotConfig::scalingTooltip(int nRow)
{
    return QStringLiteral("Raw Value    [min/max]: %1/%2\n")
               .arg(rawValueMinText(nRow), rawValueMaxText(nRow)) +
           QStringLiteral("Scaled Value [min/max]: %1/%2").arg(valueMinText(nRow), valueMaxText(nRow));
}

void TablePlotConfig::mousePressEvent(QMouseEvent* event)
{
    lastMouseButtons = int(event->buttons());
    QTableWidget::mousePressEvent(event);
}

void TablePlotConfig::keyPressEvent(QKeyEvent* event)
{
    QTableWidget::keyPressEvent(event);
    const int col = currentColumn();
    // The window's double click rule decides whether the dialog opens.
    if (event->key() == Qt::Key_F2 && currentRow() >= 0 && (col == ColScale || col == ColOffset))
        emit cellDoubleClicked(currentRow(), ColScale);
}
