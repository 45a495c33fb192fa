#include "mdialogdbcsignals.h"

#include "signalcell.h"

#include <QPushButton>

#include <algorithm>

namespace {

// Where an item keeps what it stands for and what the filter searches.
constexpr int messageRole = Qt::UserRole;
constexpr int signalRole = Qt::UserRole + 1;
constexpr int searchRole = Qt::UserRole + 2;

enum Column { ColMessage, ColId, ColSignal, ColBits, ColUnit, ColumnCount };

QString idText(const DbcMessage& message)
{
    // As candump writes them: three hexadecimal digits, eight for 29 bits.
    return QStringLiteral("0x") +
           QStringLiteral("%1").arg(message.id, message.extended ? 8 : 3, 16, QLatin1Char('0')).toUpper();
}

QTreeWidgetItem* signalItem(const DbcMessage& message, const DbcSignal& signal)
{
    auto* item = new QTreeWidgetItem;
    const std::optional<BitLayout> layout = dbcSignalLayout(message, signal);
    item->setText(ColMessage, message.name);
    item->setText(ColId, idText(message));
    item->setText(ColSignal, signal.name);
    item->setText(ColBits, layout ? signalCellText(*layout) : QString());
    item->setText(ColUnit, signal.unit);

    QStringList comments;
    for (const QString& comment : {signal.comment, message.comment}) {
        if (!comment.isEmpty())
            comments << comment;
    }
    if (!layout) {
        comments.prepend(MDialogDbcSignals::tr("Can't be decoded from the 8 data bytes of a frame."));
        item->setFlags(item->flags() & ~(Qt::ItemIsSelectable | Qt::ItemIsEnabled));
    }
    for (int col = 0; col < ColumnCount; ++col)
        item->setToolTip(col, comments.join(QLatin1Char('\n')));
    const QStringList searched{message.name, signal.name,    idText(message),
                               signal.unit,  signal.comment, message.comment};
    item->setData(0, searchRole, searched.join(QLatin1Char('\n')).toLower());
    return item;
}

} // namespace

MDialogDbcSignals::MDialogDbcSignals(const DbcDatabase& database, const QStringList& netEntries,
                                     QWidget* parent)
    : QDialog(parent)
{
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    setupUi(this);
    comboBoxNet->addItems(netEntries);

    QList<QTreeWidgetItem*> items;
    for (int m = 0; m < database.messages.size(); ++m) {
        const DbcMessage& message = database.messages.at(m);
        for (int s = 0; s < message.signalList.size(); ++s) {
            QTreeWidgetItem* item = signalItem(message, message.signalList.at(s));
            item->setData(0, messageRole, m);
            item->setData(0, signalRole, s);
            items << item;
        }
    }
    treeWidgetSignals->addTopLevelItems(items);
    for (int col = 0; col < ColumnCount; ++col)
        treeWidgetSignals->resizeColumnToContents(col);
    on_treeWidgetSignals_itemSelectionChanged();
    lineEditFilter->setFocus();
}

QVector<MDialogDbcSignals::Choice> MDialogDbcSignals::chosenSignals() const
{
    QVector<Choice> chosen;
    for (int i = 0; i < treeWidgetSignals->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* item = treeWidgetSignals->topLevelItem(i);
        if (item->isSelected())
            chosen.append({item->data(0, messageRole).toInt(), item->data(0, signalRole).toInt()});
    }
    return chosen;
}

void MDialogDbcSignals::on_lineEditFilter_textChanged(const QString& text)
{
    const QStringList words = text.toLower().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (int i = 0; i < treeWidgetSignals->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = treeWidgetSignals->topLevelItem(i);
        const QString searched = item->data(0, searchRole).toString();
        const bool shown = std::all_of(words.cbegin(), words.cend(),
                                       [&searched](const QString& word) { return searched.contains(word); });
        item->setHidden(!shown);
    }
}

void MDialogDbcSignals::on_treeWidgetSignals_itemSelectionChanged()
{
    const int count = chosenSignals().size();
    labelChosen->setText(count == 1 ? tr("1 signal chosen") : tr("%1 signals chosen").arg(count));
    buttonBox->button(QDialogButtonBox::Ok)->setEnabled(count > 0);
}

void MDialogDbcSignals::on_treeWidgetSignals_itemDoubleClicked(QTreeWidgetItem* item, int)
{
    if (item->isSelected())
        accept();
}
