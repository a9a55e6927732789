#pragma once
// The Data Sheet pane: the document tree of child windows.
#include <QWidget>

class QTreeWidget;

class frmDataSheetTree : public QWidget {
    Q_OBJECT
public:
    explicit frmDataSheetTree(QWidget* parent = nullptr);
    QTreeWidget* tree() const { return tree_; }

private:
    QTreeWidget* tree_;
};
