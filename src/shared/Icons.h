// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The program's small pictures, drawn at run time: toolbar glyphs and lamps.
#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

QIcon GlyphIcon(const QString& glyph, const QColor& color);
QPixmap LampPixmap(bool on, int size = 14);
// An icon by its freedesktop name, from the desktop's theme when it draws
// one, else from the program's own set (SVG, the same on every desktop and
// scale). Every name the program uses is in its own set: no button is blank.
QIcon ThemeIcon(const QString& name);
// The program's own icons (names beginning "korvane").
QIcon OwnIcon(const QString& name);
// The icon of a document kind (wave, measure, data, record, memory wave).
QIcon DocKindIcon(int kind);
