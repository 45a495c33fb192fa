#include "damagereport.h"

#include "datafile.h"
#include "projectfile.h"

#include <QLocale>

void DamageReport::add(const DataFileDamage& damage)
{
    const QString curve = tr("Curve %1: ").arg(damage.record + 1);
    const QString held = number(damage.held);
    const QString wanted = number(damage.wanted);
    const QString early = tr("file ends early");
    switch (damage.kind) {
    case DataFileDamage::HeaderCut:
        add(tr("Header: %1 of %2 bytes; %3").arg(held, wanted, early));
        break;
    case DataFileDamage::RecordCut:
        add(curve + tr("%1 of %2 bytes of its record; %3").arg(held, wanted, early));
        break;
    case DataFileDamage::RecordsMissing:
        add(tr("%1 of %2 curves; %3").arg(held, wanted, early));
        break;
    case DataFileDamage::PointsCut:
        add(curve + tr("%1 of %2 points; %3").arg(held, wanted, early));
        break;
    case DataFileDamage::PointsClaimed:
        add(curve + tr("%1 of %2 points; the record holds no more").arg(held, wanted));
        break;
    case DataFileDamage::NegativeCount:
        add(curve + tr("point count %1 read as 0").arg(wanted));
        break;
    }
}

void DamageReport::add(const ProjectRepair& repair)
{
    if (repair.attribute.isEmpty())
        add(tr("%1: no attributes; skipped").arg(repair.element));
    else
        add(tr("%1: \"%2\" is \"%3\", read as 0").arg(repair.element, repair.attribute, repair.text));
}

void DamageReport::addRepairedValue(int row, const QString& key, const QString& text, const QString& now)
{
    add(tr("Curve %1: \"%2\" is \"%3\", read as \"%4\"").arg(row + 1).arg(key, text, now));
}

QString DamageReport::text(const QString& heading) const
{
    if (lines.isEmpty())
        return QString();
    QStringList shown = lines.mid(0, shownLines);
    if (lines.size() > shownLines)
        shown << tr("and %1 more").arg(number(lines.size() - shownLines));
    return heading + QLatin1Char('\n') + shown.join(QLatin1Char('\n'));
}

QString DamageReport::number(qint64 n)
{
    return QLocale(QLocale::English, QLocale::UnitedStates).toString(n);
}
