#include "commandline.h"

CommandLineFile commandLineFile(const QStringList& arguments)
{
    for (int i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument.endsWith(QLatin1String("vtlprj"), Qt::CaseSensitive))
            return {CommandLineFile::Project, argument};
        if (argument.endsWith(QLatin1String("vtldat"), Qt::CaseSensitive))
            return {CommandLineFile::Data, argument};
    }
    return {};
}
