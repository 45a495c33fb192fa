#ifndef QLABELCOMPAT_H
#define QLABELCOMPAT_H

#include <QLabel>

class QColor;

// A label that can be filled with one colour, for the mode square of the
// status bar and the colour swatches of the options dialog.
class QLabelCompat : public QLabel
{
    Q_OBJECT

public:
    explicit QLabelCompat(QWidget* parent = nullptr, Qt::WindowFlags f = Qt::WindowFlags());
    explicit QLabelCompat(const QString& text, QWidget* parent = nullptr,
                          Qt::WindowFlags f = Qt::WindowFlags());

    // Fills the whole label with the colour, in every colour group, so that
    // it keeps the colour when the window loses focus or is disabled.
    void setBackgroundColor(const QColor& colour);
};

#endif // QLABELCOMPAT_H
