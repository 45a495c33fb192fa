#ifndef VALUEAXISTABPAGE_H
#define VALUEAXISTABPAGE_H

#include "ui_valueaxistabpage.h"

#include <QWidget>

class QEvent;

// The content of one tab of the viewport dialog: the viewport of one value
// axis, whether the axis is shown and whether the grid belongs to it.
class ValueAxisTabPage : public QWidget, public Ui_ValueAxisTabPage
{
    Q_OBJECT

public:
    explicit ValueAxisTabPage(QWidget* parent = nullptr);

    // Selects the whole text of a line edit that a mouse click gave the
    // focus, and keeps the drag of that click from undoing the selection.
    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void on_checkBoxAxisVisible_toggled(bool on);

private:
    bool selectPending = false;
};

#endif // VALUEAXISTABPAGE_H
