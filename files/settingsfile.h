#ifndef SETTINGSFILE_H
#define SETTINGSFILE_H

#include <QColor>
#include <QDomDocument>
#include <QString>

class QIODevice;

// The settings file: one XML element whose attributes hold the plot colours
// and the numbers of the main window. This side knows the document and the
// value forms only; where a value goes is the window's business.

// Name of the file inside the settings directory.
constexpr char settingsFileBaseName[] = "vistrelsettings.xml";

// Everything the settings file holds. A colour that the file doesn't name
// properly reads as an invalid QColor; a missing number reads as 0.
struct Settings
{
    QColor backgroundColor;
    QColor gridColor;
    QColor marker1Color;
    QColor marker2Color;
    unsigned plotSize = 0;
    unsigned refreshTime = 0;
    int lineWidth = 0;
    bool continuousScroll = false;
    bool antialiasing = false;

    // The values of a first start.
    static Settings defaults();
};

bool operator==(const Settings& a, const Settings& b);
inline bool operator!=(const Settings& a, const Settings& b)
{
    return !(a == b);
}

struct SettingsReadResult
{
    enum Status { Ok, OpenFailed, ParseFailed };

    Status status = Ok;
    Settings settings;
};

// A colour from its name ("white", "#00ff00"), as the file's colours are
// read; invalid when Qt doesn't know the name.
QColor colorFromName(const QString& name);

// The full name of the settings file in dir, joined with "/"; the bare file
// name when dir is empty.
QString settingsFilePath(const QString& dir);

// The time of writing as the element's "datetime" holds it.
QString settingsDateTimeNow();

// Builds the document: one element "Vistrel" with "datetime" and one
// attribute per setting.
QDomDocument buildSettingsDocument(const Settings& settings, const QString& dateTime);

// Writes the document with an indent of 1 in the stream's default encoding,
// without XML declaration. Opens the device write-only (which empties a
// file) unless it is open already, and closes it again. False when it can't
// be opened.
bool writeSettingsDocument(const QDomDocument& document, QIODevice* device);

// Reads the settings. Opens the device read-only unless it is open already,
// and closes it again. Neither the element's name nor the order of its
// attributes matters, and nothing is checked against limits.
SettingsReadResult readSettingsDocument(QIODevice* device);

#endif // SETTINGSFILE_H
