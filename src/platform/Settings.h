// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The settings store: text values by application, section and key, kept as
// one INI file per application in the user's configuration folder
// (~/.config/Korvane/<app>.ini). Reads never fail: a missing key gives the
// default. A store that cannot be written is reported once, then ignored.
#include <QList>
#include <QPair>
#include <QString>

namespace platform {

QString GetSetting(const QString& app, const QString& section, const QString& key,
                   const QString& defaultValue = QString());
void SaveSetting(const QString& app, const QString& section, const QString& key,
                 const QString& value);
// All keys of a section with their values, in key order.
QList<QPair<QString, QString>> GetAllSettings(const QString& app, const QString& section);

// Typed reads over GetSetting: text that does not read as the type gives the default.
int GetSettingInt(const QString& app, const QString& section, const QString& key, int defaultValue);
double GetSettingDouble(const QString& app, const QString& section, const QString& key,
                        double defaultValue);
bool GetSettingBool(const QString& app, const QString& section, const QString& key,
                    bool defaultValue);
// Booleans are stored in the store's text form: "True" / "False".
QString BoolSettingText(bool value);

// Where the store lives; tests point it at a temporary folder.
void SetSettingsDirectory(const QString& directory);
QString SettingsDirectory();
QString SettingsFilePath(const QString& app);
// Called after a write failed; once per run at the most. Default: a message box.
void SetSettingsWriteFailureHandler(void (*handler)(const QString& path));

} // namespace platform
