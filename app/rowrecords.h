#ifndef ROWRECORDS_H
#define ROWRECORDS_H

#include "datafile.h"
#include "projectfile.h"

class TablePlotConfig;
class TablePlotDescription;

// A row of the two tables as the project and data files hold it, and back.
// The writers of the cells go through the edit rules, so the order of the
// writes matters.

// One row of both tables in the form the project file holds it.
ProjectGraph graphOfRow(TablePlotConfig& config, TablePlotDescription& description, int row);
// Fills the configuration cells of a row that addCurveRow has just made.
void fillConfigRow(TablePlotConfig& config, int row, const ProjectGraph& graph);
// The layout of a row described bit by bit and, if the layout is good, the
// names of its raw values.
void setBitLevelCells(TablePlotConfig& config, int row, const QString& signal, const QString& valueTable);

// One row as a record of the data file, with pointCount points behind it.
DataCurveRecord recordOfRow(TablePlotConfig& config, TablePlotDescription& description, int row,
                            int pointCount);
// Makes a row of the oldest or a newer record version in both tables.
void rowFromRecord(TablePlotConfig& config, TablePlotDescription& description, int row,
                   const DataCurveRecordV1& record);
void rowFromRecord(TablePlotConfig& config, TablePlotDescription& description, int row,
                   const DataCurveRecord& record);

#endif // ROWRECORDS_H
