// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Settings.h"

#include "platform/MsgBox.h"
#include "platform/SafeFile.h"
#include "platform/TextCodec.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <algorithm>
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

// One INI file: sections and keys as they are named (people edit the file by
// hand, so nothing is encoded), in the order they first appeared. Written
// whole through the safe writer: a failed write keeps the old file.
class IniStore {
public:
    explicit IniStore(QString path) : path_(std::move(path)) { load(); }

    QString value(const QString& section, const QString& key, bool* found) const {
        for (const Section& s : sections_)
            if (s.name == section)
                for (const auto& [k, v] : s.rows)
                    if (k == key) {
                        *found = true;
                        return v;
                    }
        *found = false;
        return QString();
    }

    QList<QPair<QString, QString>> rows(const QString& section) const {
        for (const Section& s : sections_)
            if (s.name == section) {
                QList<QPair<QString, QString>> sorted = s.rows;
                std::sort(sorted.begin(), sorted.end(),
                          [](const auto& a, const auto& b) { return a.first < b.first; });
                return sorted;
            }
        return {};
    }

    // False when the file could not be written.
    bool set(const QString& section, const QString& key, QString value) {
        value.replace('\r', ' ').replace('\n', ' ');
        Section* target = nullptr;
        for (Section& s : sections_)
            if (s.name == section) target = &s;
        if (!target) {
            sections_.append({section, {}});
            target = &sections_.last();
        }
        bool replaced = false;
        for (auto& row : target->rows)
            if (row.first == key) {
                row.second = value;
                replaced = true;
            }
        if (!replaced) target->rows.append({key, value});
        return save();
    }

private:
    struct Section {
        QString name;
        QList<QPair<QString, QString>> rows;
    };

    // Files of earlier versions named their sections percent-encoded and
    // quoted some values; both read as what they meant.
    static QString plain(const QString& name) {
        return QString::fromUtf8(QByteArray::fromPercentEncoding(name.toUtf8()));
    }
    static QString unquoted(QString v) {
        if (v.size() >= 2 && v.startsWith('"') && v.endsWith('"')) v = v.mid(1, v.size() - 2);
        return v;
    }

    void load() {
        QFile f(path_);
        if (!f.open(QIODevice::ReadOnly)) return;
        Section* current = nullptr;
        for (const QByteArray& raw : f.readAll().split('\n')) {
            const QString line = DecodeText(raw).trimmed();
            if (line.isEmpty() || line.startsWith(';') || line.startsWith('#')) continue;
            if (line.startsWith('[') && line.endsWith(']')) {
                sections_.append({plain(line.mid(1, line.size() - 2)), {}});
                current = &sections_.last();
                continue;
            }
            const qsizetype eq = line.indexOf('=');
            if (!current || eq <= 0) continue;
            current->rows.append(
                {plain(line.left(eq).trimmed()), unquoted(line.mid(eq + 1).trimmed())});
        }
    }

    bool save() const {
        QDir().mkpath(QFileInfo(path_).absolutePath());
        QByteArray out;
        for (const Section& s : sections_) {
            out += "[" + s.name.toUtf8() + "]\n";
            for (const auto& [k, v] : s.rows)
                out += k.toUtf8() + "=" + v.toUtf8() + "\n";
            out += "\n";
        }
        return WriteFileAtomically(path_, out).isEmpty();
    }

    QString path_;
    QList<Section> sections_;
};

std::map<QString, std::unique_ptr<IniStore>>& stores() {
    static std::map<QString, std::unique_ptr<IniStore>> s;
    return s;
}

IniStore& store(const QString& app) {
    auto& slot = stores()[app];
    if (!slot) slot = std::make_unique<IniStore>(SettingsFilePath(app));
    return *slot;
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
    bool found = false;
    const QString value = store(app).value(section, key, &found);
    return found ? value : defaultValue;
}

void SaveSetting(const QString& app, const QString& section, const QString& key,
                 const QString& value) {
    if (!store(app).set(section, key, value) && !g_writeFailureReported) {
        g_writeFailureReported = true;
        g_writeFailureHandler(SettingsFilePath(app));
    }
}

QList<QPair<QString, QString>> GetAllSettings(const QString& app, const QString& section) {
    return store(app).rows(section);
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
