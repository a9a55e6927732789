// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The Controller pane: the tree of every instrument setting, the Upload and
// Download buttons, and the pop-up menu of control-file and link commands.
#include "controller/CtrlTree.h"
#include "platform/Faults.h"

#include <QWidget>

class QMenu;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

class frmCtrlList : public QWidget {
    Q_OBJECT
public:
    explicit frmCtrlList(QWidget* parent = nullptr);
    ~frmCtrlList() override;

    void Form_Load();
    void BuildCtrlTree(); // clear, build, expand: always together
    void ClearTreeNodes();
    void ExpandCtrlTree();
    void UpdateRowTexts(); // the values changed, the rows did not
    void mnuExpand_Click();
    void CtrlTreeView_NodeClick(QTreeWidgetItem* item);
    void CtrlTreeView_DblClick();

    QTreeWidget* tree() const { return tree_; }
    QMenu* popmenu1() const { return popmenu1_; }
    QTreeWidgetItem* TreeRoot() const { return treeRoot_; }
    // The node of a section's row, by the section's place and the row's place.
    QTreeWidgetItem* TreeNode(int column, int row) const;
    static QString FullPath(const QTreeWidgetItem* item);
    // The first row whose text starts so (a label in the caption language), or null.
    QTreeWidgetItem* RowStartingWith(const QString& start) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void applyCaptions();
    QTreeWidgetItem* addNode(QTreeWidgetItem* parent, const CtrlTreeNode& node);

    QTreeWidget* tree_;
    QPushButton* cmdUpload_;
    QPushButton* cmdDownload_;
    QMenu* popmenu1_;
    QTreeWidgetItem* treeRoot_ = nullptr;
    platform::FixedArray<platform::FixedArray<QTreeWidgetItem*, 0, 31>, 0, 31> treeNodes_{};
    QList<QPair<QTreeWidgetItem*, CtrlTreeNode>> rows_; // each row's item and its node
    int captionRoutineId_ = 0;
};
