#include "lib/instruments/interfaceCard/bsbGuiStatChan.h"

#include <QLabel>
#include <QVBoxLayout>

bsbGuiStatChan::bsbGuiStatChan(const QString &title, QWidget *parent)
    : QGroupBox(title, parent)
    , status(new QLabel(QStringLiteral("Status"), this))
{
    auto *const column = new QVBoxLayout(this);
    column->addWidget(status);
}
