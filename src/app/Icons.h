#pragma once
// The program's small pictures, drawn at run time: toolbar glyphs and lamps.
#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

QIcon GlyphIcon(const QString& glyph, const QColor& color);
QPixmap LampPixmap(bool on, int size = 14);
