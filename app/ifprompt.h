#ifndef IFPROMPT_H
#define IFPROMPT_H

#include "csvexport.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

class IFImportProgress;

// What a CSV export writes, as the user chose it.
struct CsvExportChoice
{
    CsvLayout layout = CsvLayout::Long;
    bool fillWithLast = false; // wide layout only
    bool absoluteTime = false; // a "time_utc" column, where the record's date is known
    bool visibleOnly = false;  // only the curves whose "En" is checked
};

// How the controllers ask the user. The window answers with the program's
// message boxes, file dialogs and progress dialogs; tests answer from a
// script. No controller opens a box of its own.
class IFPrompt
{
public:
    virtual ~IFPrompt() = default;

    // A question in the "Warning!" box, Yes the default and No the escape
    // button: true for Yes.
    virtual bool askYesNo(const QString& text) = 0;
    // An error in the "Critical Error" box with the button Ok.
    virtual void showError(const QString& text) = 0;
    // The name chosen in an open or save dialog, empty when cancelled. The
    // dialog starts with no directory.
    virtual QString openFileName(const QString& title, const QString& filter) = 0;
    virtual QString saveFileName(const QString& title, const QString& filter) = 0;
    // A save dialog over filters separated by ";;", which also tells the one
    // chosen. Without a choice of its own a prompt chooses the first.
    virtual QString saveFileNameWithFilter(const QString& title, const QString& filters,
                                           QString* selectedFilter)
    {
        *selectedFilter = filters.section(QStringLiteral(";;"), 0, 0);
        return saveFileName(title, filters);
    }
    // A progress that the user can abort, from 0 to maximum, shown at once;
    // it ends when the returned object goes.
    virtual std::unique_ptr<IFImportProgress> progress(const QString& label, const QString& cancelText,
                                                       int maximum) = 0;
    // Which net takes the frames of each channel of a log: for each channel
    // an index into nets, or -1 for none, starting from the proposal.
    // Nothing when the user cancels.
    virtual std::optional<std::vector<int>> channelNets(const QStringList& channels, const QStringList& nets,
                                                        const std::vector<int>& proposal) = 0;
    // How to write a CSV export, starting from the proposal; the absolute
    // time is offered only where it is known. Nothing when the user cancels.
    virtual std::optional<CsvExportChoice> csvExportChoice(const CsvExportChoice& proposal,
                                                           bool absoluteTimeKnown) = 0;
};

#endif // IFPROMPT_H
