#ifndef BSBGUICTRLCHAN_H
#define BSBGUICTRLCHAN_H

#include <QGroupBox>

class QComboBox;
class QLabel;

/// One switched channel of the interface card on the service display.
/// Kept: display only. Nothing follows the combo box; the relays obey the demands in the data store alone.
class bsbGuiCtrlChan : public QGroupBox
{
    Q_OBJECT

public:
    bsbGuiCtrlChan(const QString &title, QWidget *parent);

    /// Whether "On" is selected.
    bool on() const;

private:
    QComboBox *ctrl;
    QLabel *status;
};

#endif
