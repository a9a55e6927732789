// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The Data Sheet pane: the document tree and its context menu. It shows what
// the sheet module holds and hands every action to it.
#include <QWidget>

class QAction;
class QMenu;
class QTreeWidget;
class QTreeWidgetItem;

// What the context menu offers for the selected node.
struct SheetMenuState {
    bool saveVisible = false;   // Save, Save As, Add New, Sorted
    bool renameEnabled = false; // Rename, Remove
    bool removeEnabled = false;
    QString renameCaption, removeCaption;
};
SheetMenuState MenuStateFor(const QTreeWidgetItem* node);

class frmDataSheetTree : public QWidget {
    Q_OBJECT
public:
    explicit frmDataSheetTree(QWidget* parent = nullptr);
    ~frmDataSheetTree() override;
    QTreeWidget* tree() const { return tree_; }
    QMenu* popMenu() const { return pop_mnu1_; }
    QAction* menuAction(const QString& name) const;
    // Sets up pop_mnu1 for the selection (what a right click does before it pops up).
    void PrepareMenu();

private:
    void applyCaptions(int index);
    void itemChanged(QTreeWidgetItem* item);
    QTreeWidget* tree_;
    QMenu* pop_mnu1_;
    QMenu* mnuAddNew_;
    int captionRoutine_ = 0;
    bool editing_ = false;
};
