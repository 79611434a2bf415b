// Timer control files, from the reader of XML files to the switching times that come out.
#include "app/timer.h"
#include "lib/communications/debugComponent.h"
#include "tests/fuzz/fuzzHost.h"

#include <QDomDocument>

void fuzz(const QByteArray &input)
{
    const fuzzHost host(input);
    timer programme(nullptr, QStringLiteral("heatTimer"), host.inputPath(), nullptr, host);
    programme.readCtrlFile();
    const bool on = programme.isOn();
    require(on == (programme.operationText() != QLatin1String("Off")));
    programme.takeSample();
}
