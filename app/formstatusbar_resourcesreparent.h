#ifndef FORMSTATUSBAR_RESOURCESREPARENT_H
#define FORMSTATUSBAR_RESOURCESREPARENT_H

#include "ui_formstatusbar_resourcesreparent.h"

#include <QWidget>

// Holder of the status bar's labels. The main window moves the labels into
// its status bar and keeps this form hidden.
class FormStatusBar_ResourcesReparent : public QWidget, public Ui_FormStatusBar_ResourcesReparent
{
    Q_OBJECT

public:
    explicit FormStatusBar_ResourcesReparent(QWidget* parent = nullptr);
};

#endif // FORMSTATUSBAR_RESOURCESREPARENT_H
