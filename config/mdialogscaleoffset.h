#ifndef MDIALOGSCALEOFFSET_H
#define MDIALOGSCALEOFFSET_H

#include "ui_dialogscaleoffset.h"

#include <QDialog>

class QEvent;

// The scaling dialog: shows a row's raw range and scaled range, computes
// Scale and Offset from them, and hands all six back to the table by
// signalCalcAccept. One dialog serves every row; the table fills the fields
// before each run.
class MDialogScaleOffset : public QDialog, public Ui_DialogScaleOffset
{
    Q_OBJECT

public:
    explicit MDialogScaleOffset(QWidget* parent);

    // Fills an empty range from Scale and Offset, then runs the dialog
    // modally.
    int runScaleDialog();

    // Selects the whole text of a field that a mouse click gave the focus,
    // and keeps the drag of that click from undoing the selection.
    bool eventFilter(QObject* watched, QEvent* event) override;

    // The table row the dialog works on; written before each run.
    int row = 0;

signals:
    void signalCalcAccept(int row);

public slots:
    // Computes Scale and Offset from the four range fields; false when a
    // field doesn't hold a number.
    bool slotCalculate();

private slots:
    void accept() override;
    void reject() override;

private:
    bool selectPending = false;
};

#endif // MDIALOGSCALEOFFSET_H
