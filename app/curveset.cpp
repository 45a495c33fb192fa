#include "curveset.h"

#include "dataplot.h"
#include "plotcurve.h"
#include "programoptions.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"

#include <QItemSelectionModel>

#include <algorithm>

CurveSet::CurveSet(TablePlotConfig* config, TablePlotDescription* description, DataPlot* plot,
                   const QVector<ValueAxisSettings*>& axisSettings, const ProgramOptions& options,
                   QObject* parent)
    : QObject(parent), config(config), description(description), plot(plot), axisSettings(axisSettings),
      options(options)
{}

CurveSet::~CurveSet()
{
    clear();
}

PlotCurve* CurveSet::at(int row) const
{
    return row >= 0 && row < m_curves.size() ? m_curves[row].data() : nullptr;
}

void CurveSet::createCurve(int row)
{
    // After an aborted import the rows above may have no curve yet: give
    // them one first, so that row r and curves[r] stay one curve.
    while (m_curves.size() < row)
        m_curves.append(curveFromRow(m_curves.size(), options.plotSize, true));
    m_curves.insert(row, curveFromRow(row, options.plotSize, true));
    emit signalCurveCreated();
}

void CurveSet::eraseCurve(int row)
{
    // The curve's destructor detaches its plot item.
    if (row >= 0 && row < m_curves.size())
        m_curves.remove(row);
    emit signalCurveErased();
}

QSharedPointer<PlotCurve> CurveSet::curveFromRow(int row, unsigned points, bool live)
{
    int canId = config->idText(row).toInt(nullptr, 0);
    if (config->is29Bit(row))
        canId += TESS_ID_29BIT;
    QSharedPointer<PlotCurve> curve(new PlotCurve(
        plot, options.lineWidth, QColor(config->curveColor(row)), config->curveName(row),
        config->netNumber(row), config->baud(row), canId, config->positionText(row).toInt(nullptr, 0),
        config->dataType(row), config->maskText(row).toInt(nullptr, 0), config->byteOrder(row),
        config->valueAxis(row), config->scaleText(row).toDouble(), config->offsetText(row).toDouble(),
        config->unitText(row), description->curveStyle(row), description->curveEnabled(row), points, live,
        config->signalLayout(row), config->valueTable(row)));
    // Emitted on the capture thread, delivered here as a queued call.
    if (live)
        connect(curve.data(), &PlotCurve::signalThreadErrorMessage, this,
                &CurveSet::signalThreadErrorMessage);
    return curve;
}

void CurveSet::insert(int row, const QSharedPointer<PlotCurve>& curve)
{
    m_curves.insert(row, curve);
}

void CurveSet::append(const QSharedPointer<PlotCurve>& curve)
{
    m_curves.append(curve);
}

void CurveSet::clear()
{
    m_curves.clear();
}

void CurveSet::setCurveColor(int row, const QColor& color)
{
    config->setCurveColor(row, color.name());
    description->setCurveColor(row, color.name());
    if (PlotCurve* curve = at(row))
        curve->setColor(color);
    plot->replot();
}

void CurveSet::applyPenOptions()
{
    // setColor makes a new pen, which takes the new line width. After an
    // aborted import the table may have rows without a curve.
    for (int row = 0; row < config->rowCount(); ++row) {
        PlotCurve* curve = at(row);
        if (!curve)
            continue;
        curve->setLineWidth(options.lineWidth);
        curve->setColor(QColor(config->curveColor(row)));
        curve->setAntialiased(options.antialiasing);
    }
}

void CurveSet::setAntialiased(bool on)
{
    for (const QSharedPointer<PlotCurve>& curve : qAsConst(m_curves))
        curve->setAntialiased(on);
}

void CurveSet::slotValueChangedTablePlotConfig(int row, int col)
{
    // The row being built has neither its description row nor its curve
    // yet: what stands at its index belongs to the row it displaces.
    if (row == config->rowUnderConstruction())
        return;
    PlotCurve* curve = at(row);
    switch (col) {
    case TablePlotConfig::ColColor:
        description->setCurveColor(row, config->curveColor(row));
        if (curve)
            curve->setColor(QColor(config->curveColor(row)));
        break;
    case TablePlotConfig::ColName:
        description->setCurveName(row, config->curveName(row));
        if (curve)
            curve->setCurveTitle(config->curveName(row));
        break;
    case TablePlotConfig::ColAxis: {
        const int axis = config->valueAxis(row);
        // Choosing the right axis brings it up; choosing the left never
        // hides it.
        if (axis > 0 && !axisSettings[1]->visible)
            axisSettings[1]->visible = true;
        if (curve)
            curve->setCurveAxis(axis);
        emit signalAxisSettingsChanged();
        break;
    }
    case TablePlotConfig::ColUnit:
        description->setUnit(row, config->unitText(row));
        break;
    default:
        // The other columns reach the curve when Start builds it anew.
        break;
    }
}

void CurveSet::slotValueChangedTablePlotDescription(int row, int col)
{
    // A row without a curve yet gives them to the curve when it is built.
    PlotCurve* curve = at(row);
    if ((col != TablePlotDescription::ColEnable && col != TablePlotDescription::ColStyle) || !curve)
        return;
    plot->setCurveStyle(curve, description->curveEnabled(row), description->curveStyle(row));
}

void CurveSet::slotMarkerMoved(int marker, double time)
{
    for (int row = 0; row < m_curves.size(); ++row) {
        const PlotCurve* curve = m_curves[row].data();
        if (!curve || curve->maxPoints == 0)
            continue;
        // Newest first behind the live point: the first element older than
        // the marker is the newest sample before it. All elements count, so
        // a live curve that isn't full yet offers its zeros.
        const double* x = curve->xValues.get();
        const double* found = std::find_if(x, x + curve->maxPoints, [time](double t) { return t < time; });
        if (found == x + curve->maxPoints)
            continue;
        const size_t i = size_t(found - x);
        const double value = curve->yValues[i];
        const double raw = curve->scale != 0.0 ? (value - curve->offset) / curve->scale : 0.0;
        const QString text =
            curve->valueText(value, raw) + QString::asprintf("/%0.3f   [%0.3f s]", raw, x[i]);
        if (marker == 1)
            description->setM1(row, text);
        else
            description->setM2(row, text);
    }
}

int CurveSet::addCurve()
{
    // Directly below the current row; without one, at the top.
    const int row = config->currentRow() + 1;
    config->addCurveRow(row);
    description->addCurveRow(row);
    createCurve(row);
    config->setCurrentCell(row, TablePlotConfig::ColName);
    return row;
}

void CurveSet::deleteSelectedCurves()
{
    QVector<int> rows;
    const QItemSelectionModel* selection = config->selectionModel();
    for (int row = 0; row < config->rowCount(); ++row) {
        if (selection->isRowSelected(row, QModelIndex()))
            rows << row;
    }
    if (rows.isEmpty())
        rows << qMax(config->currentRow(), 0);

    // From the last to the first, so that the rows still to come keep their
    // indices.
    for (auto it = rows.crbegin(); it != rows.crend(); ++it) {
        config->removeCurveRow(*it);
        description->removeRow(*it);
        eraseCurve(*it);
    }
    plot->replot();
}
