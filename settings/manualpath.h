#ifndef MANUALPATH_H
#define MANUALPATH_H

#include <QString>

// The manual that the help menu opens: Vistrel_manual_<lang>.pdf beside the
// program in programDirectory, lang being the first two characters of
// localeName ("de_DE" gives "de"). Without that file the German manual is
// taken, and without that one the English manual. Where none of them lies
// beside the program, the same order holds in the documentation folder of
// an installed program, found relative to programDirectory so that a moved
// installation still finds it. With none in either place the English
// manual beside the program is returned, whether it exists or not.
QString manualPath(const QString& programDirectory, const QString& localeName);

#endif // MANUALPATH_H
