#include "mdialogscaleoffset.h"

#include "numberfields.h"
#include "scaling.h"

#include <QDoubleValidator>
#include <QLineEdit>
#include <QTimer>

MDialogScaleOffset::MDialogScaleOffset(QWidget* parent) : QDialog(parent, Qt::WindowFlags())
{
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    setupUi(this);
    // Only the width may change.
    setFixedHeight(height());

    auto* validator = new QDoubleValidator(this);
    const QList<QLineEdit*> rangeEdits{lineEditMin, lineEditMax, lineEditRawMin, lineEditRawMax};
    for (QLineEdit* edit : rangeEdits)
        edit->setValidator(validator);

    connect(buttonCalc, &QPushButton::clicked, this, &MDialogScaleOffset::slotCalculate);
    for (QLineEdit* edit : rangeEdits)
        edit->installEventFilter(this);
    QTimer::singleShot(0, lineEditRawMin, &QLineEdit::selectAll);
}

int MDialogScaleOffset::runScaleDialog()
{
    // A project without range attributes leaves the fields empty: offer the
    // raw range that Scale and Offset map onto -100 to 100.
    const bool rangesComplete = !lineEditRawMin->text().isEmpty() && !lineEditRawMax->text().isEmpty() &&
                                !lineEditMin->text().isEmpty() && !lineEditMax->text().isEmpty();
    if (!rangesComplete) {
        bool ok = false;
        double scale = 0.0;
        double offset = 0.0;
        {
            const CLocaleScope cLocale;
            scale = lineEditScale->text().toDouble(&ok);
            if (ok)
                offset = lineEditOffset->text().toDouble(&ok);
        }
        if (ok) {
            double rawMin = 0.0;
            double rawMax = 0.0;
            rawRangeFrom(-100.0, 100.0, scale, offset, rawMin, rawMax);
            lineEditRawMin->setText(scalingText(rawMin));
            lineEditRawMax->setText(scalingText(rawMax));
            lineEditMin->setText(QStringLiteral("-100.0"));
            lineEditMax->setText(QStringLiteral("+100.0"));
        }
    }
    return exec();
}

bool MDialogScaleOffset::slotCalculate()
{
    const QList<QLineEdit*> rangeEdits{lineEditRawMin, lineEditRawMax, lineEditMin, lineEditMax};
    // A comma works as decimal sign under every locale, and the field shows
    // the point afterwards.
    for (QLineEdit* edit : rangeEdits)
        commasToPoints(edit);

    double values[4] = {0.0, 0.0, 0.0, 0.0};
    bool ok = true;
    {
        const CLocaleScope cLocale;
        for (int i = 0; i < rangeEdits.size() && ok; ++i) {
            values[i] = rangeEdits[i]->text().toDouble(&ok);
            if (!ok)
                values[i] = 0.0;
        }
    }
    const double rawMin = values[0];
    const double rawMax = values[1];
    const double valueMin = values[2];
    const double valueMax = values[3];

    double scale = 0.0;
    double offset = 0.0;
    // A raw range of no width maps nothing; zero stands for "no scaling".
    if (rawMax - rawMin != 0.0)
        scalingFrom(rawMin, rawMax, valueMin, valueMax, scale, offset);
    lineEditScale->setText(scalingText(scale));
    lineEditOffset->setText(scalingText(offset));
    return ok;
}

void MDialogScaleOffset::accept()
{
    // OK always computes first; a field without a number keeps the dialog
    // open.
    if (!slotCalculate())
        return;
    emit signalCalcAccept(row);
    QDialog::accept();
}

void MDialogScaleOffset::reject()
{
    // The cells keep their values: the next run fills the fields again.
    QDialog::reject();
}

bool MDialogScaleOffset::eventFilter(QObject* watched, QEvent* event)
{
    if (selectOnMouseFocus(watched, event, selectPending))
        return true;
    return QDialog::eventFilter(watched, event);
}
