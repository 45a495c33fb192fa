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

// The window's side of the dialog: the two records and the fit flag.
struct AxisRecords
{
    ValueAxisSettings left = ValueAxisSettings::leftDefault();
    ValueAxisSettings right = ValueAxisSettings::rightDefault();
    QVector<ValueAxisSettings*> axes{&left, &right};
    bool fit = false;
};

bool sameSettings(const ValueAxisSettings& a, const ValueAxisSettings& b)
{
    return a.min == b.min && a.max == b.max && a.step == b.step && a.visible == b.visible && a.grid == b.grid;
}

// Finds the widgets of the dialog by their object names.
class DialogView
{
public:
    explicit DialogView(QWidget* dialog) : dialog(dialog) {}

    QTabWidget* tabs() const { return child<QTabWidget>(dialog, "tabWidget"); }
    QWidget* page(int index) const { return tabs()->widget(index); }
    QLineEdit* edit(int index, const char* name) const { return child<QLineEdit>(page(index), name); }
    QCheckBox* visibleBox(int index) const { return child<QCheckBox>(page(index), "checkBoxAxisVisible"); }
    QCheckBox* gridBox(int index) const { return child<QCheckBox>(page(index), "checkBoxGrid"); }
    QCheckBox* fitBox() const { return child<QCheckBox>(dialog, "checkBoxFitScaleToViewport"); }
    QPushButton* button(const char* name) const { return child<QPushButton>(dialog, name); }

    void setViewport(int index, const QString& min, const QString& max, const QString& step) const
    {
        edit(index, "lineEditMin")->setText(min);
        edit(index, "lineEditMax")->setText(max);
        edit(index, "lineEditStep")->setText(step);
    }

private:
    template <typename T> static T* child(QWidget* parent, const char* name)
    {
        T* found = parent->findChild<T*>(QLatin1String(name));
        if (!found)
            qFatal("no child %s", name);
        return found;
    }

    QWidget* dialog;
};

} // namespace

class TestAxisDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void form();
    void hiddenAxisDropsItsGrid();
    void fillsFromRecords();
    void commaBecomesPoint_data();
    void commaBecomesPoint();
    void stepSuggestion_data();
    void stepSuggestion();
    void refusedWithoutChange_data();
    void refusedWithoutChange();
    void stepZeroAccepted();
    void gridStandsOpposite_data();
    void gridStandsOpposite();
    void openState_data();
    void openState();
    void okEmitsOnceAndCloses();
    void cancelKeepsWhatApplyDid();
    void clickSelectsAll();
    void tabKeepsEditDefault();
};

void TestAxisDialog::initTestCase()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestAxisDialog::form()
{
    AxisRecords records;
    MDialogCustomAxis dialog(nullptr, &records.axes, &records.fit);
    const DialogView view(&dialog);

    QCOMPARE(dialog.windowTitle(), QStringLiteral("Value Axis Viewport"));
    QVERIFY(dialog.isSizeGripEnabled());
    QVERIFY(!(dialog.windowFlags() & Qt::WindowContextHelpButtonHint));
    QVERIFY(dialog.windowFlags() & Qt::WindowCloseButtonHint);
    QCOMPARE(dialog.minimumHeight(), dialog.maximumHeight());
    QCOMPARE(dialog.width(), 348);

    // The template tabs are gone; two pages stand in their place.
    QCOMPARE(view.tabs()->count(), 2);
    QCOMPARE(view.tabs()->tabText(0), QStringLiteral("Left"));
    QCOMPARE(view.tabs()->tabText(1), QStringLiteral("Right"));
    QCOMPARE(view.tabs()->currentIndex(), 0);
    QVERIFY(qobject_cast<ValueAxisTabPage*>(view.page(0)));
    QVERIFY(qobject_cast<ValueAxisTabPage*>(view.page(1)));

    QCOMPARE(view.fitBox()->text(),
             QStringLiteral("Recalculate scaling of all curves to fit the entire axis viewport"));
    QVERIFY(view.fitBox()->isChecked());
    QVERIFY(view.fitBox()->isEnabled());
    QCOMPARE(view.button("buttonOk")->text(), QStringLiteral("&OK"));
    QVERIFY(view.button("buttonOk")->isDefault());
    QCOMPARE(view.button("buttonCancel")->text(), QStringLiteral("&Cancel"));
    QCOMPARE(view.button("pushButtonApply")->text(), QStringLiteral("Apply"));

    // The validators belong to the page: min and max share one, the step
    // can't go below 0.
    const auto validators = view.page(0)->findChildren<QDoubleValidator*>();
    QCOMPARE(validators.size(), 2);
    QCOMPARE(view.edit(0, "lineEditMin")->validator(), view.edit(0, "lineEditMax")->validator());
    const auto* step = qobject_cast<const QDoubleValidator*>(view.edit(0, "lineEditStep")->validator());
    QVERIFY(step);
    QCOMPARE(step->bottom(), 0.0);
    QCOMPARE(step->decimals(), 16);
    QVERIFY(view.edit(0, "lineEditMax")->alignment() & Qt::AlignRight);

    // A page alone shows the form's starting state.
    const ValueAxisTabPage page;
    QCOMPARE(page.windowTitle(), QStringLiteral("Value Axis Tab Page"));
    QCOMPARE(page.lineEditMax->text(), QStringLiteral("+100"));
    QCOMPARE(page.lineEditMin->text(), QStringLiteral("-100"));
    QCOMPARE(page.lineEditStep->text(), QStringLiteral("10"));
    QVERIFY(page.checkBoxAxisVisible->isChecked());
    QVERIFY(!page.checkBoxAxisVisible->isEnabled());
}

void TestAxisDialog::hiddenAxisDropsItsGrid()
{
    ValueAxisTabPage page;
    page.checkBoxGrid->setChecked(true);
    page.checkBoxAxisVisible->setChecked(false);
    QVERIFY(!page.checkBoxGrid->isChecked());
    QVERIFY(!page.checkBoxGrid->isEnabled());
    page.checkBoxAxisVisible->setChecked(true);
    QVERIFY(page.checkBoxGrid->isEnabled());
    QVERIFY(!page.checkBoxGrid->isChecked());
}

void TestAxisDialog::fillsFromRecords()
{
    AxisRecords records;
    records.left = {-0.1, 1e20, 0.025, true, false};
    records.right = {1.5, 3.25, 0.5, true, true};
    MDialogCustomAxis dialog(nullptr, &records.axes, &records.fit);
    const DialogView view(&dialog);

    QCOMPARE(view.edit(0, "lineEditMin")->text(), QStringLiteral("-0.1"));
    QCOMPARE(view.edit(0, "lineEditMax")->text(), QStringLiteral("1e+20"));
    QCOMPARE(view.edit(0, "lineEditStep")->text(), QStringLiteral("0.025"));
    QCOMPARE(view.edit(1, "lineEditMin")->text(), QStringLiteral("1.5"));
    QCOMPARE(view.edit(1, "lineEditMax")->text(), QStringLiteral("3.25"));
    // The left axis can't be hidden; the right one can.
    QVERIFY(view.visibleBox(0)->isChecked());
    QVERIFY(!view.visibleBox(0)->isEnabled());
    QVERIFY(view.visibleBox(1)->isChecked());
    QVERIFY(view.visibleBox(1)->isEnabled());
    QVERIFY(view.gridBox(1)->isChecked());
    QVERIFY(!view.gridBox(0)->isChecked());

    // OK without a change stores what was there.
    const AxisRecords before = records;
    view.button("buttonOk")->click();
    QVERIFY(sameSettings(records.left, before.left));
    QVERIFY(sameSettings(records.right, before.right));
}

void TestAxisDialog::commaBecomesPoint_data()
{
    QTest::addColumn<bool>("german");
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<double>("value");

    for (const bool german : {false, true}) {
        const char* locale = german ? "de_DE" : "C";
        QTest::addRow("%s, left minimum", locale) << german << 0 << "lineEditMin"
                                                  << "1,5"
                                                  << "1.5" << 1.5;
        QTest::addRow("%s, right maximum", locale) << german << 1 << "lineEditMax"
                                                   << "2,5e2"
                                                   << "2.5e2" << 250.0;
        QTest::addRow("%s, left step", locale) << german << 0 << "lineEditStep"
                                               << "0,25"
                                               << "0.25" << 0.25;
        QTest::addRow("%s, point stays", locale) << german << 1 << "lineEditMin"
                                                 << "-7.75"
                                                 << "-7.75" << -7.75;
    }
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

    AxisRecords records;
    MDialogCustomAxis dialog(nullptr, &records.axes, &records.fit);
    const DialogView view(&dialog);
    QSignalSpy applied(&dialog, &MDialogCustomAxis::signalApplyAxisSettings);
    QLineEdit* edit = view.edit(page, field.toLatin1().constData());
    edit->setText(typed);
    view.button("pushButtonApply")->click();

    QCOMPARE(edit->text(), shown);
    QCOMPARE(applied.count(), 1);
    const ValueAxisSettings& stored = page == 0 ? records.left : records.right;
    const double storedValue = field == QLatin1String("lineEditMin")   ? stored.min
                               : field == QLatin1String("lineEditMax") ? stored.max
                                                                       : stored.step;
    QCOMPARE(storedValue, value);
    // The conversion borrows the C locale only for its own moment.
    QCOMPARE(QLocale(), testLocale);
}

void TestAxisDialog::stepSuggestion_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("min");
    QTest::addColumn<QString>("max");
    QTest::addColumn<QString>("step");
    QTest::addColumn<QString>("suggestion");
    QTest::addColumn<double>("suggested");

    QTest::newRow("left, step equals range") << 0 << "0"
                                             << "100"
                                             << "100"
                                             << "20" << 20.0;
    QTest::newRow("right, step equals range") << 1 << "0"
                                              << "100"
                                              << "100"
                                              << "20" << 20.0;
    QTest::newRow("right, step above range") << 1 << "-1"
                                             << "2"
                                             << "5"
                                             << "0.6" << 0.6;
    QTest::newRow("left, comma range") << 0 << "0,5"
                                       << "1"
                                       << "1"
                                       << "0.1" << 0.1;
}

void TestAxisDialog::stepSuggestion()
{
    QFETCH(int, page);
    QFETCH(QString, min);
    QFETCH(QString, max);
    QFETCH(QString, step);
    QFETCH(QString, suggestion);
    QFETCH(double, suggested);

    AxisRecords records;
    const AxisRecords before = records;
    MDialogCustomAxis dialog(nullptr, &records.axes, &records.fit);
    const DialogView view(&dialog);
    QSignalSpy applied(&dialog, &MDialogCustomAxis::signalApplyAxisSettings);
    // The user stands on the other tab when pressing Apply.
    view.tabs()->setCurrentIndex(1 - page);
    view.setViewport(page, min, max, step);

    view.button("pushButtonApply")->click();
    QCOMPARE(applied.count(), 0);
    QVERIFY(sameSettings(records.left, before.left));
    QVERIFY(sameSettings(records.right, before.right));
    QCOMPARE(view.tabs()->currentIndex(), page);
    QLineEdit* stepEdit = view.edit(page, "lineEditStep");
    QCOMPARE(stepEdit->text(), suggestion);
    QCOMPARE(stepEdit->selectedText(), suggestion);
    QCOMPARE(dialog.focusWidget(), stepEdit);

    // The suggestion passes.
    view.button("pushButtonApply")->click();
    QCOMPARE(applied.count(), 1);
    const ValueAxisSettings& stored = page == 0 ? records.left : records.right;
    QCOMPARE(stored.step, suggested);
    QCOMPARE(stored.max, max.toDouble());
}

void TestAxisDialog::refusedWithoutChange_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("min");
    QTest::addColumn<QString>("max");
    QTest::addColumn<QString>("step");
    QTest::addColumn<QString>("otherStep");
    QTest::addColumn<QString>("otherStepShown");

    // The other page holds a valid change unless its step is too large.
    QTest::newRow("left fails, right step too large") << 0 << "5"
                                                      << "5"
                                                      << "1"
                                                      << "10"
                                                      << "10";
    QTest::newRow("left, min equals max") << 0 << "5"
                                          << "5"
                                          << "1"
                                          << "2,5"
                                          << "2.5";
    QTest::newRow("right, min equals max") << 1 << "5"
                                           << "5"
                                           << "1"
                                           << "2,5"
                                           << "2.5";
    QTest::newRow("right, min equals max with comma") << 1 << "2,5"
                                                      << "2.5"
                                                      << "0"
                                                      << "2,5"
                                                      << "2.5";
    QTest::newRow("left, min above max") << 0 << "10"
                                         << "-10"
                                         << "1"
                                         << "2,5"
                                         << "2.5";
    QTest::newRow("left, empty minimum") << 0 << ""
                                         << "10"
                                         << "1"
                                         << "2,5"
                                         << "2.5";
    QTest::newRow("right, empty step") << 1 << "0"
                                       << "10"
                                       << ""
                                       << "2,5"
                                       << "2.5";
    QTest::newRow("right, text") << 1 << "0"
                                 << "ten"
                                 << "1"
                                 << "2,5"
                                 << "2.5";
}

void TestAxisDialog::refusedWithoutChange()
{
    QFETCH(int, page);
    QFETCH(QString, min);
    QFETCH(QString, max);
    QFETCH(QString, step);
    QFETCH(QString, otherStep);
    QFETCH(QString, otherStepShown);

    AxisRecords records;
    const AxisRecords before = records;
    MDialogCustomAxis dialog(nullptr, &records.axes, &records.fit);
    const DialogView view(&dialog);
    QSignalSpy applied(&dialog, &MDialogCustomAxis::signalApplyAxisSettings);

    // The other page holds a change with commas: it isn't stored either,
    // but its fields get their points.
    const int other = 1 - page;
    view.setViewport(other, "-2,5", "7,5", otherStep);
    view.visibleBox(1)->setChecked(true);
    view.setViewport(page, min, max, step);
    view.tabs()->setCurrentIndex(other);

    view.button("pushButtonApply")->click();
    view.button("buttonOk")->click();

    QCOMPARE(applied.count(), 0);
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QVERIFY(sameSettings(records.left, before.left));
    QVERIFY(sameSettings(records.right, before.right));
    QCOMPARE(records.fit, false);
    // No suggestion and no switch of tabs: the refusal is silent.
    QCOMPARE(view.tabs()->currentIndex(), other);
    QCOMPARE(view.edit(page, "lineEditStep")->text(), step);
    QCOMPARE(view.edit(other, "lineEditMin")->text(), QStringLiteral("-2.5"));
    QCOMPARE(view.edit(other, "lineEditStep")->text(), otherStepShown);
}

void TestAxisDialog::stepZeroAccepted()
{
    AxisRecords records;
    MDialogCustomAxis dialog(nullptr, &records.axes, &records.fit);
    const DialogView view(&dialog);
    view.setViewport(0, "-1", "1", "0");
    view.setViewport(1, "3", "4", "0,0");
    view.button("buttonOk")->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(records.left.step, 0.0);
    QCOMPARE(records.left.max, 1.0);
    QCOMPARE(records.right.step, 0.0);
    QCOMPARE(records.right.min, 3.0);
    QVERIFY(records.fit);
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

    AxisRecords records;
    records.right.visible = rightVisible;
    records.right.grid = rightGrid;
    records.left.grid = !rightGrid;
    MDialogCustomAxis dialog(nullptr, &records.axes, &records.fit);
    const DialogView view(&dialog);

    // Clicks, as the user would make them.
    if (action.endsWith(QLatin1String("grid"))) {
        QCheckBox* box = action.contains(QLatin1String("right")) ? view.gridBox(1) : view.gridBox(0);
        QVERIFY(box->isEnabled());
        QCOMPARE(box->isChecked(), action.startsWith(QLatin1String("uncheck")));
        box->click();
    } else if (action.endsWith(QLatin1String("right"))) {
        QCOMPARE(view.visibleBox(1)->isChecked(), action.startsWith(QLatin1String("hide")));
        view.visibleBox(1)->click();
    }

    QCOMPARE(view.gridBox(0)->isChecked(), leftChecked);
    QCOMPARE(view.gridBox(0)->isEnabled(), leftEnabled);
    QCOMPARE(view.gridBox(1)->isChecked(), rightChecked);
    QCOMPARE(view.gridBox(1)->isEnabled(), rightEnabled);

    // What the boxes show is what gets stored.
    view.button("pushButtonApply")->click();
    QCOMPARE(records.left.grid, leftChecked);
    QCOMPARE(records.right.grid, rightChecked);
    QCOMPARE(records.right.visible, rightEnabled);
    QVERIFY(records.left.visible);
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

    AxisRecords records;
    records.right.visible = rightVisible;
    // The flag is set from an earlier OK; the box doesn't follow it.
    records.fit = !fitAvailable;
    MDialogCustomAxis dialog(nullptr, &records.axes, &records.fit);
    const DialogView view(&dialog);
    dialog.initialTab = initialTab;
    dialog.openFlags = openFlags;
    dialog.applyOpenState();

    QCOMPARE(view.tabs()->currentIndex(), tab);
    const bool rightShown = rightVisible || visibleLocked;
    QCOMPARE(view.visibleBox(1)->isChecked(), rightShown);
    QCOMPARE(view.visibleBox(1)->isEnabled(), !visibleLocked);
    QCOMPARE(view.gridBox(1)->isEnabled(), rightShown);
    QCOMPARE(view.gridBox(0)->isEnabled(), rightShown);
    QCOMPARE(view.fitBox()->isChecked(), fitAvailable);
    QCOMPARE(view.fitBox()->isEnabled(), fitAvailable);

    view.button("buttonOk")->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(records.fit, fitAvailable);
    QCOMPARE(records.right.visible, rightShown);
}

void TestAxisDialog::okEmitsOnceAndCloses()
{
    AxisRecords records;
    MDialogCustomAxis dialog(nullptr, &records.axes, &records.fit);
    const DialogView view(&dialog);
    QSignalSpy applied(&dialog, &MDialogCustomAxis::signalApplyAxisSettings);
    int result = -1;
    QTimer::singleShot(0, &dialog, [&] {
        view.setViewport(0, "-50", "50", "25");
        QTest::keyClick(&dialog, Qt::Key_Return); // OK is the default button
    });
    result = dialog.exec();
    QCOMPARE(result, int(QDialog::Accepted));
    QCOMPARE(applied.count(), 1);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(records.left.min, -50.0);
    QCOMPARE(records.left.step, 25.0);
}

void TestAxisDialog::cancelKeepsWhatApplyDid()
{
    AxisRecords records;
    MDialogCustomAxis dialog(nullptr, &records.axes, &records.fit);
    const DialogView view(&dialog);
    QSignalSpy applied(&dialog, &MDialogCustomAxis::signalApplyAxisSettings);
    QTimer::singleShot(0, &dialog, [&] {
        view.setViewport(1, "10", "20", "2");
        view.visibleBox(1)->setChecked(true);
        view.button("pushButtonApply")->click();
        // The dialog stays open after Apply.
        QVERIFY(dialog.isVisible());
        view.setViewport(1, "30", "40", "2");
        view.button("buttonCancel")->click();
    });
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    QCOMPARE(applied.count(), 1);
    QCOMPARE(records.right.min, 10.0);
    QCOMPARE(records.right.max, 20.0);
    QVERIFY(records.right.visible);
}

void TestAxisDialog::clickSelectsAll()
{
    AxisRecords records;
    MDialogCustomAxis dialog(nullptr, &records.axes, &records.fit);
    const DialogView view(&dialog);
    dialog.show();
    QApplication::setActiveWindow(&dialog);
    QVERIFY(QTest::qWaitForWindowActive(&dialog));

    QLineEdit* edit = view.edit(0, "lineEditMax");
    edit->setText(QStringLiteral("123456.75"));
    QVERIFY(!edit->hasFocus());
    const QPoint inside(edit->width() - 10, edit->height() / 2);
    QTest::mousePress(edit, Qt::LeftButton, Qt::NoModifier, inside);
    QVERIFY(edit->hasFocus());
    QTRY_COMPARE(edit->selectedText(), edit->text());

    // A drag to the left edge before the release would shrink the selection.
    QMouseEvent move(QEvent::MouseMove, QPointF(1, edit->height() / 2), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(edit, &move);
    QCOMPARE(edit->selectedText(), edit->text());
    QTest::mouseRelease(edit, Qt::LeftButton, Qt::NoModifier, QPoint(1, edit->height() / 2));
    QCOMPARE(edit->selectedText(), edit->text());

    // After the release the edit handles the mouse as usual again: a drag
    // from the left edge to the right edge selects by itself.
    QTest::mousePress(edit, Qt::LeftButton, Qt::NoModifier, QPoint(1, edit->height() / 2));
    QVERIFY(!edit->hasSelectedText());
    QMouseEvent drag(QEvent::MouseMove, QPointF(edit->width() - 2, edit->height() / 2), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(edit, &drag);
    QCOMPARE(edit->selectedText(), edit->text());
    QTest::mouseRelease(edit, Qt::LeftButton, Qt::NoModifier, QPoint(edit->width() - 2, edit->height() / 2));
}

void TestAxisDialog::tabKeepsEditDefault()
{
    AxisRecords records;
    MDialogCustomAxis dialog(nullptr, &records.axes, &records.fit);
    const DialogView view(&dialog);
    dialog.show();
    QApplication::setActiveWindow(&dialog);
    QVERIFY(QTest::qWaitForWindowActive(&dialog));

    QLineEdit* edit = view.edit(0, "lineEditMin");
    view.edit(0, "lineEditMax")->setFocus(Qt::OtherFocusReason);
    QTest::keyClick(view.edit(0, "lineEditMax"), Qt::Key_Tab);
    QVERIFY(edit->hasFocus());
    // The edit's own way: a tab selects the whole text at once.
    QCOMPARE(edit->selectedText(), edit->text());
    // No late selection of the filter, and the mouse isn't held back.
    edit->deselect();
    QTest::qWait(20);
    QVERIFY(!edit->hasSelectedText());
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(edit->width() - 2, edit->height() / 2),
                      Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(edit, &press);
    QMouseEvent drag(QEvent::MouseMove, QPointF(1, edit->height() / 2), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(edit, &drag);
    QCOMPARE(edit->selectedText(), edit->text());
}

QTEST_MAIN(TestAxisDialog)
#include "tst_axisdialog.moc"
