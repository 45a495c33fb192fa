#ifndef LOGCONVERTER_H
#define LOGCONVERTER_H

#include "convertcurves.h"
#include "convertoptions.h"

#include <QString>
#include <QStringList>

#include <cstdio>

// The conversion that vistrel-convert runs, without the process around it:
// loads the signals, streams the inputs through the decoding and writes CSV
// or a data file.
//
// CSV from logs keeps memory bounded: frames pass a ReorderWindow of
// windowFrames(). A log more out of order than it can mend is converted
// again through temporary runs (RunSorter) in tempDirectory(): a file
// output is started over; standard output, which can't be taken back, has
// the inputs' order checked in a pass of their own before anything is
// written. A data file output holds every point in memory.
class LogConverter
{
public:
    struct Outcome
    {
        int status = 0;    // 0 done, 1 bad input or a failed write
        QString error;     // for status 1, "FILE, line N: ..." and the like
        QStringList notes; // what was left out, for standard error
    };

    explicit LogConverter(ConvertOptions options);

    // The reordering window and the runs, in frames; 1 << 20 by default.
    void setWindowFrames(size_t frames) { windowSize = frames; }
    size_t windowFrames() const { return windowSize; }
    // Where the runs go: $TMPDIR, else /tmp, by default.
    void setTempDirectory(const QString& directory) { tempDir = directory; }
    QString tempDirectory() const { return tempDir; }
    // Whether the last run had to sort through temporary runs.
    bool sortedExternally() const { return external; }

    // CSV for "-" goes to `standardOutput`. A file output that a failure
    // left half-written is removed.
    Outcome run(std::FILE* standardOutput = stdout);

private:
    enum class Order { Window, External, CheckOnly };
    enum class Pass { Done, Late, Failed };

    Outcome convertLogs(std::FILE* standardOutput);
    Outcome convertDataFiles(std::FILE* standardOutput);
    // One reading of all inputs into CSV on `out` (none for CheckOnly).
    Pass csvPass(Order order, std::FILE* out, QString* error);
    Pass collectPass(QString* error);
    bool loadCurves(QString* error);

    ConvertOptions options;
    QVector<ConvertCurve> curves;
    QStringList notes;
    size_t windowSize = size_t(1) << 20;
    QString tempDir;
    bool external = false;
};

#endif // LOGCONVERTER_H
