#ifndef BOTTOMSCALEDRAW_H
#define BOTTOMSCALEDRAW_H

#include <qwt_scale_draw.h>

// Labels of the time axis: seconds with three decimals and a point as
// decimal separator, whatever the locale.
class BottomScaleDraw : public QwtScaleDraw
{
public:
    QwtText label(double value) const override;
};

#endif // BOTTOMSCALEDRAW_H
