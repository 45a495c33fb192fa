#ifndef CONVERTCURVES_H
#define CONVERTCURVES_H

#include "framedecode.h"
#include "projectfile.h"

#include <QRegularExpression>
#include <QString>
#include <QVector>

#include <cstdint>

// A signal that the converter decodes: where it listens (net, id) and how a
// frame becomes its value, with what a data file's row keeps of it.
struct ConvertCurve
{
    QString name;
    QString unit;
    int net = 0;
    uint32_t canId = 0; // with TESS_ID_29BIT for 29-bit ids
    ValueLayout layout;
    int baud = 0;        // the index of the Baud list, or the BTR01 form of a project
    double rawMin = 0.0; // the scaling ranges of a data file row
    double rawMax = 1.0;
    double valueMin = 0.0;
    double valueMax = 1.0;
};

struct CurveLoad
{
    QVector<ConvertCurve> curves;
    // "FILE, line N: ..." or "FILE: ..."; empty when the file was good.
    QString error;
    int undecodable = 0; // signals left out because no frame of 8 bytes holds them
};

// Every signal of a DBC file whose "MESSAGE.SIGNAL" matches the filter, in
// the file's order, on net 0. A file with any error is refused.
CurveLoad loadDbcCurves(const QString& path, const QRegularExpression& filter);

// The rows of a project whose name matches the filter, in row order.
CurveLoad loadProjectCurves(const QString& path, const QRegularExpression& filter);

// A project row's curve: its net (the number in front of the Net entry's
// text, else the stored list position), id, 29-bit flag, and its value by
// position, data type, mask and byte order, with its scaling.
ConvertCurve projectRowCurve(const ProjectGraph& row);

// The byte layout of a data file row that comes closest to a bit layout:
// exact where the signal is a whole 8, 16, 32 or 64-bit value on byte
// boundaries; otherwise the smallest type that covers its bytes.
ValueLayout seedLayoutOf(const BitLayout& bits, double scale, double offset);

#endif // CONVERTCURVES_H
