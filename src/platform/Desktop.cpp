// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Desktop.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

namespace platform {
namespace {
DesktopHook& hook() {
    static DesktopHook h;
    return h;
}
} // namespace

void SetDesktopHook(DesktopHook h) {
    hook() = std::move(h);
}

QString OpenDocument(const QString& path) {
    if (hook()) return hook()({true, path});
    if (!QFileInfo::exists(path)) return "File not found: " + path;
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        return "No program is set up to open " + path;
    return QString();
}

QString StartDetached(const QString& program, const QStringList& arguments) {
    if (hook()) return hook()({false, program});
    if (!QProcess::startDetached(program, arguments)) return "Cannot start " + program;
    return QString();
}

QString FindProgram(const QStringList& candidates) {
    for (const QString& name : candidates) {
        const QString path = QStandardPaths::findExecutable(name);
        if (!path.isEmpty()) return path;
    }
    return QString();
}

} // namespace platform
