#include "mdialogscaleoffset.h"
#include "qcombotablesupportitem.h"
#include "tableplotconfig.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <QDoubleValidator>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

#include <functional>
#include <memory>

using TestSupport::ModalAnswerer;

namespace {

// Restores the default locale when a test leaves, also on failure.
class DefaultLocaleGuard
{
public:
    DefaultLocaleGuard() : saved(QLocale()) {}
    ~DefaultLocaleGuard() { QLocale::setDefault(saved); }

private:
    QLocale saved;
};

QLocale testLocale(bool comma)
{
    return comma ? QLocale(QLocale::German, QLocale::Germany) : QLocale(QLocale::C);
}

// The six scaling cells of a row in the order raw min, raw max, min, max,
// offset, scale.
QStringList scalingCells(TablePlotConfig* table, int row)
{
    return {table->rawValueMinText(row), table->rawValueMaxText(row), table->valueMinText(row),
            table->valueMaxText(row),    table->offsetText(row),      table->scaleText(row)};
}

// The four range fields in the order raw min, raw max, min, max.
QStringList rangeFields(const MDialogScaleOffset* dialog)
{
    return {dialog->lineEditRawMin->text(), dialog->lineEditRawMax->text(), dialog->lineEditMin->text(),
            dialog->lineEditMax->text()};
}

// What a run of the scaling dialog showed when it opened.
struct Opening
{
    int count = 0;
    int row = -1;
    QString title;
    QStringList fields;
    QString scale;
    QString offset;
};

// Answers the next scaling dialog with `act` and records how it opened.
// Any other modal widget is closed and counted too.
class ScaleDialogAnswer
{
public:
    explicit ScaleDialogAnswer(std::function<void(MDialogScaleOffset*)> act)
        : handler(
              [this, act](QWidget* widget) {
                  ++opening.count;
                  auto* dialog = qobject_cast<MDialogScaleOffset*>(widget);
                  if (!dialog) {
                      widget->close();
                      return;
                  }
                  opening = {opening.count,
                             dialog->row,
                             dialog->windowTitle(),
                             rangeFields(dialog),
                             dialog->lineEditScale->text(),
                             dialog->lineEditOffset->text()};
                  act(dialog);
                  // An answer that leaves the dialog open would hang the test.
                  if (dialog->isVisible())
                      dialog->buttonCancel->click();
              },
              100)
    {}

    Opening opening;

private:
    ModalAnswerer handler;
};

void cancel(MDialogScaleOffset* dialog)
{
    dialog->buttonCancel->click();
}

} // namespace

class TestScaleDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void calculate_data();
    void calculate();
    void emptyRangeFromScaleAndOffset_data();
    void emptyRangeFromScaleAndOffset();
    void entries_data();
    void entries();
    void oneDialogForAllRows();
    void clickSelectsAll();

private:
    std::unique_ptr<VistrelMainWindow> makeWindow(int rows, bool shown = false);
};

void TestScaleDialog::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

std::unique_ptr<VistrelMainWindow> TestScaleDialog::makeWindow(int rows, bool shown)
{
    TestSupport::useDriverConfig(QStringLiteral("net 0 virtual demo\n"));
    auto window = std::make_unique<VistrelMainWindow>();
    for (int row = 0; row < rows; ++row) {
        window->projectAddCurve();
        window->tableConfig->setCurveName(row, QStringLiteral("c%1").arg(row));
    }
    if (shown) {
        window->show();
        QApplication::setActiveWindow(window.get());
        if (!QTest::qWaitForWindowExposed(window.get()))
            qWarning("window not exposed");
    }
    return window;
}

// The dialog run on a row: the range typed (none: as the row had it), then
// OK, or Calc and Cancel. `shown`: the six fields afterwards in the order of
// the cells; the row takes them only when OK closed the dialog.
void TestScaleDialog::calculate_data()
{
    QTest::addColumn<bool>("comma"); // default locale with a decimal comma
    QTest::addColumn<bool>("calc");
    QTest::addColumn<QStringList>("typed");
    QTest::addColumn<bool>("closes");
    QTest::addColumn<QStringList>("shown");

    struct Row
    {
        const char* name;
        bool calc;
        QStringList typed;
        bool closes;
        QStringList shown;
    };
    const Row rows[] = {
        {"0..100 to 0..10", false, {"0", "100", "0", "10"}, true, {"0", "100", "0", "10", "0", "0.1"}},
        {"-1..1 to -100..100",
         false,
         {"-1", "1", "-100", "100"},
         true,
         {"-1", "1", "-100", "100", "0", "100"}},
        {"raw range of no width", false, {"7", "7", "0", "10"}, true, {"7", "7", "0", "10", "0", "0"}},
        {"commas", false, {"1,5", "3,5", "-1,0", "1e0"}, true, {"1.5", "3.5", "-1.0", "1e0", "-2.5", "1"}},
        {"sign kept", false, {"0", "1", "-100", "+100.0"}, true, {"0", "1", "-100", "+100.0", "-100", "200"}},
        {"no change on a real row", false, {}, true, {"0", "1", "-100", "100", "-100", "200"}},
        // The failed field and those behind it count as 0.
        {"scaled minimum fails", false, {"-10", "10", "x", "10"}, false, {"-10", "10", "x", "10", "0", "0"}},
        {"emptied field", false, {"0", "", "0", "10"}, false, {"0", "", "0", "10", "0", "0"}},
        {"Cancel after Calc", true, {"0", "100", "0", "10"}, false, {"0", "100", "0", "10", "0", "0.1"}},
    };
    for (const bool comma : {false, true})
        for (const Row& r : rows)
            QTest::addRow("%s, %s", comma ? "de_DE" : "C", r.name)
                << comma << r.calc << r.typed << r.closes << r.shown;
}

void TestScaleDialog::calculate()
{
    QFETCH(bool, comma);
    QFETCH(bool, calc);
    QFETCH(QStringList, typed);
    QFETCH(bool, closes);
    QFETCH(QStringList, shown);

    const DefaultLocaleGuard guard;
    QLocale::setDefault(testLocale(comma));
    const auto window = makeWindow(3);
    TablePlotConfig* table = window->tableConfig;
    // "Real64" on the default left axis: Scale 1, Offset 0, raw 0 to 1.
    table->comboSave(1, TablePlotConfig::ColDataType)->comboBox->setCurrentIndex(7);
    const QStringList before = scalingCells(table, 1);
    QCOMPARE(before, (QStringList{"0", "1", "-100", "100", "0", "1"}));
    const QStringList otherRows[2] = {scalingCells(table, 0), scalingCells(table, 2)};

    bool stayedOpen = false;
    QStringList after;
    ScaleDialogAnswer answerer([&](MDialogScaleOffset* dialog) {
        if (!typed.isEmpty()) {
            dialog->lineEditRawMin->setText(typed[0]);
            dialog->lineEditRawMax->setText(typed[1]);
            dialog->lineEditMin->setText(typed[2]);
            dialog->lineEditMax->setText(typed[3]);
        }
        (calc ? dialog->buttonCalc : dialog->buttonOk)->click();
        stayedOpen = dialog->isVisible();
        after =
            rangeFields(dialog) + QStringList{dialog->lineEditOffset->text(), dialog->lineEditScale->text()};
    });
    table->slotCalcCmd(1);

    QCOMPARE(answerer.opening.count, 1);
    QCOMPARE(answerer.opening.fields, before.mid(0, 4));
    QCOMPARE(answerer.opening.offset, before[4]);
    QCOMPARE(answerer.opening.scale, before[5]);
    QCOMPARE(stayedOpen, !closes);
    QCOMPARE(after, shown);
    QCOMPARE(scalingCells(table, 1), closes ? shown : before);
    QCOMPARE(scalingCells(table, 0), otherRows[0]);
    QCOMPARE(scalingCells(table, 2), otherRows[1]);
    // The conversion borrows the C locale only for its own moment.
    QCOMPARE(QLocale(), testLocale(comma));
}

void TestScaleDialog::emptyRangeFromScaleAndOffset_data()
{
    QTest::addColumn<QString>("scale");
    QTest::addColumn<QString>("offset");
    QTest::addColumn<QStringList>("fields"); // as the dialog opens
    QTest::addColumn<QStringList>("cells");  // after OK

    QTest::newRow("scale 2, offset 10")
        << QString("2") << QString("10") << QStringList{"-55", "45", "-100.0", "+100.0"}
        << QStringList{"-55", "45", "-100.0", "+100.0", "10", "2"};
    QTest::newRow("scale 0.5, offset 0")
        << QString("0.5") << QString("0") << QStringList{"-200", "200", "-100.0", "+100.0"}
        << QStringList{"-200", "200", "-100.0", "+100.0", "0", "0.5"};
    // Nothing to derive from: the empty fields stay, and OK stays refused.
    QTest::newRow("scale not a number")
        << QString("abc") << QString("10") << QStringList{"", "", "", ""} << QStringList();
}

void TestScaleDialog::emptyRangeFromScaleAndOffset()
{
    QFETCH(QString, scale);
    QFETCH(QString, offset);
    QFETCH(QStringList, fields);
    QFETCH(QStringList, cells);

    // A row from a project without range attributes.
    const auto window = makeWindow(1);
    TablePlotConfig* table = window->tableConfig;
    for (const int col : {TablePlotConfig::ColRawValueMin, TablePlotConfig::ColRawValueMax,
                          TablePlotConfig::ColValueMin, TablePlotConfig::ColValueMax})
        table->setCellText(0, col, QString());
    table->setOffsetText(0, offset);
    table->setScaleText(0, scale);
    const QStringList before = scalingCells(table, 0);

    ScaleDialogAnswer answerer([](MDialogScaleOffset* dialog) { dialog->buttonOk->click(); });
    table->slotCalcCmd(0);

    QCOMPARE(answerer.opening.count, 1);
    QCOMPARE(answerer.opening.fields, fields);
    QCOMPARE(scalingCells(table, 0), cells.isEmpty() ? before : cells);
}

void TestScaleDialog::entries_data()
{
    QTest::addColumn<QString>("way");
    QTest::addColumn<int>("current"); // current row before, -1: none
    QTest::addColumn<int>("row");     // -1: nothing opens

    QTest::newRow("double click on Scale") << "dclick-left-12" << 0 << 2;
    QTest::newRow("double click on Offset") << "dclick-left-13" << 0 << 1;
    QTest::newRow("double click on Name") << "dclick-left-1" << 0 << -1;
    QTest::newRow("right double click on Scale") << "dclick-right-12" << 0 << -1;
    QTest::newRow("double click on Scale during a run") << "dclick-left-12-running" << 0 << -1;
    QTest::newRow("F2 on Scale after a left click") << "f2-left-12" << 2 << 2;
    QTest::newRow("F2 on Offset after a left click") << "f2-left-13" << 1 << 1;
    QTest::newRow("F2 on Unit") << "f2-left-14" << 1 << -1;
    QTest::newRow("F2 on Scale after a right click") << "f2-right-12" << 1 << -1;
    QTest::newRow("F2 on Scale before any click") << "f2-none-12" << 1 << -1;
    QTest::newRow("Calc button of row 0") << "calc" << 1 << 0;
    QTest::newRow("Calc button of row 2") << "calc" << 1 << 2;
    QTest::newRow("menu action, current row 1") << "action" << 1 << 1;
    QTest::newRow("menu action, no current row") << "action" << -1 << 0;
}

void TestScaleDialog::entries()
{
    QFETCH(QString, way);
    QFETCH(int, current);
    QFETCH(int, row);

    const auto window = makeWindow(3, true);
    VistrelMainWindow& w = *window;
    TablePlotConfig* table = w.tableConfig;
    ScaleDialogAnswer answerer(cancel);

    const QStringList parts = way.split(QLatin1Char('-'));
    if (parts[0] == QLatin1String("dclick")) {
        const int col = parts[2].toInt();
        const int target = row >= 0 ? row : 2;
        w.running = parts.size() > 3;
        const Qt::MouseButton button = parts[1] == QLatin1String("left") ? Qt::LeftButton : Qt::RightButton;
        const QPoint cell = table->visualRect(table->model()->index(target, col)).center();
        // The first click of a double click comes as a click of its own.
        QTest::mouseClick(table->viewport(), button, Qt::NoModifier, cell);
        QTest::mouseDClick(table->viewport(), button, Qt::NoModifier, cell);
    } else if (parts[0] == QLatin1String("f2")) {
        const int col = parts[2].toInt();
        if (parts[1] != QLatin1String("none")) {
            const Qt::MouseButton button =
                parts[1] == QLatin1String("left") ? Qt::LeftButton : Qt::RightButton;
            QTest::mouseClick(
                table->viewport(), button, Qt::NoModifier,
                table->visualRect(table->model()->index(0, TablePlotConfig::ColScale)).center());
        }
        QCOMPARE(answerer.opening.count, 0);
        table->setCurrentCell(current, col);
        QTest::keyClick(table, Qt::Key_F2);
    } else if (parts[0] == QLatin1String("calc")) {
        table->setCurrentCell(current, TablePlotConfig::ColName);
        auto* button = qobject_cast<QPushButton*>(table->cellWidget(row, TablePlotConfig::ColCalc));
        QVERIFY(button);
        button->click();
    } else {
        if (current < 0)
            table->setCurrentIndex(QModelIndex());
        else
            table->setCurrentCell(current, TablePlotConfig::ColUnit);
        w.projectCalculateAction->trigger();
        QCOMPARE(table->currentRow(), row);
        if (current < 0)
            QCOMPARE(table->currentColumn(), int(TablePlotConfig::ColName));
    }
    QTest::qWait(20); // gives the poll of the answerer its turns
    w.running = false;

    if (row < 0) {
        QCOMPARE(answerer.opening.count, 0);
        return;
    }
    QCOMPARE(answerer.opening.count, 1);
    QCOMPARE(answerer.opening.row, row);
    QCOMPARE(answerer.opening.title, QStringLiteral("Curve Scaling c%1 (Row: %2)").arg(row).arg(row + 1));
    QCOMPARE(answerer.opening.scale, table->scaleText(row));
    QCOMPARE(answerer.opening.fields.first(), table->rawValueMinText(row));
}

void TestScaleDialog::oneDialogForAllRows()
{
    const auto window = makeWindow(2);
    TablePlotConfig* table = window->tableConfig;
    QVERIFY(!window->findChild<MDialogScaleOffset*>());
    table->setValueMaxText(1, QStringLiteral("50"));
    {
        ScaleDialogAnswer answerer([](MDialogScaleOffset* dialog) {
            dialog->lineEditMax->setText(QStringLiteral("10"));
            dialog->buttonCalc->click();
            dialog->buttonCancel->click();
        });
        table->slotCalcCmd(0);
        QCOMPARE(answerer.opening.count, 1);
    }
    // The next run starts from the cells of its own row again.
    ScaleDialogAnswer answerer(cancel);
    table->slotCalcCmd(1);
    QCOMPARE(answerer.opening.count, 1);
    QCOMPARE(answerer.opening.fields[3], QStringLiteral("50"));
    QCOMPARE(answerer.opening.scale, table->scaleText(1));
    const QList<MDialogScaleOffset*> dialogs = window->findChildren<MDialogScaleOffset*>();
    QCOMPARE(dialogs.size(), 1);
    MDialogScaleOffset* dialog = dialogs.first();
    QCOMPARE(dialog->parentWidget(), window.get());
    QVERIFY(dialog->isModal());
    // Only the range can be typed, and only as numbers; Scale and Offset
    // come from Calc.
    for (QLineEdit* edit :
         {dialog->lineEditRawMin, dialog->lineEditRawMax, dialog->lineEditMin, dialog->lineEditMax})
        QVERIFY(qobject_cast<const QDoubleValidator*>(edit->validator()) && !edit->isReadOnly());
    QVERIFY(dialog->lineEditScale->isReadOnly() && dialog->lineEditOffset->isReadOnly());
}

void TestScaleDialog::clickSelectsAll()
{
    MDialogScaleOffset dialog(nullptr);
    dialog.show();
    QApplication::setActiveWindow(&dialog);
    QVERIFY(QTest::qWaitForWindowActive(&dialog));

    QLineEdit* edit = dialog.lineEditRawMax;
    edit->setText(QStringLiteral("12.5"));
    QVERIFY(!edit->hasFocus());
    const int y = edit->height() / 2;
    QTest::mousePress(edit, Qt::LeftButton, Qt::NoModifier, QPoint(edit->width() - 10, y));
    QVERIFY(edit->hasFocus());
    QTRY_COMPARE(edit->selectedText(), edit->text());

    const auto moveTo = [edit, y](int x) {
        QMouseEvent move(QEvent::MouseMove, QPointF(x, y), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(edit, &move);
    };
    // A drag to the left edge before the release would shrink the selection.
    moveTo(1);
    QCOMPARE(edit->selectedText(), edit->text());
    QTest::mouseRelease(edit, Qt::LeftButton, Qt::NoModifier, QPoint(1, y));
    QCOMPARE(edit->selectedText(), edit->text());

    // After the release the edit takes the mouse as usual again.
    QTest::mousePress(edit, Qt::LeftButton, Qt::NoModifier, QPoint(1, y));
    QVERIFY(!edit->hasSelectedText());
    moveTo(edit->width() - 2);
    QCOMPARE(edit->selectedText(), edit->text());
    QTest::mouseRelease(edit, Qt::LeftButton, Qt::NoModifier, QPoint(edit->width() - 2, y));
}

QTEST_MAIN(TestScaleDialog)
#include "tst_scaledialog.moc"
