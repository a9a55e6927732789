// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SafeFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

QString errorText(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

// The file a path finally names: a symbolic link is followed to its target
// (which may not exist yet), so writing keeps the link.
QString followLinks(const QString& path) {
    QString p = QFileInfo(path).absoluteFilePath();
    for (int depth = 0; depth < 40; ++depth) {
        const QFileInfo info(p);
        if (!info.isSymLink()) break;
        p = info.symLinkTarget();
    }
    return p;
}

// "-" and the names of the process's own descriptors (/dev/stdout,
// /dev/fd/N, /proc/self/fd/N): the descriptor, written where it points and
// from where it stands (a file opened for appending stays so); -1 otherwise.
int openDescriptorOf(const QString& path) {
    if (path == QLatin1String("-") || path == QLatin1String("/dev/stdout")) return STDOUT_FILENO;
    if (path == QLatin1String("/dev/stderr")) return STDERR_FILENO;
    for (const char* prefix : {"/dev/fd/", "/proc/self/fd/"}) {
        if (!path.startsWith(QLatin1String(prefix))) continue;
        bool ok = false;
        const int fd = path.mid(static_cast<qsizetype>(std::strlen(prefix))).toInt(&ok);
        if (ok && fd >= 0 && ::fcntl(fd, F_GETFD) != -1) return fd;
    }
    return -1;
}

// Temporaries of this target that no running writer holds (their lock is
// free): left by a program that was killed while saving.
void removeStaleTemporaries(const QString& target) {
    const QFileInfo info(target);
    const QString prefix = "." + info.fileName() + ".korvane-";
    const QDir dir = info.absoluteDir();
    const QStringList names =
        dir.entryList({prefix + "??????"}, QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& name : names) {
        const QByteArray path = QFile::encodeName(dir.filePath(name));
        const int fd = ::open(path.constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
        if (fd < 0) continue;
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0) ::unlink(path.constData());
        ::close(fd);
    }
}

} // namespace

QString TemporaryPrefix(const QString& path) {
    const QFileInfo info(followLinks(path));
    return info.absolutePath() + "/." + info.fileName() + ".korvane-";
}

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
    direct_ = false;
    started_ = 0;
    const int descriptor = openDescriptorOf(path);
    if (descriptor >= 0) {   // standard output or another open descriptor, as it is
        std::fflush(stdout); // what the program printed before comes first
        fd_ = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
        if (fd_ < 0) return fail(errno);
        direct_ = true;
        path_ = path;
        return true;
    }
    path_ = followLinks(path);
    const QByteArray target = QFile::encodeName(path_);
    struct stat st {};
    if (::stat(target.constData(), &st) == 0) {
        if (S_ISDIR(st.st_mode)) {
            error_ = errorText(EISDIR);
            return false;
        }
        if (!S_ISREG(st.st_mode)) { // a device, a FIFO: written where it is
            fd_ = ::open(target.constData(), O_WRONLY | O_CLOEXEC);
            if (fd_ < 0) return fail(errno);
            direct_ = true;
            return true;
        }
    }
    removeStaleTemporaries(path_);
    temporary_ = QFile::encodeName(TemporaryPrefix(path_) + "XXXXXX");
    fd_ = ::mkostemp(temporary_.data(), O_CLOEXEC);
    if (fd_ < 0) {
        error_ = errorText(errno);
        temporary_.clear();
        return false;
    }
    ::flock(fd_, LOCK_EX); // held while written: not stale for anyone else
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
    // Start the disk's writing of what has piled up, without waiting for it,
    // so the fsync at the commit finds most of a large file already there.
    if (!direct_) {
        const off_t end = ::lseek(fd_, 0, SEEK_CUR);
        if (end - started_ >= (8 << 20)) {
            ::sync_file_range(fd_, started_, end - started_, SYNC_FILE_RANGE_WRITE);
            started_ = end;
        }
    }
    return true;
}

bool AtomicFileWriter::commit() {
    if (fd_ < 0) return false;
    if (direct_) {
        // A pipe or a terminal cannot be flushed to disk; a full device has
        // already failed its write.
        if (::fsync(fd_) != 0 && errno != EINVAL && errno != EROFS && errno != ENOTSUP)
            return fail(errno);
        const int fd = fd_;
        fd_ = -1;
        if (::close(fd) != 0 && errno != EINTR) {
            error_ = errorText(errno);
            return false;
        }
        return true;
    }
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
    if (::rename(temporary_.constData(), QFile::encodeName(path_).constData()) != 0) {
        const int error = errno;
        cancel();
        error_ = errorText(error);
        return false;
    }
    temporary_.clear();
    const int fd = fd_; // closed after the rename: the lock is held to the end
    fd_ = -1;
    if (::close(fd) != 0 && errno != EINTR) {
        error_ = errorText(errno);
        return false;
    }
    return true;
}

void AtomicFileWriter::cancel() {
    if (!temporary_.isEmpty()) {
        ::unlink(temporary_.constData());
        temporary_.clear();
    }
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
}

QString WriteFileAtomically(const QString& path, const QByteArray& data) {
    AtomicFileWriter writer;
    if (!writer.open(path) || !writer.write(data) || !writer.commit()) return writer.error();
    return QString();
}

} // namespace platform
