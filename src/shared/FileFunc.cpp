// SPDX-License-Identifier: GPL-3.0-or-later
#include "shared/FileFunc.h"

#include "platform/Settings.h"
#include "shared/AppIdentity.h"

namespace {
RecentMenuView g_ctrlView, g_sheetView;

QString key(int i) {
    return "RecentFile" + QString::number(i);
}
QString entry(const QString& section, int i) {
    return platform::GetSetting(kAppTitle, section, key(i));
}
void setEntry(const QString& section, int i, const QString& path) {
    platform::SaveSetting(kAppTitle, section, key(i), path);
}
} // namespace

QStringList RecentEntries(const QString& section) {
    QStringList entries;
    if (entry(section, 1).isEmpty()) return entries;
    for (const auto& [k, value] : platform::GetAllSettings(kAppTitle, section))
        entries << value;
    return entries.mid(0, kRecentCount);
}

void AddRecentEntry(const QString& section, const QString& path) {
    int found = 0;
    for (int i = 1; i <= kRecentCount; ++i)
        if (entry(section, i) == path) {
            found = i;
            break;
        }
    if (found == 0) {
        for (int i = kRecentCount - 1; i >= 1; --i) {
            const QString e = entry(section, i);
            if (!e.isEmpty()) setEntry(section, i + 1, e);
        }
    } else {
        // Entries behind the found place keep theirs.
        for (int i = found - 1; i >= 1; --i)
            setEntry(section, i + 1, entry(section, i));
    }
    setEntry(section, 1, path);
}

void SetRecentCtrlMenuView(RecentMenuView view) {
    g_ctrlView = std::move(view);
}
void SetRecentSheetMenuView(RecentMenuView view) {
    g_sheetView = std::move(view);
}

void LoadRecentCtrlMenu() {
    if (g_ctrlView) g_ctrlView(RecentEntries(kRecentCtrlSection));
}
void LoadRecentSheetMenu() {
    if (g_sheetView) g_sheetView(RecentEntries(kRecentSheetSection));
}

void AddRecentCtrl(const QString& path) {
    AddRecentEntry(kRecentCtrlSection, path);
    LoadRecentCtrlMenu();
}

void AddRecentSheet(const QString& path) {
    AddRecentEntry(kRecentSheetSection, path);
    LoadRecentSheetMenu();
}
