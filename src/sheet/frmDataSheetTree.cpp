// SPDX-License-Identifier: GPL-3.0-or-later
#include "sheet/frmDataSheetTree.h"

#include "platform/Faults.h"
#include "shared/LoadLanguage.h"
#include "sheet/DataSheet.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMenu>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
QString text(const char* control) {
    return FormText("frmDataSheetTree", control);
}
bool chinese() {
    return CaptionLanguage() == kLanguageChinese;
}
} // namespace

SheetMenuState MenuStateFor(const QTreeWidgetItem* node) {
    SheetMenuState m;
    const QString removeWord = chinese() ? QString::fromUtf8("移除(") : QStringLiteral("&Remove(");
    const QString renameWord =
        chinese() ? QString::fromUtf8("重命名(") : QStringLiteral("Re&name(");
    m.renameCaption = renameWord + ")";
    m.removeCaption = removeWord + ")";
    if (!node) return m;
    m.saveVisible = SheetExists();
    if (node == HolderNode()) return m; // the holder can't be renamed or removed
    m.renameEnabled = m.removeEnabled = true;
    const QString name = node->text(0);
    m.renameCaption = renameWord + name + ")";
    m.removeCaption = removeWord + name + ")";
    return m;
}

frmDataSheetTree::frmDataSheetTree(QWidget* parent)
    : QWidget(parent), tree_(new QTreeWidget), pop_mnu1_(new QMenu(this)) {
    setObjectName("frmDataSheetTree");
    tree_->header()->hide();
    tree_->setEditTriggers(QAbstractItemView::EditKeyPressed);
    tree_->setContextMenuPolicy(Qt::CustomContextMenu);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(tree_);
    SetSheetTree(tree_);

    auto add = [this](QMenu* menu, const char* name, auto fn) {
        QAction* a = menu->addAction(name);
        a->setObjectName(name);
        connect(a, &QAction::triggered, this, platform::Guarded(name, fn));
        return a;
    };
    add(pop_mnu1_, "mnuNewDataSheet", [] { NewDataSheet(); });
    add(pop_mnu1_, "mnuOpenDataSheet", [] { OpenDataSheetWithDialog(); });
    add(pop_mnu1_, "mnuSaveDataSheet", [] { SaveDataSheet(); });
    add(pop_mnu1_, "mnuSaveDataSheetAs", [] { SaveDataSheetAs(); });
    mnuAddNew_ = pop_mnu1_->addMenu("mnuAddNew");
    mnuAddNew_->menuAction()->setObjectName("mnuAddNew");
    add(mnuAddNew_, "mnuAddNewWaveform", [] { AddNewWaveform(); });
    add(mnuAddNew_, "mnuAddNewMeasure", [] { AddNewMeasure(); });
    add(mnuAddNew_, "mnuAddNewData", [] { AddNewData(); });
    add(mnuAddNew_, "mnuAddNewPlayBack", [] { AddNewRecord(); });
    add(mnuAddNew_, "mnuAddNewMemoryWave", [] { AddNewMemoryWave(); });
    pop_mnu1_->addSeparator();
    add(pop_mnu1_, "mnuRename", [this] {
        if (QTreeWidgetItem* node = tree_->currentItem()) tree_->editItem(node, 0);
    });
    add(pop_mnu1_, "mnuRemove", [] { RemoveSelected(); });
    QAction* sorted =
        add(pop_mnu1_, "mnuSorted", [this] { SetSorted(menuAction("mnuSorted")->isChecked()); });
    sorted->setCheckable(true);

    connect(tree_, &QTreeWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        if (QTreeWidgetItem* node = tree_->itemAt(at)) tree_->setCurrentItem(node);
        PrepareMenu();
        pop_mnu1_->popup(tree_->viewport()->mapToGlobal(at));
    });
    connect(tree_, &QTreeWidget::itemClicked, this,
            platform::Guarded("DataSheetTree_NodeClick", [] { SetActiveForm(); }));
    connect(tree_, &QTreeWidget::itemActivated, this,
            platform::Guarded("DataSheetTree_NodeClick", [] { SetActiveForm(); }));
    connect(tree_, &QTreeWidget::itemChanged, this,
            [this](QTreeWidgetItem* item) { itemChanged(item); });
    captionRoutine_ = AddCaptionRoutine([this](int index) { applyCaptions(index); });
    applyCaptions(CaptionLanguage());
}

frmDataSheetTree::~frmDataSheetTree() {
    RemoveCaptionRoutine(captionRoutine_);
    SetSheetTree(nullptr);
}

QAction* frmDataSheetTree::menuAction(const QString& name) const {
    return pop_mnu1_->findChild<QAction*>(name, Qt::FindChildrenRecursively);
}

void frmDataSheetTree::PrepareMenu() {
    const SheetMenuState m = MenuStateFor(tree_->currentItem());
    for (const char* name : {"mnuSaveDataSheet", "mnuSaveDataSheetAs", "mnuAddNew", "mnuSorted"})
        if (QAction* a = menuAction(name)) a->setVisible(m.saveVisible);
    mnuAddNew_->menuAction()->setVisible(m.saveVisible);
    menuAction("mnuRename")->setEnabled(m.renameEnabled);
    menuAction("mnuRemove")->setEnabled(m.removeEnabled);
    menuAction("mnuRename")->setText(m.renameCaption);
    menuAction("mnuRemove")->setText(m.removeCaption);
    menuAction("mnuSorted")->setChecked(Sorted());
}

void frmDataSheetTree::itemChanged(QTreeWidgetItem* item) {
    if (editing_ || item != tree_->currentItem()) return;
    editing_ = true;
    platform::RunHandler("DataSheetTree_AfterLabelEdit", [item] {
        if (!ChangeFormName(item->text(0))) {
            // Refused: the node shows its name again.
            DocKind kind;
            int slot;
            if (item == HolderNode())
                item->setText(0, TreeLabel("Data Sheet"));
            else if (FindDocument(item, &kind, &slot))
                item->setText(0, DocName(kind, slot));
        }
    });
    editing_ = false;
}

void frmDataSheetTree::applyCaptions(int index) {
    if (index != kLanguageChinese && index != kLanguageEnglish) return;
    const std::pair<const char*, const char*> captions[] = {
        {"mnuNewDataSheet", "mnuNewSheet"},
        {"mnuOpenDataSheet", "mnuOpenSheet"},
        {"mnuSaveDataSheet", "mnuSaveSheet"},
        {"mnuSaveDataSheetAs", "mnuSaveAsSheet"},
        {"mnuSorted", "mnuSorted"},
        {"mnuAddNewWaveform", "mnuAddWave"},
        {"mnuAddNewMeasure", "mnuAddMeasure"},
        {"mnuAddNewData", "mnuAddData"},
        {"mnuAddNewPlayBack", "mnuAddRecord"},
        {"mnuAddNewMemoryWave", "mnuAddMemory"}};
    for (const auto& [action, key] : captions)
        if (QAction* a = menuAction(action)) a->setText(text(key));
    mnuAddNew_->setTitle(text("mnuAddNew"));
    editing_ = true;
    if (QTreeWidgetItem* holder = HolderNode()) holder->setText(0, TreeLabel("Data Sheet"));
    editing_ = false;
    PrepareMenu();
}
