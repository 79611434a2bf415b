#include "lib/instruments/nativeTransferInstrument.h"

#include "lib/communications/debugComponent.h"
#include "lib/types/datastore.h"
#include "tests/support/fakeInterface.h"
#include "tests/support/launch.h"

#include <QtTest>

class tst_nativeTransferInstrument : public QObject
{
    Q_OBJECT
private slots:
    void storesWhatArrives()
    {
        datastore store;
        fakeInterface line("link");
        QList<interface *> ifaces{&line};
        nativeTransferInstrument link(&store, &ifaces, nullptr);
        launch(link, "<instrument><interface>link</interface><dataprepend>p</dataprepend></instrument>");
        QCOMPARE(line.openModes, QList<QIODevice::OpenMode>{QIODevice::ReadWrite});
        QByteArray damaged = datastoreElementType("bad", 1).serialise();
        damaged[8] = char(damaged[8] + 1);
        line.receive("noise" + damaged + datastoreElementType("t", 21.5).serialise()
            + datastoreElementType("on", true).serialise());
        QCOMPARE(store.getKeys(), (QStringList{"t", "on"})); // without the prefix
        QCOMPARE(store.query("t").toDouble(), 21.5);
    }

    void staysIdleWithoutAnInterface()
    {
        datastore store;
        nativeTransferInstrument link(&store, nullptr, nullptr);
        launch(link, "<instrument><interface>link</interface></instrument>");
        QCOMPARE(link.debug->lastLog(), QString("Interface not defined for instrument"));
    }
};

QTEST_GUILESS_MAIN(tst_nativeTransferInstrument)
#include "tst_nativeTransferInstrument.moc"
