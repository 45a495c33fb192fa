#include "qlabelcompat.h"

#include <QBrush>
#include <QColor>
#include <QPalette>

QLabelCompat::QLabelCompat(QWidget* parent, Qt::WindowFlags f) : QLabel(parent, f) {}

QLabelCompat::QLabelCompat(const QString& text, QWidget* parent, Qt::WindowFlags f) : QLabel(text, parent, f)
{}

void QLabelCompat::setBackgroundColor(const QColor& colour)
{
    // A fresh palette rather than a copy of the current one: nothing of an
    // earlier colour survives.
    QPalette pal;
    pal.setBrush(QPalette::All, backgroundRole(), QBrush(colour));
    setPalette(pal);
    setAutoFillBackground(true);
}
