#include "tooltipsupportitem.h"

#include "iftooltiptextgenerator.h"

TooltipSupportItem::TooltipSupportItem(IFTooltipTextGenerator* generator)
    : QTableWidgetItem(Type), generator(generator)
{}

QVariant TooltipSupportItem::data(int role) const
{
    if (role != Qt::ToolTipRole || !generator)
        return QTableWidgetItem::data(role);
    const QVariant own = QTableWidgetItem::data(Qt::ToolTipRole);
    if (!own.isNull())
        return own;
    const QTableWidget* table = tableWidget();
    return generator->tooltipText(table ? table->row(this) : -1, table ? table->column(this) : -1);
}
