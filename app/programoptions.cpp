#include "programoptions.h"

#include <QCoreApplication>

#include <unistd.h>

bool ProgramOptions::plotSizeFits(unsigned long long points)
{
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0)
        return points <= 1000000; // unknown: what the options dialog's limit allows ten times
    return points * bytesPerPoint <=
           static_cast<unsigned long long>(pages) * static_cast<unsigned long long>(pageSize) / 2;
}

QString ProgramOptions::plotSizeRefusedText(unsigned long long points, unsigned kept)
{
    return QCoreApplication::translate(
               "ProgramOptions", "Not enough memory for a plot size of %1 points (%2 MB for each curve).\n"
                                 "The plot size stays %3.")
        .arg(points)
        .arg((points * bytesPerPoint + 999999) / 1000000)
        .arg(kept);
}
