#ifndef BITLAYOUTTEXT_H
#define BITLAYOUTTEXT_H

#include "bitlayout.h"

#include <QString>

#include <optional>

// The text of a bit layout in a table cell, as DBC files write a signal:
// "start|length@order sign", order 1 Intel and 0 Motorola, sign + or -, then
// "f" for a 32-bit float or "d" for a 64-bit float, and for a multiplexed
// signal " m" with the switch value: "24|9@0-", "0|32@1-f", "8|16@1+ m3".
// The switch's own layout is not part of the text; the row knows it.
QString bitLayoutText(const BitLayout& layout);

struct BitLayoutParse
{
    std::optional<BitLayout> layout; // set when the text is good
    QString error;                   // what is wrong with it otherwise
};

// Reads the text of a bit layout. A multiplexer suffix takes muxSwitch as
// the switch; without one it is refused. Blanks around the parts are
// allowed. Refuses what can't be decoded within 8 data bytes.
BitLayoutParse parseBitLayoutText(const QString& text, const std::optional<BitField>& muxSwitch);

#endif // BITLAYOUTTEXT_H
