#include "mdialogexportcsv.h"

MDialogExportCsv::MDialogExportCsv(const CsvExportChoice& proposal, bool absoluteTimeKnown, QWidget* parent)
    : QDialog(parent)
{
    setupUi(this);
    const bool wide = proposal.layout == CsvLayout::Wide;
    (wide ? radioButtonWide : radioButtonLong)->setChecked(true);
    checkBoxFillWithLast->setChecked(proposal.fillWithLast);
    checkBoxAbsoluteTime->setEnabled(absoluteTimeKnown);
    checkBoxAbsoluteTime->setChecked(absoluteTimeKnown && proposal.absoluteTime);
    if (!absoluteTimeKnown)
        checkBoxAbsoluteTime->setToolTip(
            tr("Known for a run and for a CAN log with absolute times; a data file or an import "
               "holds the time of day alone."));
    checkBoxVisibleOnly->setChecked(proposal.visibleOnly);
}

CsvExportChoice MDialogExportCsv::choice() const
{
    CsvExportChoice chosen;
    chosen.layout = radioButtonWide->isChecked() ? CsvLayout::Wide : CsvLayout::Long;
    chosen.fillWithLast = chosen.layout == CsvLayout::Wide && checkBoxFillWithLast->isChecked();
    chosen.absoluteTime = checkBoxAbsoluteTime->isEnabled() && checkBoxAbsoluteTime->isChecked();
    chosen.visibleOnly = checkBoxVisibleOnly->isChecked();
    return chosen;
}
