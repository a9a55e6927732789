#pragma once
// The Controller pane: the tree of every instrument setting.
#include <QWidget>

class QTreeWidget;

class frmCtrlList : public QWidget {
    Q_OBJECT
public:
    explicit frmCtrlList(QWidget* parent = nullptr);
    QTreeWidget* tree() const { return tree_; }

private:
    QTreeWidget* tree_;
};
