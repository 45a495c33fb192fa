#include "canlog.h"

#include <QIODevice>
#include <QtEndian>
#include <QTime>
#include <QVector>

#include <cmath>
#include <ctime>

namespace {

// Binary form.
constexpr qint64 recordSize = 38;
constexpr int frameOffset = 22;
constexpr uint32_t maxRecordLength = 10000;
constexpr uint32_t noBusFrameFlag = 0x40000000;
constexpr uint16_t microsecondsValid = 0x8000;

// Text form: the fields a frame line needs, and the shortest such line
// (17 tabs, a digit in fields 0 and 3, the line end).
constexpr int textFieldCount = 18;
constexpr qint64 shortestFrameLine = 20;

constexpr double secondsPerDay = 86400.0;

uint16_t le16(const char* p)
{
    return qFromLittleEndian<quint16>(p);
}

uint32_t le32(const char* p)
{
    return qFromLittleEndian<quint32>(p);
}

// Looks at the progress as the readers go: shows the quotient of position
// and step once it has reached a counter, so at most steps + 1 times.
class ProgressPoller
{
public:
    ProgressPoller(const ProgressScale& scale, IFImportProgress* progress)
        : step(qMax<int64_t>(scale.step, 1)), progress(progress)
    {}

    // False when the user asked to stop.
    bool goOn(qint64 position)
    {
        if (!progress)
            return true;
        const int64_t reached = position / step;
        if (reached < counter)
            return true;
        ++counter;
        return progress->showStep(int(reached));
    }

private:
    const int64_t step;
    IFImportProgress* const progress;
    int64_t counter = 0;
};

// Gives each frame its time since the first frame and files it under its
// id. The recorder's clock restarts at midnight: a time that runs backwards
// means the next day.
class FrameCollector
{
public:
    explicit FrameCollector(CanLog& log) : log(log) {}

    void add(const TessFrame& frame, double t)
    {
        t += dayOffset;
        if (hasPrevious && previous > t) {
            dayOffset += secondsPerDay;
            t += secondsPerDay;
        }
        previous = t;
        hasPrevious = true;

        const double time = t - log.timeOrigin;
        log.lastTime = time;
        // Most logs repeat few ids; the map's nodes don't move, so the
        // last list found stays valid.
        if (!lastList || lastId != frame.id) {
            lastList = &log.framesById[frame.id];
            lastId = frame.id;
        }
        lastList->push_back(uint32_t(log.frames.size()));
        log.frames.push_back(ImportFrame{frame, time});
    }

private:
    CanLog& log;
    double dayOffset = 0.0;
    double previous = 0.0;
    bool hasPrevious = false;
    uint32_t lastId = 0;
    std::vector<uint32_t>* lastList = nullptr;
};

// Room for the most frames that the device can hold, up to a cap: pages of
// the reserve that are never written cost no memory, but a huge (or sparse)
// file must not ask for more than the machine has before a byte is read.
// Beyond the cap the list grows as frames come.
void reserveFrames(CanLog& log, const QIODevice* device, qint64 bytesPerFrame)
{
    constexpr qint64 maxReserved = qint64(1) << 22;
    const qint64 size = device->size();
    if (size > 0)
        log.frames.reserve(size_t(qMin(size / bytesPerFrame, maxReserved)));
}

// The time_t of 0:00:00 local time on the day of seconds.
int64_t localMidnight(int32_t seconds)
{
    const time_t when = seconds;
    struct tm day = {};
    if (!localtime_r(&when, &day))
        return int64_t(seconds) - int64_t(seconds) % 86400;
    day.tm_hour = 0;
    day.tm_min = 0;
    day.tm_sec = 0;
    // Let mktime find out whether summer time held at midnight.
    day.tm_isdst = -1;
    const time_t midnight = mktime(&day);
    if (midnight == time_t(-1))
        return int64_t(seconds) - int64_t(seconds) % 86400;
    return int64_t(midnight);
}

TessFrame frameFromRecord(const char* p)
{
    TessFrame frame{};
    frame.id = le32(p);
    frame.len = uint8_t(p[4]);
    frame.lost = uint8_t(p[5]);
    frame.reserved = le16(p + 6);
    for (int i = 0; i < 8; ++i)
        frame.data[i] = uint8_t(p[8 + i]);
    return frame;
}

// One text line whose first field is a number.
void readTextFields(const QVector<QStringRef>& fields, CanLog& log, FrameCollector& collector)
{
    bool ok = false;
    const double milliseconds = fields.size() > 3 ? fields[3].toDouble(&ok) : 0.0;
    // "nan" and "inf" read as numbers, but would poison every later time.
    if (!ok || !std::isfinite(milliseconds))
        return;
    // A time that doesn't parse counts as midnight.
    const QTime timeOfDay = QTime::fromString(fields[2].toString(), Qt::TextDate);
    const double daySeconds =
        timeOfDay.isValid() ? timeOfDay.hour() * 3600 + timeOfDay.minute() * 60 + timeOfDay.second() : 0;
    const double t = milliseconds / 1000.0 + daySeconds;
    // Before the letters: an error line may set the origin.
    if (!log.hasOrigin) {
        log.hasOrigin = true;
        log.timeOrigin = t;
    }

    const QStringRef flags = fields.size() > 8 ? fields[8] : QStringRef();
    if (flags.contains(QLatin1Char('E')))
        return;
    if (fields.size() < textFieldCount) {
        ++log.shortLines;
        return;
    }

    TessFrame frame{};
    frame.id = uint32_t(fields[6].toInt(nullptr, 10));
    if (flags.contains(QLatin1Char('L')))
        frame.id += TESS_ID_29BIT;
    if (flags.contains(QLatin1Char('R'))) {
        frame.len = TESS_FRAME_RTR;
    } else {
        // Kept to the data bytes a frame has, so that no length sets the
        // remote flag.
        frame.len = uint8_t(qBound(0, fields[9].toInt(nullptr, 10), 8));
    }
    for (int i = 0; i < 8; ++i)
        frame.data[i] = uint8_t(fields[10 + i].toInt(nullptr, 16));
    collector.add(frame, t);
}

} // namespace

CanLogForm canLogFormOf(const QString& fileName)
{
    if (fileName.endsWith(QLatin1String("vbrlog"), Qt::CaseSensitive))
        return CanLogForm::Binary;
    if (fileName.endsWith(QLatin1String("txt"), Qt::CaseSensitive))
        return CanLogForm::Text;
    return CanLogForm::Unknown;
}

ProgressScale progressScale(int64_t total)
{
    ProgressScale scale;
    int64_t steps = qMax<int64_t>(total, 0);
    while (steps > 1000) {
        scale.step *= 10;
        steps /= 10;
    }
    scale.steps = int(steps);
    return scale;
}

int CanLog::frameCount(uint32_t id) const
{
    const auto it = framesById.constFind(id);
    return it == framesById.cend() ? 0 : int(it->size());
}

const ImportFrame& CanLog::frameOf(uint32_t id, int i) const
{
    return frames[framesById.find(id)->at(size_t(i))];
}

CanLog readBinaryCanLog(QIODevice* device, const ProgressScale& scale, IFImportProgress* progress)
{
    CanLog log;
    reserveFrames(log, device, recordSize);
    FrameCollector collector(log);
    ProgressPoller poller(scale, progress);
    int64_t midnight = 0;
    char record[recordSize];

    while (device->read(record, recordSize) == recordSize) {
        if (le16(record) != 0) {
            // A record of another kind: skipped by its length, which counts
            // the bytes just read.
            const uint32_t length = le32(record + 2);
            if (length > maxRecordLength)
                break;
            const qint64 rest = qint64(length) - recordSize;
            if (rest > 0 && device->skip(rest) != rest)
                break;
            continue;
        }

        const TessFrame frame = frameFromRecord(record + frameOffset);
        if (!(frame.id & noBusFrameFlag)) {
            const int32_t seconds = int32_t(le32(record + 2));
            const uint16_t milliseconds = le16(record + 6);
            const int16_t microseconds = int16_t(le16(record + 8));
            const uint16_t flags = le16(record + 10);
            if (!log.hasOrigin)
                midnight = localMidnight(seconds);
            // Seconds of the day first, so that the fractions keep their
            // precision.
            double t = double(int64_t(seconds) - midnight) + milliseconds / 1000.0;
            if (flags & microsecondsValid)
                t += microseconds / 1000000.0;
            if (!log.hasOrigin) {
                log.hasOrigin = true;
                log.timeOrigin = t;
            }
            collector.add(frame, t);
        }
        if (!poller.goOn(device->pos())) {
            log.canceled = true;
            break;
        }
    }
    return log;
}

CanLog readTextCanLog(QIODevice* device, const ProgressScale& scale, IFImportProgress* progress)
{
    CanLog log;
    reserveFrames(log, device, shortestFrameLine);
    FrameCollector collector(log);
    ProgressPoller poller(scale, progress);

    for (;;) {
        QByteArray bytes = device->readLine();
        if (bytes.endsWith('\n'))
            bytes.chop(1);
        if (bytes.endsWith('\r'))
            bytes.chop(1);
        // The end of the file, and a blank line as well.
        if (bytes.isEmpty())
            break;

        const QString line = QString::fromLatin1(bytes);
        const QVector<QStringRef> fields = line.splitRef(QLatin1Char('\t'), Qt::KeepEmptyParts);
        bool ok = false;
        fields[0].toULong(&ok, 10);
        // Heading lines end here.
        if (!ok)
            continue;
        readTextFields(fields, log, collector);
        if (!poller.goOn(device->pos())) {
            log.canceled = true;
            break;
        }
    }
    return log;
}

CanLog readCanLog(CanLogForm form, QIODevice* device, const ProgressScale& scale, IFImportProgress* progress)
{
    switch (form) {
    case CanLogForm::Binary:
        return readBinaryCanLog(device, scale, progress);
    case CanLogForm::Text:
        return readTextCanLog(device, scale, progress);
    case CanLogForm::Unknown:
        break;
    }
    return CanLog();
}

bool decodeSamples(const CanLog& log, uint32_t id, const ValueLayout& layout, double* x, double* y,
                   IFImportProgress* progress, int* samples)
{
    if (samples)
        *samples = 0;
    const auto it = log.framesById.constFind(id);
    if (it == log.framesById.cend())
        return true;
    const std::vector<uint32_t>& positions = *it;
    const int64_t n = int64_t(positions.size());
    // A bit layout keeps only the frames that hold its value: count them
    // first, so that the newest lands at sample 1.
    const FrameFit fits(layout);
    const bool skipMisfits = layout.bitLayout.has_value();
    int64_t m = n;
    if (skipMisfits) {
        m = 0;
        for (const uint32_t position : positions)
            m += fits(log.frames[position].frame) ? 1 : 0;
    }
    if (samples)
        *samples = int(m);
    const int64_t step = progressScale(n).step;
    int64_t next = m;
    for (int64_t i = 0; i < n; ++i) {
        if (progress && i % step == 0 && !progress->showStep(int(i / step)))
            return false;
        const ImportFrame& imported = log.frames[positions[size_t(i)]];
        // A remote frame leaves value alone: its sample is 0, as that of a
        // frame too short for the value.
        double value = 0.0;
        double raw = 0.0;
        if (!decodeValue(layout, imported.frame, false, &value, &raw) && skipMisfits)
            continue;
        x[next] = imported.time;
        y[next] = value;
        --next;
    }
    return true;
}
