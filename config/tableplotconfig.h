#ifndef TABLEPLOTCONFIG_H
#define TABLEPLOTCONFIG_H

#include "bitlayout.h"
#include "columninfo.h"
#include "dbcfile.h"
#include "iftooltiptextgenerator.h"
#include "netinfo.h"
#include "valueaxissettings.h"

#include <QStringList>
#include <QTableWidget>
#include <QVector>

#include <array>
#include <memory>
#include <optional>

class MDialogScaleOffset;
class QComboTableSupportItem;
class QKeyEvent;
class QMouseEvent;
class QSignalMapper;
class TrafficMeter;

// The "Data Configuration" table: one row is one curve, and its cells are
// the only store of the curve's configuration. Numbers stay text in the
// cells and are converted where they are used. All access to a cell goes
// through itemSave/comboSave, which never fail: a missing cell ends on a
// dummy item.
class TablePlotConfig : public QTableWidget, private IFTooltipTextGenerator
{
    Q_OBJECT

public:
    enum Column {
        ColColor = 0,
        ColName = 1,
        ColNet = 2,
        ColBaud = 3,
        ColBtr = 4,
        ColId = 5,
        Col29Bit = 6,
        ColPos = 7,
        ColDataType = 8,
        ColMask = 9,
        ColIntMot = 10,
        ColAxis = 11,
        ColScale = 12,
        ColOffset = 13,
        ColUnit = 14,
        ColCalc = 15,
        ColRawValueMin = 16,
        ColRawValueMax = 17,
        ColValueMin = 18,
        ColValueMax = 19,
        ColName20 = 20,
        ColBtrCopy = 21,
        // A row described bit by bit, as DBC files describe signals: its
        // layout (acquisition/signalcell.h), empty for a row that Pos, DataType, Mask
        // and Int/Mot describe; then, hidden, the names of its raw values
        // (valueTableText of dbcfile.h).
        ColSignal = 22,
        ColValueTable = 23,
        ColumnCount = 24
    };

    // The narrowest column of both tables ("Enable" of the description).
    static constexpr int narrowestSection = 22;

    // Index of "BTR01" in the baud list; the entries before it are the baud
    // codes 0 to 13.
    static constexpr int BaudBtrIndex = 14;

    static const QStringList& baudEntries();
    static const QStringList& dataTypeEntries();
    static const QStringList& byteOrderEntries();
    static const QStringList& axisEntries();
    static const QStringList& positionEntries();

    // The Net lists and tooltips show nets; the scaling of a row fills the
    // viewport of its axis (left, right). Both are read, never written.
    TablePlotConfig(const NetTable& nets, const QVector<ValueAxisSettings*>& axisSettings);
    ~TablePlotConfig() override;

    const ColumnInfo& columnInfo(int nCol) const { return columns.at(size_t(nCol)); }
    // Qt::MouseButtons of the last press in the table, 0 before the first.
    int lastPressButtons() const { return lastMouseButtons; }
    QSignalMapper* calcButtonMapper() const { return calcMapper; }
    // The row that addCurveRow is building, -1 at all other times. Its
    // description row and its curve don't exist yet, so what an edit of it
    // copies must stay within the row.
    int rowUnderConstruction() const { return buildingRow; }

    // Cell access.
    QTableWidgetItem* itemSave(int nRow, int nCol);
    QTableWidgetItem* generatorItem(int nRow, int nCol);
    // Never null: a cell without a combo box gives one shared empty item,
    // whose index reads -1 and whose setters do nothing.
    QComboTableSupportItem* comboSave(int nRow, int nCol);
    void setComboCell(int nRow, int nCol, QComboTableSupportItem* item);
    QString cellText(int nRow, int nCol);
    void setCellText(int nRow, int nCol, const QString& text);

    // Typed access, one column each.
    QString curveColor(int nRow);
    void setCurveColor(int nRow, const QString& name);
    QString curveName(int nRow) { return cellText(nRow, ColName); }
    void setCurveName(int nRow, const QString& text) { setCellText(nRow, ColName, text); }
    int netNumber(int nRow);
    QString netText(int nRow);
    void setNetIndex(int nRow, int nIndex);
    int baud(int nRow);
    void setBaud(int nRow, int nBaud);
    QString btrText(int nRow) { return cellText(nRow, ColBtr); }
    void setBtrText(int nRow, const QString& text) { setCellText(nRow, ColBtr, text); }
    void updateBtrColumn();
    QString idText(int nRow) { return cellText(nRow, ColId); }
    void setIdText(int nRow, const QString& text) { setCellText(nRow, ColId, text); }
    bool is29Bit(int nRow);
    void set29Bit(int nRow, bool bOn);
    QString positionText(int nRow) { return cellText(nRow, ColPos); }
    void setPosition(int nRow, const QString& text);
    int dataType(int nRow);
    void setDataType(int nRow, int nIndex);
    QString maskText(int nRow) { return cellText(nRow, ColMask); }
    void setMaskText(int nRow, const QString& text) { setCellText(nRow, ColMask, text); }
    int byteOrder(int nRow);
    void setByteOrder(int nRow, int nIndex);
    int valueAxis(int nRow);
    void setValueAxis(int nRow, int nIndex);
    QString scaleText(int nRow) { return cellText(nRow, ColScale); }
    void setScaleText(int nRow, const QString& text) { setCellText(nRow, ColScale, text); }
    QString offsetText(int nRow) { return cellText(nRow, ColOffset); }
    void setOffsetText(int nRow, const QString& text) { setCellText(nRow, ColOffset, text); }
    QString unitText(int nRow) { return cellText(nRow, ColUnit); }
    void setUnitText(int nRow, const QString& text) { setCellText(nRow, ColUnit, text); }
    QString rawValueMinText(int nRow) { return cellText(nRow, ColRawValueMin); }
    void setRawValueMinText(int nRow, const QString& text) { setCellText(nRow, ColRawValueMin, text); }
    QString rawValueMaxText(int nRow) { return cellText(nRow, ColRawValueMax); }
    void setRawValueMaxText(int nRow, const QString& text) { setCellText(nRow, ColRawValueMax, text); }
    QString valueMinText(int nRow) { return cellText(nRow, ColValueMin); }
    void setValueMinText(int nRow, const QString& text) { setCellText(nRow, ColValueMin, text); }
    QString valueMaxText(int nRow) { return cellText(nRow, ColValueMax); }
    void setValueMaxText(int nRow, const QString& text) { setCellText(nRow, ColValueMax, text); }
    QString btrCopyText(int nRow) { return cellText(nRow, ColBtrCopy); }
    void setBtrCopyText(int nRow, const QString& text) { setCellText(nRow, ColBtrCopy, text); }
    QString signalText(int nRow) { return cellText(nRow, ColSignal); }
    void setSignalText(int nRow, const QString& text) { setCellText(nRow, ColSignal, text); }
    QString valueTableCell(int nRow) { return cellText(nRow, ColValueTable); }
    void setValueTableCell(int nRow, const QString& text) { setCellText(nRow, ColValueTable, text); }
    // The row's bit layout, none for a row described by its byte-level cells.
    std::optional<BitLayout> signalLayout(int nRow);
    DbcValueTable valueTable(int nRow);

    // The entries of the Net list that a new row gets.
    QStringList netEntries() const;

    void setColumnLocked(int nCol, bool bLocked);

    // Rows.
    void addCurveRow(int nRow);
    void removeCurveRow(int nRow);
    void removeAllRows();

    // Replaces a value that fails its cell's check (Baud, BTR/hex, Id, Pos,
    // Mask, Signal) without a message, and writes the baud and the signal's
    // layout in their canonical form.
    // For every write of a cell; a repair writes the cell again and passes
    // the second time.
    void repairCell(int nRow, int nCol);

    // Repairs Scale, Offset and the scaled range of a row and computes its
    // raw range from them, for rows that come with Scale and Offset only.
    void deriveRawRange(int nRow);

    QString tooltipText(int nRow, int nCol) override;
    // The Net cells' tooltips end with the net's last rate and load from it.
    void setTrafficMeter(const TrafficMeter* meter) { trafficMeter = meter; }

public slots:
    // Opens the scaling dialog for a row.
    void slotCalcCmd(int row);
    // Copies the scaling dialog's fields into the row, as they stand.
    void slotRefreshCalcDataInTable(int row);
    void slotDataTypeCurveSelection(int nRow);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    // F2 on "Scale" or "Offset" asks for the scaling dialog as a double
    // click on the cell would.
    void keyPressEvent(QKeyEvent* event) override;

private:
    IFTooltipTextGenerator* generatorSide() { return this; }
    QComboTableSupportItem* makeComboItem(const QStringList& entries);
    void rebuildCalcButtons();
    QString interfaceTooltip(int nRow);
    QString identifierTooltip(int nRow);
    QString scalingTooltip(int nRow);
    // The Signal cell's rule: a good layout in its canonical form, the last
    // good one for a bad text, empty for none; the byte-level cells lock
    // while a layout stands.
    void repairSignalCell(int nRow);
    void lockByteLevelCell(int nRow, int nCol, bool bLocked);

    std::array<ColumnInfo, ColumnCount> columns;
    int lastMouseButtons = 0;
    const NetTable& nets;
    const QVector<ValueAxisSettings*>& axisSettings;
    QSignalMapper* calcMapper = nullptr;
    const TrafficMeter* trafficMeter = nullptr;
    MDialogScaleOffset* scaleDialog = nullptr;
    std::unique_ptr<QComboTableSupportItem> emptyComboItem;
    int buildingRow = -1;
};

#endif // TABLEPLOTCONFIG_H
