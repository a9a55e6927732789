#include "sheet/frmDataSheetTree.h"

#include <QHeaderView>
#include <QTreeWidget>
#include <QVBoxLayout>

frmDataSheetTree::frmDataSheetTree(QWidget* parent) : QWidget(parent), tree_(new QTreeWidget) {
    tree_->header()->hide();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(tree_);
}
