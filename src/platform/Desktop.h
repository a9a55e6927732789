// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Handing things to the desktop: opening a document in its viewer and starting
// a helper program. Both return the error's text, empty on success. Tests
// install a hook that records the request.
#include <QString>
#include <QStringList>
#include <functional>

namespace platform {

QString OpenDocument(const QString& path);
QString StartDetached(const QString& program, const QStringList& arguments = {});
// The first of the candidates found on the PATH, or empty.
QString FindProgram(const QStringList& candidates);

struct DesktopRequest {
    bool open = true; // open a document, else start a program
    QString target;
};
using DesktopHook = std::function<QString(const DesktopRequest&)>;
void SetDesktopHook(DesktopHook hook);

} // namespace platform
