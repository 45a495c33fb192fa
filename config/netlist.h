#ifndef NETLIST_H
#define NETLIST_H

#include "netinfo.h"

#include <QString>
#include <QStringList>

// The board name as the Net list shows it: every "CAN", then every "_" removed.
QString shortBoardName(const TessStatus& status);

// Entries of a row's Net list: "<net>: <short board name>" for every net
// that exists, in net order.
QStringList netListEntries(const NetTable& nets);

// The net number at the front of a Net list entry, 0 when there is none.
int netNumberFromEntry(const QString& entry);

#endif // NETLIST_H
