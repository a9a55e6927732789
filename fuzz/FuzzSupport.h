// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// What every fuzz target needs once: an offscreen application, message boxes
// answered at once, no pacing, and a private folder for the files a reader
// wants by name; then a way to cut the input into the pieces a link delivers.
#include <QByteArray>
#include <QString>
#include <cstddef>
#include <cstdint>

void FuzzSetUp();
// What a job leaves behind for its window (its warning text, the measure
// block, the wave records it fetched into) put back as new, so one input
// never sees another's: a target's memory stays flat over a long run.
void FuzzResetJobState();
// A property every input must keep; a broken one stops the run like a crash.
void FuzzRequire(bool holds, const char* what);
// A file in the target's private folder holding the input.
QString FuzzFile(const QString& name, const std::uint8_t* data, std::size_t size);

// The input as a stream of pieces: each piece is a length in two bytes, low
// byte first (0xFFFF takes the rest), and that many bytes; a piece asked for
// when the input has ended is empty. The seeds are written the same way.
class FuzzPieces {
public:
    FuzzPieces(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    QByteArray next(int atMost = 1 << 30);
    bool atEnd() const { return at_ >= size_; }
    static QByteArray encode(const QByteArray& piece);

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};
