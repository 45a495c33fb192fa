#ifndef MDIALOGCHANNELNETS_H
#define MDIALOGCHANNELNETS_H

#include <QDialog>
#include <QStringList>
#include <QVector>

#include <vector>

class QComboBox;

// Asks which net takes the frames of each channel of a CAN log: one combo
// box per channel ("comboBoxChannel<i>") with "none" and the entries of the
// Net list.
class MDialogChannelNets : public QDialog
{
    Q_OBJECT

public:
    // proposal: for each channel an index into nets, or -1 for none.
    MDialogChannelNets(const QStringList& channels, const QStringList& nets, const std::vector<int>& proposal,
                       QWidget* parent = nullptr);

    // The same form as the proposal.
    std::vector<int> choice() const;

private:
    QVector<QComboBox*> combos;
};

#endif // MDIALOGCHANNELNETS_H
