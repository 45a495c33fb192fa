#ifndef CONVERTOPTIONS_H
#define CONVERTOPTIONS_H

#include "csvexport.h"

#include <QMap>
#include <QString>
#include <QStringList>

// What the command line of vistrel-convert asks for.
struct ConvertOptions
{
    enum class Output { Csv, DataFile };

    QStringList dbcFiles;
    QString projectFile;
    QString signalPattern; // empty: every signal
    CsvLayout layout = CsvLayout::Long;
    bool fillWithLast = false;
    bool utcColumn = false;
    // Log channel (0-based, as canlogs counts) to net. Empty: all channels
    // on net 0; otherwise channels not named are left out.
    QMap<int, int> channelNets;
    QString outputPath; // "-" for standard output
    Output output = Output::Csv;
    QStringList inputs;
    bool dataFileInputs = false; // the inputs are data files, not logs
};

struct ConvertArguments
{
    enum Action { Convert, Help, Version, UsageError };

    Action action = UsageError;
    ConvertOptions options;
    QString error; // for UsageError
};

// Reads the arguments behind the program's name.
ConvertArguments parseConvertArguments(const QStringList& arguments);

// The short usage line, and the whole help text.
QString convertUsage();
QString convertHelp();

#endif // CONVERTOPTIONS_H
