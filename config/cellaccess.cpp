#include "cellaccess.h"

#include "qcombotablesupportitem.h"
#include "tooltipsupportitem.h"

#include <QTableWidget>

namespace {

bool inTable(const QTableWidget* table, int nRow, int nCol)
{
    return nRow >= 0 && nCol >= 0 && nRow < table->rowCount() && nCol < table->columnCount();
}

} // namespace

QTableWidgetItem* itemSave(QTableWidget* table, int nRow, int nCol)
{
    if (!inTable(table, nRow, nCol)) {
        // Made at first need and kept to the end of the program.
        static QTableWidgetItem dummy(QStringLiteral("(internal error)itemSaveDummy"));
        return &dummy;
    }
    QTableWidgetItem* item = table->item(nRow, nCol);
    if (!item) {
        item = new TooltipSupportItem;
        table->setItem(nRow, nCol, item);
    }
    return item;
}

QString cellText(QTableWidget* table, int nRow, int nCol)
{
    return itemSave(table, nRow, nCol)->data(Qt::DisplayRole).toString();
}

void setCellText(QTableWidget* table, int nRow, int nCol, const QString& text)
{
    itemSave(table, nRow, nCol)->setData(Qt::DisplayRole, text);
}

QComboTableSupportItem* comboItem(const QTableWidget* table, int nRow, int nCol)
{
    if (!inTable(table, nRow, nCol))
        return nullptr;
    QTableWidgetItem* item = table->item(nRow, nCol);
    if (!item || item->type() != QComboTableSupportItem::Type)
        return nullptr;
    auto* combo = static_cast<QComboTableSupportItem*>(item);
    return combo->comboBox ? combo : nullptr;
}

void setComboCell(QTableWidget* table, int nRow, int nCol, QComboTableSupportItem* item)
{
    table->setItem(nRow, nCol, item);
    table->setCellWidget(nRow, nCol, item->comboBox);
}

void setColumnLocked(QTableWidget* table, int nCol, bool bLocked)
{
    // Flag changes would raise cellChanged, which the edit rules must not see.
    const bool wasBlocked = table->blockSignals(true);
    const Qt::ItemFlags lockable = Qt::ItemIsEditable | Qt::ItemIsUserCheckable;
    for (int row = 0; row < table->rowCount(); ++row) {
        QTableWidgetItem* item = itemSave(table, row, nCol);
        item->setFlags(bLocked ? item->flags() & ~lockable : item->flags() | lockable);
        if (item->type() == QComboTableSupportItem::Type) {
            auto* combo = static_cast<QComboTableSupportItem*>(item);
            if (combo->comboBox)
                combo->comboBox->setEnabled(!bLocked);
        }
    }
    table->blockSignals(wasBlocked);
}
