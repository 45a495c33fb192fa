#ifndef SIGNALCELL_H
#define SIGNALCELL_H

#include "bitlayout.h"

#include <QString>

#include <optional>

// The text of a row's "Signal" cell: the bit layout as a DBC file writes a
// signal ("24|9@0-", "0|32@1-f"), and for a multiplexed signal the switch
// value and the switch's own bits behind it: "8|16@1+ m3 0|8@1" is present
// in frames whose bits 0 to 7 (Intel) hold 3.
QString signalCellText(const BitLayout& layout);

// The layout a cell text describes; none when the text is empty or not
// good (a multiplexer value without its switch, bits beyond 8 data bytes).
std::optional<BitLayout> signalCellLayout(const QString& text);

#endif // SIGNALCELL_H
