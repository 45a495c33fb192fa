#include "dbcsignalcontroller.h"

#include "curveset.h"
#include "dbcsignalrow.h"
#include "ifprompt.h"
#include "tableplotconfig.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

// Lines named one by one in the message; the rest are counted.
constexpr int errorsNamed = 10;

} // namespace

DbcSignalController::DbcSignalController(TablePlotConfig* config, CurveSet* curves, IFPrompt& prompt,
                                         QWidget* dialogParent, QObject* parent)
    : QObject(parent), config(config), curves(curves), prompt(prompt), dialogParent(dialogParent)
{}

void DbcSignalController::addSignalsFromDbc()
{
    const QString fileName =
        prompt.openFileName(tr("Add Signals from DBC"), QStringLiteral("DBC files (*.dbc);;All files (*)"));
    if (fileName.isEmpty())
        return;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        prompt.showError(tr("Cannot read file %1").arg(fileName));
        return;
    }
    const DbcReadResult read = readDbc(&file);
    if (!read.errors.isEmpty()) {
        QString text = tr("Errors in DBC file %1:").arg(fileName);
        for (int i = 0; i < read.errors.size() && i < errorsNamed; ++i)
            text += tr("\nline %1: %2").arg(read.errors[i].line).arg(read.errors[i].text);
        if (read.errors.size() > errorsNamed)
            text += tr("\n... and %1 more").arg(read.errors.size() - errorsNamed);
        prompt.showError(text);
    }
    const bool anySignal =
        std::any_of(read.database.messages.cbegin(), read.database.messages.cend(),
                    [](const DbcMessage& message) { return !message.signalList.isEmpty(); });
    if (!anySignal) {
        prompt.showError(tr("Cannot find signals in file %1").arg(fileName));
        return;
    }

    MDialogDbcSignals dialog(read.database, config->netEntries(), dialogParent);
    dialog.setWindowTitle(tr("Add Signals from %1").arg(QFileInfo(fileName).fileName()));
    if (dialog.exec() == QDialog::Accepted)
        addSignalRows(read.database, dialog.chosenSignals(), dialog.netIndex());
}

void DbcSignalController::addSignalRows(const DbcDatabase& database,
                                        const QVector<MDialogDbcSignals::Choice>& chosen, int netIndex)
{
    for (const MDialogDbcSignals::Choice& choice : chosen) {
        const DbcMessage& message = database.messages.at(choice.message);
        const DbcSignal& signal = message.signalList.at(choice.signal);
        // The dialog offers only signals that can be decoded.
        if (!dbcSignalLayout(message, signal))
            continue;
        fillSignalRow(*config, curves->addCurve(), message, signal, netIndex);
    }
}
