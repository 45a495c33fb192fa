#ifndef MESSAGEBOXPROMPT_H
#define MESSAGEBOXPROMPT_H

#include "ifprompt.h"

class QWidget;

// The prompt of the program: message boxes, file dialogs and progress
// dialogs over the given window.
class MessageBoxPrompt : public IFPrompt
{
public:
    explicit MessageBoxPrompt(QWidget* parent) : parent(parent) {}

    bool askYesNo(const QString& text) override;
    void showError(const QString& text) override;
    QString openFileName(const QString& title, const QString& filter) override;
    QString saveFileName(const QString& title, const QString& filter) override;
    QString saveFileNameWithFilter(const QString& title, const QString& filters,
                                   QString* selectedFilter) override;
    std::unique_ptr<IFImportProgress> progress(const QString& label, const QString& cancelText,
                                               int maximum) override;
    std::optional<std::vector<int>> channelNets(const QStringList& channels, const QStringList& nets,
                                                const std::vector<int>& proposal) override;
    std::optional<CsvExportChoice> csvExportChoice(const CsvExportChoice& proposal,
                                                   bool absoluteTimeKnown) override;

private:
    QWidget* const parent;
};

#endif // MESSAGEBOXPROMPT_H
