// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Who the program is: the settings application title, version and maker.
#include <QString>

inline const QString kAppTitle = QStringLiteral("Korvane");
inline const QString kVersionText = QStringLiteral("00.01.06");
// The version of this build as packages and --version show it.
inline const QString kPackageVersion = QStringLiteral(KORVANE_VERSION);

extern QString MakerName;   // written into data files
extern QString ProductName; // written into data files
