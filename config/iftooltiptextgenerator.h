#ifndef IFTOOLTIPTEXTGENERATOR_H
#define IFTOOLTIPTEXTGENERATOR_H

#include <QString>

// Makes the tooltip of a table cell at the moment it is shown.
class IFTooltipTextGenerator
{
public:
    virtual QString tooltipText(int nRow, int nCol) = 0;
    virtual ~IFTooltipTextGenerator() = default;
};

#endif // IFTOOLTIPTEXTGENERATOR_H
