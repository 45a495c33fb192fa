#include "mformabout.h"

#include <QDesktopServices>
#include <QPalette>
#include <QTextDocument>
#include <QtMath>
#include <QUrl>

MFormAbout::MFormAbout(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                          Qt::MSWindowsFixedSizeDialogHint)
{
    setupUi(this);

    setWindowTitle(tr("About Vistrel"));
    textLabelAboutOrvane->setText(tr("Vistrel\nVersion 2.2.5.0\n\u00a9 2026 The Vistrel developers\n"));
    labelInfo->setText(tr("Vistrel is based in part on the work of the Qwt project:\n"
                          "https://qwt.sourceforge.io, Versions: Qt4, Qwt6"));

    // The browser takes the dialog's own background, so that it looks like
    // a plain part of the dialog rather than a text field.
    const QBrush background(pixmapLabelAbout->palette().color(QPalette::Window));
    QPalette browserPalette = textBrowser->palette();
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        browserPalette.setBrush(group, QPalette::Base, background);
    textBrowser->setPalette(browserPalette);
    textBrowser->setAutoFillBackground(true);

    // The form is laid out for a small font. A larger one grows the box so
    // that no text is cut; either way its size stays fixed.
    const QSize formSize = size();
    textBrowser->setFixedHeight(qCeil(textBrowser->document()->size().height()) +
                                2 * textBrowser->frameWidth());
    adjustSize();
    setFixedSize(size().expandedTo(formSize));
}

void MFormAbout::on_textBrowser_anchorClicked(const QUrl& link)
{
    QDesktopServices::openUrl(link);
}
