#include "manualpath.h"

#include <QDir>
#include <QFileInfo>

namespace {

QString manualFile(const QString& directory, const QString& lang)
{
    return directory + QStringLiteral("/Vistrel_manual_") + lang + QStringLiteral(".pdf");
}

} // namespace

QString manualPath(const QString& programDirectory, const QString& localeName)
{
    // The build gives the documentation folder relative to the program's
    // folder (VISTREL_DOCDIR_FROM_BINDIR, "../share/doc/vistrel" by default).
    const QString installedDocs =
        QDir::cleanPath(programDirectory + QStringLiteral("/" VISTREL_DOCDIR_FROM_BINDIR));
    for (const QString& directory : {programDirectory, installedDocs}) {
        for (const QString& lang : {localeName.left(2), QStringLiteral("de"), QStringLiteral("en")}) {
            const QString path = manualFile(directory, lang);
            if (QFileInfo::exists(path))
                return path;
        }
    }
    return manualFile(programDirectory, QStringLiteral("en"));
}
