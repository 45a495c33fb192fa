// The project file: the window's tables and value axes to and from the
// document of files/projectfile.h. The attribute names are the column keys
// of the two tables.
#include "vistrelmainwindow.h"

#include "projectfile.h"
#include "qcombotablesupportitem.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"

#include <QFile>
#include <QFileDialog>
#include <QMessageBox>

namespace {

// One row of both tables in the form the file holds it.
ProjectGraph graphOfRow(TablePlotConfig& config, TablePlotDescription& description, int row)
{
    ProjectGraph graph;
    for (int col = 0; col < TablePlotConfig::ColumnCount; ++col) {
        const QString& key = config.columnInfo(col).key;
        switch (col) {
        case TablePlotConfig::ColColor:
            graph.set(key, config.curveColor(row));
            break;
        case TablePlotConfig::ColNet:
            // The position in the Net list, not the net number.
            graph.set(key, config.comboSave(row, col)->comboBox->currentIndex());
            break;
        case TablePlotConfig::ColBaud:
            // Carries "BTR/hex" too: negative in BTR mode.
            graph.set(key, config.baud(row));
            break;
        case TablePlotConfig::ColBtr:
            break;
        case TablePlotConfig::Col29Bit:
            graph.set(key, config.is29Bit(row) ? 1 : 0);
            break;
        case TablePlotConfig::ColDataType:
            graph.set(key, config.dataType(row));
            break;
        case TablePlotConfig::ColIntMot:
            graph.set(key, config.byteOrder(row));
            break;
        case TablePlotConfig::ColAxis:
            graph.set(key, config.valueAxis(row));
            break;
        default:
            // Text cells, and "Pos" by its entry text "1" to "8".
            graph.set(key, config.cellText(row, col));
            break;
        }
    }
    graph.set(QLatin1String(projectNetTextAttribute), config.netText(row));
    graph.set(description.columnInfo(TablePlotDescription::ColEnable).key,
              description.curveEnabled(row) ? 1 : 0);
    graph.set(description.columnInfo(TablePlotDescription::ColStyle).key, description.curveStyle(row));
    return graph;
}

// Fills the configuration cells of a row that addCurveRow has just made. The
// order matters: each write passes the edit rules, and the data type and the
// axis come after Scale and Offset without recomputing them.
void fillConfigRow(TablePlotConfig& config, int row, const ProjectGraph& graph)
{
    const auto text = [&config, &graph](int col) { return graph.text(config.columnInfo(col).key); };
    const auto number = [&config, &graph](int col) { return graph.number(config.columnInfo(col).key); };

    config.setCurveColor(row, text(TablePlotConfig::ColColor));
    config.setCurveName(row, text(TablePlotConfig::ColName));
    config.setIdText(row, text(TablePlotConfig::ColId));
    config.set29Bit(row, number(TablePlotConfig::Col29Bit) != 0);
    // A missing "pos" gives index -1: no entry selected.
    config.setPosition(row, text(TablePlotConfig::ColPos));
    config.setScaleText(row, text(TablePlotConfig::ColScale));
    config.setRawValueMinText(row, text(TablePlotConfig::ColRawValueMin));
    config.setRawValueMaxText(row, text(TablePlotConfig::ColRawValueMax));
    config.setValueMinText(row, text(TablePlotConfig::ColValueMin));
    config.setValueMaxText(row, text(TablePlotConfig::ColValueMax));
    config.setOffsetText(row, text(TablePlotConfig::ColOffset));
    config.setUnitText(row, text(TablePlotConfig::ColUnit));
    // An index beyond the nets present selects nothing.
    config.setNetIndex(row, number(TablePlotConfig::ColNet));
    config.setBaud(row, number(TablePlotConfig::ColBaud));
    config.setByteOrder(row, number(TablePlotConfig::ColIntMot));
    config.setValueAxis(row, number(TablePlotConfig::ColAxis));
    config.setDataType(row, number(TablePlotConfig::ColDataType));
    config.setMaskText(row, text(TablePlotConfig::ColMask));
}

} // namespace

void VistrelMainWindow::writeProjectFile(const QString& fileName)
{
    // The name is taken before the file is tried, and stays after a failure.
    setProjectFileName(fileName);

    QVector<ProjectGraph> graphs;
    for (int row = 0; row < tableConfig->rowCount(); ++row)
        graphs << graphOfRow(*tableConfig, *tableDescription, row);
    QVector<ValueAxisSettings> axes;
    for (const ValueAxisSettings* axis : qAsConst(axisSettings))
        axes << *axis;
    const QDomDocument document = buildProjectDocument(fileName, projectDateTimeNow(), graphs, axes);

    QFile file(fileName);
    if (!writeProjectDocument(document, &file))
        QMessageBox::critical(this, tr("Critical Error"), tr("Cannot write file %1").arg(fileName),
                              QMessageBox::Ok);
}

void VistrelMainWindow::readProjectFile(const QString& fileName)
{
    if (!resetProject())
        return;

    QFile file(fileName);
    const ProjectReadResult result = readProjectDocument(&file);
    if (result.status != ProjectReadResult::Ok) {
        // The reset stands: the configuration and both names are empty.
        const QString text = result.status == ProjectReadResult::OpenFailed ? tr("Cannot read file %1")
                                                                            : tr("Cannot parse xml-file %1");
        QMessageBox::critical(this, tr("Critical Error"), text.arg(fileName), QMessageBox::Ok);
        return;
    }

    for (const ProjectElement& element : result.elements) {
        if (element.kind == ProjectElement::Axis) {
            *axisSettings[element.axisIndex] = element.axis;
            continue;
        }
        // The writer puts the curves first, so the position is the row. In a
        // file where something else stands before them the position lies
        // beyond the table: the row is then appended, which keeps the rows
        // in file order and both tables and the curves in step.
        const int row = qMin(element.position, tableConfig->rowCount());
        const ProjectGraph& graph = element.graph;
        tableConfig->addCurveRow(row);
        fillConfigRow(*tableConfig, row, graph);
        tableDescription->addCurveRow(row);
        tableDescription->syncRow(row);
        tableDescription->setCurveStyleIndex(
            row, graph.number(tableDescription->columnInfo(TablePlotDescription::ColStyle).key));
        tableDescription->setCurveEnabled(
            row, graph.number(tableDescription->columnInfo(TablePlotDescription::ColEnable).key) != 0);
        createCurve(row);
    }

    slotAxisSettingsUpdated();
    setProjectFileName(fileName);
    setDataFileName(QString());
    // The mode stays ModeNone from the reset: the curves hold no data yet.
    updateActions();
}

void VistrelMainWindow::projectOpen()
{
    const QString name =
        QFileDialog::getOpenFileName(this, tr("Open Project"), QString(), QStringLiteral("*.vtlprj"));
    if (name.isEmpty())
        return;
    readProjectFile(withProjectExtension(name));
}

void VistrelMainWindow::projectSave()
{
    writeProjectFile(projectFileName);
}

void VistrelMainWindow::projectSaveAs()
{
    const QString name =
        QFileDialog::getSaveFileName(this, tr("Save Project as"), QString(), QStringLiteral("*.vtlprj"));
    if (name.isEmpty())
        return;
    writeProjectFile(withProjectExtension(name));
}
