#ifndef DOCUMENTCONTROLLER_H
#define DOCUMENTCONTROLLER_H

#include "valueaxissettings.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVector>

class CurveSet;
class DataPlot;
class IFPrompt;
class RunController;
class TablePlotConfig;
class TablePlotDescription;
class TimeBaseController;
struct ProgramOptions;

// The documents of the program: the project file (the configuration), the
// data file (a recording with its configuration), the import of a
// recorder's log, and the reset to an empty project that loading begins
// with. Each kind has a reader and, where it is written, a writer that glue
// a codec of files/ to the tables, the curves and the record's times in
// the order of operations the files need; further kinds (opening a log as
// a recording, export) take their place beside them. The user is asked only
// through the prompt. A file that was loaded although damaged is reported
// once, and the report stays as the tooltip of its name in the status bar.
class DocumentController : public QObject
{
    Q_OBJECT

public:
    struct Parts
    {
        TablePlotConfig* config;
        TablePlotDescription* description;
        DataPlot* plot;
        CurveSet* curves;
        RunController* run;
        TimeBaseController* timeBase;
    };

    DocumentController(const Parts& parts, const QVector<ValueAxisSettings*>& axisSettings,
                       ProgramOptions& options, IFPrompt& prompt, QObject* parent = nullptr);

    // Current files, empty when there is none.
    const QString& projectFileName() const { return m_projectFileName; }
    const QString& dataFileName() const { return m_dataFileName; }
    void setProjectFileName(const QString& name);
    void setDataFileName(const QString& name);
    // What the current file lacked or what was repaired in it, as reported;
    // empty for a whole file. A new name clears it.
    const QString& projectFileDamage() const { return m_projectDamage; }
    const QString& dataFileDamage() const { return m_dataDamage; }

    // Asks first when rows exist; false when the user refuses, and then
    // nothing has changed.
    bool resetProject();

    // Opens the file that the command line asks for, if any.
    void openCommandLineFile(const QStringList& arguments);

    void writeProjectFile(const QString& fileName);
    void readProjectFile(const QString& fileName);
    void writeDataFile(const QString& fileName);
    void readDataFile(const QString& fileName);
    // Turns the frames of a recorder's log into the points of the rows' curves.
    void importRecordedData(const QString& fileName);

    // The menu actions: a file dialog, then the reader or writer.
    void projectOpen();
    void projectSave();
    void projectSaveAs();
    void dataSave();
    void dataSaveAs();
    void dataLoad();
    void dataImport();

signals:
    void signalOperatingMode(int mode);
    void signalTimes(double timeOrigin, double runTime);
    void signalFileNamesChanged();
    // The axis records changed: the plot is to follow them.
    void signalAxisSettingsChanged();
    void signalActionsChanged();

private:
    // The plot size of a data file is offered when it is bigger.
    void offerPlotSize(uint32_t filePlotSize);
    // The markers at 40 % and 60 % of a new view.
    void placeMarkers();
    // Keeps a report for the tooltip and shows it; nothing for an empty one.
    void reportDamage(QString& kept, const QString& report);

    const Parts parts;
    const QVector<ValueAxisSettings*>& axisSettings;
    ProgramOptions& options;
    IFPrompt& prompt;
    QString m_projectFileName;
    QString m_dataFileName;
    QString m_projectDamage;
    QString m_dataDamage;
};

#endif // DOCUMENTCONTROLLER_H
