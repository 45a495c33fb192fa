#include "trafficmonitor.h"

#include "cellaccess.h"
#include "curveset.h"
#include "plotcurve.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"

#include <QLabel>

#include <algorithm>

TrafficMonitor::TrafficMonitor(const NetTable& nets, TablePlotConfig* config,
                               TablePlotDescription* description, CurveSet* curves, QLabel* label,
                               QObject* parent)
    : QObject(parent), nets(nets), config(config), description(description), curves(curves), label(label)
{
    timer.setInterval(1000);
    connect(&timer, &QTimer::timeout, this, &TrafficMonitor::sample);
    label->setToolTip(tr("Frames per second and bus load of each net over the last second"));
}

void TrafficMonitor::start()
{
    // The bit rate of each net as its rows give it; Start has made sure
    // that they agree.
    std::vector<TrafficMeter::Net> used;
    for (int row = 0; row < config->rowCount(); ++row) {
        const int net = config->netNumber(row);
        if (std::none_of(used.begin(), used.end(),
                         [net](const TrafficMeter::Net& n) { return n.net == net; }))
            used.push_back({net, bitRateOfBaud(config->baud(row))});
    }
    std::sort(used.begin(), used.end(),
              [](const TrafficMeter::Net& a, const TrafficMeter::Net& b) { return a.net < b.net; });

    clock.start();
    lastSeconds = 0.0;
    m_meter.start(nets, used, lastSeconds);
    curveCounts.clear();
    for (const QSharedPointer<PlotCurve>& curve : curves->curves())
        curveCounts.push_back(curve->framesAppended());
    for (int row = 0; row < description->rowCount(); ++row)
        itemSave(description, row, TablePlotDescription::ColCount)->setToolTip(QString());
    label->clear();
    label->setEnabled(true);
    timer.start();
}

void TrafficMonitor::stop()
{
    timer.stop();
    label->setEnabled(false);
}

void TrafficMonitor::sample()
{
    const double seconds = clock.nsecsElapsed() / 1e9;
    m_meter.sample(nets, seconds);
    label->setText(m_meter.summary());

    const double elapsed = seconds - lastSeconds;
    lastSeconds = seconds;
    const QVector<QSharedPointer<PlotCurve>>& all = curves->curves();
    for (int row = 0; row < all.size() && size_t(row) < curveCounts.size(); ++row) {
        const uint64_t count = all[row]->framesAppended();
        const double rate = elapsed > 0 ? double(count - curveCounts[size_t(row)]) / elapsed : 0.0;
        curveCounts[size_t(row)] = count;
        itemSave(description, row, TablePlotDescription::ColCount)
            ->setToolTip(QString::asprintf("%.1f samples/s", rate));
    }
}
