#include "testsupport.h"

#include "tableplotconfig.h"
#include "tessbus_test.h"
#include "vistrelmainwindow.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTemporaryFile>

#include <unistd.h>

#include <cstdio>

namespace TestSupport {

ModalAnswerer::ModalAnswerer(QMessageBox::StandardButton button, int times)
    : ModalAnswerer(
          [button](QWidget* widget) {
              auto* box = qobject_cast<QMessageBox*>(widget);
              if (!box)
                  widget->close();
              else if (QAbstractButton* pressed = box->button(button))
                  pressed->click();
              else
                  box->reject();
          },
          times)
{}

ModalAnswerer::ModalAnswerer(Handler handler, int times) : handler(std::move(handler)), remaining(times)
{
    timer.setInterval(5);
    connect(&timer, &QTimer::timeout, this, &ModalAnswerer::poll);
    timer.start();
}

void ModalAnswerer::poll()
{
    QWidget* modal = QApplication::activeModalWidget();
    // A widget that was answered may still be active until its exec() returns.
    if (!modal || modal == last || remaining == 0)
        return;
    last = modal;
    --remaining;
    ++count;
    if (auto* box = qobject_cast<QMessageBox*>(modal)) {
        boxTitles << box->windowTitle();
        boxTexts << box->text();
    }
    handler(modal);
    if (remaining == 0)
        timer.stop();
}

void answerFileDialog(QFileDialog* dialog, int mode, const QString& path, QStringList* seen)
{
    *seen << dialog->windowTitle() << dialog->nameFilters().join(QLatin1Char(';')) << QString::number(mode);
    if (path.isEmpty()) {
        dialog->reject();
        return;
    }
    dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
    QMetaObject::invokeMethod(dialog, "accept");
}

QString temporaryPath(const QString& name)
{
    static QTemporaryDir directory;
    return directory.filePath(name);
}

void useDriverConfig(const QString& text)
{
    static int generation = 0;
    const QString path = temporaryPath(QStringLiteral("tessbus-%1.conf").arg(++generation));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(path));
    file.write(text.toUtf8());
    file.close();
    qputenv("TESSBUS_CONFIG", QFile::encodeName(path));
    tessTestReload();
}

QByteArray captureStderr(const std::function<void()>& call)
{
    QTemporaryFile file;
    if (!file.open())
        return "cannot capture";
    std::fflush(stderr);
    const int saved = dup(STDERR_FILENO);
    dup2(file.handle(), STDERR_FILENO);
    call();
    std::fflush(stderr);
    dup2(saved, STDERR_FILENO);
    ::close(saved);
    file.seek(0);
    return file.readAll();
}

std::unique_ptr<VistrelMainWindow> windowWithBareTable(const QString& driverConfig, int rows)
{
    useDriverConfig(driverConfig);
    auto window = std::make_unique<VistrelMainWindow>();
    QObject::disconnect(window->tableConfig(), nullptr, window.get(), nullptr);
    for (int row = 0; row < rows; ++row)
        window->tableConfig()->addCurveRow(row);
    return window;
}

QByteArray writeDriverConfig(const QString& path, const QByteArray& text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return "cannot write";
    file.write(text);
    file.close();
    qputenv("TESSBUS_CONFIG", QFile::encodeName(path));
    return captureStderr([] { tessTestReload(); });
}

} // namespace TestSupport
