// SPDX-License-Identifier: GPL-3.0-or-later
// Without libFuzzer: every file of the folders (or the files) named on the
// command line goes through the target once, so the kept corpus guards the
// readers in every build.
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {
int runOne(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
        return 1;
    }
    const QByteArray bytes = f.readAll();
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                           static_cast<std::size_t>(bytes.size()));
    return 0;
}
} // namespace

int main(int argc, char** argv) {
    int files = 0, failures = 0;
    for (int i = 1; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        if (QFileInfo(arg).isDir()) {
            QDirIterator it(arg, QDir::Files, QDirIterator::Subdirectories);
            while (it.hasNext()) {
                failures += runOne(it.next());
                ++files;
            }
        } else {
            failures += runOne(arg);
            ++files;
        }
    }
    std::printf("%d inputs, %d unreadable\n", files, failures);
    return failures == 0 && files > 0 ? 0 : 1;
}
