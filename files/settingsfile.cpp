#include "settingsfile.h"

#include "xmldocument.h"

#include <QDateTime>
#include <QDomElement>

namespace {

const QString rootName = QStringLiteral("Vistrel");
const QString dateTimeKey = QStringLiteral("datetime");
const QString backgroundColorKey = QStringLiteral("BackgroundColor");
const QString gridColorKey = QStringLiteral("GridColor");
const QString marker1ColorKey = QStringLiteral("Marker1Color");
const QString marker2ColorKey = QStringLiteral("Marker2Color");
const QString plotSizeKey = QStringLiteral("PlotSize");
const QString refreshTimeKey = QStringLiteral("RefreshTime");
const QString lineWidthKey = QStringLiteral("LineWidth");
// Spelled so in every file that exists.
const QString continuousScrollKey = QStringLiteral("ContinousScoll");
const QString antialiasingKey = QStringLiteral("Antialiasing");

unsigned long unsignedValue(const QDomElement& element, const QString& key)
{
    // Text that isn't a number, a missing attribute included, gives 0.
    return element.attribute(key, QString()).toULong(nullptr, 10);
}

} // namespace

Settings Settings::defaults()
{
    Settings settings;
    settings.backgroundColor = colorFromName(QStringLiteral("white"));
    // The named grey, which is lighter than Qt::gray.
    settings.gridColor = colorFromName(QStringLiteral("grey"));
    settings.marker1Color = colorFromName(QStringLiteral("blue"));
    settings.marker2Color = colorFromName(QStringLiteral("blue"));
    settings.plotSize = 5000;
    settings.refreshTime = 250;
    settings.lineWidth = 1;
    settings.continuousScroll = true;
    settings.antialiasing = false;
    return settings;
}

bool operator==(const Settings& a, const Settings& b)
{
    return a.backgroundColor == b.backgroundColor && a.gridColor == b.gridColor &&
           a.marker1Color == b.marker1Color && a.marker2Color == b.marker2Color && a.plotSize == b.plotSize &&
           a.refreshTime == b.refreshTime && a.lineWidth == b.lineWidth &&
           a.continuousScroll == b.continuousScroll && a.antialiasing == b.antialiasing;
}

QColor colorFromName(const QString& name)
{
    QColor color;
    color.setNamedColor(name);
    return color;
}

QString settingsFilePath(const QString& dir)
{
    const QString name = QLatin1String(settingsFileBaseName);
    return dir.isEmpty() ? name : dir + QLatin1Char('/') + name;
}

QString settingsDateTimeNow()
{
    return QDateTime::currentDateTime().toString(Qt::TextDate);
}

QDomDocument buildSettingsDocument(const Settings& settings, const QString& dateTime)
{
    QDomDocument document;
    QDomElement root = document.createElement(rootName);
    document.appendChild(root);
    root.setAttribute(dateTimeKey, dateTime);
    root.setAttribute(backgroundColorKey, settings.backgroundColor.name());
    root.setAttribute(gridColorKey, settings.gridColor.name());
    root.setAttribute(marker1ColorKey, settings.marker1Color.name());
    root.setAttribute(marker2ColorKey, settings.marker2Color.name());
    root.setAttribute(plotSizeKey, QString::number(settings.plotSize));
    root.setAttribute(refreshTimeKey, QString::number(settings.refreshTime));
    root.setAttribute(lineWidthKey, QString::number(settings.lineWidth));
    root.setAttribute(continuousScrollKey, settings.continuousScroll ? 1 : 0);
    root.setAttribute(antialiasingKey, settings.antialiasing ? 1 : 0);
    return document;
}

bool writeSettingsDocument(const QDomDocument& document, QIODevice* device)
{
    return saveXmlDocument(document, device);
}

SettingsReadResult readSettingsDocument(QIODevice* device)
{
    SettingsReadResult result;
    QDomDocument document;
    switch (loadXmlDocument(device, &document)) {
    case XmlLoad::OpenFailed:
        result.status = SettingsReadResult::OpenFailed;
        return result;
    case XmlLoad::ParseFailed:
        result.status = SettingsReadResult::ParseFailed;
        return result;
    case XmlLoad::Loaded:
        break;
    }

    const QDomElement root = document.documentElement();
    Settings& settings = result.settings;
    settings.backgroundColor = colorFromName(root.attribute(backgroundColorKey, QString()));
    settings.gridColor = colorFromName(root.attribute(gridColorKey, QString()));
    settings.marker1Color = colorFromName(root.attribute(marker1ColorKey, QString()));
    settings.marker2Color = colorFromName(root.attribute(marker2ColorKey, QString()));
    // The buffer size is read as a signed number and taken as unsigned, as
    // it always was.
    settings.plotSize = static_cast<unsigned>(root.attribute(plotSizeKey, QString()).toLong(nullptr, 10));
    settings.refreshTime = static_cast<unsigned>(unsignedValue(root, refreshTimeKey));
    settings.lineWidth = static_cast<int>(unsignedValue(root, lineWidthKey));
    settings.continuousScroll = unsignedValue(root, continuousScrollKey) != 0;
    settings.antialiasing = unsignedValue(root, antialiasingKey) != 0;
    return result;
}
