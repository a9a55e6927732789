// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The data sheet: the program's document. Its head (name, path, dirty flag,
// the five document counts), the tree that indexes its documents, and the
// operations of the tree's menu: new, open, save, add, rename, remove, sort.
// Windows are views; the records of sheet/SheetRecords.h hold the data.
#include <QString>
#include <array>
#include <functional>

class QMdiArea;
class QTreeWidget;
class QTreeWidgetItem;
class DocWindow;

enum class DocKind { Wave = 0, Measure = 1, Data = 2, Record = 3, MemoryWave = 4 };
constexpr int kDocKindCount = 5;

extern bool SheetDirty;
extern QString SheetPath;
// The file a sheet was partly read from when its reading stopped on an
// error; the sheet is then bound to no file. Empty otherwise.
extern QString SheetIncompleteFrom;
extern QString SheetName;

struct DocKindInfo {
    DocKind kind;
    int slotCount; // records in the array
    int maxDocs;   // documents a sheet may hold
    const char* baseEnglish;
    const char* baseChinese;
};
const DocKindInfo& KindInfo(DocKind kind);
int DocCount(DocKind kind);
QString NewNameBase(DocKind kind); // in the caption language

// The record's name, slot by slot (bounds checked).
QString& DocName(DocKind kind, int slot);
QTreeWidgetItem*& DocNode(DocKind kind, int slot);

// ---- the tree --------------------------------------------------------------------
// The tree widget the sheet lives in; frmDataSheetTree registers its own.
void SetSheetTree(QTreeWidget* tree);
QTreeWidget* SheetTree();
QTreeWidgetItem* HolderNode();    // the hidden-caption first node
QTreeWidgetItem* SheetRootNode(); // null when no sheet exists
bool SheetExists();
// The document behind a node: false for the holder, the root or no node.
bool FindDocument(const QTreeWidgetItem* node, DocKind* kind, int* slot);
void SetSorted(bool sorted);
bool Sorted();

// ---- windows ---------------------------------------------------------------------
// Makes the window of a kind for a slot (the kind's form registers it).
using DocWindowFactory = std::function<DocWindow*(int slot)>;
void SetDocWindowFactory(DocKind kind, DocWindowFactory factory);
DocWindow* DocForm(DocKind kind, int slot); // null when none is made
// The frame's child area; without one a window shows on its own.
void SetDocArea(QMdiArea* area);
// Shows the window (again) and brings it forward.
void ShowDocWindow(DocWindow* window);
// Brings the selected document's window forward, restoring a minimised one.
void SetActiveForm();
// A window became active: its node is selected.
void DocWindowActivated(DocWindow* window);
// Closes every document window (the records stay as they are).
void CloseAllDocuments();

// ---- operations --------------------------------------------------------------------
// The changes prompt; true when the caller may go on (Yes saved, or No).
// A Yes whose save did not happen stops like Cancel, so nothing is lost.
bool AskToSaveSheetChanges();
// New data sheet after the prompt; false when the user cancelled.
bool NewDataSheet();
// Adds a document of a kind; its slot, or -1 with the reason shown.
int AddDocument(DocKind kind);
void AddNewWaveform();
void AddNewMeasure();
void AddNewData();
void AddNewRecord();
void AddNewMemoryWave();
// Removes the document in a slot: window closed, later records moved down.
void RemoveDocument(DocKind kind, int slot);
// The selected node: removed (the root closes the sheet after the prompt).
void RemoveSelected();
// End of a label edit on the selected node; false when the edit is refused.
bool ChangeFormName(const QString& newName);
// The window caption of a document: its name, and for the file kinds the file.
QString DocCaption(DocKind kind, int slot);

// The sheet's files (sheet/SheetFile.h): Save, Save As and Open with their
// dialogs, the changes prompt and the recent list. False when nothing was saved.
bool SaveDataSheet();
bool SaveDataSheetAs();
bool SaveDataSheetAs(const QString& dialogTitle);
void OpenDataSheet(const QString& path);
void OpenDataSheetWithDialog();

// Toolbar and menus follow the sheet's presence.
using SheetPresenceView = std::function<void(bool sheetExists)>;
void SetSheetPresenceView(SheetPresenceView view);

// Back to no sheet and empty records (start-up state; tests).
void ResetDataSheet();
// The file's counts become the sheet's (the file reader).
void SetDocCounts(const std::array<int, kDocKindCount>& counts);
