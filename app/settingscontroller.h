#ifndef SETTINGSCONTROLLER_H
#define SETTINGSCONTROLLER_H

#include "programoptions.h"

#include <QObject>
#include <QString>

class DataPlot;
class IFPrompt;
class MFormConfig;
class QWidget;
struct Settings;

// The settings file and the options dialog: the plot colours, which live in
// the plot, and the numbers of ProgramOptions. Read once at start, written
// at a first start and at OK.
class SettingsController : public QObject
{
    Q_OBJECT

public:
    // The options dialog is made at first use as a child of dialogParent,
    // and kept.
    SettingsController(DataPlot* plot, IFPrompt& prompt, const QString& settingsDir, QWidget* dialogParent,
                       QObject* parent = nullptr);

    // Read by the run, the time base and the curves; a data file may raise
    // plotSize.
    ProgramOptions& options() { return m_options; }
    const ProgramOptions& options() const { return m_options; }

    void applyDefaultSettings();
    void readSettings();
    void writeSettings();

    // Opens the options dialog with the settings in force.
    void openOptionsDialog();
    MFormConfig* optionsDialog() const { return dialog; }

public slots:
    void slotFormConfigOkClicked();
    void slotFormConfigCancelClicked();
    void slotFormConfigApplyClicked();

signals:
    // The dialog changed line width or antialiasing: the curves follow.
    void signalPenOptionsChanged();

private:
    Settings currentSettings() const;
    void applySettings(const Settings& settings);

    DataPlot* const plot;
    IFPrompt& prompt;
    const QString settingsDir;
    QWidget* const dialogParent;
    ProgramOptions m_options;
    MFormConfig* dialog = nullptr;
};

#endif // SETTINGSCONTROLLER_H
