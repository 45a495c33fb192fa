#ifndef PROGRAMOPTIONS_H
#define PROGRAMOPTIONS_H

// The numbers of the settings file that the run, the time base, the curves
// and the data file go by; the colours live in the plot.
struct ProgramOptions
{
    unsigned refreshTime = 250; // ms
    unsigned plotSize = 5000;   // points of a new curve
    int lineWidth = 1;
    bool continuousScroll = true;
    bool antialiasing = false;

    // The largest plotSize a file may set: ten times the options dialog's
    // limit. Bigger values only come from damaged files, and would make
    // every new curve allocate an absurd amount.
    static constexpr unsigned largestPlotSize = 1000000;
};

#endif // PROGRAMOPTIONS_H
