#include "numberfields.h"

#include <QFocusEvent>
#include <QLineEdit>
#include <QTimer>

void commasToPoints(QLineEdit* edit)
{
    edit->setText(edit->text().replace(QLatin1Char(','), QLatin1Char('.')));
}

bool selectOnMouseFocus(QObject* watched, QEvent* event, bool& selectPending)
{
    if (selectPending) {
        if (event->type() == QEvent::MouseMove) {
            // A drag after the focusing click would move the selection.
            event->ignore();
            return true;
        }
        if (event->type() == QEvent::MouseButtonRelease)
            selectPending = false;
    }

    if (event->type() == QEvent::FocusIn &&
        static_cast<QFocusEvent*>(event)->reason() == Qt::MouseFocusReason) {
        if (auto* edit = qobject_cast<QLineEdit*>(watched)) {
            // The edit handles the click after the focus: select once that
            // is done, not now.
            QTimer::singleShot(0, edit, &QLineEdit::selectAll);
            selectPending = true;
        }
    }
    return false;
}
