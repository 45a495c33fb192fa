#ifndef NUMBERFIELDS_H
#define NUMBERFIELDS_H

#include <QLocale>

class QEvent;
class QLineEdit;
class QObject;

// What the dialogs with number fields share: numbers typed with a comma or a
// point, read the same under every locale, and a click that selects a whole
// field.

// Reads numbers with a point as decimal sign whatever the user's locale; the
// saved default locale comes back when the scope ends.
class CLocaleScope
{
public:
    CLocaleScope() { QLocale::setDefault(QLocale(QLocale::C, QLocale::AnyCountry)); }
    ~CLocaleScope() { QLocale::setDefault(saved); }
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;

private:
    const QLocale saved;
};

// Turns every "," of the field into "." and puts the text back, so that the
// field shows what will be read.
void commasToPoints(QLineEdit* edit);

// The event filter step: a click into a line edit selects its whole text
// once the edit has handled the click, and mouse moves until the release
// can't undo the selection. selectPending is the filter's own state, false
// at first. Returns true when the event is to be swallowed.
bool selectOnMouseFocus(QObject* watched, QEvent* event, bool& selectPending);

#endif // NUMBERFIELDS_H
