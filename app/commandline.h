#ifndef COMMANDLINE_H
#define COMMANDLINE_H

#include <QString>
#include <QStringList>

// The file that the command line asks to open, if any.
struct CommandLineFile
{
    enum Kind { None, Project, Data };
    Kind kind = None;
    QString name;
};

// The first argument behind the program's name that ends in "vtlprj" (a
// project) or "vtldat" (a data file), compared case-sensitively and without
// looking for a dot. Everything behind it is ignored.
CommandLineFile commandLineFile(const QStringList& arguments);

#endif // COMMANDLINE_H
