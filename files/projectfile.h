#ifndef PROJECTFILE_H
#define PROJECTFILE_H

#include "valueaxissettings.h"

#include <QDomDocument>
#include <QMap>
#include <QString>
#include <QVector>

class QIODevice;

// The project file: an XML document with one "Graph<row>" element per curve,
// whose attributes are named by the column keys of the two tables, and one
// "CustomAxis"/"CustomAxis1" element per value axis. This side knows the
// elements and the value forms only; which cell an attribute fills is the
// window's business.

// Extension of project files, with its dot.
constexpr char projectFileExtension[] = ".vtlprj";
// Attribute that carries the Net entry's text; it has no column key.
constexpr char projectNetTextAttribute[] = "netstr";

// The attributes of one curve element, by name, as the file holds them.
struct ProjectGraph
{
    QMap<QString, QString> attributes;

    void set(const QString& key, const QString& text) { attributes.insert(key, text); }
    void set(const QString& key, int number) { attributes.insert(key, QString::number(number)); }
    // An absent attribute reads as empty text, so a number reads as 0.
    QString text(const QString& key) const { return attributes.value(key); }
    int number(const QString& key) const { return text(key).toInt(nullptr, 10); }
};

// One child of the root that the reader acts on, in document order.
struct ProjectElement
{
    enum Kind { Graph, Axis };

    Kind kind = Graph;
    // Index among all children of the root, those that are skipped included.
    int position = 0;
    ProjectGraph graph;     // Graph
    int axisIndex = 0;      // Axis: 0 left, 1 right
    ValueAxisSettings axis; // Axis
};

// Something the reader skipped or read in place of what the file said.
struct ProjectRepair
{
    QString element;   // the element's name
    QString attribute; // empty: the element was skipped
    QString text;      // the attribute's text in the file
};

struct ProjectReadResult
{
    enum Status { Ok, OpenFailed, ParseFailed };

    Status status = Ok;
    QVector<ProjectElement> elements;
    // Curve elements without attributes, and axis values that are no
    // numbers (read as 0), in document order.
    QVector<ProjectRepair> repairs;
};

// The time of writing as the root's "datetime" holds it.
QString projectDateTimeNow();

// Builds the document: the root with "file" and "datetime", a "Graph<i>"
// element for each entry of graphs, then an axis element for each entry of
// axes ("CustomAxis" for index 0, "CustomAxis<i>" for the others).
QDomDocument buildProjectDocument(const QString& fileName, const QString& dateTime,
                                  const QVector<ProjectGraph>& graphs,
                                  const QVector<ValueAxisSettings>& axes);

// Writes the document with an indent of 1 in the system's local encoding,
// without XML declaration. Opens the device write-only (which empties a
// file) unless it is open already, and closes it again. False when it can't
// be opened.
bool writeProjectDocument(const QDomDocument& document, QIODevice* device);

// Reads a project document. Opens the device read-only unless it is open
// already, and closes it again. A child whose name starts with "Graph" and
// that has attributes is a curve; "CustomAxis" is the left axis, any other
// name that starts with "CustomAxis" the right one, if it has attributes;
// everything else is skipped. Neither the root's name nor its attributes
// are looked at.
ProjectReadResult readProjectDocument(QIODevice* device);

// The name with the project extension appended unless it ends in it
// already (compared case-sensitively).
QString withProjectExtension(const QString& fileName);

#endif // PROJECTFILE_H
