// vistrel-convert: CAN logs and data files to CSV or data files, from the
// command line and without a display. Everything but the process lives in
// LogConverter.
#include "convertoptions.h"
#include "logconverter.h"

#include <QCoreApplication>

#include <clocale>
#include <cstdio>

namespace {

void printTo(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

} // namespace

int main(int argc, char** argv)
{
    // For the arguments' and file names' encoding; no event loop runs.
    const QCoreApplication application(argc, argv);
    // Numbers are written without the locale; this keeps C's own functions
    // away from a decimal comma as well.
    std::setlocale(LC_NUMERIC, "C");

    const ConvertArguments arguments = parseConvertArguments(QCoreApplication::arguments().mid(1));
    switch (arguments.action) {
    case ConvertArguments::Help:
        printTo(stdout, convertHelp());
        return 0;
    case ConvertArguments::Version:
        printTo(stdout, QStringLiteral("vistrel-convert " VISTREL_VERSION "\n"));
        return 0;
    case ConvertArguments::UsageError:
        printTo(stderr, QStringLiteral("vistrel-convert: %1\n").arg(arguments.error) + convertUsage() +
                            QStringLiteral("Try 'vistrel-convert --help' for more.\n"));
        return 2;
    case ConvertArguments::Convert:
        break;
    }

    LogConverter converter(arguments.options);
    const LogConverter::Outcome outcome = converter.run(stdout);
    for (const QString& note : outcome.notes)
        printTo(stderr, QStringLiteral("vistrel-convert: %1\n").arg(note));
    if (outcome.status != 0)
        printTo(stderr, QStringLiteral("vistrel-convert: %1\n").arg(outcome.error));
    return outcome.status;
}
