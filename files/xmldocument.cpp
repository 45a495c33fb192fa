#include "xmldocument.h"

#include <QIODevice>
#include <QTextStream>

namespace {

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
    return document->setContent(device) ? XmlLoad::Loaded : XmlLoad::ParseFailed;
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
