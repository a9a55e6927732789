// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/NQ4000Cmd.h"

#include "link/LinkState.h"
#include "link/RS232Func.h"
#include "link/UsbFunc.h"
#include "platform/Pacing.h"
#include "shared/Picture.h"
#include "shared/SoftwareSetting.h"

namespace {
LinkTransport* g_standIn = nullptr;
}

QString cmd::KeyCommand(const QString& name) {
    return Key + ":" + name;
}
QString cmd::ChannelRoot(int channel) {
    return channel == 2 ? Channel2 : Channel1;
}
QString cmd::DigitalRoot(int channel) {
    return Digital + QString::number(channel);
}

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
    g_standIn = transport;
}

namespace {
CommandLog g_commandLog = nullptr;
}

void SetCommandLog(CommandLog log) {
    g_commandLog = log;
}

void CmdSend(const QString& text) {
    if (g_commandLog && (Connected || Connecting)) g_commandLog("> " + text);
    if (g_standIn) {
        if (Connected || Connecting) g_standIn->Send(text);
        return;
    }
    if (SoftwareSetting.ScopeIOType == kIoTypeRs232) {
        Rs232Sending = true;
        Rs232Write(text);
        Rs232Sending = false;
        platform::Sleep(100);
    } else {
        VisaWrite(text);
        platform::Sleep(200);
    }
}

void CmdSet(const QString& header, const QString& shownValue) {
    CmdSend(SetCommand(header, PointForm(shownValue)));
}

namespace {
QString queryLink(const QString& text);
}

QString CmdQuery(const QString& text) {
    if (!g_commandLog) return queryLink(text);
    if (Connected || Connecting) g_commandLog("> " + text);
    const QString reply = queryLink(text);
    if (Connected || Connecting || !reply.isEmpty()) g_commandLog("< " + CutAtLineFeed(reply));
    return reply;
}

namespace {
QString queryLink(const QString& text) {
    if (g_standIn) return Connected || Connecting ? g_standIn->Query(text) : QString();
    if (SoftwareSetting.ScopeIOType == kIoTypeRs232) {
        RxBinaryMode = false;
        Rs232Sending = true;
        Rs232Write(text);
        RxBusy = true;
        const QString reply = Rs232ReadText();
        Rs232Sending = false;
        return reply;
    }
    VisaWrite(text);
    return VisaReadText();
}
} // namespace
