#include "platform/SafeFile.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {
QString errorText(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}
} // namespace

AtomicFileWriter::~AtomicFileWriter() {
    cancel();
}

bool AtomicFileWriter::fail(int error) {
    if (error_.isEmpty()) error_ = errorText(error);
    cancel();
    return false;
}

bool AtomicFileWriter::open(const QString& path) {
    cancel();
    error_.clear();
    path_ = path;
    const QFileInfo info(path);
    if (info.exists() && info.isDir()) {
        error_ = errorText(EISDIR);
        return false;
    }
    temporary_ = QFile::encodeName(info.absolutePath() + "/." + info.fileName() + ".XXXXXX");
    fd_ = ::mkstemp(temporary_.data());
    if (fd_ < 0) {
        error_ = errorText(errno);
        temporary_.clear();
        return false;
    }
    return true;
}

bool AtomicFileWriter::write(const QByteArray& bytes) {
    return write(bytes.constData(), bytes.size());
}

bool AtomicFileWriter::write(const char* p, qsizetype left) {
    if (fd_ < 0) return false;
    while (left > 0) {
        const ssize_t n = ::write(fd_, p, static_cast<size_t>(left));
        if (n < 0) {
            if (errno == EINTR) continue;
            return fail(errno);
        }
        if (n == 0) return fail(ENOSPC);
        p += n;
        left -= n;
    }
    return true;
}

bool AtomicFileWriter::commit() {
    if (fd_ < 0) return false;
    if (::fsync(fd_) != 0) return fail(errno);
    // Keep the old file's permissions; a new file gets the usual ones.
    struct stat old {};
    if (::stat(QFile::encodeName(path_).constData(), &old) == 0) {
        ::fchmod(fd_, old.st_mode & 07777);
    } else {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        ::fchmod(fd_, 0666 & ~mask);
    }
    const int fd = fd_;
    fd_ = -1;
    if (::close(fd) != 0) {
        const int error = errno;
        ::unlink(temporary_.constData());
        temporary_.clear();
        error_ = errorText(error);
        return false;
    }
    if (::rename(temporary_.constData(), QFile::encodeName(path_).constData()) != 0) {
        const int error = errno;
        ::unlink(temporary_.constData());
        temporary_.clear();
        error_ = errorText(error);
        return false;
    }
    temporary_.clear();
    return true;
}

void AtomicFileWriter::cancel() {
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
    if (!temporary_.isEmpty()) {
        ::unlink(temporary_.constData());
        temporary_.clear();
    }
}

QString WriteFileAtomically(const QString& path, const QByteArray& data) {
    AtomicFileWriter writer;
    if (!writer.open(path) || !writer.write(data) || !writer.commit()) return writer.error();
    return QString();
}

} // namespace platform
