#include "app/Icons.h"

#include <QPainter>

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

QPixmap LampPixmap(bool on, int size) {
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
