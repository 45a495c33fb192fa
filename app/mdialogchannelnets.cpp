#include "mdialogchannelnets.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QVBoxLayout>

MDialogChannelNets::MDialogChannelNets(const QStringList& channels, const QStringList& nets,
                                       const std::vector<int>& proposal, QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Channels of the CAN Log"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Which net takes the frames of each channel?"), this));
    auto* form = new QFormLayout;
    layout->addLayout(form);
    for (int i = 0; i < channels.size(); ++i) {
        auto* combo = new QComboBox(this);
        combo->setObjectName(QStringLiteral("comboBoxChannel%1").arg(i));
        // Entry 0 is "none", so that entry i + 1 is net entry i.
        combo->addItem(tr("none"));
        combo->addItems(nets);
        const int proposed = size_t(i) < proposal.size() ? proposal[size_t(i)] : -1;
        combo->setCurrentIndex(proposed >= 0 && proposed < nets.size() ? proposed + 1 : 0);
        form->addRow(tr("Channel %1:").arg(channels[i]), combo);
        combos << combo;
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

std::vector<int> MDialogChannelNets::choice() const
{
    std::vector<int> nets;
    for (const QComboBox* combo : combos)
        nets.push_back(combo->currentIndex() - 1);
    return nets;
}
