#include "testsupport.h"

#include "tableplotconfig.h"
#include "tessbus_test.h"
#include "vistrelmainwindow.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QTemporaryFile>

#include <unistd.h>

#include <clocale>
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

QString writeFile(QString path, const QByteArray& bytes)
{
    path = QFileInfo(path).isAbsolute() ? path : temporaryPath(path);
    QFile file(path);
    const bool written = QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
                         file.write(bytes) == bytes.size();
    return written ? path : QString();
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray recorderLines(const QString& entries)
{
    QByteArray text;
    for (const QString& line : entries.split('/')) {
        const QStringList f = line.simplified().replace('_', "").split(' ');
        const QStringList data = f.value(6).split(',');
        QStringList fields{f[0], "Rx",       f.value(1), f.value(2), "",
                           "",   f.value(3), "",         f.value(4), f.value(5)};
        for (int i = 0; i < 8; ++i)
            fields << data.value(i);
        text += fields.join('\t').toLatin1() + '\n';
    }
    return text;
}

QString CommaLocale::localeFolder()
{
    static const QString folder = [] {
        if (std::setlocale(LC_ALL, "de_DE.UTF-8")) {
            std::setlocale(LC_ALL, "C");
            return QString();
        }
        const QString made = temporaryPath("locales");
        QDir().mkpath(made);
        QProcess::execute("localedef", {"-i", "de_DE", "-f", "UTF-8", made + "/de_DE.UTF-8"});
        return made;
    }();
    return folder;
}

CommaLocale::CommaLocale()
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    if (!localeFolder().isEmpty())
        qputenv("LOCPATH", QFile::encodeName(localeFolder()));
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    active = *std::localeconv()->decimal_point == ',';
}

CommaLocale::~CommaLocale()
{
    std::setlocale(LC_ALL, "C");
    qunsetenv("LOCPATH");
    QLocale::setDefault(QLocale::c());
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
