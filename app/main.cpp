#include "vistrelmainwindow.h"

#include <QApplication>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    VistrelMainWindow window;
    window.openCommandLineFile(application.arguments());
    window.show();
    return application.exec();
}
