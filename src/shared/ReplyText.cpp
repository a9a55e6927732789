// SPDX-License-Identifier: GPL-3.0-or-later
#include "shared/ReplyText.h"

QString CutAtLineFeed(const QString& reply) {
    const qsizetype at = reply.indexOf(QChar(10));
    return at < 0 ? reply : reply.left(at);
}
