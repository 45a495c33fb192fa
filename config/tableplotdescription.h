#ifndef TABLEPLOTDESCRIPTION_H
#define TABLEPLOTDESCRIPTION_H

#include "columninfo.h"

#include <QTableWidget>

#include <array>
#include <memory>

class QComboTableSupportItem;
class TablePlotConfig;

// The "Value && Style" table: one row per curve, showing what the curve is
// doing, with the two settings that may change during a run ("En" and
// "Style"). All other cells are locked and written by the program only.
class TablePlotDescription : public QTableWidget
{
    Q_OBJECT

public:
    enum Column {
        ColColor = 0,
        ColName = 1,
        ColEnable = 2,
        ColRawValue = 3,
        ColCurrentValue = 4,
        ColTime = 5,
        ColCount = 6,
        ColUnit = 7,
        ColStyle = 8,
        ColM1 = 9,
        ColM2 = 10,
        ColumnCount = 11
    };

    static const QStringList& styleEntries();

    // Rows copy colour, name and unit from the configuration table, and two
    // widths are taken from it.
    explicit TablePlotDescription(TablePlotConfig* config);
    ~TablePlotDescription() override;

    const ColumnInfo& columnInfo(int nCol) const { return columns.at(size_t(nCol)); }

    // Inserts a row with the colour and name of the configuration row.
    void addCurveRow(int nRow);
    // Copies colour, name and unit from the configuration row.
    void syncRow(int nRow);

    // Cell access as in the configuration table, without generated tooltips.
    QTableWidgetItem* itemSave(int nRow, int nCol);
    QComboTableSupportItem* comboSave(int nRow, int nCol);
    void setComboCell(int nRow, int nCol, QComboTableSupportItem* item);
    void setColumnLocked(int nCol, bool bLocked);

    QString curveColor(int nRow);
    void setCurveColor(int nRow, const QString& name);
    bool curveEnabled(int nRow);
    void setCurveEnabled(int nRow, bool bOn);
    int curveStyle(int nRow);
    void setCurveStyleIndex(int nRow, int nIndex);

    // Text writers of the columns that the program fills. A row outside the
    // table ends on the dummy item.
    void setCurveName(int nRow, const QString& text) { setText(nRow, ColName, text); }
    void setRawValue(int nRow, const QString& text) { setText(nRow, ColRawValue, text); }
    void setCurrentValue(int nRow, const QString& text) { setText(nRow, ColCurrentValue, text); }
    void setTime(int nRow, const QString& text) { setText(nRow, ColTime, text); }
    void setCount(int nRow, const QString& text) { setText(nRow, ColCount, text); }
    void setUnit(int nRow, const QString& text) { setText(nRow, ColUnit, text); }
    void setM1(int nRow, const QString& text) { setText(nRow, ColM1, text); }
    void setM2(int nRow, const QString& text) { setText(nRow, ColM2, text); }
    QString text(int nRow, int nCol);

private:
    void setText(int nRow, int nCol, const QString& text);

    std::array<ColumnInfo, ColumnCount> columns;
    TablePlotConfig* const config;
    std::unique_ptr<QComboTableSupportItem> emptyComboItem;
};

#endif // TABLEPLOTDESCRIPTION_H
