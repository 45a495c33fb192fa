#include "formstatusbar_resourcesreparent.h"

FormStatusBar_ResourcesReparent::FormStatusBar_ResourcesReparent(QWidget* parent) : QWidget(parent)
{
    setupUi(this);
}
