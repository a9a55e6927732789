// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// A transport that records every command and answers queries from a table;
// installed for its lifetime.
#include "link/NQ4000Cmd.h"

#include <QHash>
#include <QStringList>

class RecordingTransport : public LinkTransport {
public:
    RecordingTransport() { SetLinkTransport(this); }
    ~RecordingTransport() override { SetLinkTransport(nullptr); }
    void Send(const QString& command) override { log << command; }
    QString Query(const QString& command) override {
        log << command;
        return replies.value(command);
    }
    QStringList log;
    QHash<QString, QString> replies;
};
