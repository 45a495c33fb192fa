#ifndef QCOMBOTABLESUPPORTITEM_H
#define QCOMBOTABLESUPPORTITEM_H

#include <QComboBox>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTableWidgetItem>

class IFTooltipTextGenerator;

// A table item that owns a combo box shown as the cell's widget. Its display
// text is the box's current entry; a selection in the box raises the table's
// cellChanged like an edit of a text cell.
class QComboTableSupportItem : public QObject, public QTableWidgetItem
{
    Q_OBJECT

public:
    static constexpr int Type = QTableWidgetItem::UserType;

    explicit QComboTableSupportItem(const QStringList& entries, IFTooltipTextGenerator* generator = nullptr);
    ~QComboTableSupportItem() override;

    QTableWidgetItem* clone() const override;
    QVariant data(int role) const override;

    // Made without parent; once it is a cell widget the table owns it and
    // deletes it, which the guarded pointer notices.
    QPointer<QComboBox> comboBox;
    const QStringList entries;
    IFTooltipTextGenerator* generator = nullptr; // not owned

public slots:
    void slotComboSelChange(int nIndex);

signals:
    void signalComboSelChange(int nRow, int nSel);
};

#endif // QCOMBOTABLESUPPORTITEM_H
