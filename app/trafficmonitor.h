#ifndef TRAFFICMONITOR_H
#define TRAFFICMONITOR_H

#include "netinfo.h"
#include "trafficmeter.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <cstdint>
#include <vector>

class CurveSet;
class QLabel;
class TablePlotConfig;
class TablePlotDescription;

// How busy the run is, once a second on the user interface thread: per
// used net its frame rate and bus load in the status bar label and in the
// Net cells' tooltips (through meter()), per curve its samples per second
// in the tooltip of its "Cnt" cell. After Stop the last figures stay,
// greyed. Counting is the driver's and the rings'; the capture threads do
// nothing for it.
class TrafficMonitor : public QObject
{
    Q_OBJECT

public:
    TrafficMonitor(const NetTable& nets, TablePlotConfig* config, TablePlotDescription* description,
                   CurveSet* curves, QLabel* label, QObject* parent = nullptr);

    const TrafficMeter& meter() const { return m_meter; }

    // At Start, once the curves exist, and at Stop.
    void start();
    void stop();

private:
    void sample();

    const NetTable& nets;
    TablePlotConfig* const config;
    TablePlotDescription* const description;
    CurveSet* const curves;
    QLabel* const label;
    QTimer timer;
    QElapsedTimer clock;
    TrafficMeter m_meter;
    // Each curve's appended count and its time at the last sample.
    std::vector<uint64_t> curveCounts;
    double lastSeconds = 0.0;
};

#endif // TRAFFICMONITOR_H
