#ifndef TESTSUPPORT_H
#define TESTSUPPORT_H

#include <QMessageBox>
#include <QPointer>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>

class QFileDialog;
class VistrelMainWindow;

namespace TestSupport {

// Answers the modal widgets that open while it lives, up to `times` of
// them. A message box is recorded (title and text) and, with a button
// given, answered by pressing it (or rejected if it has no such button); a
// handler gets every widget and should close it. Polls from the event loop,
// so it also sees boxes opened by nested exec() calls.
class ModalAnswerer : public QObject
{
public:
    using Handler = std::function<void(QWidget*)>;
    explicit ModalAnswerer(QMessageBox::StandardButton button, int times = 1);
    explicit ModalAnswerer(Handler handler, int times = 1);

    int answered() const { return count; }
    const QStringList& titles() const { return boxTitles; }
    const QStringList& texts() const { return boxTexts; }
    QString lastText() const { return boxTexts.isEmpty() ? QString() : boxTexts.last(); }

private:
    void poll();

    Handler handler;
    int remaining;
    int count = 0;
    // Null once the answered widget is gone, so that a new one at its
    // address is still answered.
    QPointer<QWidget> last;
    QStringList boxTitles;
    QStringList boxTexts;
    QTimer timer;
};

// Answers a file dialog: records its title, its name filters joined by ';'
// and the given mode, then rejects it if path is empty, or else types path
// into its file name field and accepts it.
void answerFileDialog(QFileDialog* dialog, int mode, const QString& path, QStringList* seen);

// Gives the driver a configuration of the test's own and re-reads it. The
// file lives in a temporary directory for the rest of the process.
void useDriverConfig(const QString& text);

// A path in a directory of the test's own, removed when the process ends.
QString temporaryPath(const QString& name);

// Writes bytes to path (a bare name going to temporaryPath()), making its
// folder; returns the path, or an empty string if it could not be written.
QString writeFile(QString path, const QByteArray& bytes);
// A file's bytes; empty if it cannot be read.
QByteArray readAll(const QString& path);

// Lines of the recorder's text form, without a heading: entries "number
// time ms id letters length data" separated by "/", "_" for an empty field,
// the data bytes as "34,12".
QByteArray recorderLines(const QString& entries);

// A decimal comma for the C library and for Qt while it lives. Where the
// system lacks de_DE.UTF-8, localedef makes it in localeFolder(), which
// LOCPATH must then name (empty when the system has it).
struct CommaLocale
{
    CommaLocale();
    ~CommaLocale();
    static QString localeFolder();
    bool active = false; // the C library writes a comma
};

// Runs `call` with stderr going into a file and returns what was written.
QByteArray captureStderr(const std::function<void()>& call);

// A main window on the given driver configuration with rows new rows in
// its configuration table, which is cut off from the window's edit rules:
// only the table's own behaviour is seen.
std::unique_ptr<VistrelMainWindow> windowWithBareTable(const QString& driverConfig, int rows);

// Writes a driver configuration to path, points the driver at it and
// re-reads it; returns what the driver reported on stderr.
QByteArray writeDriverConfig(const QString& path, const QByteArray& text);

} // namespace TestSupport

#endif // TESTSUPPORT_H
