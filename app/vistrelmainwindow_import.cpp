// Import of recorded CAN data: the log of a CAN recorder becomes the points
// of the curves that the table already describes, decoded as in a run.
#include "vistrelmainwindow.h"

#include "canlog.h"
#include "dataplot.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "timebase.h"

#include <qwt_plot_curve.h>

#include <QFile>
#include <QFileDialog>
#include <QMessageBox>
#include <QProgressDialog>

#include <algorithm>

namespace {

// A progress dialog that a reader or the conversion drives. Window-modal,
// so that setValue lets events through and the cancel button is heard
// while the import holds the user interface thread; shown at once rather
// than after Qt's guess of the duration. Set to its maximum when it goes.
class ImportProgressDialog : public IFImportProgress
{
public:
    ImportProgressDialog(QWidget* parent, const QString& label, const QString& cancelText, int maximum)
        : dialog(label, cancelText, 0, maximum, parent,
                 Qt::CustomizeWindowHint | Qt::WindowCloseButtonHint | Qt::WindowSystemMenuHint |
                     Qt::WindowTitleHint | Qt::MSWindowsFixedSizeDialogHint)
    {
        dialog.setWindowModality(Qt::WindowModal);
        dialog.setMinimumDuration(0);
        dialog.setValue(0);
        // The protected slot, so that the dialog counts as shown and
        // setValue processes events from the first step on.
        QMetaObject::invokeMethod(&dialog, "forceShow", Qt::DirectConnection);
    }

    ~ImportProgressDialog() override { dialog.setValue(dialog.maximum()); }

    ImportProgressDialog(const ImportProgressDialog&) = delete;
    ImportProgressDialog& operator=(const ImportProgressDialog&) = delete;

    bool showStep(int step) override
    {
        dialog.setValue(step);
        return !dialog.wasCanceled();
    }

private:
    QProgressDialog dialog;
};

} // namespace

void VistrelMainWindow::dataImport()
{
    const QString vbrlog = QStringLiteral("vbrlog");
    const QString txt = QStringLiteral("txt");
    QString name = QFileDialog::getOpenFileName(this, tr("Import Data"), QString(),
                                                QStringLiteral("( *.%1 *.%2 )").arg(vbrlog, txt));
    if (name.isEmpty())
        return;
    if (!name.endsWith(QLatin1Char('.') + vbrlog) && !name.endsWith(QLatin1Char('.') + txt))
        name += QLatin1Char('.') + txt;
    importRecordedData(name);
}

QSharedPointer<PlotCurve> VistrelMainWindow::importCurve(int row, unsigned points)
{
    // From the cells, as Start would build it; the arrays are the import's.
    uint32_t canId = uint32_t(tableConfig->idText(row).toInt(nullptr, 0));
    if (tableConfig->is29Bit(row))
        canId += TESS_ID_29BIT;
    return QSharedPointer<PlotCurve>(
        new PlotCurve(plot, lineWidth, QColor(tableConfig->curveColor(row)), tableConfig->curveName(row),
                      tableConfig->netNumber(row), tableConfig->baud(row), int(canId),
                      tableConfig->positionText(row).toInt(nullptr, 0), tableConfig->dataType(row),
                      tableConfig->maskText(row).toInt(nullptr, 0), tableConfig->byteOrder(row),
                      tableConfig->valueAxis(row), tableConfig->scaleText(row).toDouble(),
                      tableConfig->offsetText(row).toDouble(), tableConfig->unitText(row),
                      tableDescription->curveStyle(row), tableDescription->curveEnabled(row), points, false));
}

void VistrelMainWindow::importRecordedData(const QString& fileName)
{
    const auto critical = [this, &fileName](const QString& text) {
        QMessageBox::critical(this, tr("Critical Error"), text.arg(fileName), QMessageBox::Ok);
    };

    const CanLogForm form = canLogFormOf(fileName);
    if (form == CanLogForm::Unknown) {
        critical(tr("Unknown file type %1"));
        return;
    }
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        critical(tr("Cannot read file %1"));
        return;
    }

    // What the curves held goes without a question.
    curves.clear();

    CanLog log;
    {
        const ProgressScale scale = progressScale(file.size());
        ImportProgressDialog progress(this, tr("Read file ..."), tr("Abort!"), scale.steps + 1);
        log = readCanLog(form, &file, scale, &progress);
    }
    if (log.canceled || log.frames.empty()) {
        file.close();
        // The curves are gone; the plot shows it.
        plot->replot();
        if (!log.canceled)
            critical(tr("Cannot find CAN-data in file %1 (Unknown format)"));
        return;
    }
    m_timeOrigin = log.timeOrigin;

    for (int row = 0; row < tableConfig->rowCount(); ++row) {
        uint32_t key = uint32_t(tableConfig->idText(row).toInt(nullptr, 0));
        if (tableConfig->is29Bit(row))
            key += TESS_ID_29BIT;
        const int n = log.frameCount(key);
        ImportProgressDialog progress(this, QString::asprintf("Convert data from Config(%d) ...", row),
                                      tr("Abort!"), n == 0 ? 2 : progressScale(n).steps);

        const QSharedPointer<PlotCurve> curve = importCurve(row, unsigned(n) + 2);
        double* const x = curve->xValues.get();
        double* const y = curve->yValues.get();
        const size_t elements = size_t(curve->maxPoints) + 1;
        // The item shows the live point from its birth on.
        x[0] = 0.0;
        y[0] = 0.0;
        curves.append(curve);
        if (antialiasing)
            curve->setAntialiased(true);

        if (!decodeSamples(log, key, curve->valueLayout(), x, y, &progress)) {
            // The row keeps a curve without samples.
            std::fill_n(x, elements, 0.0);
            std::fill_n(y, elements, 0.0);
            file.close();
            plot->replot();
            return;
        }
        x[0] = log.lastTime;
        y[0] = n > 0 ? y[1] : 0.0;
        // The spare elements behind the samples repeat the oldest point, so
        // that the markers' search over all elements finds nothing there.
        std::fill(x + n + 1, x + elements, x[n]);
        std::fill(y + n + 1, y + elements, y[n]);
        curve->plotItem->setRawSamples(x, y, n + 1);
        tableDescription->setCount(row,
                                   QString::asprintf("%lu", static_cast<unsigned long>(curve->pointCount())));
    }

    m_runTime = log.lastTime;
    showTimes(m_timeOrigin, m_runTime);
    plot->setTimeScale(m_runTime, timeBaseTable[size_t(sliderTimeBase->value())]);
    plot->replot();
    plot->slotMarker2();
    plot->slotMarker1();

    file.close();
    setDataFileName(fileName);
    setOperatingMode(ModeImport);
}
