// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The text of an instrument's reply line.
#include <QString>

// The reply up to, not including, its first line feed; the whole text if none.
QString CutAtLineFeed(const QString& reply);
