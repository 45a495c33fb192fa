#include "operatingmode.h"

QString operatingModeText(int mode)
{
    switch (mode) {
    case ModeRun:
        return QStringLiteral("ONLINE - RUN");
    case ModeStopped:
        return QStringLiteral("ONLINE - STOPPED");
    case ModePause:
        return QStringLiteral("ONLINE - PAUSE");
    case ModeImport:
        return QStringLiteral("OFFLINE - IMPORT");
    case ModeData:
        return QStringLiteral("OFFLINE - DATA");
    default:
        return QString();
    }
}

QColor operatingModeColor(int mode)
{
    switch (mode) {
    case ModeRun:
        return QColor(Qt::green);
    case ModeStopped:
        return QColor(Qt::blue);
    case ModeImport:
        return QColor(Qt::yellow);
    case ModeData:
        return QColor(QStringLiteral("orange"));
    default:
        return QColor();
    }
}
