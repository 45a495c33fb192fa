#ifndef MDIALOGCUSTOMAXIS_H
#define MDIALOGCUSTOMAXIS_H

#include "ui_formcustomaxis.h"
#include "valueaxissettings.h"

#include <QDialog>
#include <QVector>

class ValueAxisTabPage;

// "Value Axis Viewport": edits the two value axis records of the main window
// and whether the scaling of all curves is recalculated to fill them. The
// records change only when every page passes its check.
class MDialogCustomAxis : public QDialog, public Ui_formCustomAxis
{
    Q_OBJECT

public:
    enum OpenFlag {
        RightAxisInUse = 1,     // a curve sits on the right axis
        RecalculationLocked = 2 // running, or no curve to recalculate
    };

    MDialogCustomAxis(QWidget* parent, QVector<ValueAxisSettings*>* axes, bool* fitFlag);

    // Brings the dialog into the state that initialTab and openFlags ask
    // for. exec() does this itself.
    void applyOpenState();

    int initialTab = 0; // above 0: open on the right axis's tab
    int openFlags = 0;  // OpenFlag bits

public slots:
    int exec() override;
    void accept() override;

signals:
    void signalApplyAxisSettings();

private slots:
    void slotGridCheckLeft();
    void slotGridCheckRight();
    void on_pushButtonApply_clicked();

private:
    // Checks every page and stores all of them, or nothing.
    bool applySettings();

    QVector<ValueAxisTabPage*> pages; // left, right
    QVector<ValueAxisSettings*>* axes;
    bool* fitFlag;
};

#endif // MDIALOGCUSTOMAXIS_H
