#include "valueaxistabpage.h"

#include <QDoubleValidator>
#include <QEvent>
#include <QFocusEvent>
#include <QLineEdit>
#include <QTimer>

#include <limits>

ValueAxisTabPage::ValueAxisTabPage(QWidget* parent) : QWidget(parent)
{
    setupUi(this);

    constexpr double largest = std::numeric_limits<double>::max();
    auto* rangeValidator = new QDoubleValidator(-largest, largest, 16, this);
    auto* stepValidator = new QDoubleValidator(0.0, largest, 16, this);
    lineEditMin->setValidator(rangeValidator);
    lineEditMax->setValidator(rangeValidator);
    lineEditStep->setValidator(stepValidator);

    for (QLineEdit* edit : {lineEditMin, lineEditMax, lineEditStep})
        edit->installEventFilter(this);
}

bool ValueAxisTabPage::eventFilter(QObject* watched, QEvent* event)
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
            // The edit handles the click itself after the focus: select
            // once that is done, not now.
            QTimer::singleShot(0, edit, &QLineEdit::selectAll);
            selectPending = true;
        }
    }

    return QWidget::eventFilter(watched, event);
}

void ValueAxisTabPage::on_checkBoxAxisVisible_toggled(bool on)
{
    // A hidden axis never carries the grid; the form's own connection
    // disables the check box as well.
    if (!on)
        checkBoxGrid->setChecked(false);
}
