#include "netlist.h"

#include <cstring>

QString shortBoardName(const TessStatus& status)
{
    const char* name = status.boardName;
    const size_t length = strnlen(name, sizeof status.boardName);
    QString text = QString::fromLatin1(name, int(length));
    text.remove(QStringLiteral("CAN"), Qt::CaseSensitive);
    text.remove(QLatin1Char('_'), Qt::CaseSensitive);
    return text;
}

QStringList netListEntries(const NetTable& nets)
{
    QStringList entries;
    for (int net = 0; net < int(nets.size()); ++net) {
        if (nets[net].infoHandle != -1)
            entries << QStringLiteral("%1: %2").arg(net).arg(shortBoardName(nets[net].status));
    }
    return entries;
}

int netNumberFromEntry(const QString& entry)
{
    const int colon = entry.indexOf(QLatin1Char(':'));
    return (colon < 0 ? entry : entry.left(colon)).toInt(nullptr, 10);
}
