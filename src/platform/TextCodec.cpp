// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TextCodec.h"

#include <QStringDecoder>

namespace platform {

bool IsValidUtf8(const QByteArray& bytes) {
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8(bytes); // the decoder works when its result is taken
    return !utf8.hasError();
}

QString DecodeText(const QByteArray& bytes) {
    if (IsValidUtf8(bytes)) return QString::fromUtf8(bytes);
    QStringDecoder gbk("GB18030");
    if (gbk.isValid()) return QString(gbk(bytes));
    return QString::fromLatin1(bytes);
}

} // namespace platform
