#ifndef MDIALOGEXPORTCSV_H
#define MDIALOGEXPORTCSV_H

#include "ifprompt.h"
#include "ui_dialogexportcsv.h"

#include <QDialog>

// Asks how to write a CSV export: the layout, filling a wide line with the
// last values, the absolute time, and whether hidden curves are left out.
// "Fill with the last value" is open in the wide layout only; the absolute
// time only where the record's date is known.
class MDialogExportCsv : public QDialog, public Ui_DialogExportCsv
{
    Q_OBJECT

public:
    MDialogExportCsv(const CsvExportChoice& proposal, bool absoluteTimeKnown, QWidget* parent = nullptr);

    CsvExportChoice choice() const;
};

#endif // MDIALOGEXPORTCSV_H
