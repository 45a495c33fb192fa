#ifndef GUI_SUPPORT_H
#define GUI_SUPPORT_H

// Helpers of the tests of the window, its tables, its plot and its dialogs.
#include "tableplotconfig.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <QApplication>
#include <QStandardPaths>
#include <QTest>

namespace GuiSupport {

// For initTestCase: test mode for the standard paths, Qt's own dialogs.
inline void prepare()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

// A window on the driver configuration with `rows` curves, each added below the last.
inline std::unique_ptr<VistrelMainWindow> windowWithCurves(const QString& driverConfig, int rows = 0,
                                                           bool shown = false)
{
    TestSupport::useDriverConfig(driverConfig);
    auto window = std::make_unique<VistrelMainWindow>();
    for (int row = 0; row < rows; ++row) {
        window->tableConfig()->setCurrentCell(row - 1, TablePlotConfig::ColName);
        window->projectAddCurve();
    }
    if (shown) {
        window->show();
        QApplication::setActiveWindow(window.get());
        if (!QTest::qWaitForWindowExposed(window.get()))
            qWarning("window not exposed");
    }
    return window;
}

// A widget or action of the window's form, by its object name.
template <typename T> T* child(const QObject* window, const char* name)
{
    T* found = window->findChild<T*>(QLatin1String(name));
    if (!found)
        qFatal("no %s", name);
    return found;
}

// A German default locale, with a decimal comma, while it lives.
struct CommaLocale
{
    CommaLocale() { QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany)); }
    ~CommaLocale() { QLocale::setDefault(saved); }
    const QLocale saved;
};

} // namespace GuiSupport

#endif // GUI_SUPPORT_H
