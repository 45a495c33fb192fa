#ifndef CURVESET_H
#define CURVESET_H

#include "valueaxissettings.h"

#include <QObject>
#include <QSharedPointer>
#include <QVector>

class DataPlot;
class PlotCurve;
class QColor;
class TablePlotConfig;
class TablePlotDescription;
struct ProgramOptions;

// The curves of the program. A curve exists three times at one index: row
// r of the configuration table, row r of the description table and
// curves()[r]; the index is its identity. The cells are the only store of a
// curve's configuration: a curve is built from them, and an edit of name,
// colour, unit, axis, "En" or "Style" reaches the curve at once.
class CurveSet : public QObject
{
    Q_OBJECT

public:
    CurveSet(TablePlotConfig* config, TablePlotDescription* description, DataPlot* plot,
             const QVector<ValueAxisSettings*>& axisSettings, const ProgramOptions& options,
             QObject* parent = nullptr);
    // Curves end first: their destructors stop their threads and detach
    // their items from the plot.
    ~CurveSet() override;

    const QVector<QSharedPointer<PlotCurve>>& curves() const { return m_curves; }
    int size() const { return m_curves.size(); }
    // The curve of a row; null when the row has none.
    PlotCurve* at(int row) const;

    // A row's curve for a run, of plotSize points, at its index.
    void createCurve(int row);
    void eraseCurve(int row);
    // The curve that a row's cells describe, of `points` points, not yet in
    // the set. A live curve starts with zeroed arrays, and the messages of
    // its capture thread reach signalThreadErrorMessage.
    QSharedPointer<PlotCurve> curveFromRow(int row, unsigned points, bool live);
    void insert(int row, const QSharedPointer<PlotCurve>& curve);
    void append(const QSharedPointer<PlotCurve>& curve);
    // Destroys all curves with their points.
    void clear();

    // A new row with its curve below the current row, at the top without
    // one; it becomes the current row. Returns its index.
    int addCurve();
    // The selected rows with their curves, else the current row, else row 0.
    void deleteSelectedCurves();

    // The row's colour in both tables and on the curve.
    void setCurveColor(int row, const QColor& color);
    // The line width and the antialiasing in force, to every curve.
    void applyPenOptions();
    void setAntialiased(bool on);

public slots:
    // What an edit of the configuration table copies to the description
    // table and the curve.
    void slotValueChangedTablePlotConfig(int row, int col);
    // "En" and "Style".
    void slotValueChangedTablePlotDescription(int row, int col);
    // The value of every curve at a marker's time, into the marker's column.
    void slotMarkerMoved(int marker, double time);

signals:
    void signalThreadErrorMessage(QString message);
    void signalCurveCreated();
    void signalCurveErased();
    // A row chose the right axis; the axes are to be applied to the plot.
    void signalAxisSettingsChanged();

private:
    TablePlotConfig* const config;
    TablePlotDescription* const description;
    DataPlot* const plot;
    const QVector<ValueAxisSettings*>& axisSettings;
    const ProgramOptions& options;
    QVector<QSharedPointer<PlotCurve>> m_curves;
};

#endif // CURVESET_H
