#include "mdialogcustomaxis.h"

#include "numberfields.h"
#include "valueaxistabpage.h"

#include <array>

namespace {

struct Viewport
{
    double min = 0.0;
    double max = 0.0;
    double step = 0.0;
};

// Reads a number the same way whatever the user's locale and whichever
// decimal separator was typed (the caller turns commas into points first).
bool parseViewport(const ValueAxisTabPage& page, Viewport& viewport)
{
    const CLocaleScope cLocale;
    bool ok = false;
    viewport.min = page.lineEditMin->text().toDouble(&ok);
    if (ok)
        viewport.max = page.lineEditMax->text().toDouble(&ok);
    if (ok)
        viewport.step = page.lineEditStep->text().toDouble(&ok);
    return ok;
}

void fillPage(ValueAxisTabPage& page, const ValueAxisSettings& settings)
{
    page.lineEditMin->setText(QString::number(settings.min, 'g', 16));
    page.lineEditMax->setText(QString::number(settings.max, 'g', 16));
    page.lineEditStep->setText(QString::number(settings.step, 'g', 16));
    page.checkBoxAxisVisible->setChecked(settings.visible);
    page.checkBoxGrid->setChecked(settings.grid);
}

} // namespace

MDialogCustomAxis::MDialogCustomAxis(QWidget* parent, QVector<ValueAxisSettings*>* axes, bool* fitFlag)
    : QDialog(parent), axes(axes), fitFlag(fitFlag)
{
    setupUi(this);
    setWindowFlags(Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);

    // The form's tabs only show the layout in the designer.
    while (tabWidget->count() > 0) {
        QWidget* placeholder = tabWidget->widget(0);
        tabWidget->removeTab(0);
        delete placeholder;
    }
    tab = nullptr;
    tab_2 = nullptr;

    pages = {new ValueAxisTabPage, new ValueAxisTabPage};
    tabWidget->addTab(pages[0], tr("Left"));
    tabWidget->addTab(pages[1], tr("Right"));

    // Only the right axis can be hidden; the left keeps the form's state.
    ValueAxisTabPage* right = pages[1];
    right->checkBoxAxisVisible->setEnabled(true);
    right->checkBoxAxisVisible->setChecked(false);

    for (int axis = 0; axis < pages.size(); ++axis)
        fillPage(*pages[axis], *axes->at(axis));

    connect(pages[0]->checkBoxGrid, &QCheckBox::stateChanged, this, &MDialogCustomAxis::slotGridCheckLeft);
    connect(right->checkBoxGrid, &QCheckBox::stateChanged, this, &MDialogCustomAxis::slotGridCheckRight);
    connect(right->checkBoxAxisVisible, &QCheckBox::stateChanged, this,
            &MDialogCustomAxis::slotGridCheckRight);
    slotGridCheckRight();

    setFixedHeight(height());
}

void MDialogCustomAxis::applyOpenState()
{
    if (initialTab > 0)
        tabWidget->setCurrentIndex(1);
    if (openFlags & RightAxisInUse) {
        // The right axis can't be hidden while a curve uses it.
        pages[1]->checkBoxAxisVisible->setChecked(true);
        pages[1]->checkBoxAxisVisible->setEnabled(false);
    }
    if (openFlags & RecalculationLocked) {
        checkBoxFitScaleToViewport->setChecked(false);
        checkBoxFitScaleToViewport->setEnabled(false);
    }
}

int MDialogCustomAxis::exec()
{
    applyOpenState();
    return QDialog::exec();
}

void MDialogCustomAxis::slotGridCheckLeft()
{
    pages[1]->checkBoxGrid->setChecked(!pages[0]->checkBoxGrid->isChecked());
}

void MDialogCustomAxis::slotGridCheckRight()
{
    // One grid serves both axes; with the right axis hidden it is the left's.
    const ValueAxisTabPage* right = pages[1];
    QCheckBox* leftGrid = pages[0]->checkBoxGrid;
    leftGrid->setChecked(!right->checkBoxGrid->isChecked());
    const bool rightVisible = right->checkBoxAxisVisible->isChecked();
    leftGrid->setEnabled(rightVisible);
    if (!rightVisible)
        leftGrid->setChecked(true);
}

bool MDialogCustomAxis::applySettings()
{
    std::array<Viewport, 2> viewports;
    bool failed = false;
    for (int axis = 0; axis < pages.size(); ++axis) {
        ValueAxisTabPage* page = pages[axis];
        // Every field gets the point, also after a failure, so that what
        // the user sees is what will be read.
        for (QLineEdit* edit : {page->lineEditMin, page->lineEditMax, page->lineEditStep})
            commasToPoints(edit);
        if (failed)
            continue;

        Viewport& viewport = viewports[size_t(axis)];
        if (!parseViewport(*page, viewport) || !(viewport.min < viewport.max)) {
            failed = true;
            continue;
        }
        if (viewport.step >= viewport.max - viewport.min) {
            // A step that leaves no tick inside: offer five intervals.
            tabWidget->setCurrentWidget(page);
            page->lineEditStep->setText(QString::number((viewport.max - viewport.min) / 5, 'g', 16));
            page->lineEditStep->setFocus(Qt::OtherFocusReason);
            page->lineEditStep->selectAll();
            failed = true;
        }
    }
    if (failed)
        return false;

    for (int axis = 0; axis < pages.size(); ++axis) {
        const ValueAxisTabPage* page = pages[axis];
        const Viewport& viewport = viewports[size_t(axis)];
        ValueAxisSettings* settings = (*axes)[axis];
        settings->min = viewport.min;
        settings->max = viewport.max;
        settings->step = viewport.step;
        settings->visible = page->checkBoxAxisVisible->isChecked();
        settings->grid = page->checkBoxGrid->isChecked();
    }
    *fitFlag = checkBoxFitScaleToViewport->isChecked();
    return true;
}

void MDialogCustomAxis::accept()
{
    if (!applySettings())
        return;
    emit signalApplyAxisSettings();
    QDialog::accept();
}

void MDialogCustomAxis::on_pushButtonApply_clicked()
{
    // Apply keeps the dialog open; Cancel later doesn't take this back.
    if (applySettings())
        emit signalApplyAxisSettings();
}
