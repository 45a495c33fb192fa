#ifndef TOOLTIPSUPPORTITEM_H
#define TOOLTIPSUPPORTITEM_H

#include <QTableWidgetItem>

class IFTooltipTextGenerator;

// A table item whose tooltip is generated when it is shown, unless a
// tooltip was set on the item itself.
class TooltipSupportItem : public QTableWidgetItem
{
public:
    static constexpr int Type = QTableWidgetItem::UserType + 1;

    explicit TooltipSupportItem(IFTooltipTextGenerator* generator = nullptr);

    QVariant data(int role) const override;

    IFTooltipTextGenerator* generator = nullptr; // not owned
};

#endif // TOOLTIPSUPPORTITEM_H
