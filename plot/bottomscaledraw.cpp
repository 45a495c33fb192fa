#include "bottomscaledraw.h"

#include <QString>

QwtText BottomScaleDraw::label(double value) const
{
    QString text = QString::number(value, 'f', 3);
    // Ticks computed near 0 come out as tiny negatives (-1e-17); nobody wants "-0.000".
    if (text == QLatin1String("-0.000"))
        text.remove(0, 1);
    return QwtText(text, QwtText::AutoText);
}
