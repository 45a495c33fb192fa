// The texts of the status bar's labels.
#include "vistrelmainwindow.h"

#include "formstatusbar_resourcesreparent.h"

#include <cmath>

namespace {

// The time of day of a time on the wallClockSeconds() scale.
QString startTimeText(double time)
{
    // A damaged file may bring anything; such a time shows as midnight.
    if (!std::isfinite(time) || qAbs(time) > 1e15)
        time = 0.0;
    const long long dayPart = static_cast<long long>(time) / 86400 * 86400;
    const double rest = time - double(dayPart);
    const int s = static_cast<int>(rest);
    const int hours = s / 3600;
    const int minutes = (s % 3600) / 60;
    const int seconds = (s % 3600) % 60;
    const int milliseconds = static_cast<int>(rest * 1000) - (hours * 3600 + minutes * 60 + seconds) * 1000;
    return QString::asprintf("Start: %02d:%02d:%02d.%03d", hours, minutes, seconds, milliseconds);
}

} // namespace

void VistrelMainWindow::showStartTime(double time)
{
    statusBarForm->textLabelStartTime->setText(startTimeText(time));
}

void VistrelMainWindow::showRunTime(double seconds)
{
    statusBarForm->textLabelRunTime->setText(QString::asprintf("Run: %0.3f s", seconds));
}

void VistrelMainWindow::showTimes(double time, double seconds)
{
    showStartTime(time);
    showRunTime(seconds);
}

void VistrelMainWindow::setProjectFileName(const QString& name)
{
    projectFileName = name;
    const QString text = QStringLiteral("Prj: ") + name;
    statusBarForm->textLabelProjectFile->setText(text);
    statusBarForm->textLabelProjectFile->setToolTip(text);
    updateActions();
}

void VistrelMainWindow::setDataFileName(const QString& name)
{
    dataFileName = name;
    const QString text = QStringLiteral("Data: ") + name;
    statusBarForm->textLabelDataFile->setText(text);
    statusBarForm->textLabelDataFile->setToolTip(text);
    updateActions();
}
