#ifndef DBCSIGNALCONTROLLER_H
#define DBCSIGNALCONTROLLER_H

#include "dbcfile.h"
#include "mdialogdbcsignals.h"

#include <QObject>
#include <QVector>

class CurveSet;
class IFPrompt;
class QWidget;
class TablePlotConfig;

// "Add Signals from DBC...": asks for a DBC file, reads it, lets the user
// choose signals and a net in MDialogDbcSignals, and makes a row with its
// curve of each chosen signal. What a file with errors held is still
// offered, after one message that names the file and the lines.
class DbcSignalController : public QObject
{
    Q_OBJECT

public:
    DbcSignalController(TablePlotConfig* config, CurveSet* curves, IFPrompt& prompt, QWidget* dialogParent,
                        QObject* parent = nullptr);

    void addSignalsFromDbc();

    // A row of each chosen signal, made as Add Curve makes rows: one below
    // the other from below the current row on, the last one current.
    void addSignalRows(const DbcDatabase& database, const QVector<MDialogDbcSignals::Choice>& chosen,
                       int netIndex);

private:
    TablePlotConfig* const config;
    CurveSet* const curves;
    IFPrompt& prompt;
    QWidget* const dialogParent;
};

#endif // DBCSIGNALCONTROLLER_H
