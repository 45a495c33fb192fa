#ifndef OPERATINGMODE_H
#define OPERATINGMODE_H

#include <QColor>
#include <QString>

// Where the data on the screen comes from, as the status bar tells it.
// No logic branches on it: it is a statement for the user.
enum OperatingMode {
    ModeNone = 4,
    ModeRun = 5,
    ModeStopped = 6,
    ModePause = 7,
    ModeImport = 8,
    ModeData = 9,
};

// Text of the mode label; empty for ModeNone and unknown modes.
QString operatingModeText(int mode);

// Colour of the mode's square. Invalid where the mode keeps the colour it
// has (ModePause) or takes the label's own background (ModeNone).
QColor operatingModeColor(int mode);

#endif // OPERATINGMODE_H
