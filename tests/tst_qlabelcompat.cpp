#include "qlabelcompat.h"

#include <QApplication>
#include <QImage>
#include <QPixmap>
#include <QtTest>

// The label is a coloured field: what counts is what it paints, in every
// state the window can be in.
class TstQLabelCompat : public QObject
{
    Q_OBJECT

private slots:
    void paintsColourInEveryGroup_data();
    void paintsColourInEveryGroup();
    void newColourReplacesOld();
    void followsBackgroundRole();
    void keepsTextAndFlags();
};

namespace {

// Pixel in the middle of the label as a parent window paints it: a label
// that doesn't fill its background shows the parent's colour there.
QColor renderedCentre(QLabelCompat& label)
{
    QWidget* const parent = label.parentWidget();
    const QImage img = parent->grab().toImage();
    const QPoint centre = label.geometry().center();
    return img.pixelColor(centre);
}

// A parent of another colour, with the label of 16 by 16 inside it.
struct Field
{
    QWidget parent;
    QLabelCompat label{&parent};

    Field()
    {
        QPalette pal;
        pal.setColor(QPalette::Window, QColor(0x12, 0x34, 0x56));
        parent.setPalette(pal);
        parent.resize(40, 40);
        label.setGeometry(12, 12, 16, 16);
    }
};

} // namespace

void TstQLabelCompat::paintsColourInEveryGroup_data()
{
    QTest::addColumn<QColor>("colour");
    QTest::addColumn<bool>("enabled");

    // Green of a run, red of a stop, the named "grey" of the defaults, and a
    // colour close to the default window colour to catch an unfilled label.
    QTest::newRow("green") << QColor(Qt::green) << true;
    QTest::newRow("red disabled") << QColor(Qt::red) << false;
    QTest::newRow("named grey") << QColor("grey") << true;
    QTest::newRow("near window colour") << QColor(0xef, 0xef, 0xee) << true;
    QTest::newRow("blue disabled") << QColor("blue") << false;
}

void TstQLabelCompat::paintsColourInEveryGroup()
{
    QFETCH(QColor, colour);
    QFETCH(bool, enabled);

    Field field;
    QLabelCompat& label = field.label;
    label.setAutoFillBackground(false);
    label.setEnabled(enabled);
    label.setBackgroundColor(colour);

    QVERIFY(label.autoFillBackground());
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        QCOMPARE(label.palette().brush(group, label.backgroundRole()).style(), Qt::SolidPattern);
        QCOMPARE(label.palette().color(group, label.backgroundRole()), colour);
    }
    QCOMPARE(renderedCentre(label), colour);
}

void TstQLabelCompat::newColourReplacesOld()
{
    // The palette is built afresh each time: neither an earlier colour nor
    // any other role set on the label before survives.
    Field field;
    QLabelCompat& label = field.label;
    QPalette textColour;
    textColour.setColor(QPalette::WindowText, Qt::yellow);
    label.setPalette(textColour);
    label.setBackgroundColor(Qt::red);
    label.setBackgroundColor(Qt::green);

    QCOMPARE(label.palette().color(QPalette::Inactive, label.backgroundRole()), QColor(Qt::green));
    QCOMPARE(label.palette().color(QPalette::Active, QPalette::WindowText),
             field.parent.palette().color(QPalette::WindowText));
    QCOMPARE(renderedCentre(label), QColor(Qt::green));
}

void TstQLabelCompat::followsBackgroundRole()
{
    // The colour goes where the widget paints its background, whatever role
    // that is; every other role still comes from the parent.
    Field field;
    QLabelCompat& label = field.label;
    label.setBackgroundRole(QPalette::Base);
    label.setBackgroundColor(Qt::magenta);

    QCOMPARE(label.palette().color(QPalette::Active, QPalette::Base), QColor(Qt::magenta));
    QCOMPARE(label.palette().color(QPalette::Active, QPalette::Window),
             field.parent.palette().color(QPalette::Window));
    QCOMPARE(renderedCentre(label), QColor(Qt::magenta));
}

void TstQLabelCompat::keepsTextAndFlags()
{
    QWidget parent;
    QLabelCompat withText(QStringLiteral("Mode"), &parent, Qt::ToolTip);
    QCOMPARE(withText.text(), QStringLiteral("Mode"));
    QCOMPARE(withText.parentWidget(), &parent);
    QCOMPARE(withText.windowType(), Qt::ToolTip);

    QLabelCompat plain(&parent);
    QVERIFY(plain.text().isEmpty());
    QCOMPARE(plain.parentWidget(), &parent);
    QCOMPARE(plain.windowType(), Qt::Widget);
    QCOMPARE(plain.metaObject()->className(), "QLabelCompat");
}

QTEST_MAIN(TstQLabelCompat)
#include "tst_qlabelcompat.moc"
