#include "tableplotdescription.h"

#include "cellaccess.h"
#include "qcombotablesupportitem.h"
#include "tableplotconfig.h"

#include <QHeaderView>
#include <QSignalBlocker>

const QStringList& TablePlotDescription::styleEntries()
{
    static const QStringList entries{"Steps", "Lines", "Sticks"};
    return entries;
}

TablePlotDescription::TablePlotDescription(TablePlotConfig* config) : QTableWidget(), config(config)
{
    columns = {{
        {QStringLiteral("Col"), QStringLiteral("color")},
        {QStringLiteral("Name"), QString()},
        {QStringLiteral("Enable"), QStringLiteral("enable")},
        {QStringLiteral("Raw Value"), QString()},
        {QStringLiteral("Current Value"), QString()},
        {QStringLiteral("Time"), QString()},
        {QStringLiteral("Cnt"), QString()},
        {QStringLiteral("Unit"), QString()},
        {QStringLiteral("Style"), QStringLiteral("style")},
        {QStringLiteral("M1"), QString()},
        {QStringLiteral("M2"), QString()},
    }};

    setRowCount(0);
    setColumnCount(ColumnCount);
    setSelectionMode(QAbstractItemView::NoSelection);

    for (int col = 0; col < ColumnCount; ++col) {
        auto* header = new QTableWidgetItem(columns[size_t(col)].title);
        header->setData(Qt::ToolTipRole, QString());
        setHorizontalHeaderItem(col, header);
        horizontalHeader()->setSectionResizeMode(col, QHeaderView::Fixed);
        setColumnLocked(col, true);
    }

    horizontalHeader()->setMinimumSectionSize(TablePlotConfig::narrowestSection);
    setColumnWidth(ColColor, config->columnWidth(TablePlotConfig::ColColor));
    setColumnWidth(ColEnable, 22);
    setColumnWidth(ColCount, 40);
    setColumnWidth(ColUnit, config->columnWidth(TablePlotConfig::ColUnit));
    setColumnWidth(ColStyle, 70);
    for (const int col : {int(ColName), int(ColRawValue), int(ColCurrentValue), int(ColTime), int(ColCount),
                          int(ColUnit), int(ColM1), int(ColM2)})
        horizontalHeader()->setSectionResizeMode(col, QHeaderView::Interactive);

    // The header of the enable column is shorter than its title.
    horizontalHeaderItem(ColEnable)->setText(QStringLiteral("En"));
    horizontalHeaderItem(ColEnable)->setData(Qt::ToolTipRole, QStringLiteral("Enable curve visible"));
    setColumnLocked(ColEnable, false);
    setColumnLocked(ColStyle, false);
}

TablePlotDescription::~TablePlotDescription() = default;

void TablePlotDescription::addCurveRow(int nRow)
{
    // The curve at this index belongs to the row below until the new curve
    // is inserted: the new cells must not reach it.
    const QSignalBlocker blocker(this);

    insertRow(nRow);
    for (int col = 0; col < ColumnCount; ++col) {
        if (col == ColStyle)
            continue;
        if (col != ColEnable)
            setColumnLocked(col, true);
        if (col == ColColor || (col >= ColEnable && col <= ColUnit))
            itemSave(nRow, col)->setData(Qt::TextAlignmentRole, int(Qt::AlignRight | Qt::AlignVCenter));
    }
    setCurveColor(nRow, config->curveColor(nRow));
    setCurveName(nRow, config->curveName(nRow));

    QTableWidgetItem* enable = itemSave(nRow, ColEnable);
    enable->setFlags((enable->flags() & ~Qt::ItemIsEditable) | Qt::ItemIsUserCheckable);
    enable->setData(Qt::CheckStateRole, Qt::Checked);

    setComboCell(nRow, ColStyle, new QComboTableSupportItem(styleEntries()));
}

void TablePlotDescription::syncRow(int nRow)
{
    setCurveColor(nRow, config->curveColor(nRow));
    setCurveName(nRow, config->curveName(nRow));
    setUnit(nRow, config->unitText(nRow));
}

QTableWidgetItem* TablePlotDescription::itemSave(int nRow, int nCol)
{
    return ::itemSave(this, nRow, nCol);
}

QComboTableSupportItem* TablePlotDescription::comboSave(int nRow, int nCol)
{
    if (QComboTableSupportItem* item = comboItem(this, nRow, nCol))
        return item;
    if (!emptyComboItem)
        emptyComboItem = std::make_unique<QComboTableSupportItem>(QStringList());
    return emptyComboItem.get();
}

void TablePlotDescription::setComboCell(int nRow, int nCol, QComboTableSupportItem* item)
{
    ::setComboCell(this, nRow, nCol, item);
}

void TablePlotDescription::setColumnLocked(int nCol, bool bLocked)
{
    ::setColumnLocked(this, nCol, bLocked);
}

QString TablePlotDescription::curveColor(int nRow)
{
    return itemSave(nRow, ColColor)->data(Qt::UserRole).toString();
}

void TablePlotDescription::setCurveColor(int nRow, const QString& name)
{
    QColor color;
    color.setNamedColor(name);
    QTableWidgetItem* item = itemSave(nRow, ColColor);
    item->setFlags(item->flags() & Qt::ItemIsEditable);
    item->setData(Qt::BackgroundRole, color);
    item->setData(Qt::UserRole, color.name());
}

bool TablePlotDescription::curveEnabled(int nRow)
{
    return itemSave(nRow, ColEnable)->data(Qt::CheckStateRole).toInt() != 0;
}

void TablePlotDescription::setCurveEnabled(int nRow, bool bOn)
{
    itemSave(nRow, ColEnable)->setData(Qt::CheckStateRole, bOn ? Qt::Checked : Qt::Unchecked);
}

int TablePlotDescription::curveStyle(int nRow)
{
    return comboSave(nRow, ColStyle)->comboBox->currentIndex();
}

void TablePlotDescription::setCurveStyleIndex(int nRow, int nIndex)
{
    comboSave(nRow, ColStyle)->comboBox->setCurrentIndex(nIndex);
}

QString TablePlotDescription::text(int nRow, int nCol)
{
    return cellText(this, nRow, nCol);
}

void TablePlotDescription::setText(int nRow, int nCol, const QString& text)
{
    setCellText(this, nRow, nCol, text);
}
