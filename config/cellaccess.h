#ifndef CELLACCESS_H
#define CELLACCESS_H

#include <QString>

class QComboTableSupportItem;
class QTableWidget;
class QTableWidgetItem;

// Cell access that never fails, shared by both tables. A cell inside the
// table gets a TooltipSupportItem when it has no item yet; a cell outside
// the table ends on one dummy item that lives until the program ends, so
// that reads and writes on a missing row go nowhere.
QTableWidgetItem* itemSave(QTableWidget* table, int nRow, int nCol);

// The item's display text; for a combo box cell the current entry.
QString cellText(QTableWidget* table, int nRow, int nCol);

// Writes the display text through the item, which raises the table's
// cellChanged unless the text is unchanged.
void setCellText(QTableWidget* table, int nRow, int nCol, const QString& text);

// The cell's combo box item, or null when the cell lies outside the table,
// has no item, holds another kind of item, or its box is gone.
QComboTableSupportItem* comboItem(const QTableWidget* table, int nRow, int nCol);

// Puts the item into the cell and its combo box over it.
void setComboCell(QTableWidget* table, int nRow, int nCol, QComboTableSupportItem* item);

// Makes a column read-only (no editing, no check box, combo box disabled)
// or editable again, in the rows that exist now. Raises no cellChanged.
void setColumnLocked(QTableWidget* table, int nCol, bool bLocked);

#endif // CELLACCESS_H
