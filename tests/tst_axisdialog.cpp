#include "mdialogcustomaxis.h"
#include "valueaxissettings.h"
#include "valueaxistabpage.h"

#include <QtTest>

#include <QCheckBox>
#include <QDoubleValidator>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>

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

bool sameSettings(const ValueAxisSettings& a, const ValueAxisSettings& b)
{
    return a.min == b.min && a.max == b.max && a.step == b.step && a.visible == b.visible && a.grid == b.grid;
}

template <typename T> T* child(QWidget* parent, const char* name)
{
    T* found = parent->findChild<T*>(QLatin1String(name));
    if (!found)
        qFatal("no child %s", name);
    return found;
}

// The window's side of the dialog (the two records and the fit flag), the
// dialog on them, and its widgets found by their object names.
struct AxisDialog
{
    explicit AxisDialog(const ValueAxisSettings& l = ValueAxisSettings::leftDefault(),
                        const ValueAxisSettings& r = ValueAxisSettings::rightDefault(), bool fitFlag = false)
        : left(l), right(r), fit(fitFlag)
    {}

    QTabWidget* tabs() const { return dialog.tabWidget; }
    QWidget* page(int index) const { return tabs()->widget(index); }
    QLineEdit* edit(int index, const char* name) const { return child<QLineEdit>(page(index), name); }
    QCheckBox* visibleBox(int index) const { return child<QCheckBox>(page(index), "checkBoxAxisVisible"); }
    QCheckBox* gridBox(int index) const { return child<QCheckBox>(page(index), "checkBoxGrid"); }
    QCheckBox* fitBox() { return dialog.checkBoxFitScaleToViewport; }
    void apply() { dialog.pushButtonApply->click(); }
    const ValueAxisSettings& record(int index) const { return index == 0 ? left : right; }
    bool recordsUnchanged() const
    {
        return sameSettings(left, ValueAxisSettings::leftDefault()) &&
               sameSettings(right, ValueAxisSettings::rightDefault());
    }

    void setViewport(int index, const QString& min, const QString& max, const QString& step) const
    {
        edit(index, "lineEditMin")->setText(min);
        edit(index, "lineEditMax")->setText(max);
        edit(index, "lineEditStep")->setText(step);
    }

    ValueAxisSettings left;
    ValueAxisSettings right;
    QVector<ValueAxisSettings*> axes{&left, &right};
    bool fit;
    MDialogCustomAxis dialog{nullptr, &axes, &fit};
    QSignalSpy applied{&dialog, &MDialogCustomAxis::signalApplyAxisSettings};
};

} // namespace

class TestAxisDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void formFilledFromRecords();
    void commaBecomesPoint_data();
    void commaBecomesPoint();
    void refused_data();
    void refused();
    void gridStandsOpposite_data();
    void gridStandsOpposite();
    void openState_data();
    void openState();
    void okStoresStepZeroAndCloses();
    void cancelKeepsWhatApplyDid();
    void selectOnFocus();
};

void TestAxisDialog::initTestCase()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestAxisDialog::formFilledFromRecords()
{
    AxisDialog d({-0.1, 1e20, 0.025, true, false}, {1.5, 3.25, 0.5, true, true});

    QCOMPARE(d.dialog.windowTitle(), QStringLiteral("Value Axis Viewport"));
    // The template tabs are gone; two pages stand in their place.
    QCOMPARE(d.tabs()->count(), 2);
    QCOMPARE(d.tabs()->tabText(0), QStringLiteral("Left"));
    QCOMPARE(d.tabs()->tabText(1), QStringLiteral("Right"));
    QCOMPARE(d.fitBox()->text(),
             QStringLiteral("Recalculate scaling of all curves to fit the entire axis viewport"));
    // A negative step can't be typed.
    const auto* step = qobject_cast<const QDoubleValidator*>(d.edit(0, "lineEditStep")->validator());
    QVERIFY(step && step->bottom() == 0.0);

    QCOMPARE(d.edit(0, "lineEditMin")->text(), QStringLiteral("-0.1"));
    QCOMPARE(d.edit(0, "lineEditMax")->text(), QStringLiteral("1e+20"));
    QCOMPARE(d.edit(0, "lineEditStep")->text(), QStringLiteral("0.025"));
    QCOMPARE(d.edit(1, "lineEditMin")->text(), QStringLiteral("1.5"));
    QCOMPARE(d.edit(1, "lineEditMax")->text(), QStringLiteral("3.25"));
    // The left axis can't be hidden; the right one can.
    QVERIFY(d.visibleBox(0)->isChecked() && !d.visibleBox(0)->isEnabled());
    QVERIFY(d.visibleBox(1)->isChecked() && d.visibleBox(1)->isEnabled());
    QVERIFY(d.gridBox(1)->isChecked());
    QVERIFY(!d.gridBox(0)->isChecked());

    // OK without a change stores what was there.
    const ValueAxisSettings left = d.left;
    const ValueAxisSettings right = d.right;
    d.dialog.buttonOk->click();
    QVERIFY(sameSettings(d.left, left));
    QVERIFY(sameSettings(d.right, right));
}

void TestAxisDialog::commaBecomesPoint_data()
{
    QTest::addColumn<bool>("german");
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<double>("value");

    struct Row
    {
        const char* name;
        int page;
        const char* field;
        const char* typed;
        const char* shown;
        double value;
    };
    const Row rows[] = {{"left minimum", 0, "lineEditMin", "1,5", "1.5", 1.5},
                        {"right maximum", 1, "lineEditMax", "2,5e2", "2.5e2", 250.0},
                        {"left step", 0, "lineEditStep", "0,25", "0.25", 0.25},
                        {"point stays", 1, "lineEditMin", "-7.75", "-7.75", -7.75}};
    for (const bool german : {false, true})
        for (const Row& r : rows)
            QTest::addRow("%s, %s", german ? "de_DE" : "C", r.name)
                << german << r.page << QString(r.field) << QString(r.typed) << QString(r.shown) << r.value;
}

void TestAxisDialog::commaBecomesPoint()
{
    QFETCH(bool, german);
    QFETCH(int, page);
    QFETCH(QString, field);
    QFETCH(QString, typed);
    QFETCH(QString, shown);
    QFETCH(double, value);

    const DefaultLocaleGuard guard;
    const QLocale testLocale = german ? QLocale(QLocale::German, QLocale::Germany) : QLocale(QLocale::C);
    QLocale::setDefault(testLocale);

    AxisDialog d;
    QLineEdit* edit = d.edit(page, field.toLatin1().constData());
    edit->setText(typed);
    d.apply();

    QCOMPARE(edit->text(), shown);
    QCOMPARE(d.applied.count(), 1);
    const ValueAxisSettings& stored = d.record(page);
    const double storedValue = field == QLatin1String("lineEditMin")   ? stored.min
                               : field == QLatin1String("lineEditMax") ? stored.max
                                                                       : stored.step;
    QCOMPARE(storedValue, value);
    // The conversion borrows the C locale only for its own moment.
    QCOMPARE(QLocale(), testLocale);
}

// A page that fails stores nothing on either page. A step not below the
// range gets a suggestion (shown on its tab, selected); every other failure
// is silent.
void TestAxisDialog::refused_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QStringList>("viewport"); // min, max, step
    QTest::addColumn<QString>("otherStep");
    QTest::addColumn<QString>("suggestion"); // empty: none
    QTest::addColumn<double>("suggested");

    struct Row
    {
        const char* name;
        int page;
        QStringList viewport;
        const char* otherStep;
        const char* suggestion;
        double suggested;
    };
    const Row rows[] = {
        {"left, step equals range", 0, {"0", "100", "100"}, "2,5", "20", 20.0},
        {"right, step equals range", 1, {"0", "100", "100"}, "2,5", "20", 20.0},
        {"right, step above range", 1, {"-1", "2", "5"}, "2,5", "0.6", 0.6},
        {"left, comma range", 0, {"0,5", "1", "1"}, "2,5", "0.1", 0.1},
        // The other page holds a valid change unless its step is too large.
        {"left fails, right step too large", 0, {"5", "5", "1"}, "10", "", 0.0},
        {"left, min equals max", 0, {"5", "5", "1"}, "2,5", "", 0.0},
        {"right, min equals max", 1, {"5", "5", "1"}, "2,5", "", 0.0},
        {"right, min equals max with comma", 1, {"2,5", "2.5", "0"}, "2,5", "", 0.0},
        {"left, min above max", 0, {"10", "-10", "1"}, "2,5", "", 0.0},
        {"left, empty minimum", 0, {"", "10", "1"}, "2,5", "", 0.0},
        {"right, empty step", 1, {"0", "10", ""}, "2,5", "", 0.0},
        {"right, text", 1, {"0", "ten", "1"}, "2,5", "", 0.0},
    };
    for (const Row& r : rows)
        QTest::newRow(r.name) << r.page << r.viewport << QString(r.otherStep) << QString(r.suggestion)
                              << r.suggested;
}

void TestAxisDialog::refused()
{
    QFETCH(int, page);
    QFETCH(QStringList, viewport);
    QFETCH(QString, otherStep);
    QFETCH(QString, suggestion);
    QFETCH(double, suggested);

    AxisDialog d;
    // The other page holds a change with commas: it isn't stored either,
    // but its fields get their points.
    const int other = 1 - page;
    d.setViewport(other, "-2,5", "7,5", otherStep);
    d.visibleBox(1)->setChecked(true);
    d.setViewport(page, viewport[0], viewport[1], viewport[2]);
    // The user stands on the other tab when pressing Apply.
    d.tabs()->setCurrentIndex(other);

    d.apply();
    QCOMPARE(d.applied.count(), 0);
    QVERIFY(d.recordsUnchanged());
    QCOMPARE(d.edit(other, "lineEditMin")->text(), QStringLiteral("-2.5"));
    QCOMPARE(d.edit(other, "lineEditStep")->text(), QString(otherStep).replace(',', '.'));
    QLineEdit* stepEdit = d.edit(page, "lineEditStep");

    if (suggestion.isEmpty()) {
        d.dialog.buttonOk->click();
        QCOMPARE(d.applied.count(), 0);
        QCOMPARE(d.dialog.result(), int(QDialog::Rejected));
        QVERIFY(d.recordsUnchanged());
        QCOMPARE(d.fit, false);
        // No suggestion and no switch of tabs: the refusal is silent.
        QCOMPARE(d.tabs()->currentIndex(), other);
        QCOMPARE(stepEdit->text(), viewport[2]);
        return;
    }
    QCOMPARE(d.tabs()->currentIndex(), page);
    QCOMPARE(stepEdit->text(), suggestion);
    QCOMPARE(stepEdit->selectedText(), suggestion);
    QCOMPARE(d.dialog.focusWidget(), stepEdit);

    // The suggestion passes.
    d.apply();
    QCOMPARE(d.applied.count(), 1);
    QCOMPARE(d.record(page).step, suggested);
    QCOMPARE(d.record(page).max, QString(viewport[1]).replace(',', '.').toDouble());
    QCOMPARE(d.record(other).min, -2.5);
}

void TestAxisDialog::gridStandsOpposite_data()
{
    QTest::addColumn<bool>("rightVisible");
    QTest::addColumn<bool>("rightGrid");
    QTest::addColumn<QString>("action");
    QTest::addColumn<bool>("leftChecked");
    QTest::addColumn<bool>("leftEnabled");
    QTest::addColumn<bool>("rightChecked");
    QTest::addColumn<bool>("rightEnabled");

    QTest::newRow("hidden right") << false << false << "" << true << false << false << false;
    QTest::newRow("hidden right claims grid") << false << true << "" << true << false << false << false;
    QTest::newRow("visible right, grid right") << true << true << "" << false << true << true << true;
    QTest::newRow("visible right, grid left") << true << false << "" << true << true << false << true;
    QTest::newRow("check right grid") << true << false << "check right grid" << false << true << true << true;
    QTest::newRow("check left grid") << true << true << "check left grid" << true << true << false << true;
    QTest::newRow("uncheck left grid")
        << true << false << "uncheck left grid" << false << true << true << true;
    QTest::newRow("hide right") << true << true << "hide right" << true << false << false << false;
    QTest::newRow("show right") << false << false << "show right" << true << true << false << true;
}

void TestAxisDialog::gridStandsOpposite()
{
    QFETCH(bool, rightVisible);
    QFETCH(bool, rightGrid);
    QFETCH(QString, action);
    QFETCH(bool, leftChecked);
    QFETCH(bool, leftEnabled);
    QFETCH(bool, rightChecked);
    QFETCH(bool, rightEnabled);

    ValueAxisSettings left = ValueAxisSettings::leftDefault();
    ValueAxisSettings right = ValueAxisSettings::rightDefault();
    right.visible = rightVisible;
    right.grid = rightGrid;
    left.grid = !rightGrid;
    AxisDialog d(left, right);

    // Clicks, as the user would make them.
    if (action.endsWith(QLatin1String("grid"))) {
        QCheckBox* box = d.gridBox(action.contains(QLatin1String("right")) ? 1 : 0);
        QVERIFY(box->isEnabled());
        QCOMPARE(box->isChecked(), action.startsWith(QLatin1String("uncheck")));
        box->click();
    } else if (action.endsWith(QLatin1String("right"))) {
        QCOMPARE(d.visibleBox(1)->isChecked(), action.startsWith(QLatin1String("hide")));
        d.visibleBox(1)->click();
    }

    QCOMPARE(d.gridBox(0)->isChecked(), leftChecked);
    QCOMPARE(d.gridBox(0)->isEnabled(), leftEnabled);
    QCOMPARE(d.gridBox(1)->isChecked(), rightChecked);
    QCOMPARE(d.gridBox(1)->isEnabled(), rightEnabled);

    // What the boxes show is what gets stored.
    d.apply();
    QCOMPARE(d.left.grid, leftChecked);
    QCOMPARE(d.right.grid, rightChecked);
    QCOMPARE(d.right.visible, rightEnabled);
    QVERIFY(d.left.visible);
}

void TestAxisDialog::openState_data()
{
    QTest::addColumn<int>("initialTab");
    QTest::addColumn<int>("openFlags");
    QTest::addColumn<bool>("rightVisible");
    QTest::addColumn<int>("tab");
    QTest::addColumn<bool>("visibleLocked");
    QTest::addColumn<bool>("fitAvailable");

    QTest::newRow("plain") << 0 << 0 << false << 0 << false << true;
    QTest::newRow("right tab") << 1 << 0 << false << 1 << false << true;
    QTest::newRow("curve on the right") << 0 << 1 << false << 0 << true << true;
    QTest::newRow("curve on the visible right") << 1 << 1 << true << 1 << true << true;
    QTest::newRow("no recalculation") << 0 << 2 << true << 0 << false << false;
    QTest::newRow("both flags") << 1 << 3 << false << 1 << true << false;
}

void TestAxisDialog::openState()
{
    QFETCH(int, initialTab);
    QFETCH(int, openFlags);
    QFETCH(bool, rightVisible);
    QFETCH(int, tab);
    QFETCH(bool, visibleLocked);
    QFETCH(bool, fitAvailable);

    ValueAxisSettings right = ValueAxisSettings::rightDefault();
    right.visible = rightVisible;
    // The flag is set from an earlier OK; the box doesn't follow it.
    AxisDialog d(ValueAxisSettings::leftDefault(), right, !fitAvailable);
    d.dialog.initialTab = initialTab;
    d.dialog.openFlags = openFlags;
    d.dialog.applyOpenState();

    QCOMPARE(d.tabs()->currentIndex(), tab);
    const bool rightShown = rightVisible || visibleLocked;
    QCOMPARE(d.visibleBox(1)->isChecked(), rightShown);
    QCOMPARE(d.visibleBox(1)->isEnabled(), !visibleLocked);
    QCOMPARE(d.gridBox(1)->isEnabled(), rightShown);
    QCOMPARE(d.gridBox(0)->isEnabled(), rightShown);
    QCOMPARE(d.fitBox()->isChecked(), fitAvailable);
    QCOMPARE(d.fitBox()->isEnabled(), fitAvailable);

    d.dialog.buttonOk->click();
    QCOMPARE(d.dialog.result(), int(QDialog::Accepted));
    QCOMPARE(d.fit, fitAvailable);
    QCOMPARE(d.right.visible, rightShown);
}

void TestAxisDialog::okStoresStepZeroAndCloses()
{
    AxisDialog d;
    QTimer::singleShot(0, &d.dialog, [&d] {
        // Step 0 leaves the tick distance to Qwt.
        d.setViewport(0, "-50", "50", "0");
        d.setViewport(1, "3", "4", "0,0");
        QTest::keyClick(&d.dialog, Qt::Key_Return); // OK is the default button
    });
    QCOMPARE(d.dialog.exec(), int(QDialog::Accepted));
    QCOMPARE(d.applied.count(), 1);
    QVERIFY(!d.dialog.isVisible());
    QCOMPARE(d.left.min, -50.0);
    QCOMPARE(d.left.max, 50.0);
    QCOMPARE(d.left.step, 0.0);
    QCOMPARE(d.right.min, 3.0);
    QCOMPARE(d.right.step, 0.0);
    QVERIFY(d.fit);
}

void TestAxisDialog::cancelKeepsWhatApplyDid()
{
    AxisDialog d;
    QTimer::singleShot(0, &d.dialog, [&d] {
        d.setViewport(1, "10", "20", "2");
        d.visibleBox(1)->setChecked(true);
        d.apply();
        // The dialog stays open after Apply.
        QVERIFY(d.dialog.isVisible());
        d.setViewport(1, "30", "40", "2");
        d.dialog.buttonCancel->click();
    });
    QCOMPARE(d.dialog.exec(), int(QDialog::Rejected));
    QCOMPARE(d.applied.count(), 1);
    QCOMPARE(d.right.min, 10.0);
    QCOMPARE(d.right.max, 20.0);
    QVERIFY(d.right.visible);
}

void TestAxisDialog::selectOnFocus()
{
    AxisDialog d;
    d.dialog.show();
    QApplication::setActiveWindow(&d.dialog);
    QVERIFY(QTest::qWaitForWindowActive(&d.dialog));
    const auto moveTo = [](QLineEdit* edit, int x) {
        QMouseEvent move(QEvent::MouseMove, QPointF(x, edit->height() / 2), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(edit, &move);
    };

    // A tab into a field leaves the selection to the edit's own way, and
    // neither selects late nor holds the mouse back.
    QLineEdit* min = d.edit(0, "lineEditMin");
    d.edit(0, "lineEditMax")->setFocus(Qt::OtherFocusReason);
    QTest::keyClick(d.edit(0, "lineEditMax"), Qt::Key_Tab);
    QVERIFY(min->hasFocus());
    QCOMPARE(min->selectedText(), min->text());
    min->deselect();
    QTest::qWait(20);
    QVERIFY(!min->hasSelectedText());
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(min->width() - 2, min->height() / 2), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(min, &press);
    moveTo(min, 1);
    QCOMPARE(min->selectedText(), min->text());
    QTest::mouseRelease(min, Qt::LeftButton, Qt::NoModifier, QPoint(1, min->height() / 2));

    // A click into a field selects all of it, and a drag before the release
    // doesn't shrink the selection.
    QLineEdit* edit = d.edit(0, "lineEditMax");
    edit->setText(QStringLiteral("123456.75"));
    QVERIFY(!edit->hasFocus());
    const int y = edit->height() / 2;
    QTest::mousePress(edit, Qt::LeftButton, Qt::NoModifier, QPoint(edit->width() - 10, y));
    QVERIFY(edit->hasFocus());
    QTRY_COMPARE(edit->selectedText(), edit->text());
    moveTo(edit, 1);
    QCOMPARE(edit->selectedText(), edit->text());
    QTest::mouseRelease(edit, Qt::LeftButton, Qt::NoModifier, QPoint(1, y));
    QCOMPARE(edit->selectedText(), edit->text());

    // After the release the edit handles the mouse as usual again: a drag
    // from the left edge to the right edge selects by itself.
    QTest::mousePress(edit, Qt::LeftButton, Qt::NoModifier, QPoint(1, y));
    QVERIFY(!edit->hasSelectedText());
    moveTo(edit, edit->width() - 2);
    QCOMPARE(edit->selectedText(), edit->text());
    QTest::mouseRelease(edit, Qt::LeftButton, Qt::NoModifier, QPoint(edit->width() - 2, y));
}

QTEST_MAIN(TestAxisDialog)
#include "tst_axisdialog.moc"
