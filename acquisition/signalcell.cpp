#include "signalcell.h"

#include "bitlayouttext.h"

#include <QRegularExpression>

QString signalCellText(const BitLayout& layout)
{
    QString text = bitLayoutText(layout);
    if (layout.multiplexed)
        text += QStringLiteral(" %1|%2@%3")
                    .arg(layout.muxField.startBit)
                    .arg(layout.muxField.length)
                    .arg(layout.muxField.motorola ? 0 : 1);
    return text;
}

std::optional<BitLayout> signalCellLayout(const QString& text)
{
    // The switch stands behind the multiplexer value; a DBC file gives the
    // switch a sign, which an unsigned switch may keep.
    static const QRegularExpression withSwitch(
        QStringLiteral(R"(^(.*m\s*\d+)\s+(\d{1,3})\s*\|\s*(\d{1,3})\s*@\s*([01])\s*\+?\s*$)"));
    const QRegularExpressionMatch m = withSwitch.match(text);
    if (!m.hasMatch())
        return parseBitLayoutText(text, std::nullopt).layout;
    const BitField muxSwitch{m.captured(2).toInt(), m.captured(3).toInt(),
                             m.captured(4) == QLatin1String("0")};
    return parseBitLayoutText(m.captured(1), muxSwitch).layout;
}
