#ifndef BSBGUISTATCHAN_H
#define BSBGUISTATCHAN_H

#include <QGroupBox>

class QLabel;

/// One measured group of the interface card on the service display: a title and a status text.
class bsbGuiStatChan : public QGroupBox
{
    Q_OBJECT

public:
    bsbGuiStatChan(const QString &title, QWidget *parent);

private:
    QLabel *status;
};

#endif
