#include "mformconfig.h"

#include "qlabelcompat.h"
#include "settingsfile.h"

#include <QColorDialog>
#include <QEvent>
#include <QPalette>

MFormConfig::MFormConfig(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                          Qt::MSWindowsFixedSizeDialogHint)
{
    setupUi(this);
    // Fixed at the form's size, unless the fonts of the system need more.
    setFixedSize(size().expandedTo(minimumSizeHint()));

    for (QLabelCompat* swatch : {colorCanvasBackground, colorGrid, colorMarker1, colorMarker2})
        swatch->installEventFilter(this);
}

QColor MFormConfig::swatchColor(const QLabelCompat* swatch)
{
    const QPalette& palette = swatch->palette();
    return palette.brush(palette.currentColorGroup(), swatch->backgroundRole()).color();
}

QString MFormConfig::swatchName(const QObject* watched) const
{
    if (watched == colorCanvasBackground)
        return tr("Background");
    if (watched == colorGrid)
        return tr("Grid");
    if (watched == colorMarker1)
        return tr("Marker 1");
    if (watched == colorMarker2)
        return tr("Marker 2");
    return QString();
}

bool MFormConfig::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::MouseButtonPress)
        return false;
    const QString name = swatchName(watched);
    if (name.isEmpty())
        return false;

    auto* swatch = static_cast<QLabelCompat*>(watched);
    const QColor color = QColorDialog::getColor(swatchColor(swatch), this, tr("Select %1 Color").arg(name));
    // A cancelled colour dialog gives an invalid colour and changes nothing.
    if (color.isValid())
        swatch->setBackgroundColor(color);
    return true;
}

void MFormConfig::on_pushButtonDefaultColors_clicked()
{
    const Settings defaults = Settings::defaults();
    colorCanvasBackground->setBackgroundColor(defaults.backgroundColor);
    colorGrid->setBackgroundColor(defaults.gridColor);
    colorMarker1->setBackgroundColor(defaults.marker1Color);
    colorMarker2->setBackgroundColor(defaults.marker2Color);
}

void MFormConfig::on_pushButtonDefaultBuffers_clicked()
{
    const Settings defaults = Settings::defaults();
    spinBoxBufferSize->setValue(int(defaults.plotSize));
    spinBoxRefreshTime->setValue(int(defaults.refreshTime));
}

void MFormConfig::on_pushButtonDefaultCurves_clicked()
{
    const Settings defaults = Settings::defaults();
    spinBoxLineWidth->setValue(defaults.lineWidth);
    checkBoxAntialiasing->setChecked(defaults.antialiasing);
    checkBoxContinous->setChecked(defaults.continuousScroll);
}
