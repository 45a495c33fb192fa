#ifndef MANUALPATH_H
#define MANUALPATH_H

#include <QString>

// The manual that the help menu opens: Vistrel_manual_<lang>.pdf in
// directory, lang being the first two characters of localeName ("de_DE"
// gives "de"). Without that file the German manual is taken, and without
// that one the English manual, whether it exists or not.
QString manualPath(const QString& directory, const QString& localeName);

#endif // MANUALPATH_H
