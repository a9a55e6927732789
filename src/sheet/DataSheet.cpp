// SPDX-License-Identifier: GPL-3.0-or-later
#include "sheet/DataSheet.h"

#include "platform/Faults.h"
#include "platform/FileDialog.h"
#include "platform/MsgBox.h"
#include "platform/Status.h"
#include "shared/AppIdentity.h"
#include "shared/FileFunc.h"
#include "shared/Icons.h"
#include "shared/LoadLanguage.h"
#include "shared/StringRES.h"
#include "sheet/DocWindow.h"
#include "sheet/SheetFile.h"
#include "sheet/SheetRecords.h"

#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>
#include <QTreeWidget>
#include <array>

bool SheetDirty = false;
QString SheetPath;
QString SheetIncompleteFrom;
QString SheetName;

namespace {

const DocKindInfo kKinds[kDocKindCount] = {
    {DocKind::Wave, 18, 16, "Wave", "波形"},
    {DocKind::Measure, 18, 16, "Measure", "测量"},
    {DocKind::Data, 18, 16, "Data", "数据"},
    {DocKind::Record, 5, 4, "Record", "录制文件"},
    {DocKind::MemoryWave, 4, 3, "Memory Wave", "波形文件"},
};

int index(DocKind kind) {
    return static_cast<int>(kind);
}

std::array<int, kDocKindCount> g_counts{};
std::array<std::array<QPointer<DocWindow>, 18>, kDocKindCount> g_forms;
std::array<DocWindowFactory, kDocKindCount> g_factories;
QPointer<QTreeWidget> g_tree;
QTreeWidget* g_ownTree = nullptr; // when no pane registered one (tests, a headless use)
QPointer<QMdiArea> g_area;
bool g_sorted = false;
SheetPresenceView g_presenceView;

void checkSlot(DocKind kind, int slot) {
    if (slot < 0 || slot >= KindInfo(kind).slotCount)
        platform::ThrowBounds("document slot", slot, 0, KindInfo(kind).slotCount - 1);
}

QPointer<DocWindow>& formSlot(DocKind kind, int slot) {
    checkSlot(kind, slot);
    return g_forms[static_cast<std::size_t>(index(kind))][static_cast<std::size_t>(slot)];
}

// Moves the records behind a removed slot down by one and clears the last.
template <typename Array> void packDown(Array& records, int slot, int count) {
    for (int i = slot; i < count - 1; ++i)
        records[i] = std::move(records[i + 1]);
    if (count > 0) records[count - 1] = {};
}

void packRecords(DocKind kind, int slot, int count) {
    switch (kind) {
    case DocKind::Wave:
        packDown(WaveRecords, slot, count);
        break;
    case DocKind::Measure:
        packDown(MeasureRecords, slot, count);
        break;
    case DocKind::Data:
        packDown(DataRecords, slot, count);
        break;
    case DocKind::Record:
        packDown(RecordRecords, slot, count);
        break;
    case DocKind::MemoryWave:
        packDown(MemoryRecords, slot, count);
        break;
    }
}

void clearRecord(DocKind kind, int slot) {
    switch (kind) {
    case DocKind::Wave:
        WaveRecords[slot] = {};
        break;
    case DocKind::Measure:
        MeasureRecords[slot] = {};
        break;
    case DocKind::Data:
        DataRecords[slot] = {};
        break;
    case DocKind::Record:
        RecordRecords[slot] = {};
        break;
    case DocKind::MemoryWave:
        MemoryRecords[slot] = {};
        break;
    }
}

void clearAllRecords() {
    for (const DocKindInfo& info : kKinds)
        for (int slot = 0; slot < info.slotCount; ++slot)
            clearRecord(info.kind, slot);
    g_counts.fill(0);
}

void updatePresence() {
    if (g_presenceView) g_presenceView(SheetExists());
}

// The window goes for good: stopped, taken out of the child area, deleted.
void destroyForm(QPointer<DocWindow>& form) {
    if (!form) return;
    DocWindow* w = form.data();
    form = nullptr;
    platform::RunHandler("Form_Unload", [w] { w->Unload(); });
    if (auto* sub = qobject_cast<QMdiSubWindow*>(w->parentWidget())) {
        sub->setWidget(nullptr);
        delete sub;
    }
    delete w;
}

void addSheetRoot() {
    QTreeWidgetItem* holder = HolderNode();
    auto* root = new QTreeWidgetItem(holder, QStringList(SheetName));
    root->setFlags(root->flags() | Qt::ItemIsEditable);
    holder->setExpanded(true);
    root->setExpanded(true);
}

void removeSheetRoot() {
    if (QTreeWidgetItem* root = SheetRootNode()) delete root;
}

QTreeWidgetItem* addDocNode(DocKind kind, const QString& name) {
    QTreeWidgetItem* root = SheetRootNode();
    auto* node = new QTreeWidgetItem(root, QStringList(name));
    node->setIcon(0, DocKindIcon(index(kind)));
    node->setFlags(node->flags() | Qt::ItemIsEditable);
    if (g_sorted) root->sortChildren(0, Qt::AscendingOrder);
    root->setExpanded(true);
    return node;
}

// Closes the sheet: windows, records, root, counts.
void closeSheet() {
    CloseAllDocuments();
    for (const DocKindInfo& info : kKinds)
        for (int slot = 0; slot < info.slotCount; ++slot)
            destroyForm(formSlot(info.kind, slot));
    clearAllRecords();
    removeSheetRoot();
}

} // namespace

const DocKindInfo& KindInfo(DocKind kind) {
    return kKinds[index(kind)];
}

int DocCount(DocKind kind) {
    return g_counts[static_cast<std::size_t>(index(kind))];
}

QString NewNameBase(DocKind kind) {
    const DocKindInfo& info = KindInfo(kind);
    return CaptionLanguage() == kLanguageChinese ? QString::fromUtf8(info.baseChinese)
                                                 : QString::fromUtf8(info.baseEnglish);
}

QString& DocName(DocKind kind, int slot) {
    switch (kind) {
    case DocKind::Wave:
        return WaveRecords[slot].Name;
    case DocKind::Measure:
        return MeasureRecords[slot].Name;
    case DocKind::Data:
        return DataRecords[slot].Name;
    case DocKind::Record:
        return RecordRecords[slot].Name;
    case DocKind::MemoryWave:
        break;
    }
    return MemoryRecords[slot].Name;
}

QTreeWidgetItem*& DocNode(DocKind kind, int slot) {
    switch (kind) {
    case DocKind::Wave:
        return WaveRecords[slot].TreeNode;
    case DocKind::Measure:
        return MeasureRecords[slot].TreeNode;
    case DocKind::Data:
        return DataRecords[slot].TreeNode;
    case DocKind::Record:
        return RecordRecords[slot].TreeNode;
    case DocKind::MemoryWave:
        break;
    }
    return MemoryRecords[slot].TreeNode;
}

// ---- the tree ------------------------------------------------------------------------

void SetSheetTree(QTreeWidget* tree) {
    g_tree = tree;
    if (tree && tree->topLevelItemCount() == 0)
        tree->addTopLevelItem(new QTreeWidgetItem(QStringList(TreeLabel("Data Sheet"))));
}

QTreeWidget* SheetTree() {
    if (!g_tree) {
        if (!g_ownTree) g_ownTree = new QTreeWidget;
        SetSheetTree(g_ownTree);
    }
    return g_tree;
}

QTreeWidgetItem* HolderNode() {
    return SheetTree()->topLevelItem(0);
}

QTreeWidgetItem* SheetRootNode() {
    QTreeWidgetItem* holder = HolderNode();
    return holder && holder->childCount() > 0 ? holder->child(0) : nullptr;
}

bool SheetExists() {
    return SheetRootNode() != nullptr;
}

bool FindDocument(const QTreeWidgetItem* node, DocKind* kind, int* slot) {
    if (!node) return false;
    // The order of the search: Data, Wave, Measure, Record, Memory Wave.
    for (DocKind k :
         {DocKind::Data, DocKind::Wave, DocKind::Measure, DocKind::Record, DocKind::MemoryWave}) {
        for (int s = 0; s < DocCount(k); ++s) {
            if (DocNode(k, s) == node) {
                *kind = k;
                *slot = s;
                return true;
            }
        }
    }
    return false;
}

void SetSorted(bool sorted) {
    g_sorted = sorted;
    if (sorted && SheetRootNode()) SheetRootNode()->sortChildren(0, Qt::AscendingOrder);
}

bool Sorted() {
    return g_sorted;
}

// ---- windows ---------------------------------------------------------------------------

void SetDocWindowFactory(DocKind kind, DocWindowFactory factory) {
    g_factories[static_cast<std::size_t>(index(kind))] = std::move(factory);
}

DocWindow* DocForm(DocKind kind, int slot) {
    return formSlot(kind, slot).data();
}

void SetDocArea(QMdiArea* area) {
    g_area = area;
}

void ShowDocWindow(DocWindow* window) {
    if (!window) return;
    if (g_area) {
        auto* sub = qobject_cast<QMdiSubWindow*>(window->parentWidget());
        if (!sub) {
            sub = g_area->addSubWindow(window);
            // Closing a document window only hides it: the sheet owns it.
            sub->setAttribute(Qt::WA_DeleteOnClose, false);
        }
        window->show();
        if (sub->isMinimized()) sub->showNormal();
        sub->show();
        g_area->setActiveSubWindow(sub);
    } else {
        if (window->isMinimized()) window->showNormal();
        window->show();
        window->raise();
        window->activateWindow();
    }
}

void SetActiveForm() {
    DocKind kind;
    int slot;
    QTreeWidgetItem* node = SheetTree()->currentItem();
    if (!FindDocument(node, &kind, &slot)) return;
    if (DocWindow* form = DocForm(kind, slot)) ShowDocWindow(form);
    SheetTree()->setCurrentItem(node); // the selection stays on the tree
}

void DocWindowActivated(DocWindow* window) {
    if (!window) return;
    const int slot = window->Tag();
    if (slot < 0 || slot >= DocCount(window->kind())) return;
    if (QTreeWidgetItem* node = DocNode(window->kind(), slot)) SheetTree()->setCurrentItem(node);
}

void CloseAllDocuments() {
    for (const DocKindInfo& info : kKinds)
        for (int slot = 0; slot < info.slotCount; ++slot)
            if (DocWindow* form = formSlot(info.kind, slot).data()) {
                platform::RunHandler("Form_Unload", [form] { form->Unload(); });
                if (auto* sub = qobject_cast<QMdiSubWindow*>(form->parentWidget())) sub->hide();
                form->hide();
            }
}

// ---- operations --------------------------------------------------------------------------

bool AskToSaveSheetChanges() {
    if (!SheetDirty) return true;
    const QString prompt = SheetPath.isEmpty() ? MsgSaveSheet : MsgSaveSheet + SheetPath;
    const platform::MsgResult answer = platform::MsgBox(prompt, platform::MsgButtons::YesNoCancel,
                                                        platform::MsgIcon::Question, kAppTitle);
    if (answer == platform::MsgResult::Cancel) return false;
    if (answer == platform::MsgResult::Yes) return SaveDataSheet();
    return true;
}

bool NewDataSheet() {
    if (!AskToSaveSheetChanges()) return false;
    closeSheet();
    SheetName = TreeLabel("Untitle");
    SheetPath.clear();
    SheetIncompleteFrom.clear();
    addSheetRoot();
    SheetDirty = false;
    updatePresence();
    return true;
}

int AddDocument(DocKind kind) {
    using platform::MsgBox;
    if (!SheetExists()) {
        MsgBox(MsgOpenSheetFirst, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation);
        return -1;
    }
    const int count = DocCount(kind);
    if (count + 1 > KindInfo(kind).maxDocs) {
        MsgBox(MsgTooManyFiles, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation);
        return -1;
    }
    int slot = -1;
    const bool ok = platform::RunHandler("AddDocument", [&] {
        SheetDirty = true;
        clearRecord(kind, count); // a new wave record: best fit, colour and grid on
        DocName(kind, count) = NewNameBase(kind) + QString::number(count);
        QPointer<DocWindow>& form = formSlot(kind, count);
        if (!form) {
            const DocWindowFactory& make = g_factories[static_cast<std::size_t>(index(kind))];
            form = make ? make(count) : new EmptyDocWindow(kind, count);
        }
        form->SetTag(count);
        form->setWindowTitle(DocName(kind, count));
        DocNode(kind, count) = addDocNode(kind, DocName(kind, count));
        g_counts[static_cast<std::size_t>(index(kind))] = count + 1;
        ShowDocWindow(form);
        form->ShowRecord();
        slot = count;
    });
    if (!ok) MsgBox(QStringLiteral("Add failed"), platform::MsgButtons::Ok);
    return slot;
}

void AddNewWaveform() {
    AddDocument(DocKind::Wave);
}
void AddNewMeasure() {
    AddDocument(DocKind::Measure);
}
void AddNewData() {
    AddDocument(DocKind::Data);
}
void AddNewRecord() {
    AddDocument(DocKind::Record);
}
void AddNewMemoryWave() {
    AddDocument(DocKind::MemoryWave);
}

void RemoveDocument(DocKind kind, int slot) {
    const int count = DocCount(kind);
    if (slot < 0 || slot >= count) platform::ThrowBounds("document slot", slot, 0, count - 1);
    delete DocNode(kind, slot);
    DocNode(kind, slot) = nullptr;
    destroyForm(formSlot(kind, slot));
    packRecords(kind, slot, count);
    for (int i = slot; i < count - 1; ++i) {
        QPointer<DocWindow>& to = formSlot(kind, i);
        to = formSlot(kind, i + 1);
        if (to) to->SetTag(i);
    }
    formSlot(kind, count - 1) = nullptr;
    g_counts[static_cast<std::size_t>(index(kind))] = count - 1;
    SheetDirty = true;
    updatePresence();
}

void RemoveSelected() {
    QTreeWidgetItem* node = SheetTree()->currentItem();
    if (!node) return;
    if (node == SheetRootNode()) {
        if (!AskToSaveSheetChanges()) return;
        closeSheet();
        SheetPath.clear();
        SheetDirty = false;
        updatePresence();
        return;
    }
    DocKind kind;
    int slot;
    if (FindDocument(node, &kind, &slot)) RemoveDocument(kind, slot);
}

bool ChangeFormName(const QString& newName) {
    QTreeWidgetItem* node = SheetTree()->currentItem();
    if (!node) return false;
    if (node == SheetRootNode()) {
        SheetName = newName;
        SheetDirty = true;
        return true;
    }
    if (node == HolderNode()) {
        platform::MsgBox(MsgRootNameFixed);
        return false;
    }
    DocKind kind;
    int slot;
    if (!FindDocument(node, &kind, &slot)) return false;
    DocName(kind, slot) = newName;
    if (DocWindow* form = DocForm(kind, slot)) {
        form->setWindowTitle(DocCaption(kind, slot));
        form->SetTag(slot);
    }
    SheetDirty = true;
    return true;
}

QString DocCaption(DocKind kind, int slot) {
    if (kind == DocKind::Record && RecordRecords[slot].Loaded)
        return RecordRecords[slot].Name + "  (" + RecordRecords[slot].FilePath + ")";
    if (kind == DocKind::MemoryWave && MemoryRecords[slot].Loaded)
        return MemoryRecords[slot].Name + "  (" + MemoryRecords[slot].FilePath + ")";
    return DocName(kind, slot);
}

void SetSheetPresenceView(SheetPresenceView view) {
    g_presenceView = std::move(view);
    updatePresence();
}

void ResetDataSheet() {
    closeSheet();
    SheetName.clear();
    SheetPath.clear();
    SheetIncompleteFrom.clear();
    SheetDirty = false;
    g_sorted = false;
    updatePresence();
}

void SetDocCounts(const std::array<int, kDocKindCount>& counts) {
    g_counts = counts;
}

// ---- the sheet's file --------------------------------------------------------------------

namespace {

bool chinese() {
    return CaptionLanguage() == kLanguageChinese;
}

std::optional<QString> sheetDialog(bool save, const QString& title) {
    platform::FileDialogRequest request;
    request.save = save;
    request.title = title;
    request.filter =
        (chinese() ? QString::fromUtf8("数据浏览器文件 ") : QStringLiteral("Data Sheet Files ")) +
        "(*.ult)|*.ult";
    request.fileMustExist = !save;
    request.overwritePrompt = save;
    return platform::ShowFileDialog(request);
}

bool saveTo(const QString& path) {
    if (!SaveSheet(path)) return false; // the old file stays, the sheet stays dirty
    platform::ShowStatus(SavedToText(path));
    SheetPath = path;
    SheetIncompleteFrom.clear();
    SheetDirty = false;
    AddRecentSheet(path);
    return true;
}

} // namespace

bool SaveDataSheet() {
    if (!SheetExists()) return false;
    if (!SheetPath.isEmpty()) return saveTo(SheetPath);
    return SaveDataSheetAs(chinese() ? QString::fromUtf8("保存") : QStringLiteral("Save"));
}

bool SaveDataSheetAs() {
    return SaveDataSheetAs(chinese() ? QString::fromUtf8("另存为") : QStringLiteral("Save As"));
}

bool SaveDataSheetAs(const QString& title) {
    if (!SheetExists()) return false;
    const std::optional<QString> path = sheetDialog(true, title);
    if (!path || path->isEmpty()) return false;
    return saveTo(*path);
}

void RestoreWindows() {
    addSheetRoot();
    for (const DocKindInfo& info : kKinds) {
        for (int slot = 0; slot < DocCount(info.kind); ++slot) {
            QPointer<DocWindow>& form = formSlot(info.kind, slot);
            if (!form) {
                const DocWindowFactory& make =
                    g_factories[static_cast<std::size_t>(index(info.kind))];
                form = make ? make(slot) : new EmptyDocWindow(info.kind, slot);
            }
            form->SetTag(slot);
            DocNode(info.kind, slot) = addDocNode(info.kind, DocName(info.kind, slot));
            if (info.kind == DocKind::Wave) {
                WaveRecords[slot].NeedsInit = true;
                WaveRecords[slot].AutoRunning = false;
            } else if (info.kind == DocKind::Measure) {
                MeasureRecords[slot].AutoRunning = false;
            } else if (info.kind == DocKind::Data) {
                DataRecords[slot].AutoRunning = false;
            } else if (info.kind == DocKind::Record) {
                RecordRecords[slot].Status = 1; // a replay comes back paused
            }
            form->setWindowTitle(DocCaption(info.kind, slot));
            ShowDocWindow(form);
            form->ShowRecord();
        }
    }
    HolderNode()->setExpanded(true);
    updatePresence();
}

void OpenDataSheet(const QString& path) {
    if (!AskToSaveSheetChanges()) return;
    closeSheet();
    SheetIncompleteFrom.clear();
    SheetPath = path;
    SheetName.clear();
    const SheetRead result = ReadSheet(path);
    if (result == SheetRead::BadSignature) {
        clearAllRecords(); // a refused file leaves the sheet empty
        SheetPath.clear();
        updatePresence();
        return;
    }
    if (result == SheetRead::Ok) AddRecentSheet(path);
    if (result == SheetRead::Stopped) {
        // What was read is shown, but it is not the file: Save must never
        // overwrite the whole file with the part, so it asks for a name.
        SheetPath.clear();
        SheetIncompleteFrom = path;
    }
    RestoreWindows();
    SheetDirty = false;
}

void OpenDataSheetWithDialog() {
    if (!AskToSaveSheetChanges()) return;
    const std::optional<QString> path =
        sheetDialog(false, chinese() ? QString::fromUtf8("打开") : QStringLiteral("Open"));
    if (!path || path->isEmpty()) return;
    SheetDirty = false; // asked already
    OpenDataSheet(*path);
}
