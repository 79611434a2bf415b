// Diagnostic messages, as they come from another process.
#include "lib/communications/debugMessage.h"
#include "tests/fuzz/fuzzHost.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    debugMessage message;
    require(message.parseMessage(bytesOf(data, size)));
    message.printMessageDetails();
    // What a message holds never grows by being read.
    require(
        std::size_t(message.debugData.size() + message.componentName.size() + message.tag.size()) <= size);

    const QByteArray form
        = message.messageType == 1 ? message.createRegistrationMessage() : message.createDebugMessage();
    debugMessage again;
    again.parseMessage(form);
    require(again.UUID.byteArray() == message.UUID.byteArray());
    if (message.messageType == 0)
        require(again.timestamp == message.timestamp);
    message.createDataMessage(message.tag, message.debugData);
    return 0;
}
