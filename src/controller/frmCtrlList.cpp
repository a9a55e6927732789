// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/frmCtrlList.h"

#include "controller/CtrlFile.h"
#include "controller/CtrlState.h"
#include "controller/PraseCtrlList.h"
#include "controller/SettingsExchange.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "platform/MsgBox.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "shared/StringRES.h"

#include <QAction>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
// The image strip: 2 a section or group, 3 a value row, 4 a command row.
QIcon imageOf(int image) {
    static const QIcon icons[3] = {
        [] {
            QPixmap p(16, 16);
            p.fill(Qt::transparent);
            QPainter g(&p);
            g.setBrush(QColor(230, 190, 90));
            g.setPen(QColor(150, 110, 30));
            g.drawRect(1, 4, 13, 10);
            g.drawRect(1, 2, 6, 3);
            return QIcon(p);
        }(),
        [] {
            QPixmap p(16, 16);
            p.fill(Qt::transparent);
            QPainter g(&p);
            g.setRenderHint(QPainter::Antialiasing);
            g.setBrush(QColor(80, 140, 210));
            g.setPen(Qt::NoPen);
            g.drawEllipse(4, 4, 8, 8);
            return QIcon(p);
        }(),
        [] {
            QPixmap p(16, 16);
            p.fill(Qt::transparent);
            QPainter g(&p);
            g.setRenderHint(QPainter::Antialiasing);
            g.setBrush(QColor(60, 170, 90));
            g.setPen(Qt::NoPen);
            const QPointF arrow[3] = {{4, 3}, {13, 8}, {4, 13}};
            g.drawPolygon(arrow, 3);
            return QIcon(p);
        }(),
    };
    return icons[std::clamp(image - 2, 0, 2)];
}

} // namespace

frmCtrlList::frmCtrlList(QWidget* parent) : QWidget(parent) {
    setObjectName("frmCtrlList");
    tree_ = new QTreeWidget;
    tree_->setObjectName("CtrlTreeView");
    tree_->header()->hide();
    tree_->setContextMenuPolicy(Qt::CustomContextMenu);
    tree_->installEventFilter(this);
    cmdUpload_ = new QPushButton;
    cmdUpload_->setObjectName("cmdUpload");
    cmdDownload_ = new QPushButton;
    cmdDownload_->setObjectName("cmdDownload");
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdUpload_);
    buttons->addWidget(cmdDownload_); // kept beside Upload
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->addWidget(tree_, 1);
    layout->addLayout(buttons);

    popmenu1_ = new QMenu(this);
    popmenu1_->setObjectName("popmenu1");
    struct Entry {
        const char* name;
        std::function<void()> run;
    };
    const Entry entries[] = {
        {"mnuNewCtrl", [] { mnuNewCtrl_Click(); }},
        {"mnuOpenCtrl", [] { mnuOpenCtrl_Click(); }},
        {"mnuSaveCtrl", [] { mnuSaveCtrl_Click(); }},
        {"mnuSaveAsCtrl", [] { mnuSaveAsCtrl_Click(); }},
        {nullptr, {}},
        {"mnuConnect", [] { ConnectToDevice(); }},
        {"mnuDisconnect", [] { DisconnectFromDevice(); }},
        {nullptr, {}},
        {"mnuUpload", [] { cmdUpload_Click(); }},
        {"mnuDownLoad", [] { cmdDownload_Click(); }},
        {nullptr, {}},
        {"mnuExpand", [this] { mnuExpand_Click(); }},
    };
    for (const Entry& e : entries) {
        if (!e.name) {
            popmenu1_->addSeparator();
            continue;
        }
        QAction* a = popmenu1_->addAction(e.name);
        a->setObjectName(e.name);
        connect(a, &QAction::triggered, this, platform::Guarded(e.name, e.run));
    }

    connect(tree_, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem* item) { CtrlTreeView_NodeClick(item); });
    connect(tree_, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* item) { CtrlTreeView_NodeClick(item); });
    connect(tree_, &QTreeWidget::itemDoubleClicked, this,
            platform::Guarded("CtrlTreeView_DblClick", [this] { CtrlTreeView_DblClick(); }));
    connect(tree_, &QTreeWidget::customContextMenuRequested, this,
            [this](const QPoint& at) { popmenu1_->popup(tree_->viewport()->mapToGlobal(at)); });
    connect(cmdUpload_, &QPushButton::clicked, this,
            platform::Guarded("cmdUpload_Click", [] { cmdUpload_Click(); }));
    connect(cmdDownload_, &QPushButton::clicked, this,
            platform::Guarded("cmdDownload_Click", [] { cmdDownload_Click(); }));

    SetCtrlTreeListener([this](CtrlTreeChange change) {
        if (change == CtrlTreeChange::Shape)
            BuildCtrlTree();
        else
            UpdateRowTexts();
    });
    captionRoutineId_ = AddCaptionRoutine([this](int) {
        applyCaptions();
        BuildCtrlTree(); // the node texts in the new language
    });
    applyCaptions();
    Form_Load();
}

frmCtrlList::~frmCtrlList() {
    RemoveCaptionRoutine(captionRoutineId_);
    SetCtrlTreeListener({});
}

void frmCtrlList::applyCaptions() {
    setWindowTitle(FormText("frmCtrlList", "Caption"));
    cmdUpload_->setText(FormText("frmCtrlList", "cmdUpload"));
    cmdUpload_->setToolTip(FormText("frmCtrlList", "cmdUpload.tip"));
    cmdDownload_->setText(FormText("frmCtrlList", "cmdDownload"));
    cmdDownload_->setToolTip(FormText("frmCtrlList", "cmdDownload.tip"));
    for (QAction* a : popmenu1_->actions())
        if (!a->isSeparator())
            a->setText(FormText("frmCtrlList", a->objectName().toUtf8().constData()));
}

void frmCtrlList::Form_Load() {
    if (!CtrlTreeBuilt) {
        mnuNewCtrl_Click(); // the record's defaults, once in the program's life
        CtrlDirty = false;
        CtrlTreeBuilt = true;
    }
    BuildCtrlTree();
}

void frmCtrlList::ClearTreeNodes() {
    for (auto& column : treeNodes_)
        column.fill(nullptr);
    rows_.clear();
}

QTreeWidgetItem* frmCtrlList::addNode(QTreeWidgetItem* parent, const CtrlTreeNode& node) {
    auto* item = new QTreeWidgetItem(parent, {node.text()});
    item->setIcon(0, imageOf(node.image));
    item->setData(0, Qt::UserRole, node.image);
    rows_.append({item, node});
    for (const CtrlTreeNode& child : node.children)
        addNode(item, child);
    return item;
}

void frmCtrlList::BuildCtrlTree() {
    ClearTreeNodes();
    tree_->clear();
    const CtrlTreeNode model = BuildCtrlTreeModel(CtrlData, ModelHasLa);
    treeRoot_ = new QTreeWidgetItem(
        tree_, QStringList{ProductName.isEmpty() ? model.caption : ProductName});
    treeRoot_->setIcon(0, imageOf(kImageSection));
    for (int col = 0; col < model.children.size(); ++col) {
        QTreeWidgetItem* section = addNode(treeRoot_, model.children[col]);
        for (int row = 0; row < section->childCount() && row < 32 && col < 32; ++row)
            treeNodes_[col][row] = section->child(row);
    }
    ExpandCtrlTree();
    // The selected node after a rebuild is the first row.
    if (QTreeWidgetItem* first = treeRoot_->child(0)) {
        tree_->setCurrentItem(first);
        CtrlTreeView_NodeClick(first);
    }
}

void frmCtrlList::ExpandCtrlTree() {
    treeRoot_->setExpanded(true);
    for (int i = 0; i < treeRoot_->childCount(); ++i) {
        QTreeWidgetItem* section = treeRoot_->child(i);
        section->setExpanded(true);
        for (int j = 0; j < section->childCount(); ++j)
            if (section->child(j)->childCount() > 0) section->child(j)->setExpanded(true);
    }
}

void frmCtrlList::mnuExpand_Click() {
    ExpandCtrlTree();
}

void frmCtrlList::UpdateRowTexts() {
    for (const auto& [item, node] : rows_)
        item->setText(0, node.text());
}

QTreeWidgetItem* frmCtrlList::TreeNode(int column, int row) const {
    return treeNodes_[column][row];
}

QTreeWidgetItem* frmCtrlList::RowStartingWith(const QString& start) const {
    QList<QTreeWidgetItem*> open{treeRoot_};
    while (!open.isEmpty()) {
        QTreeWidgetItem* item = open.takeFirst();
        if (!item) continue;
        if (item->text(0).startsWith(start)) return item;
        for (int i = 0; i < item->childCount(); ++i)
            open << item->child(i);
    }
    return nullptr;
}

QString frmCtrlList::FullPath(const QTreeWidgetItem* item) {
    QStringList parts;
    for (; item; item = item->parent())
        parts.prepend(item->text(0));
    return parts.join('\\');
}

void frmCtrlList::CtrlTreeView_NodeClick(QTreeWidgetItem* item) {
    if (item) CtrlTreePath = FullPath(item);
}

void frmCtrlList::CtrlTreeView_DblClick() {
    if (!Connected) {
        platform::MsgBox(MsgConnectFirst, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation);
        return;
    }
    PraseCtrlList(CtrlTreePath);
}

bool frmCtrlList::eventFilter(QObject* watched, QEvent* event) {
    if (watched == tree_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            platform::RunHandler("CtrlTreeView_KeyPress", [this] { CtrlTreeView_DblClick(); });
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}
