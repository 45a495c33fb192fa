#ifndef XMLDOCUMENT_H
#define XMLDOCUMENT_H

#include <QDomDocument>

class QIODevice;

// What came of reading an XML document from a device.
enum class XmlLoad { Loaded, OpenFailed, ParseFailed };

// Reads and parses the document on device. A device that isn't open yet is
// opened for reading and closed again; one that is open is read from where
// it stands. Without a declaration the bytes are decoded as UTF-8.
XmlLoad loadXmlDocument(QIODevice* device, QDomDocument* document);

// Writes the document with an indent of one space per level and lines that
// end in "\n", opening and closing the device as loadXmlDocument does.
// False when the device can't be opened for writing.
bool saveXmlDocument(const QDomDocument& document, QIODevice* device);

#endif // XMLDOCUMENT_H
