#include "valueaxistabpage.h"

#include "numberfields.h"

#include <QDoubleValidator>
#include <QLineEdit>

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
    if (selectOnMouseFocus(watched, event, selectPending))
        return true;
    return QWidget::eventFilter(watched, event);
}

void ValueAxisTabPage::on_checkBoxAxisVisible_toggled(bool on)
{
    // A hidden axis never carries the grid; the form's own connection
    // disables the check box as well.
    if (!on)
        checkBoxGrid->setChecked(false);
}
