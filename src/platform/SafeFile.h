#pragma once
// The one way the program writes a file: into a temporary file beside it,
// every write and the flush to disk checked, then renamed over the old one.
// Any error leaves the old file as it was and comes back as its text.
#include <QByteArray>
#include <QString>

namespace platform {

// Empty on success, otherwise the error's own description.
QString WriteFileAtomically(const QString& path, const QByteArray& data);

} // namespace platform
