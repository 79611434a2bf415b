// Diagnostic messages, as they come from another process.
#include "lib/communications/debugMessage.h"
#include "tests/fuzz/fuzzHost.h"

void fuzz(const QByteArray &input)
{
    debugMessage message;
    require(message.parseMessage(input));
    message.printMessageDetails();
    // What a message holds never grows by being read.
    require(message.debugData.size() + message.componentName.size() + message.tag.size() <= input.size());

    const QByteArray form
        = message.messageType == 1 ? message.createRegistrationMessage() : message.createDebugMessage();
    debugMessage again;
    again.parseMessage(form);
    require(again.UUID.byteArray() == message.UUID.byteArray());
    if (message.messageType == 0)
        require(again.timestamp == message.timestamp);
    message.createDataMessage(message.tag, message.debugData);
}
