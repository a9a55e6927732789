// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The text of the program's own files: written as UTF-8; read as UTF-8 when
// the bytes are valid UTF-8, otherwise as GBK (GB18030), the code page of a
// Chinese Windows machine, whose files could not be valid UTF-8 but by chance.
#include <QByteArray>
#include <QString>

namespace platform {

QString DecodeText(const QByteArray& bytes);
bool IsValidUtf8(const QByteArray& bytes);

} // namespace platform
