#include "messageboxprompt.h"

#include "canlog.h"
#include "mdialogchannelnets.h"
#include "mdialogexportcsv.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QProgressDialog>

namespace {

// A progress dialog that a reader or the conversion drives. Window-modal,
// so that setValue lets events through and the cancel button is heard
// while the import holds the user interface thread; shown at once rather
// than after Qt's guess of the duration. Set to its maximum when it goes.
class ProgressDialog : public IFImportProgress
{
public:
    ProgressDialog(QWidget* parent, const QString& label, const QString& cancelText, int maximum)
        : dialog(label, cancelText, 0, maximum, parent,
                 Qt::CustomizeWindowHint | Qt::WindowCloseButtonHint | Qt::WindowSystemMenuHint |
                     Qt::WindowTitleHint | Qt::MSWindowsFixedSizeDialogHint)
    {
        dialog.setWindowModality(Qt::WindowModal);
        dialog.setMinimumDuration(0);
        dialog.setValue(0);
        // The protected slot, so that the dialog counts as shown and
        // setValue processes events from the first step on.
        QMetaObject::invokeMethod(&dialog, "forceShow", Qt::DirectConnection);
    }

    ~ProgressDialog() override { dialog.setValue(dialog.maximum()); }

    ProgressDialog(const ProgressDialog&) = delete;
    ProgressDialog& operator=(const ProgressDialog&) = delete;

    bool showStep(int step) override
    {
        dialog.setValue(step);
        return !dialog.wasCanceled();
    }

private:
    QProgressDialog dialog;
};

} // namespace

bool MessageBoxPrompt::askYesNo(const QString& text)
{
    QMessageBox box(QMessageBox::Warning, QObject::tr("Warning!"), text, QMessageBox::Yes | QMessageBox::No,
                    parent);
    box.setDefaultButton(QMessageBox::Yes);
    box.setEscapeButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}

void MessageBoxPrompt::showError(const QString& text)
{
    QMessageBox::critical(parent, QObject::tr("Critical Error"), text, QMessageBox::Ok);
}

QString MessageBoxPrompt::openFileName(const QString& title, const QString& filter)
{
    return QFileDialog::getOpenFileName(parent, title, QString(), filter);
}

QString MessageBoxPrompt::saveFileName(const QString& title, const QString& filter)
{
    return QFileDialog::getSaveFileName(parent, title, QString(), filter);
}

QString MessageBoxPrompt::saveFileNameWithFilter(const QString& title, const QString& filters,
                                                 QString* selectedFilter)
{
    return QFileDialog::getSaveFileName(parent, title, QString(), filters, selectedFilter);
}

std::unique_ptr<IFImportProgress> MessageBoxPrompt::progress(const QString& label, const QString& cancelText,
                                                             int maximum)
{
    return std::make_unique<ProgressDialog>(parent, label, cancelText, maximum);
}

std::optional<std::vector<int>> MessageBoxPrompt::channelNets(const QStringList& channels,
                                                              const QStringList& nets,
                                                              const std::vector<int>& proposal)
{
    MDialogChannelNets dialog(channels, nets, proposal, parent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.choice();
}

std::optional<CsvExportChoice> MessageBoxPrompt::csvExportChoice(const CsvExportChoice& proposal,
                                                                 bool absoluteTimeKnown)
{
    MDialogExportCsv dialog(proposal, absoluteTimeKnown, parent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.choice();
}
