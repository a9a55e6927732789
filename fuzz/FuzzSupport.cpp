// SPDX-License-Identifier: GPL-3.0-or-later
#include "FuzzSupport.h"

#include "acquire/Jobs.h"
#include "acquire/MeasureJob.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/Settings.h"
#include "sheet/SheetRecords.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {
QTemporaryDir& folder() {
    static QTemporaryDir dir;
    return dir;
}
} // namespace

void FuzzSetUp() {
    static bool done = false;
    if (done) return;
    done = true;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "fuzz";
    static char* argv[] = {name, nullptr};
    static QApplication app(argc, argv);
    platform::SetPacingScale(0);
    platform::SetMsgBoxHook([](const platform::MsgBoxRequest&) { return platform::MsgResult::Ok; });
    platform::SetSettingsDirectory(folder().path());
}

void FuzzResetJobState() {
    JobWarning.clear();
    CurrentMeasure = CurrentMeasureBlock();
    for (WaveRecord& w : WaveRecords)
        w = WaveRecord();
}

void FuzzRequire(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

QString FuzzFile(const QString& name, const std::uint8_t* data, std::size_t size) {
    const QString path = folder().filePath(name);
    QFile f(path);
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        f.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    return path;
}

QByteArray FuzzPieces::next(int atMost) {
    if (at_ >= size_) return {};
    std::size_t length = data_[at_++];
    if (at_ < size_) length |= static_cast<std::size_t>(data_[at_++]) << 8;
    if (length == 0xFFFF) length = size_ - at_;
    length = std::min({length, size_ - at_, static_cast<std::size_t>(atMost)});
    const QByteArray piece(reinterpret_cast<const char*>(data_ + at_),
                           static_cast<qsizetype>(length));
    at_ += length;
    return piece;
}

QByteArray FuzzPieces::encode(const QByteArray& piece) {
    const qsizetype n = std::min<qsizetype>(piece.size(), 0xFFFE);
    QByteArray out;
    out.append(static_cast<char>(n & 0xFF)).append(static_cast<char>(n >> 8));
    return out + piece.left(n);
}
