#ifndef MDIALOGEXPORTIMAGE_H
#define MDIALOGEXPORTIMAGE_H

#include "ui_dialogexportimage.h"

#include <QDialog>
#include <QPrinter>
#include <QSize>

// "Export Image": the size of the image, the plot's own by default, and
// the colour or grey scheme of printing.
class MDialogExportImage : public QDialog, public Ui_DialogExportImage
{
    Q_OBJECT

public:
    MDialogExportImage(const QSize& plotSize, QWidget* parent = nullptr);

    QSize imageSize() const;
    QPrinter::ColorMode colorMode() const;

private:
    const QSize plotSize;
};

#endif // MDIALOGEXPORTIMAGE_H
