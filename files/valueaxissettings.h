#ifndef VALUEAXISSETTINGS_H
#define VALUEAXISSETTINGS_H

// One value axis of the plot: its fixed viewport, whether it is shown, and
// whether the grid belongs to it.
struct ValueAxisSettings
{
    double min = 0.0;
    double max = 100.0;
    double step = 10.0; // major tick distance; 0 leaves it to Qwt
    bool visible = false;
    bool grid = false;

    static ValueAxisSettings leftDefault() { return {-100.0, 100.0, 10.0, true, true}; }
    static ValueAxisSettings rightDefault() { return {0.0, 100.0, 10.0, false, false}; }
};

#endif // VALUEAXISSETTINGS_H
