// The settings file and the options dialog: plot colours and the numbers of
// the window, read once at start, written at a first start and at OK.
#include "vistrelmainwindow.h"

#include "dataplot.h"
#include "mformconfig.h"
#include "plotcurve.h"
#include "settingsfile.h"
#include "tableplotconfig.h"

#include <qwt_plot_grid.h>

#include <QDir>
#include <QFile>
#include <QMessageBox>

#include <climits>

void VistrelMainWindow::applyDefaultSettings()
{
    applySettings(Settings::defaults());
}

void VistrelMainWindow::readSettings()
{
    const QString fileName = settingsFilePath(settingsDir);

    if (!QFile::exists(fileName)) {
        // A fresh home may lack the parents of the directory as well.
        if (!settingsDir.isEmpty() && !QDir(settingsDir).exists() && !QDir().mkpath(settingsDir)) {
            showSettingsError(tr("Cannot create directory %1").arg(settingsDir));
            return;
        }
        // A first start leaves a complete file behind.
        applyDefaultSettings();
        writeSettings();
    }

    QFile file(fileName);
    const SettingsReadResult result = readSettingsDocument(&file);
    switch (result.status) {
    case SettingsReadResult::OpenFailed:
        showSettingsError(tr("Cannot read file %1").arg(fileName));
        return;
    case SettingsReadResult::ParseFailed:
        showSettingsError(tr("Cannot parse xml-file %1").arg(fileName));
        return;
    case SettingsReadResult::Ok:
        break;
    }
    applySettings(result.settings);
}

void VistrelMainWindow::writeSettings()
{
    const QDomDocument document = buildSettingsDocument(currentSettings(), settingsDateTimeNow());
    const QString fileName = settingsFilePath(settingsDir);
    QFile file(fileName);
    if (!writeSettingsDocument(document, &file))
        showSettingsError(tr("Cannot write file %1").arg(fileName));
}

Settings VistrelMainWindow::currentSettings() const
{
    Settings settings;
    settings.backgroundColor = plot->canvasColor();
    settings.gridColor = plot->grid()->majorPen().color();
    settings.marker1Color = plot->marker1Color();
    settings.marker2Color = plot->marker2Color();
    settings.plotSize = plotSize;
    settings.refreshTime = refreshTime;
    settings.lineWidth = lineWidth;
    settings.continuousScroll = continuousScroll;
    settings.antialiasing = antialiasing;
    return settings;
}

void VistrelMainWindow::applySettings(const Settings& settings)
{
    // A colour that a damaged file doesn't name leaves the colour in force
    // (the default, at start) rather than painting the plot black.
    if (settings.backgroundColor.isValid())
        plot->setCanvasColor(settings.backgroundColor);
    if (settings.gridColor.isValid())
        plot->setGridPen(QPen(settings.gridColor));
    if (settings.marker1Color.isValid())
        plot->setMarker1Color(settings.marker1Color);
    if (settings.marker2Color.isValid())
        plot->setMarker2Color(settings.marker2Color);
    plot->replot();

    // Numbers are taken as they are, limits of the options dialog or not;
    // only a plot size that no curve could allocate is cut.
    plotSize = qMin(settings.plotSize, unsigned(largestPlotSize));
    refreshTime = settings.refreshTime;
    lineWidth = settings.lineWidth;
    continuousScroll = settings.continuousScroll;
    antialiasing = settings.antialiasing;
}

void VistrelMainWindow::showSettingsError(const QString& text)
{
    QMessageBox::critical(this, tr("Critical Error"), text, QMessageBox::Ok);
}

void VistrelMainWindow::projectOptions()
{
    if (!optionsDialog) {
        optionsDialog = new MFormConfig(this);
        optionsDialog->setWindowTitle(tr("Vistrel Config"));
        connect(optionsDialog->buttonOk, &QPushButton::clicked, this,
                &VistrelMainWindow::slotFormConfigOkClicked);
        connect(optionsDialog->buttonCancel, &QPushButton::clicked, this,
                &VistrelMainWindow::slotFormConfigCancelClicked);
        connect(optionsDialog->buttonApply, &QPushButton::clicked, this,
                &VistrelMainWindow::slotFormConfigApplyClicked);
    }
    // The dialog always opens with the settings in force.
    slotFormConfigCancelClicked();
    optionsDialog->exec();
}

void VistrelMainWindow::slotFormConfigOkClicked()
{
    slotFormConfigApplyClicked();
    writeSettings();
}

void VistrelMainWindow::slotFormConfigCancelClicked()
{
    if (!optionsDialog)
        return;
    MFormConfig& dialog = *optionsDialog;
    dialog.colorCanvasBackground->setBackgroundColor(plot->canvasColor());
    dialog.colorGrid->setBackgroundColor(plot->grid()->majorPen().color());
    dialog.colorMarker1->setBackgroundColor(plot->marker1Color());
    dialog.colorMarker2->setBackgroundColor(plot->marker2Color());
    // Values beyond a box's limits show the nearest limit.
    const auto boxValue = [](unsigned value) { return int(qMin(value, unsigned(INT_MAX))); };
    dialog.spinBoxBufferSize->setValue(boxValue(plotSize));
    dialog.spinBoxRefreshTime->setValue(boxValue(refreshTime));
    dialog.spinBoxLineWidth->setValue(lineWidth);
    dialog.checkBoxAntialiasing->setChecked(antialiasing);
    dialog.checkBoxContinous->setChecked(continuousScroll);
}

void VistrelMainWindow::slotFormConfigApplyClicked()
{
    if (!optionsDialog)
        return;
    const MFormConfig& dialog = *optionsDialog;
    plot->setCanvasColor(MFormConfig::swatchColor(dialog.colorCanvasBackground));
    plot->setGridPen(QPen(MFormConfig::swatchColor(dialog.colorGrid)));
    // Marker 1 also colours the picker.
    plot->setMarker1Color(MFormConfig::swatchColor(dialog.colorMarker1));
    plot->setMarker2Color(MFormConfig::swatchColor(dialog.colorMarker2));

    plotSize = unsigned(dialog.spinBoxBufferSize->value());
    refreshTime = unsigned(dialog.spinBoxRefreshTime->value());
    lineWidth = dialog.spinBoxLineWidth->value();
    antialiasing = dialog.checkBoxAntialiasing->isChecked();
    continuousScroll = dialog.checkBoxContinous->isChecked();

    // setColor makes a new pen, which takes the new line width. After an
    // aborted import the table may have rows without a curve.
    for (int row = 0; row < tableConfig->rowCount(); ++row) {
        if (row >= curves.size() || !curves.at(row))
            continue;
        PlotCurve& curve = *curves.at(row);
        curve.setLineWidth(lineWidth);
        curve.setColor(QColor(tableConfig->curveColor(row)));
        curve.setAntialiased(antialiasing);
    }
    plot->replot();
}
