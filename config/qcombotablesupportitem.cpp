#include "qcombotablesupportitem.h"

#include "iftooltiptextgenerator.h"

#include <QTableWidget>

QComboTableSupportItem::QComboTableSupportItem(const QStringList& entries, IFTooltipTextGenerator* generator)
    : QTableWidgetItem(Type), comboBox(new QComboBox), entries(entries), generator(generator)
{
    comboBox->addItems(entries);
    connect(comboBox, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &QComboTableSupportItem::slotComboSelChange);
}

QComboTableSupportItem::~QComboTableSupportItem()
{
    // A box that became a cell widget belongs to the table's viewport, which
    // deletes it with the row or when another widget replaces it.
    if (comboBox && !comboBox->parent())
        delete comboBox;
}

QTableWidgetItem* QComboTableSupportItem::clone() const
{
    return new QComboTableSupportItem(entries);
}

QVariant QComboTableSupportItem::data(int role) const
{
    if (role == Qt::DisplayRole)
        return comboBox ? QVariant(comboBox->currentText()) : QTableWidgetItem::data(role);
    if (role != Qt::ToolTipRole || !generator)
        return QTableWidgetItem::data(role);
    const QVariant own = QTableWidgetItem::data(Qt::ToolTipRole);
    if (!own.isNull())
        return own;
    const QTableWidget* table = tableWidget();
    return generator->tooltipText(table ? table->row(this) : -1, table ? table->column(this) : -1);
}

void QComboTableSupportItem::slotComboSelChange(int nIndex)
{
    // The stored text is never shown; writing it raises cellChanged, so that
    // a selection reaches the edit rules like a typed text.
    setData(Qt::DisplayRole, QString::number(nIndex));
    const QTableWidget* table = tableWidget();
    emit signalComboSelChange(table ? table->row(this) : -1, nIndex);
}
