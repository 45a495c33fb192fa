#ifndef WALLCLOCK_H
#define WALLCLOCK_H

#include <QDate>
#include <QTime>

// The one clock of the program: day of the year times 86400 plus the
// seconds of the day with milliseconds. Safe to call from any thread.
double wallClockSeconds();

// The same for a given date and time of day.
double wallClockSecondsAt(const QDate& date, const QTime& time);

#endif // WALLCLOCK_H
