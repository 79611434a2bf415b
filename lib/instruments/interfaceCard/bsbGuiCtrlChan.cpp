#include "lib/instruments/interfaceCard/bsbGuiCtrlChan.h"

#include <QComboBox>
#include <QLabel>
#include <QVBoxLayout>

bsbGuiCtrlChan::bsbGuiCtrlChan(const QString &title, QWidget *parent)
    : QGroupBox(title, parent)
    , ctrl(new QComboBox(this))
    , status(new QLabel(QStringLiteral("Status"), this))
{
    ctrl->addItem(QStringLiteral("Off"), 0);
    ctrl->addItem(QStringLiteral("On"), 1);
    auto *const column = new QVBoxLayout(this);
    column->addWidget(ctrl);
    column->addWidget(status);
}

bool bsbGuiCtrlChan::on() const
{
    return ctrl->currentData().toInt() == 1;
}
