#include "xmldocument.h"

#include <QIODevice>
#include <QTextStream>
#include <QXmlInputSource>
#include <QXmlStreamReader>

namespace {

// Deeper than any file of ours; the DOM parser recurses once per level, so a
// document nested some ten thousand deep would overflow the stack.
constexpr int maxElementDepth = 256;

// Whether elements nest deeper than maxElementDepth. The text is scanned as
// the DOM parser will see it. Where the scan stops at an error that the
// DOM parser may not share, each '<' behind it is counted as a level
// deeper, so that nothing deep passes unseen.
bool nestedTooDeep(const QString& text)
{
    QXmlStreamReader reader(text);
    int depth = 0;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::StartElement && ++depth > maxElementDepth)
            return true;
        if (token == QXmlStreamReader::EndElement)
            --depth;
    }
    if (!reader.hasError())
        return false;
    const int from = int(qBound<qint64>(0, reader.characterOffset(), text.size()));
    return depth + QStringRef(&text, from, text.size() - from).count(QLatin1Char('<')) > maxElementDepth;
}

// Opens a device that isn't open yet, and closes what it opened.
class OpenedHere
{
public:
    OpenedHere(QIODevice* device, QIODevice::OpenMode mode) : device(device)
    {
        if (!device->isOpen())
            opened = device->open(mode);
    }
    ~OpenedHere()
    {
        if (opened)
            device->close();
    }
    OpenedHere(const OpenedHere&) = delete;
    OpenedHere& operator=(const OpenedHere&) = delete;

    bool isOpen() const { return device->isOpen(); }

private:
    QIODevice* device;
    bool opened = false;
};

} // namespace

XmlLoad loadXmlDocument(QIODevice* device, QDomDocument* document)
{
    const OpenedHere file(device, QIODevice::ReadOnly);
    if (!file.isOpen())
        return XmlLoad::OpenFailed;
    // The input source decodes the bytes as setContent(device) would, once
    // for the depth check and the parser.
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    QXmlInputSource source(device);
    if (nestedTooDeep(source.data()))
        return XmlLoad::ParseFailed;
    return document->setContent(&source, false) ? XmlLoad::Loaded : XmlLoad::ParseFailed;
    QT_WARNING_POP
}

bool saveXmlDocument(const QDomDocument& document, QIODevice* device)
{
    // No text flag: the lines end in "\n" as the document has them.
    const OpenedHere file(device, QIODevice::WriteOnly);
    if (!file.isOpen())
        return false;
    // The codec is left at the system's local encoding; the reader decodes
    // by the XML rule (UTF-8), so text outside ASCII comes back intact only
    // under a UTF-8 locale.
    QTextStream stream(device);
    stream << document.toString(1);
    stream.flush();
    return true;
}
