#ifndef MFORMABOUT_H
#define MFORMABOUT_H

#include "ui_formabout.h"

#include <QDialog>

class QUrl;

// The about box: name, version and maker of the program, the library it
// builds on, and the maker's address with two links that open in the
// desktop's web browser.
class MFormAbout : public QDialog, public Ui_FormAbout
{
    Q_OBJECT

public:
    explicit MFormAbout(QWidget* parent);

private slots:
    // Connected by name. The browser follows no link itself.
    void on_textBrowser_anchorClicked(const QUrl& link);
};

#endif // MFORMABOUT_H
