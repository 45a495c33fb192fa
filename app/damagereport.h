#ifndef DAMAGEREPORT_H
#define DAMAGEREPORT_H

#include <QCoreApplication>
#include <QString>
#include <QStringList>

struct DataFileDamage;
struct ProjectRepair;

// What a reader left out or repaired, told in one message: a heading that
// names the file, the first few lines, then how many more there were.
// Numbers carry thousands separators, whatever the locale.
class DamageReport
{
    Q_DECLARE_TR_FUNCTIONS(DamageReport)

public:
    static constexpr int shownLines = 5;

    void add(const QString& line) { lines << line; }
    void add(const DataFileDamage& damage);
    void add(const ProjectRepair& repair);
    // A curve's attribute `key` that read `text` in the file and `now` in its row.
    void addRepairedValue(int row, const QString& key, const QString& text, const QString& now);
    bool isEmpty() const { return lines.isEmpty(); }

    // Empty when there is nothing to tell.
    QString text(const QString& heading) const;

    static QString number(qint64 n);

private:
    QStringList lines;
};

#endif // DAMAGEREPORT_H
