#include "lib/instruments/nativeTransferInstrument.h"

#include "lib/communications/debugComponent.h"
#include "lib/types/datastore.h"
#include "tests/support/fakeInterface.h"
#include "tests/support/launch.h"

#include <QTest>

class tst_nativeTransferInstrument : public QObject
{
    Q_OBJECT
private slots:
    void storesWhatArrives()
    {
        datastore store;
        fakeInterface line("link");
        QList<interface *> lines;
        nativeTransferInstrument link(&store, &lines, nullptr);
        const char keys[]
            = "<instrument><interface>link</interface><dataprepend>p</dataprepend></instrument>";
        launch(link, keys);
        QCOMPARE(link.debug->lastLog(), QString("Interface not defined for instrument"));
        lines.append(&line);
        launch(link, keys);
        QByteArray damaged = datastoreElementType("bad", 1).serialise();
        damaged[8] = char(damaged[8] + 1);
        line.receive("noise" + damaged + datastoreElementType("t", 21.5).serialise()
            + datastoreElementType("on", true).serialise());
        QCOMPARE(store.getKeys(), (QStringList{"t", "on"})); // without the prefix
        QCOMPARE(store.query("t").toDouble(), 21.5);
    }
};

QTEST_GUILESS_MAIN(tst_nativeTransferInstrument)
#include "tst_nativeTransferInstrument.moc"
