#include "wallclock.h"

#include <QDateTime>

double wallClockSecondsAt(const QDate& date, const QTime& time)
{
    return date.dayOfYear() * 86400.0 + time.hour() * 3600 + time.minute() * 60 + time.second() +
           time.msec() / 1000.0;
}

double wallClockSeconds()
{
    // One reading for both, so that a call at midnight can't combine the
    // day of one with the time of the other; each reading of the local
    // time costs a look at the time zone.
    const QDateTime now = QDateTime::currentDateTime();
    return wallClockSecondsAt(now.date(), now.time());
}
