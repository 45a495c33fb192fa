#include "mdialogexportimage.h"

MDialogExportImage::MDialogExportImage(const QSize& plotSize, QWidget* parent)
    : QDialog(parent, Qt::WindowTitleHint | Qt::WindowCloseButtonHint), plotSize(plotSize)
{
    setupUi(this);
    radioButtonPlotSize->setText(
        tr("Size of the plot: %1 × %2 px").arg(plotSize.width()).arg(plotSize.height()));
    // A custom size starts from the plot's.
    spinBoxWidth->setValue(plotSize.width());
    spinBoxHeight->setValue(plotSize.height());
}

QSize MDialogExportImage::imageSize() const
{
    return radioButtonCustomSize->isChecked() ? QSize(spinBoxWidth->value(), spinBoxHeight->value())
                                              : plotSize;
}

QPrinter::ColorMode MDialogExportImage::colorMode() const
{
    return comboBoxColors->currentIndex() == 1 ? QPrinter::GrayScale : QPrinter::Color;
}
