// SPDX-License-Identifier: GPL-3.0-or-later
#include "shared/Icons.h"

#include <QPainter>
#include <algorithm>

QIcon GlyphIcon(const QString& glyph, const QColor& color) {
    QIcon icon;
    for (int size : {16, 24, 32}) {
        QPixmap pm(size, size);
        pm.fill(Qt::transparent);
        QPainter p(&pm);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(color.darker(140));
        p.setBrush(color);
        p.drawRoundedRect(QRectF(0.5, 0.5, size - 1, size - 1), size / 5.0, size / 5.0);
        QFont font = p.font();
        font.setBold(true);
        font.setPixelSize(glyph.size() > 2 ? size * 3 / 8 : size / 2);
        p.setFont(font);
        p.setPen(Qt::white);
        p.drawText(QRect(0, 0, size, size), Qt::AlignCenter, glyph);
        icon.addPixmap(pm);
    }
    return icon;
}

// The icons live in the static library: its resources are registered by hand,
// since nothing else makes the linker keep them.
static void registerIcons() {
    static const bool done = [] {
        Q_INIT_RESOURCE(icons);
        return true;
    }();
    (void)done;
}

QIcon OwnIcon(const QString& name) {
    registerIcons();
    return QIcon(":/icons/" + name + ".svg");
}

QIcon ThemeIcon(const QString& name) {
    // The desktop's icon only when it really draws at toolbar size: a theme
    // may claim a name (or inherit it as a symbolic one) and give nothing.
    const QIcon themed = QIcon::fromTheme(name);
    if (!themed.isNull() && !themed.pixmap(22, 22).isNull()) return themed;
    return OwnIcon(name);
}

QPixmap LampPixmap(bool on, int size) {
    const QIcon lamp = OwnIcon(on ? "korvane-led-on" : "korvane-led-off");
    if (!lamp.isNull()) {
        const QPixmap drawn = lamp.pixmap(size, size);
        if (!drawn.isNull()) return drawn;
    }
    QPixmap pm(size, size);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    const QColor base = on ? QColor(40, 200, 60) : QColor(150, 150, 150);
    QRadialGradient glow(size * 0.35, size * 0.35, size * 0.6);
    glow.setColorAt(0, base.lighter(160));
    glow.setColorAt(1, base.darker(130));
    p.setPen(base.darker(180));
    p.setBrush(glow);
    p.drawEllipse(QRectF(1, 1, size - 2, size - 2));
    return pm;
}

QIcon DocKindIcon(int kind) {
    static const char* const names[] = {"korvane-wave", "korvane-measure", "korvane-data",
                                        "korvane-record", "korvane-memory"};
    return OwnIcon(names[std::clamp(kind, 0, 4)]);
}
