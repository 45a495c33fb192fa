#include "mdialogscaleoffset.h"
#include "qcombotablesupportitem.h"
#include "tableplotconfig.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <QDoubleValidator>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalMapper>
#include <QtTest>

#include <functional>
#include <memory>

using TestSupport::ModalHandler;

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

void setScalingCells(TablePlotConfig* table, int row, const QStringList& cells)
{
    table->setRawValueMinText(row, cells[0]);
    table->setRawValueMaxText(row, cells[1]);
    table->setValueMinText(row, cells[2]);
    table->setValueMaxText(row, cells[3]);
    table->setOffsetText(row, cells[4]);
    table->setScaleText(row, cells[5]);
}

// The four range fields in the order raw min, raw max, min, max.
QStringList rangeFields(const MDialogScaleOffset* dialog)
{
    return {dialog->lineEditRawMin->text(), dialog->lineEditRawMax->text(), dialog->lineEditMin->text(),
            dialog->lineEditMax->text()};
}

void setRangeFields(MDialogScaleOffset* dialog, const QStringList& fields)
{
    dialog->lineEditRawMin->setText(fields[0]);
    dialog->lineEditRawMax->setText(fields[1]);
    dialog->lineEditMin->setText(fields[2]);
    dialog->lineEditMax->setText(fields[3]);
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
                  opening.row = dialog->row;
                  opening.title = dialog->windowTitle();
                  opening.fields = rangeFields(dialog);
                  opening.scale = dialog->lineEditScale->text();
                  opening.offset = dialog->lineEditOffset->text();
                  act(dialog);
                  // An answer that leaves the dialog open would hang the test.
                  if (dialog->isVisible())
                      dialog->buttonCancel->click();
              },
              100)
    {}

    Opening opening;

private:
    ModalHandler handler;
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
    void form();
    void calculate_data();
    void calculate();
    void runFromRow_data();
    void runFromRow();
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

void TestScaleDialog::form()
{
    MDialogScaleOffset dialog(nullptr);
    QCOMPARE(dialog.objectName(), QStringLiteral("DialogScaleOffset"));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("MyDialog"));
    QVERIFY(dialog.isModal());
    QVERIFY(dialog.isSizeGripEnabled());
    QVERIFY(!(dialog.windowFlags() & Qt::WindowContextHelpButtonHint));
    QCOMPARE(dialog.width(), 492);
    QCOMPARE(dialog.minimumHeight(), dialog.maximumHeight());

    for (QLineEdit* edit :
         {dialog.lineEditRawMin, dialog.lineEditRawMax, dialog.lineEditMin, dialog.lineEditMax}) {
        QCOMPARE(edit->text(), QStringLiteral("0.0"));
        QVERIFY(qobject_cast<const QDoubleValidator*>(edit->validator()));
        QVERIFY(!edit->isReadOnly());
    }
    for (QLineEdit* edit : {dialog.lineEditScale, dialog.lineEditOffset}) {
        QVERIFY(edit->isReadOnly());
        QVERIFY(!edit->validator());
        QCOMPARE(edit->palette().color(QPalette::Active, QPalette::Base), QColor(197, 197, 197));
    }
    QVERIFY(dialog.buttonOk->isDefault());
    // The mnemonics of OK and Cancel are switched off; Calc keeps Alt+L.
    QVERIFY(dialog.buttonOk->shortcut().isEmpty());
    QVERIFY(dialog.buttonCancel->shortcut().isEmpty());
    QCOMPARE(dialog.buttonCalc->shortcut(), QKeySequence(QStringLiteral("Alt+L")));
}

void TestScaleDialog::calculate_data()
{
    QTest::addColumn<bool>("comma"); // default locale with a decimal comma
    QTest::addColumn<QStringList>("typed");
    QTest::addColumn<QStringList>("shown");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("scale");
    QTest::addColumn<QString>("offset");

    for (const bool comma : {false, true}) {
        const char* locale = comma ? "de_DE" : "C";
        QTest::addRow("%s, 0..100 to 0..10", locale) << comma << QStringList{"0", "100", "0", "10"}
                                                     << QStringList{"0", "100", "0", "10"} << true << "0.1"
                                                     << "0";
        QTest::addRow("%s, -1..1 to -100..100", locale)
            << comma << QStringList{"-1", "1", "-100", "100"} << QStringList{"-1", "1", "-100", "100"} << true
            << "100"
            << "0";
        QTest::addRow("%s, raw range of no width", locale)
            << comma << QStringList{"5", "5", "0", "10"} << QStringList{"5", "5", "0", "10"} << true << "0"
            << "0";
        QTest::addRow("%s, real type on the left axis", locale)
            << comma << QStringList{"0", "1", "-100", "+100.0"} << QStringList{"0", "1", "-100", "+100.0"}
            << true << "200"
            << "-100";
        QTest::addRow("%s, commas", locale) << comma << QStringList{"1,5", "3,5", "0", "1e1"}
                                            << QStringList{"1.5", "3.5", "0", "1e1"} << true << "5"
                                            << "-7.5";
        // The failed field and those behind it count as 0.
        QTest::addRow("%s, scaled minimum fails", locale)
            << comma << QStringList{"-10", "10", "x", "10"} << QStringList{"-10", "10", "x", "10"} << false
            << "0"
            << "0";
        QTest::addRow("%s, empty field", locale)
            << comma << QStringList{"0", "100", "0", ""} << QStringList{"0", "100", "0", ""} << false << "0"
            << "0";
    }
}

void TestScaleDialog::calculate()
{
    QFETCH(bool, comma);
    QFETCH(QStringList, typed);
    QFETCH(QStringList, shown);
    QFETCH(bool, ok);
    QFETCH(QString, scale);
    QFETCH(QString, offset);

    const DefaultLocaleGuard guard;
    QLocale::setDefault(testLocale(comma));
    MDialogScaleOffset dialog(nullptr);
    setRangeFields(&dialog, typed);

    QCOMPARE(dialog.slotCalculate(), ok);
    QCOMPARE(rangeFields(&dialog), shown);
    QCOMPARE(dialog.lineEditScale->text(), scale);
    QCOMPARE(dialog.lineEditOffset->text(), offset);
    // The conversion borrows the C locale only for its own moment.
    QCOMPARE(QLocale(), testLocale(comma));

    // The Calc button is the same computation.
    dialog.lineEditScale->clear();
    setRangeFields(&dialog, typed);
    dialog.buttonCalc->click();
    QCOMPARE(dialog.lineEditScale->text(), scale);
}

void TestScaleDialog::runFromRow_data()
{
    QTest::addColumn<bool>("comma");
    QTest::addColumn<QString>("answer");    // ok, calcCancel, cancel
    QTest::addColumn<QStringList>("typed"); // empty: no change
    QTest::addColumn<bool>("closes");       // on OK
    QTest::addColumn<QStringList>("cells"); // after the dialog; empty: unchanged

    for (const bool comma : {false, true}) {
        const char* locale = comma ? "de_DE" : "C";
        QTest::addRow("%s, OK computes", locale) << comma << "ok" << QStringList{"0", "100", "0", "10"}
                                                 << true << QStringList{"0", "100", "0", "10", "0", "0.1"};
        QTest::addRow("%s, OK with a raw range of no width", locale)
            << comma << "ok" << QStringList{"7", "7", "0", "10"} << true
            << QStringList{"7", "7", "0", "10", "0", "0"};
        QTest::addRow("%s, OK with commas", locale)
            << comma << "ok" << QStringList{"1,5", "3,5", "-1,0", "1"} << true
            << QStringList{"1.5", "3.5", "-1.0", "1", "-2.5", "1"};
        QTest::addRow("%s, OK with an emptied field", locale)
            << comma << "ok" << QStringList{"0", "", "0", "10"} << false << QStringList();
        QTest::addRow("%s, Cancel after Calc", locale)
            << comma << "calcCancel" << QStringList{"0", "100", "0", "10"} << true << QStringList();
        QTest::addRow("%s, OK without change on a real row", locale)
            << comma << "ok" << QStringList() << true << QStringList{"0", "1", "-100", "100", "-100", "200"};
    }
}

void TestScaleDialog::runFromRow()
{
    QFETCH(bool, comma);
    QFETCH(QString, answer);
    QFETCH(QStringList, typed);
    QFETCH(bool, closes);
    QFETCH(QStringList, cells);

    const DefaultLocaleGuard guard;
    QLocale::setDefault(testLocale(comma));
    const auto window = makeWindow(3);
    TablePlotConfig* table = window->tableConfig;
    // "Real64" on the default left axis: Scale 1, Offset 0, raw 0 to 1.
    table->comboSave(1, TablePlotConfig::ColDataType)->comboBox->setCurrentIndex(7);
    QCOMPARE(scalingCells(table, 1), (QStringList{"0", "1", "-100", "100", "0", "1"}));
    const QStringList before = scalingCells(table, 1);
    const QStringList otherRows[2] = {scalingCells(table, 0), scalingCells(table, 2)};

    bool stayedOpen = false;
    QStringList shownAfterOk;
    ScaleDialogAnswer answerer([&](MDialogScaleOffset* dialog) {
        if (!typed.isEmpty())
            setRangeFields(dialog, typed);
        if (answer == QLatin1String("calcCancel")) {
            dialog->buttonCalc->click();
            QCOMPARE(dialog->lineEditScale->text(), QStringLiteral("0.1"));
            dialog->buttonCancel->click();
        } else {
            dialog->buttonOk->click();
            stayedOpen = dialog->isVisible();
            shownAfterOk = rangeFields(dialog);
        }
    });
    table->slotCalcCmd(1);

    QCOMPARE(answerer.opening.count, 1);
    QCOMPARE(answerer.opening.fields, before.mid(0, 4));
    QCOMPARE(answerer.opening.offset, before[4]);
    QCOMPARE(answerer.opening.scale, before[5]);
    if (answer == QLatin1String("ok")) {
        QCOMPARE(stayedOpen, !closes);
        QCOMPARE(shownAfterOk, closes ? cells.mid(0, 4) : typed);
    }
    QCOMPARE(scalingCells(table, 1), cells.isEmpty() ? before : cells);
    QCOMPARE(scalingCells(table, 0), otherRows[0]);
    QCOMPARE(scalingCells(table, 2), otherRows[1]);
    QCOMPARE(QLocale(), testLocale(comma));
}

void TestScaleDialog::emptyRangeFromScaleAndOffset_data()
{
    QTest::addColumn<QString>("scale");
    QTest::addColumn<QString>("offset");
    QTest::addColumn<QStringList>("fields"); // as the dialog opens
    QTest::addColumn<QStringList>("cells");  // after OK

    QTest::newRow("scale 2, offset 10") << "2"
                                        << "10" << QStringList{"-55", "45", "-100.0", "+100.0"}
                                        << QStringList{"-55", "45", "-100.0", "+100.0", "10", "2"};
    QTest::newRow("scale 0.5, offset 0") << "0.5"
                                         << "0" << QStringList{"-200", "200", "-100.0", "+100.0"}
                                         << QStringList{"-200", "200", "-100.0", "+100.0", "0", "0.5"};
    // Nothing to derive from: the empty fields stay, and OK stays refused.
    QTest::newRow("scale not a number") << "abc"
                                        << "10" << QStringList{"", "", "", ""} << QStringList();
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
    setScalingCells(table, 0, {"", "", "", "", offset, scale});
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
    QCOMPARE(dialogs.first()->parentWidget(), window.get());
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

    // A drag to the left edge before the release would shrink the selection.
    QMouseEvent move(QEvent::MouseMove, QPointF(1, y), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(edit, &move);
    QCOMPARE(edit->selectedText(), edit->text());
    QTest::mouseRelease(edit, Qt::LeftButton, Qt::NoModifier, QPoint(1, y));
    QCOMPARE(edit->selectedText(), edit->text());

    // After the release the edit takes the mouse as usual again.
    QTest::mousePress(edit, Qt::LeftButton, Qt::NoModifier, QPoint(1, y));
    QVERIFY(!edit->hasSelectedText());
    QMouseEvent drag(QEvent::MouseMove, QPointF(edit->width() - 2, y), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(edit, &drag);
    QCOMPARE(edit->selectedText(), edit->text());
    QTest::mouseRelease(edit, Qt::LeftButton, Qt::NoModifier, QPoint(edit->width() - 2, y));
}

QTEST_MAIN(TestScaleDialog)
#include "tst_scaledialog.moc"
