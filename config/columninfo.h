#ifndef COLUMNINFO_H
#define COLUMNINFO_H

#include <QString>

// One column of a table: its header text and its attribute name in the
// project file.
struct ColumnInfo
{
    QString title;
    QString key;
};

#endif // COLUMNINFO_H
