#include "convertoptions.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

const QString dataExtension = QStringLiteral(".vtldat");

bool isDataFile(const QString& path)
{
    return path.endsWith(dataExtension, Qt::CaseInsensitive);
}

// "N=NET" into the map; false with the reason otherwise.
bool addChannel(const QString& text, QMap<int, int>& nets, QString* error)
{
    static const QRegularExpression form(QStringLiteral("^(\\d+)=(\\d+)$"));
    const QRegularExpressionMatch m = form.match(text);
    bool channelOk = false;
    bool netOk = false;
    const int channel = m.hasMatch() ? m.captured(1).toInt(&channelOk) : -1;
    const int net = m.hasMatch() ? m.captured(2).toInt(&netOk) : -1;
    if (!channelOk || !netOk || net > 255) {
        *error = QStringLiteral("--channel wants N=NET, a log channel and a net from 0 to 255: %1").arg(text);
        return false;
    }
    if (nets.contains(channel)) {
        *error = QStringLiteral("--channel %1 is given twice").arg(channel);
        return false;
    }
    nets.insert(channel, net);
    return true;
}

ConvertArguments usageError(const QString& error)
{
    ConvertArguments result;
    result.action = ConvertArguments::UsageError;
    result.error = error;
    return result;
}

} // namespace

QString convertUsage()
{
    return QStringLiteral(
        "Usage: vistrel-convert [--dbc FILE]... [--project FILE.vtlprj] [--signals REGEX]\n"
        "                       [--layout long|wide] [--fill-last] [--utc] [--channel N=NET]...\n"
        "                       -o OUTPUT INPUT...\n");
}

QString convertHelp()
{
    return convertUsage() + QStringLiteral(R"(
Converts CAN logs (candump, Vector ASC and BLF, PEAK TRC, the recorder's .vbrlog
and .txt logs) or Vistrel data files (.vtldat) into CSV or into a data file
that Vistrel opens. Needs no display.

Signals
  --dbc FILE          every signal of a DBC file, named MESSAGE.SIGNAL; may be
                      given more than once
  --project FILE      the rows of a Vistrel project, by their names
  --signals REGEX     only signals whose name matches REGEX somewhere (anchor
                      with ^ and $); also picks curves of data files
  --channel N=NET     frames of log channel N go to net NET (0 to 255); may be
                      given more than once, and channels not named are left out.
                      N counts from 0: candump interfaces in the order they
                      first appear, ASC/TRC/BLF channel 1 is 0. Without
                      --channel every channel is net 0. DBC signals listen on
                      net 0, project rows on their own net.

Output
  -o OUTPUT           OUTPUT.csv, OUTPUT.vtldat, or - for CSV on standard output
  --layout long|wide  long (default): a line per sample, time_s,name,value,raw,unit
                      wide: time_s and a column per signal, a line per distinct
                      time, an empty cell where a signal has no sample
  --fill-last         wide layout: a signal's last value instead of empty cells
  --utc               a column time_utc after time_s: ISO 8601 UTC with
                      microseconds; needs logs with calendar times
  -h, --help          this text
  --version           the version

Times are seconds since the first frame of the first input, sorted, with
frames of equal time in the order read. Several inputs are read one after the
other in the order given into one output: logs with calendar times keep them;
a log without them (and every log after it) follows the end of the one before.
Data files give their curves' points, side by side.

A frame gives a signal a sample when it holds all of the signal's bits (and
its multiplexer value); remote frames and CAN FD frames of more than 8 data
bytes give none.

CSV output streams in bounded memory. Frames out of time order are put in
order in a window of about a million frames; when one comes more than half a
million frames late, the conversion starts over and sorts through temporary
files in TMPDIR (with -o -, the inputs are read once more first, to check
their order). .vtldat output holds all points in memory.

Exit status: 0 done, 1 bad input (the message names the file and the line
or byte), 2 bad command line.
)");
}

ConvertArguments parseConvertArguments(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption dbc(QStringLiteral("dbc"), QString(), QStringLiteral("FILE"));
    const QCommandLineOption project(QStringLiteral("project"), QString(), QStringLiteral("FILE"));
    const QCommandLineOption signalsOption(QStringLiteral("signals"), QString(), QStringLiteral("REGEX"));
    const QCommandLineOption layout(QStringLiteral("layout"), QString(), QStringLiteral("long|wide"));
    const QCommandLineOption fill(QStringLiteral("fill-last"));
    const QCommandLineOption utc(QStringLiteral("utc"));
    const QCommandLineOption channel(QStringLiteral("channel"), QString(), QStringLiteral("N=NET"));
    const QCommandLineOption output(QStringList{QStringLiteral("o"), QStringLiteral("output")}, QString(),
                                    QStringLiteral("OUTPUT"));
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")});
    const QCommandLineOption version(QStringLiteral("version"));
    parser.addOptions({dbc, project, signalsOption, layout, fill, utc, channel, output, help, version});

    if (!parser.parse(QStringList{QStringLiteral("vistrel-convert")} + arguments))
        return usageError(parser.errorText());
    ConvertArguments result;
    if (parser.isSet(help)) {
        result.action = ConvertArguments::Help;
        return result;
    }
    if (parser.isSet(version)) {
        result.action = ConvertArguments::Version;
        return result;
    }
    for (const QString& name : {QStringLiteral("project"), QStringLiteral("signals"),
                                QStringLiteral("layout"), QStringLiteral("o")}) {
        if (parser.values(name).size() > 1)
            return usageError(QStringLiteral("--%1 may be given once").arg(name == "o" ? "output" : name));
    }

    ConvertOptions& o = result.options;
    o.dbcFiles = parser.values(dbc);
    o.projectFile = parser.value(project);
    o.signalPattern = parser.value(signalsOption);
    if (parser.isSet(signalsOption)) {
        const QRegularExpression pattern(o.signalPattern);
        if (!pattern.isValid())
            return usageError(
                QStringLiteral("--signals: %1 in \"%2\"").arg(pattern.errorString(), o.signalPattern));
    }
    if (parser.isSet(layout)) {
        const QString name = parser.value(layout);
        if (name != QLatin1String("long") && name != QLatin1String("wide"))
            return usageError(QStringLiteral("--layout is long or wide, not \"%1\"").arg(name));
        o.layout = name == QLatin1String("wide") ? CsvLayout::Wide : CsvLayout::Long;
    }
    o.fillWithLast = parser.isSet(fill);
    if (o.fillWithLast && o.layout != CsvLayout::Wide)
        return usageError(QStringLiteral("--fill-last needs --layout wide"));
    o.utcColumn = parser.isSet(utc);
    for (const QString& text : parser.values(channel)) {
        QString error;
        if (!addChannel(text, o.channelNets, &error))
            return usageError(error);
    }

    o.outputPath = parser.value(output);
    if (o.outputPath.isEmpty())
        return usageError(QStringLiteral("no output: give -o OUTPUT"));
    if (o.outputPath == QLatin1String("-") ||
        o.outputPath.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive))
        o.output = ConvertOptions::Output::Csv;
    else if (isDataFile(o.outputPath))
        o.output = ConvertOptions::Output::DataFile;
    else
        return usageError(
            QStringLiteral("the output must end in .csv or .vtldat, or be -: %1").arg(o.outputPath));
    if (o.output == ConvertOptions::Output::DataFile && (parser.isSet(layout) || o.utcColumn))
        return usageError(QStringLiteral("--layout, --fill-last and --utc are for CSV output"));

    o.inputs = parser.positionalArguments();
    if (o.inputs.isEmpty())
        return usageError(QStringLiteral("no input"));
    o.dataFileInputs = isDataFile(o.inputs.first());
    const QString outputFile = QFileInfo(o.outputPath).absoluteFilePath();
    for (const QString& input : o.inputs) {
        if (isDataFile(input) != o.dataFileInputs)
            return usageError(QStringLiteral("data files and logs can't be converted together"));
        // Writing would destroy what is still to be read.
        if (QFileInfo(input).absoluteFilePath() == outputFile)
            return usageError(QStringLiteral("the output is one of the inputs: %1").arg(input));
    }
    if (o.dataFileInputs && (!o.dbcFiles.isEmpty() || !o.projectFile.isEmpty() || !o.channelNets.isEmpty()))
        return usageError(QStringLiteral("--dbc, --project and --channel are for logs, not data files"));
    if (!o.dataFileInputs && o.dbcFiles.isEmpty() && o.projectFile.isEmpty())
        return usageError(QStringLiteral("no signals: give --dbc or --project"));
    result.action = ConvertArguments::Convert;
    return result;
}
