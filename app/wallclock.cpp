#include "wallclock.h"

double wallClockSecondsAt(const QDate& date, const QTime& time)
{
    return date.dayOfYear() * 86400.0 + time.hour() * 3600 + time.minute() * 60 + time.second() +
           time.msec() / 1000.0;
}

double wallClockSeconds()
{
    // Time first, then date: read the other way round, a call just before
    // midnight could combine the new day with the old time.
    const QTime time = QTime::currentTime();
    const QDate date = QDate::currentDate();
    return wallClockSecondsAt(date, time);
}
