#include "lib/communications/socketErrorText.h"

namespace {
struct row {
    QAbstractSocket::SocketError error;
    const char *text;
};

// clang-format off
constexpr row texts[] = {
    {QAbstractSocket::UnknownSocketError,
        "An unidentified error occurred."},
    {QAbstractSocket::ConnectionRefusedError,
        "The connection was refused by the peer (or timed out)."},
    {QAbstractSocket::RemoteHostClosedError,
        "The remote host closed the connection. Note that the client socket (i.e., this socket) "
        "will be closed after the remote close notification has been sent."},
    {QAbstractSocket::HostNotFoundError,
        "The host address was not found."},
    {QAbstractSocket::SocketAccessError,
        "The socket operation failed because the application lacked the required privileges."},
    {QAbstractSocket::SocketResourceError,
        "The local system ran out of resources (e.g., too many sockets)."},
    {QAbstractSocket::SocketTimeoutError,
        "The socket operation timed out."},
    {QAbstractSocket::DatagramTooLargeError,
        "The datagram was larger than the operating system's limit (which can be as low as 8192 bytes)."},
    {QAbstractSocket::NetworkError,
        "An error occurred with the network (e.g., the network cable was accidentally unplugged)."},
    {QAbstractSocket::AddressInUseError,
        "The address specified to QAbstractSocket::bind() is already in use and was set to be exclusive."},
    {QAbstractSocket::SocketAddressNotAvailableError,
        "The address specified to QAbstractSocket::bind() does not belong to the host."},
    {QAbstractSocket::UnsupportedSocketOperationError,
        "The requested socket operation is not supported by the local operating system (e.g., lack "
        "of IPv6 support)."},
    {QAbstractSocket::UnfinishedSocketOperationError,
        "The last operation attempted has not finished yet (still in progress in the background)."},
    {QAbstractSocket::ProxyAuthenticationRequiredError,
        "The socket is using a proxy, and the proxy requires authentication."},
    {QAbstractSocket::SslHandshakeFailedError,
        "The SSL/TLS handshake failed, so the connection was closed."},
    {QAbstractSocket::ProxyConnectionRefusedError,
        "Could not contact the proxy server because the connection to that server was denied."},
    {QAbstractSocket::ProxyConnectionClosedError,
        "The connection to the proxy server was closed unexpectedly (before the connection to the "
        "final peer was established)."},
    {QAbstractSocket::ProxyConnectionTimeoutError,
        "The connection to the proxy server timed out or the proxy server stopped responding in "
        "the authentication phase."},
    {QAbstractSocket::ProxyNotFoundError,
        "The proxy address set with setProxy() (or the application proxy) was not found."},
    {QAbstractSocket::ProxyProtocolError,
        "The connection negotiation with the proxy server failed, because the response from the "
        "proxy server could not be understood."},
    {QAbstractSocket::OperationError,
        "An operation was attempted while the socket was in a state that did not permit it."},
    {QAbstractSocket::SslInternalError,
        "The SSL library being used reported an internal error. This is probably the result of a "
        "bad installation or misconfiguration of the library."},
    {QAbstractSocket::SslInvalidUserDataError,
        "Invalid data (certificate, key, cypher, etc.) was provided and its use resulted in an "
        "error in the SSL library."},
    {QAbstractSocket::TemporaryError,
        "A temporary error occurred (e.g., operation would block and socket is non-blocking)."},
};
// clang-format on
}

QString socketErrorText(QAbstractSocket::SocketError error)
{
    for (const row &each : texts) {
        if (each.error == error)
            return QString::fromLatin1(each.text);
    }
    return {};
}
