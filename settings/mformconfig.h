#ifndef MFORMCONFIG_H
#define MFORMCONFIG_H

#include "ui_formconfig.h"

#include <QColor>
#include <QDialog>

class QLabelCompat;

// The options dialog: plot colours, buffer size and refresh time, the look
// of the curves. It only holds what the user edits; the main window fills
// it and takes the values out at Apply and OK.
class MFormConfig : public QDialog, public Ui_FormConfig
{
    Q_OBJECT

public:
    explicit MFormConfig(QWidget* parent = nullptr);

    // The colour that a swatch shows, which is its value.
    static QColor swatchColor(const QLabelCompat* swatch);

    // A press of any mouse button on a swatch asks for its colour.
    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    // Each sets the widgets of its own tab only; nothing is applied.
    void on_pushButtonDefaultColors_clicked();
    void on_pushButtonDefaultBuffers_clicked();
    void on_pushButtonDefaultCurves_clicked();

private:
    // The name of a swatch's colour in the colour dialog's title; empty for
    // anything that isn't a swatch.
    QString swatchName(const QObject* watched) const;
};

#endif // MFORMCONFIG_H
