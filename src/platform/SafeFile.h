#pragma once
// The one way the program writes a file: into a temporary file beside it,
// every write and the flush to disk checked, then renamed over the old one.
// Any error leaves the old file as it was and comes back as its text.
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
    QString path_;
    QByteArray temporary_;
    int fd_ = -1;
    QString error_;
};

// Empty on success, otherwise the error's own description.
QString WriteFileAtomically(const QString& path, const QByteArray& data);

} // namespace platform
