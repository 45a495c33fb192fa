#ifndef CONTROLLER_SUPPORT_H
#define CONTROLLER_SUPPORT_H

// The plot, the tables and the controllers without the window, wired as the
// window wires them, with a prompt that answers from a script.
#include "canlog.h"
#include "curveset.h"
#include "dataplot.h"
#include "documentcontroller.h"
#include "ifprompt.h"
#include "programoptions.h"
#include "runcontroller.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "timebasecontroller.h"

#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QSlider>
#include <QStringList>

#include <functional>

namespace TestSupport {

// Records every question and error; answers questions from `answers` (Yes
// when it is empty), file dialogs with `fileName`, the channels of a log
// with `channelAnswer` (the proposal when unset), a CSV export's choices
// with `csvChoice` (nothing: cancelled), and lets a progress go on while
// keepGoing(step) is true.
struct ScriptedPrompt : IFPrompt
{
    QStringList asked;
    QList<bool> answers;
    QString fileName;
    std::optional<std::optional<std::vector<int>>> channelAnswer;
    std::optional<CsvExportChoice> csvChoice = CsvExportChoice();
    std::function<bool(const QString& label, int step)> keepGoing = [](const QString&, int) { return true; };

    bool askYesNo(const QString& text) override
    {
        asked << "? " + text;
        return answers.isEmpty() || answers.takeFirst();
    }
    void showError(const QString& text) override { asked << "! " + text; }
    QString openFileName(const QString& title, const QString&) override { return fileFor(title); }
    QString saveFileName(const QString& title, const QString&) override { return fileFor(title); }
    std::unique_ptr<IFImportProgress> progress(const QString& label, const QString&, int) override
    {
        struct Step : IFImportProgress
        {
            std::function<bool(int)> goOn;
            bool showStep(int step) override { return goOn(step); }
        };
        auto step = std::make_unique<Step>();
        step->goOn = [this, label](int n) { return keepGoing(label, n); };
        return step;
    }
    std::optional<std::vector<int>> channelNets(const QStringList& channels, const QStringList& nets,
                                                const std::vector<int>& proposal) override
    {
        QStringList proposed;
        for (const int net : proposal)
            proposed << QString::number(net);
        asked << QString("channels %1 of %2 proposed %3")
                     .arg(channels.join(','), nets.join(','), proposed.join(','));
        return channelAnswer ? *channelAnswer : proposal;
    }
    std::optional<CsvExportChoice> csvExportChoice(const CsvExportChoice&, bool absoluteTimeKnown) override
    {
        asked << QString("csv, absolute time %1").arg(absoluteTimeKnown ? "known" : "unknown");
        return csvChoice;
    }
    QString fileFor(const QString& title)
    {
        asked << "file " + title;
        return fileName;
    }
};

struct Parts
{
    NetTable nets;
    ValueAxisSettings left = ValueAxisSettings::leftDefault();
    ValueAxisSettings right = ValueAxisSettings::rightDefault();
    QVector<ValueAxisSettings*> axes{&left, &right};
    ProgramOptions options;
    ScriptedPrompt prompt;
    QSlider slider;
    QScrollBar scrollBar;
    QLabel label;
    QPushButton startStop;
    QPushButton pause;
    DataPlot plot{10.0};
    TablePlotConfig config{nets, axes};
    TablePlotDescription description{&config};
    CurveSet curves{&config, &description, &plot, axes, options};
    TimeBaseController timeBase{{&slider, &scrollBar, &label}, &plot, options};
    RunController run{{&startStop, &pause, &scrollBar},
                      {&config, &description, &plot, &curves, &timeBase},
                      nets,
                      axes,
                      options,
                      prompt};
    DocumentController documents{
        {&config, &description, &plot, &curves, &run, &timeBase, &nets}, axes, options, prompt};

    // With the nets of the driver's configuration.
    explicit Parts(bool scanNets = false)
    {
        for (int net = 0; scanNets && net < int(nets.size()); ++net)
            scanNet(nets[size_t(net)], net, -1);
        QObject::connect(&slider, &QSlider::valueChanged, &timeBase,
                         &TimeBaseController::slotTimeBaseChanged);
        QObject::connect(&scrollBar, &QScrollBar::valueChanged, &timeBase,
                         &TimeBaseController::slotScrollTimeChanged);
        QObject::connect(&plot, &DataPlot::signalZoomedToTimeBase, &timeBase,
                         &TimeBaseController::slotZoomedTo);
        QObject::connect(&plot, &DataPlot::signalMarkerMoved, &curves, &CurveSet::slotMarkerMoved);
        QObject::connect(&config, &QTableWidget::cellChanged, &curves,
                         &CurveSet::slotValueChangedTablePlotConfig);
        documents.resetProject();
    }
    ~Parts() { curves.clear(); }

    // A row added as a user adds it, below the last.
    void addRow()
    {
        config.setCurrentCell(config.rowCount() - 1, TablePlotConfig::ColName);
        curves.addCurve();
    }
};

} // namespace TestSupport

#endif // CONTROLLER_SUPPORT_H
