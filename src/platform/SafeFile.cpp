#include "platform/SafeFile.h"

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

QString WriteFileAtomically(const QString& path, const QByteArray& data) {
    const QFileInfo info(path);
    if (info.exists() && info.isDir()) return errorText(EISDIR);
    QByteArray temp = QFile::encodeName(info.absolutePath() + "/." + info.fileName() + ".XXXXXX");
    const int fd = ::mkstemp(temp.data());
    if (fd < 0) return errorText(errno);
    auto fail = [&](int error) {
        ::close(fd);
        ::unlink(temp.constData());
        return errorText(error);
    };
    const char* p = data.constData();
    qsizetype left = data.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, static_cast<size_t>(left));
        if (n < 0) {
            if (errno == EINTR) continue;
            return fail(errno);
        }
        if (n == 0) return fail(ENOSPC);
        p += n;
        left -= n;
    }
    if (::fsync(fd) != 0) return fail(errno);
    // Keep the old file's permissions; a new file gets the usual ones.
    struct stat old {};
    if (::stat(QFile::encodeName(path).constData(), &old) == 0) {
        ::fchmod(fd, old.st_mode & 07777);
    } else {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        ::fchmod(fd, 0666 & ~mask);
    }
    if (::close(fd) != 0) {
        const int error = errno;
        ::unlink(temp.constData());
        return errorText(error);
    }
    if (::rename(temp.constData(), QFile::encodeName(path).constData()) != 0) {
        const int error = errno;
        ::unlink(temp.constData());
        return errorText(error);
    }
    return QString();
}

} // namespace platform
