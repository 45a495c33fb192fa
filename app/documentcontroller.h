#ifndef DOCUMENTCONTROLLER_H
#define DOCUMENTCONTROLLER_H

#include "ifprompt.h"
#include "netinfo.h"
#include "valueaxissettings.h"

#include <QObject>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QVector>

#include <optional>
#include <string>
#include <vector>

class CurveSet;
class DataPlot;
class LogFrameSieve;
class PlotCurve;
class RunController;
class TablePlotConfig;
class TablePlotDescription;
class TimeBaseController;
struct ProgramOptions;
namespace canlogs {
class LogReader;
struct Frame;
} // namespace canlogs

// The documents of the program: the project file (the configuration), the
// data file (a recording with its configuration), the import of a
// recorder's log, and the reset to an empty project that loading begins
// with. Each kind has a reader and, where it is written, a writer that glue
// a codec of files/ to the tables, the curves and the record's times in
// the order of operations the files need; opening a CAN log of another tool
// as a recording stands beside the import. The user is asked only through
// the prompt. A file that was loaded although damaged is reported once, and
// the report stays as the tooltip of its name in the status bar.
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
        const NetTable* nets; // the Net list's nets
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
    // Turns the frames of a candump, ASC, TRC or BLF log into the points of
    // the rows' curves, as a run on the log's nets would have captured them.
    // Asks before it replaces points and, where channels and nets leave a
    // choice, which net each channel is. Does nothing without rows.
    void openCanLog(const QString& fileName);

    // Whether a row's curve holds a sample, which a CSV export writes.
    bool hasSamples() const;
    // Writes the samples of the rows' curves (of the visible rows only, if
    // chosen) to a CSV file, in time order, with a progress that can abort.
    // The names and units are the rows'. A failed write is reported; an
    // aborted or failed one leaves no file.
    void exportCsv(const QString& fileName, const CsvExportChoice& choice);

    // The menu actions: a file dialog, then the reader or writer.
    void projectOpen();
    void projectSave();
    void projectSaveAs();
    void dataSave();
    void dataSaveAs();
    void dataLoad();
    void dataImport();
    void dataOpenLog();
    void dataExportCsv();

signals:
    void signalOperatingMode(int mode);
    void signalTimes(double timeOrigin, double runTime);
    void signalFileNamesChanged();
    // The axis records changed: the plot is to follow them.
    void signalAxisSettingsChanged();
    void signalActionsChanged();

private slots:
    // A run's time origin is a time of today: its date is known.
    void slotRunStarted(double timeOrigin);

private:
    // The plot size of a data file is offered when it is bigger.
    void offerPlotSize(uint32_t filePlotSize);
    // The markers at 40 % and 60 % of a new view.
    void placeMarkers();
    // Keeps a report for the tooltip and shows it; nothing for an empty one.
    void reportDamage(QString& kept, const QString& report);
    // For each channel of a log the net number that takes its frames, -1
    // for none; asked unless one channel meets rows of one net.
    std::optional<std::vector<int>> channelNets(const std::vector<std::string>& channels);
    // The view, times, name and mode of a record of logged frames that
    // runs from the time origin for runTime seconds.
    void showLoggedRecord(const QString& fileName, double runTime);
    // Reads the rest of a log into the sieve, with a progress; false when
    // the user aborted.
    bool readLogFrames(canlogs::LogReader& reader, LogFrameSieve& sieve, std::vector<canlogs::Frame>& buffer);
    // A curve for each row, of the frames of its key, as a run would have
    // captured them; none when the user aborted.
    QVector<QSharedPointer<PlotCurve>> curvesOfLog(const LogFrameSieve& sieve,
                                                   const std::vector<uint64_t>& keys);

    const Parts parts;
    const QVector<ValueAxisSettings*>& axisSettings;
    ProgramOptions& options;
    IFPrompt& prompt;
    QString m_projectFileName;
    QString m_dataFileName;
    QString m_projectDamage;
    QString m_dataDamage;
    // The time origin in nanoseconds since the epoch (UTC) where the
    // record's date is known: a run, or a log of absolute times. A data file
    // and a recorder's log hold the time of day alone.
    std::optional<int64_t> m_originUtcNs;
    // The export's choices are offered again the next time.
    CsvExportChoice m_csvChoice;
};

#endif // DOCUMENTCONTROLLER_H
