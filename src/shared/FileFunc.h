// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The two recent-file lists: at most four paths each, "RecentFile1" the
// newest, written to the store the moment they change.
#include <QString>
#include <QStringList>
#include <functional>

constexpr int kRecentCount = 4;
inline const QString kRecentCtrlSection = QStringLiteral("Recent Ctrl_NQ4000L");
inline const QString kRecentSheetSection = QStringLiteral("Recent Sheet_NQ4000L");

// The entries as the menu shows them: empty when "RecentFile1" is empty,
// otherwise every stored row in order.
QStringList RecentEntries(const QString& section);
// Puts path on top: a known path moves up, a new one pushes the others down
// and the fourth falls off. Nothing is ever deleted from the store.
void AddRecentEntry(const QString& section, const QString& path);

// The menus: the frame registers how to show a list; the loaders read the
// store and hand the entries over (an empty list hides the root item).
using RecentMenuView = std::function<void(const QStringList& entries)>;
void SetRecentCtrlMenuView(RecentMenuView view);
void SetRecentSheetMenuView(RecentMenuView view);
void LoadRecentCtrlMenu();
void LoadRecentSheetMenu();
void AddRecentCtrl(const QString& path);
void AddRecentSheet(const QString& path);
