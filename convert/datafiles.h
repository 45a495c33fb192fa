#ifndef DATAFILES_H
#define DATAFILES_H

#include "convertcurves.h"
#include "datafile.h"

#include <QRegularExpression>
#include <QString>
#include <QVector>

#include <vector>

// A curve as a data file holds it: its record and its points, element 0 the
// live point, then the samples newest first.
struct DataCurve
{
    DataCurveRecord record;
    std::vector<double> x;
    std::vector<double> y;

    // Scale and offset as the window takes them from the record: from the
    // ranges where they are valid and give a line, else the stored ones.
    void scaling(double& scale, double& offset) const;
};

struct DataInput
{
    DataFileHeader header;
    bool hasAxes = false;
    QVector<DataCurve> curves;
    QString error; // "FILE: ..." when the file can't be read
};

// Reads a data file of any version; records of the oldest become current
// ones. Only curves whose name matches the filter are kept.
DataInput readDataInput(const QString& path, const QRegularExpression& filter);

// Writes a current data file: the header (its curve count set from the
// curves), then each curve's record and points. Returns an error, or empty.
QString writeDataOutput(const QString& path, DataFileHeader header, const QVector<DataCurve>& curves);

// The record of a signal's row, for `points` points: colours from a fixed
// list by the row's index, left axis, style "Steps", enabled.
DataCurveRecord dataRecordOf(const ConvertCurve& curve, int row);

// Collects the samples of each signal in memory for a data file.
class SampleCollector
{
public:
    explicit SampleCollector(const QVector<ConvertCurve>& curves);

    void add(uint32_t curve, double time, double value)
    {
        DataCurve& c = curves[int(curve)];
        c.x.push_back(time);
        c.y.push_back(value);
    }
    // Sorts each curve by time where it isn't, puts the samples newest
    // first behind a live point at runTime, and hands the curves over.
    QVector<DataCurve> finish(double runTime);

private:
    QVector<DataCurve> curves; // samples oldest first behind a place for the live point
};

#endif // DATAFILES_H
