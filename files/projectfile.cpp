#include "projectfile.h"

#include "xmldocument.h"

#include <QDateTime>
#include <QDomNamedNodeMap>

namespace {

const QString rootName = QStringLiteral("Vistrel");
const QString graphPrefix = QStringLiteral("Graph");
const QString axisPrefix = QStringLiteral("CustomAxis");
const QString minKey = QStringLiteral("Min");
const QString maxKey = QStringLiteral("Max");
const QString stepKey = QStringLiteral("Step");
const QString showKey = QStringLiteral("Show");
const QString gridKey = QStringLiteral("Grid");

QString axisElementName(int index)
{
    // The left axis carries no number.
    return index == 0 ? axisPrefix : axisPrefix + QString::number(index);
}

// Axis values that are there but are no numbers: they read as 0.
void noteUnreadableAxisValues(const QDomElement& element, QVector<ProjectRepair>& repairs)
{
    for (const QString& key : {minKey, maxKey, stepKey, showKey, gridKey}) {
        const QString text = element.attribute(key);
        bool ok = text.isEmpty();
        if (!ok && (key == showKey || key == gridKey))
            text.toInt(&ok, 10);
        else if (!ok)
            text.toDouble(&ok);
        if (!ok)
            repairs.append({element.tagName(), key, text});
    }
}

ValueAxisSettings readAxis(const QDomElement& element)
{
    ValueAxisSettings axis;
    axis.min = element.attribute(minKey).toDouble();
    axis.max = element.attribute(maxKey).toDouble();
    axis.step = element.attribute(stepKey).toDouble();
    axis.visible = element.attribute(showKey).toInt(nullptr, 10) > 0;
    axis.grid = element.attribute(gridKey).toInt(nullptr, 10) > 0;
    return axis;
}

ProjectGraph readGraph(const QDomElement& element)
{
    ProjectGraph graph;
    const QDomNamedNodeMap attributes = element.attributes();
    for (int i = 0; i < attributes.count(); ++i) {
        const QDomAttr attribute = attributes.item(i).toAttr();
        graph.set(attribute.name(), attribute.value());
    }
    return graph;
}

} // namespace

QString projectDateTimeNow()
{
    return QDateTime::currentDateTime().toString(Qt::TextDate);
}

QDomDocument buildProjectDocument(const QString& fileName, const QString& dateTime,
                                  const QVector<ProjectGraph>& graphs, const QVector<ValueAxisSettings>& axes)
{
    QDomDocument document;
    QDomElement root = document.createElement(rootName);
    document.appendChild(root);
    root.setAttribute(QStringLiteral("file"), fileName);
    root.setAttribute(QStringLiteral("datetime"), dateTime);

    for (int row = 0; row < graphs.size(); ++row) {
        QDomElement element = document.createElement(graphPrefix + QString::number(row));
        root.appendChild(element);
        const QMap<QString, QString>& attributes = graphs.at(row).attributes;
        for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
            element.setAttribute(it.key(), it.value());
    }

    for (int index = 0; index < axes.size(); ++index) {
        const ValueAxisSettings& axis = axes.at(index);
        QDomElement element = document.createElement(axisElementName(index));
        root.appendChild(element);
        element.setAttribute(minKey, axis.min);
        element.setAttribute(maxKey, axis.max);
        element.setAttribute(stepKey, axis.step);
        element.setAttribute(showKey, axis.visible ? 1 : 0);
        element.setAttribute(gridKey, axis.grid ? 1 : 0);
    }
    return document;
}

bool writeProjectDocument(const QDomDocument& document, QIODevice* device)
{
    return saveXmlDocument(document, device);
}

ProjectReadResult readProjectDocument(QIODevice* device)
{
    ProjectReadResult result;
    QDomDocument document;
    switch (loadXmlDocument(device, &document)) {
    case XmlLoad::OpenFailed:
        result.status = ProjectReadResult::OpenFailed;
        return result;
    case XmlLoad::ParseFailed:
        result.status = ProjectReadResult::ParseFailed;
        return result;
    case XmlLoad::Loaded:
        break;
    }

    // Only the prefix of a name counts; the number behind it is not read.
    const QDomNodeList children = document.documentElement().childNodes();
    for (int position = 0; position < children.count(); ++position) {
        const QDomElement element = children.at(position).toElement();
        if (!element.isNull() && !element.hasAttributes() && element.tagName().startsWith(graphPrefix))
            result.repairs.append({element.tagName(), QString(), QString()});
        if (element.isNull() || !element.hasAttributes())
            continue;
        const QString name = element.tagName();
        ProjectElement entry;
        entry.position = position;
        if (name.startsWith(graphPrefix)) {
            entry.kind = ProjectElement::Graph;
            entry.graph = readGraph(element);
        } else if (name.startsWith(axisPrefix)) {
            entry.kind = ProjectElement::Axis;
            entry.axisIndex = name == axisPrefix ? 0 : 1;
            entry.axis = readAxis(element);
            noteUnreadableAxisValues(element, result.repairs);
        } else {
            continue;
        }
        result.elements << entry;
    }
    return result;
}

QString withProjectExtension(const QString& fileName)
{
    const QLatin1String extension(projectFileExtension);
    return fileName.endsWith(extension, Qt::CaseSensitive) ? fileName : fileName + extension;
}
