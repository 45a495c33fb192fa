// Printing of the plot, the about box and the manual.
#include "vistrelmainwindow.h"

#include "dataplot.h"
#include "manualpath.h"
#include "mformabout.h"
#include "plotprint.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QLocale>
#include <QMessageBox>
#include <QPageLayout>
#include <QPrintDialog>
#include <QPrinter>
#include <QUrl>

void VistrelMainWindow::projectPrint()
{
    QPrinter printer(QPrinter::ScreenResolution);
    printer.setCreator(QStringLiteral("Vistrel"));
    printer.setPageOrientation(QPageLayout::Landscape);
    // No document name: the plot has no title to give it.

    QPrintDialog dialog(&printer, nullptr);
    if (dialog.exec() != QDialog::Accepted)
        return;
    printPlot(plot, printer);
}

void VistrelMainWindow::helpAbout()
{
    // A new dialog each time, so that it always shows its texts afresh.
    if (!aboutDialog)
        aboutDialog = new MFormAbout(this);
    aboutDialog->exec();
    delete aboutDialog;
    aboutDialog = nullptr;
}

void VistrelMainWindow::helpContents()
{
    const QString path = manualPath(QCoreApplication::applicationDirPath(), QLocale::system().name());
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        QMessageBox::information(this, tr("Vistrel"), tr("Cannot open pdf manual!"), QMessageBox::Ok);
}

void VistrelMainWindow::helpIndex()
{
    helpContents();
}
