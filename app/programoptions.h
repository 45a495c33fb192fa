#ifndef PROGRAMOPTIONS_H
#define PROGRAMOPTIONS_H

#include <QString>

// The numbers of the settings file that the run, the time base, the curves
// and the data file go by; the colours live in the plot.
struct ProgramOptions
{
    unsigned refreshTime = 250; // ms
    unsigned plotSize = 5000;   // points of a new curve
    int lineWidth = 1;
    bool continuousScroll = true;
    bool antialiasing = false;

    // Memory of one curve per point: ring, snapshot and the plot's arrays.
    static constexpr unsigned long long bytesPerPoint = 64;
    // Whether a curve of `points` points can be had: at most half of the
    // machine's memory. Files may state any plot size; a damaged one must
    // not make every new curve ask for more than there is.
    static bool plotSizeFits(unsigned long long points);
    // The message for a plot size that does not fit, and the one kept.
    static QString plotSizeRefusedText(unsigned long long points, unsigned kept);
};

#endif // PROGRAMOPTIONS_H
