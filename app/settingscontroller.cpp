#include "settingscontroller.h"

#include "dataplot.h"
#include "ifprompt.h"
#include "mformconfig.h"
#include "settingsfile.h"

#include <qwt_plot_grid.h>

#include <QDir>
#include <QFile>

#include <climits>

SettingsController::SettingsController(DataPlot* plot, IFPrompt& prompt, const QString& settingsDir,
                                       QWidget* dialogParent, QObject* parent)
    : QObject(parent), plot(plot), prompt(prompt), settingsDir(settingsDir), dialogParent(dialogParent)
{}

void SettingsController::applyDefaultSettings()
{
    applySettings(Settings::defaults());
}

void SettingsController::readSettings()
{
    const QString fileName = settingsFilePath(settingsDir);

    if (!QFile::exists(fileName)) {
        // A fresh home may lack the parents of the directory as well.
        if (!settingsDir.isEmpty() && !QDir(settingsDir).exists() && !QDir().mkpath(settingsDir)) {
            prompt.showError(tr("Cannot create directory %1").arg(settingsDir));
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
        prompt.showError(tr("Cannot read file %1").arg(fileName));
        return;
    case SettingsReadResult::ParseFailed:
        prompt.showError(tr("Cannot parse xml-file %1").arg(fileName));
        return;
    case SettingsReadResult::Ok:
        break;
    }
    applySettings(result.settings);
}

void SettingsController::writeSettings()
{
    const QDomDocument document = buildSettingsDocument(currentSettings(), settingsDateTimeNow());
    const QString fileName = settingsFilePath(settingsDir);
    QFile file(fileName);
    if (!writeSettingsDocument(document, &file))
        prompt.showError(tr("Cannot write file %1").arg(fileName));
}

Settings SettingsController::currentSettings() const
{
    Settings settings;
    settings.backgroundColor = plot->canvasColor();
    settings.gridColor = plot->grid()->majorPen().color();
    settings.marker1Color = plot->marker1Color();
    settings.marker2Color = plot->marker2Color();
    settings.plotSize = m_options.plotSize;
    settings.refreshTime = m_options.refreshTime;
    settings.lineWidth = m_options.lineWidth;
    settings.continuousScroll = m_options.continuousScroll;
    settings.antialiasing = m_options.antialiasing;
    return settings;
}

void SettingsController::applySettings(const Settings& settings)
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
    // only a plot size that no curve could allocate is refused.
    if (ProgramOptions::plotSizeFits(settings.plotSize))
        m_options.plotSize = settings.plotSize;
    else
        prompt.showError(ProgramOptions::plotSizeRefusedText(settings.plotSize, m_options.plotSize));
    m_options.refreshTime = settings.refreshTime;
    m_options.lineWidth = settings.lineWidth;
    m_options.continuousScroll = settings.continuousScroll;
    m_options.antialiasing = settings.antialiasing;
}

void SettingsController::openOptionsDialog()
{
    if (!dialog) {
        dialog = new MFormConfig(dialogParent);
        dialog->setWindowTitle(tr("Vistrel Config"));
        connect(dialog->buttonOk, &QPushButton::clicked, this, &SettingsController::slotFormConfigOkClicked);
        connect(dialog->buttonCancel, &QPushButton::clicked, this,
                &SettingsController::slotFormConfigCancelClicked);
        connect(dialog->buttonApply, &QPushButton::clicked, this,
                &SettingsController::slotFormConfigApplyClicked);
    }
    // The dialog always opens with the settings in force.
    slotFormConfigCancelClicked();
    dialog->exec();
}

void SettingsController::slotFormConfigOkClicked()
{
    slotFormConfigApplyClicked();
    writeSettings();
}

void SettingsController::slotFormConfigCancelClicked()
{
    if (!dialog)
        return;
    dialog->colorCanvasBackground->setBackgroundColor(plot->canvasColor());
    dialog->colorGrid->setBackgroundColor(plot->grid()->majorPen().color());
    dialog->colorMarker1->setBackgroundColor(plot->marker1Color());
    dialog->colorMarker2->setBackgroundColor(plot->marker2Color());
    // Values beyond a box's limits show the nearest limit.
    const auto boxValue = [](unsigned value) { return int(qMin(value, unsigned(INT_MAX))); };
    dialog->spinBoxBufferSize->setValue(boxValue(m_options.plotSize));
    dialog->spinBoxRefreshTime->setValue(boxValue(m_options.refreshTime));
    dialog->spinBoxLineWidth->setValue(m_options.lineWidth);
    dialog->checkBoxAntialiasing->setChecked(m_options.antialiasing);
    dialog->checkBoxContinous->setChecked(m_options.continuousScroll);
}

void SettingsController::slotFormConfigApplyClicked()
{
    if (!dialog)
        return;
    plot->setCanvasColor(MFormConfig::swatchColor(dialog->colorCanvasBackground));
    plot->setGridPen(QPen(MFormConfig::swatchColor(dialog->colorGrid)));
    // Marker 1 also colours the picker.
    plot->setMarker1Color(MFormConfig::swatchColor(dialog->colorMarker1));
    plot->setMarker2Color(MFormConfig::swatchColor(dialog->colorMarker2));

    m_options.plotSize = unsigned(dialog->spinBoxBufferSize->value());
    m_options.refreshTime = unsigned(dialog->spinBoxRefreshTime->value());
    m_options.lineWidth = dialog->spinBoxLineWidth->value();
    m_options.antialiasing = dialog->checkBoxAntialiasing->isChecked();
    m_options.continuousScroll = dialog->checkBoxContinous->isChecked();

    emit signalPenOptionsChanged();
    plot->replot();
}
