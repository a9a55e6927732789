// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The one way the program writes a file. A regular file (or a new path) is
// written into a temporary file beside it, every write and the flush to disk
// checked, then renamed over the old one: any error leaves the old file as
// it was and comes back as its text. A path through a symbolic link writes
// the link's target, so the link stays. A character device, a FIFO or "-"
// (standard output) cannot be replaced: they are written directly, every
// write checked (/dev/full fails with its error).
//
// Temporaries are named ".NAME.korvane-XXXXXX" beside their target and held
// locked while written; one left by a killed program (no lock) is removed at
// the next save of the same target.
#include <QByteArray>
#include <QString>

namespace platform {

// A file written in pieces (large exports): open, write, then commit or cancel.
class AtomicFileWriter {
public:
    AtomicFileWriter() = default;
    ~AtomicFileWriter(); // cancels what was not committed
    AtomicFileWriter(const AtomicFileWriter&) = delete;
    AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;

    bool open(const QString& path);
    bool write(const QByteArray& bytes); // false once anything failed
    bool write(const char* data, qsizetype size);
    // Flushes to disk and renames into place; false (and the old file kept) on any error.
    bool commit();
    void cancel();
    QString error() const { return error_; }

private:
    bool fail(int error);
    QString path_;         // the file that is replaced (a link's target)
    QByteArray temporary_; // empty when writing directly
    int fd_ = -1;
    bool direct_ = false;   // a device, a FIFO or standard output
    long long started_ = 0; // bytes whose writing to disk has been started
    QString error_;
};

// Empty on success, otherwise the error's own description.
QString WriteFileAtomically(const QString& path, const QByteArray& data);

// The temporary name prefix of a target's path (".NAME.korvane-").
QString TemporaryPrefix(const QString& path);

} // namespace platform
