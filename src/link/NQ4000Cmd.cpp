#include "link/NQ4000Cmd.h"

#include "link/LinkState.h"

namespace {
LinkTransport* g_transport = nullptr;
bool mayTalk() {
    return (Connected || Connecting) && g_transport;
}
} // namespace

QString SetCommand(const QString& header, const QString& value) {
    return header + " " + value;
}
QString QueryCommand(const QString& header) {
    return header + "?";
}
QString QueryCommand(const QString& header, const QString& argument) {
    return header + "? " + argument;
}

void SetLinkTransport(LinkTransport* transport) {
    g_transport = transport;
}
LinkTransport* CurrentLinkTransport() {
    return g_transport;
}

void CmdSend(const QString& text) {
    if (mayTalk()) g_transport->Send(text);
}

QString CmdQuery(const QString& text) {
    return mayTalk() ? g_transport->Query(text) : QString();
}

QString CutAtLineFeed(const QString& reply) {
    const qsizetype at = reply.indexOf(QChar(10));
    return at < 0 ? reply : reply.left(at);
}
