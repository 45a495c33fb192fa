#include "manualpath.h"

#include <QFileInfo>

namespace {

QString manualFile(const QString& directory, const QString& lang)
{
    return directory + QStringLiteral("/Vistrel_manual_") + lang + QStringLiteral(".pdf");
}

} // namespace

QString manualPath(const QString& directory, const QString& localeName)
{
    QString path = manualFile(directory, localeName.left(2));
    if (QFileInfo::exists(path))
        return path;
    path = manualFile(directory, QStringLiteral("de"));
    if (QFileInfo::exists(path))
        return path;
    return manualFile(directory, QStringLiteral("en"));
}
