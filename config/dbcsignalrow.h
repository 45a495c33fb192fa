#ifndef DBCSIGNALROW_H
#define DBCSIGNALROW_H

#include "dbcfile.h"

class TablePlotConfig;

// Writes a DBC signal into a row that Add Curve has just made, through the
// edit rules: name, net (with the bit rate of a row already on that net),
// id and 29-bit flag, the bit layout, unit, the signal's factor and offset
// as Scale and Offset with the ranges behind them, and the names of its raw
// values. The scaled range is the signal's minimum to maximum; a signal
// without one (both 0, as many files give, or a maximum not above the
// minimum) gets the range of its raw extremes. False, with the row
// untouched, for a signal that can't be decoded.
bool fillSignalRow(TablePlotConfig& config, int row, const DbcMessage& message, const DbcSignal& signal,
                   int netIndex);

#endif // DBCSIGNALROW_H
