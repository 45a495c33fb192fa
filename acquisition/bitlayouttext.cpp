#include "bitlayouttext.h"

#include <QRegularExpression>

namespace {

BitLayoutParse refused(const QString& why)
{
    return {std::nullopt, why};
}

} // namespace

QString bitLayoutText(const BitLayout& layout)
{
    QString text = QStringLiteral("%1|%2@%3%4")
                       .arg(layout.field.startBit)
                       .arg(layout.field.length)
                       .arg(layout.field.motorola ? 0 : 1)
                       .arg(layout.isSigned ? QLatin1Char('-') : QLatin1Char('+'));
    if (layout.valueType == SignalValueType::Float32)
        text += QLatin1Char('f');
    else if (layout.valueType == SignalValueType::Float64)
        text += QLatin1Char('d');
    if (layout.multiplexed)
        text += QStringLiteral(" m%1").arg(layout.muxValue);
    return text;
}

BitLayoutParse parseBitLayoutText(const QString& text, const std::optional<BitField>& muxSwitch)
{
    static const QRegularExpression form(QStringLiteral(
        R"(^\s*(\d{1,3})\s*\|\s*(\d{1,3})\s*@\s*([01])\s*([+-])\s*([fd]?)\s*(?:m\s*(\d{1,20}))?\s*$)"));
    const QRegularExpressionMatch m = form.match(text);
    if (!m.hasMatch())
        return refused(QStringLiteral("Expected start|length@order sign, such as 24|9@0- or 0|32@1-f m3"));

    BitLayout layout;
    layout.field.startBit = m.captured(1).toInt();
    layout.field.length = m.captured(2).toInt();
    layout.field.motorola = m.captured(3) == QLatin1String("0");
    layout.isSigned = m.captured(4) == QLatin1String("-");
    if (m.captured(5) == QLatin1String("f"))
        layout.valueType = SignalValueType::Float32;
    else if (m.captured(5) == QLatin1String("d"))
        layout.valueType = SignalValueType::Float64;

    if (layout.field.startBit > 63)
        return refused(
            QStringLiteral("Start bit %1 lies beyond the 8 data bytes (0 to 63)").arg(layout.field.startBit));
    if (layout.field.length < 1 || layout.field.length > 64)
        return refused(QStringLiteral("Length %1 is not 1 to 64").arg(layout.field.length));
    if (!BitExtractor(layout.field).valid())
        return refused(QStringLiteral("%1 bits from bit %2 run past the 8 data bytes")
                           .arg(layout.field.length)
                           .arg(layout.field.startBit));
    if (layout.valueType == SignalValueType::Float32 && layout.field.length != 32)
        return refused(QStringLiteral("A 32-bit float (f) needs length 32"));
    if (layout.valueType == SignalValueType::Float64 && layout.field.length != 64)
        return refused(QStringLiteral("A 64-bit float (d) needs length 64"));

    if (m.capturedLength(6) > 0) {
        if (!muxSwitch || !BitExtractor(*muxSwitch).valid())
            return refused(QStringLiteral("A multiplexer value needs the message's switch signal"));
        bool ok = false;
        layout.multiplexed = true;
        layout.muxField = *muxSwitch;
        layout.muxValue = m.captured(6).toULongLong(&ok);
        if (!ok || !isDecodable(layout))
            return refused(QStringLiteral("Multiplexer value %1 does not fit the switch's %2 bits")
                               .arg(m.captured(6))
                               .arg(muxSwitch->length));
    }
    return {layout, QString()};
}
