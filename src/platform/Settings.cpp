#include "platform/Settings.h"

#include "platform/MsgBox.h"

#include <QDir>
#include <QSettings>
#include <QStandardPaths>
#include <map>
#include <memory>

namespace platform {
namespace {

QString& directory() {
    static QString dir;
    return dir;
}

bool g_writeFailureReported = false;

void defaultWriteFailure(const QString& path) {
    MsgBox("The settings cannot be saved to " + path +
               ". The program goes on with the settings it has.",
           MsgButtons::Ok, MsgIcon::Exclamation, "Settings");
}

void (*g_writeFailureHandler)(const QString&) = defaultWriteFailure;

std::map<QString, std::unique_ptr<QSettings>>& stores() {
    static std::map<QString, std::unique_ptr<QSettings>> s;
    return s;
}

QSettings& store(const QString& app) {
    auto& slot = stores()[app];
    if (!slot) slot = std::make_unique<QSettings>(SettingsFilePath(app), QSettings::IniFormat);
    return *slot;
}

QString groupKey(const QString& section, const QString& key) {
    return section + "/" + key;
}

} // namespace

void SetSettingsDirectory(const QString& dir) {
    stores().clear();
    directory() = dir;
    g_writeFailureReported = false;
}

QString SettingsDirectory() {
    if (directory().isEmpty())
        directory() =
            QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + "/Korvane";
    return directory();
}

QString SettingsFilePath(const QString& app) {
    return SettingsDirectory() + "/" + app + ".ini";
}

void SetSettingsWriteFailureHandler(void (*handler)(const QString&)) {
    g_writeFailureHandler = handler ? handler : defaultWriteFailure;
}

QString GetSetting(const QString& app, const QString& section, const QString& key,
                   const QString& defaultValue) {
    const QVariant value = store(app).value(groupKey(section, key));
    if (!value.isValid()) return defaultValue;
    return value.toString();
}

void SaveSetting(const QString& app, const QString& section, const QString& key,
                 const QString& value) {
    QDir().mkpath(SettingsDirectory());
    QSettings& s = store(app);
    s.setValue(groupKey(section, key), value);
    s.sync();
    if (s.status() != QSettings::NoError && !g_writeFailureReported) {
        g_writeFailureReported = true;
        g_writeFailureHandler(s.fileName());
    }
}

QList<QPair<QString, QString>> GetAllSettings(const QString& app, const QString& section) {
    QSettings& s = store(app);
    QList<QPair<QString, QString>> rows;
    s.beginGroup(section);
    for (const QString& key : s.childKeys())
        rows.append({key, s.value(key).toString()});
    s.endGroup();
    return rows;
}

int GetSettingInt(const QString& app, const QString& section, const QString& key,
                  int defaultValue) {
    bool ok = false;
    const double v = GetSetting(app, section, key).trimmed().toDouble(&ok);
    if (!ok || v < -2147483648.0 || v > 2147483647.0) return defaultValue;
    return static_cast<int>(qRound64(v));
}

double GetSettingDouble(const QString& app, const QString& section, const QString& key,
                        double defaultValue) {
    bool ok = false;
    const double v = GetSetting(app, section, key).trimmed().toDouble(&ok);
    return ok ? v : defaultValue;
}

bool GetSettingBool(const QString& app, const QString& section, const QString& key,
                    bool defaultValue) {
    const QString text = GetSetting(app, section, key).trimmed();
    if (text.compare("True", Qt::CaseInsensitive) == 0) return true;
    if (text.compare("False", Qt::CaseInsensitive) == 0) return false;
    bool ok = false;
    const double v = text.toDouble(&ok);
    return ok ? v != 0 : defaultValue;
}

QString BoolSettingText(bool value) {
    return value ? "True" : "False";
}

} // namespace platform
