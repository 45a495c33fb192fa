#ifndef MDIALOGDBCSIGNALS_H
#define MDIALOGDBCSIGNALS_H

#include "dbcfile.h"
#include "ui_dialogdbcsignals.h"

#include <QDialog>
#include <QVector>

class QTreeWidgetItem;

// Picks signals of a DBC database to become rows, and the net to put them
// on. The list shows every signal with its message, id, bits and unit, and
// the comments as tooltips; the filter keeps the signals whose message
// name, signal name, id, unit or comment contain every word typed. Signals
// that can't be decoded from a frame are shown but can't be chosen. What is
// chosen stays chosen while the filter hides it.
class MDialogDbcSignals : public QDialog, public Ui_DialogDbcSignals
{
    Q_OBJECT

public:
    // A signal by its message's index in the database and its own in the message.
    struct Choice
    {
        int message;
        int signal;
    };

    MDialogDbcSignals(const DbcDatabase& database, const QStringList& netEntries, QWidget* parent = nullptr);

    // The chosen signals in list order (the file's).
    QVector<Choice> chosenSignals() const;
    // Index in the Net list, -1 when it is empty.
    int netIndex() const { return comboBoxNet->currentIndex(); }

private slots:
    void on_lineEditFilter_textChanged(const QString& text);
    void on_treeWidgetSignals_itemSelectionChanged();
    void on_treeWidgetSignals_itemDoubleClicked(QTreeWidgetItem* item, int column);
};

#endif // MDIALOGDBCSIGNALS_H
