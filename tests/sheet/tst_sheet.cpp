// SPDX-License-Identifier: GPL-3.0-or-later
// The data sheet: documents added up to their limits, removed with their
// records packed, renamed, the changes prompt, and the tree's menu.
#include "TestPlatform.h"

#include "shared/LoadLanguage.h"
#include "shared/StringRES.h"
#include "sheet/DataSheet.h"
#include "sheet/DocWindow.h"
#include "sheet/SheetRecords.h"
#include "sheet/frmDataSheetTree.h"

#include <QAction>
#include <QTreeWidget>
#include <QtTest>

class TestSheet : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void addWithoutASheetIsRefused();
    void newSheetAddsItsRoot();
    void limitsPerKind_data();
    void limitsPerKind();
    void namesCountFromZeroInTheLanguage();
    void removingTheMiddleOfThreePacksTheSlots();
    void removeKeepsAutoRunningWithItsRecord();
    void renameRules();
    void cancelInTheChangesPromptKeepsEveryWindow();
    void aYesWhoseSaveFailsKeepsTheSheet();
    void removingTheRootClosesTheSheet();
    void menuFollowsTheSelection();
    void nodeAndWindowSelectEachOther();
    void sortedOrdersByName();
    void dirtyRaisedAndClearedAsListed();

private:
    std::unique_ptr<TestPlatform> tp_;
    std::unique_ptr<frmDataSheetTree> pane_;
    void select(QTreeWidgetItem* node) { pane_->tree()->setCurrentItem(node); }
};

void TestSheet::init() {
    tp_ = std::make_unique<TestPlatform>();
    ApplyLanguage(kLanguageEnglish);
    pane_ = std::make_unique<frmDataSheetTree>();
    ResetDataSheet();
}

void TestSheet::cleanup() {
    ResetDataSheet();
    pane_.reset();
    tp_.reset();
}

void TestSheet::addWithoutASheetIsRefused() {
    QVERIFY(!SheetExists());
    QCOMPARE(AddDocument(DocKind::Wave), -1);
    QCOMPARE(tp_->prompts(), QStringList{MsgOpenSheetFirst});
    QCOMPARE(DocCount(DocKind::Wave), 0);
}

void TestSheet::newSheetAddsItsRoot() {
    QVERIFY(NewDataSheet());
    QVERIFY(SheetExists());
    QCOMPARE(SheetRootNode()->text(0), QString("Untitle"));
    QCOMPARE(HolderNode()->text(0), QString("Data Sheet"));
    QVERIFY(SheetRootNode()->isExpanded());
    QVERIFY(!SheetDirty);
}

void TestSheet::limitsPerKind_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("accepted");
    QTest::newRow("wave") << int(DocKind::Wave) << 16;
    QTest::newRow("measure") << int(DocKind::Measure) << 16;
    QTest::newRow("data") << int(DocKind::Data) << 16;
    QTest::newRow("record") << int(DocKind::Record) << 4;
    QTest::newRow("memory wave") << int(DocKind::MemoryWave) << 3;
}

void TestSheet::limitsPerKind() {
    QFETCH(int, kind);
    QFETCH(int, accepted);
    QVERIFY(NewDataSheet());
    const auto k = static_cast<DocKind>(kind);
    for (int i = 0; i < accepted; ++i)
        QCOMPARE(AddDocument(k), i);
    QVERIFY(tp_->boxes.isEmpty());
    QCOMPARE(AddDocument(k), -1);
    QCOMPARE(tp_->prompts(), QStringList{MsgTooManyFiles});
    QCOMPARE(DocCount(k), accepted);
    QCOMPARE(SheetRootNode()->childCount(), accepted);
}

void TestSheet::namesCountFromZeroInTheLanguage() {
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    AddDocument(DocKind::MemoryWave);
    QCOMPARE(WaveRecords[0].Name, QString("Wave0"));
    QCOMPARE(DocForm(DocKind::Wave, 0)->windowTitle(), QString("Wave0"));
    QCOMPARE(MemoryRecords[0].Name, QString("Memory Wave0"));
    ApplyLanguage(kLanguageChinese);
    AddDocument(DocKind::Record);
    QCOMPARE(RecordRecords[0].Name, QString::fromUtf8("录制文件0"));
    ApplyLanguage(kLanguageEnglish);
    // A new wave record shows best fit, colour and grid.
    QVERIFY(WaveRecords[0].BestFit && WaveRecords[0].ColorDisplay && WaveRecords[0].GridOn);
}

void TestSheet::removingTheMiddleOfThreePacksTheSlots() {
    QVERIFY(NewDataSheet());
    for (int i = 0; i < 3; ++i)
        AddDocument(DocKind::Wave);
    WaveRecords[2].TriggerMode = "marker of slot 2";
    DocWindow* third = DocForm(DocKind::Wave, 2);
    RemoveDocument(DocKind::Wave, 1);
    QCOMPARE(DocCount(DocKind::Wave), 2);
    QCOMPARE(DocForm(DocKind::Wave, 1), third);
    QCOMPARE(third->Tag(), 1);
    QCOMPARE(WaveRecords[1].TriggerMode, QString("marker of slot 2"));
    QCOMPARE(WaveRecords[1].Name, QString("Wave2")); // names keep their numbers
    QCOMPARE(WaveRecords[2].Name, QString());
    QVERIFY(DocForm(DocKind::Wave, 2) == nullptr);
    QCOMPARE(SheetRootNode()->childCount(), 2);
    // The node of the moved record still finds it.
    DocKind kind;
    int slot;
    QVERIFY(FindDocument(WaveRecords[1].TreeNode, &kind, &slot));
    QCOMPARE(slot, 1);
    // A later document repeats the name of the count.
    QCOMPARE(AddDocument(DocKind::Wave), 2);
    QCOMPARE(WaveRecords[2].Name, QString("Wave2"));
}

void TestSheet::removeKeepsAutoRunningWithItsRecord() {
    QVERIFY(NewDataSheet());
    for (int i = 0; i < 3; ++i)
        AddDocument(DocKind::Data);
    DataRecords[2].AutoRunning = true;
    RemoveDocument(DocKind::Data, 0);
    QVERIFY(DataRecords[1].AutoRunning);
    QVERIFY(!DataRecords[2].AutoRunning);
}

void TestSheet::renameRules() {
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    SheetDirty = false;
    select(HolderNode());
    QVERIFY(!ChangeFormName("other"));
    QCOMPARE(tp_->prompts(), QStringList{MsgRootNameFixed});
    QVERIFY(!SheetDirty);
    select(SheetRootNode());
    QVERIFY(ChangeFormName("Bench 3"));
    QCOMPARE(SheetName, QString("Bench 3"));
    QCOMPARE(WaveRecords[0].Name, QString("Wave0"));
    QVERIFY(SheetDirty);
    select(WaveRecords[0].TreeNode);
    QVERIFY(ChangeFormName("Clock"));
    QCOMPARE(WaveRecords[0].Name, QString("Clock"));
    QCOMPARE(DocForm(DocKind::Wave, 0)->windowTitle(), QString("Clock"));
    // A label edit in the tree goes the same way, and a refused one is undone.
    select(HolderNode());
    HolderNode()->setText(0, "typed");
    QCOMPARE(HolderNode()->text(0), QString("Data Sheet"));
}

void TestSheet::cancelInTheChangesPromptKeepsEveryWindow() {
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    AddDocument(DocKind::Measure);
    QVERIFY(SheetDirty);
    tp_->answers = {platform::MsgResult::Cancel};
    QVERIFY(!NewDataSheet());
    QCOMPARE(tp_->prompts(), QStringList{MsgSaveSheet});
    QCOMPARE(DocCount(DocKind::Wave), 1);
    QCOMPARE(DocCount(DocKind::Measure), 1);
    QVERIFY(DocForm(DocKind::Wave, 0)->isVisible());
    QVERIFY(SheetDirty);
}

void TestSheet::aYesWhoseSaveFailsKeepsTheSheet() {
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    tp_->answers = {platform::MsgResult::Yes};
    tp_->chosenPaths = {std::nullopt}; // the save dialog is cancelled
    QVERIFY(!AskToSaveSheetChanges());
    QCOMPARE(DocCount(DocKind::Wave), 1);
}

void TestSheet::removingTheRootClosesTheSheet() {
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    tp_->answers = {platform::MsgResult::No};
    select(SheetRootNode());
    RemoveSelected();
    QVERIFY(!SheetExists());
    QCOMPARE(DocCount(DocKind::Wave), 0);
    QVERIFY(DocForm(DocKind::Wave, 0) == nullptr);
}

void TestSheet::menuFollowsTheSelection() {
    SheetMenuState none = MenuStateFor(nullptr);
    QVERIFY(!none.saveVisible && !none.renameEnabled && !none.removeEnabled);
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    const SheetMenuState holder = MenuStateFor(HolderNode());
    QVERIFY(holder.saveVisible && !holder.renameEnabled);
    const SheetMenuState doc = MenuStateFor(WaveRecords[0].TreeNode);
    QVERIFY(doc.renameEnabled && doc.removeEnabled);
    QCOMPARE(doc.removeCaption, QString("&Remove(Wave0)"));
    QCOMPARE(doc.renameCaption, QString("Re&name(Wave0)"));
    select(WaveRecords[0].TreeNode);
    pane_->PrepareMenu();
    QCOMPARE(pane_->menuAction("mnuRemove")->text(), QString("&Remove(Wave0)"));
    QVERIFY(pane_->menuAction("mnuSaveDataSheet")->isVisible());
}

void TestSheet::nodeAndWindowSelectEachOther() {
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    AddDocument(DocKind::Data);
    DocForm(DocKind::Wave, 0)->hide(); // closed: only hidden
    select(WaveRecords[0].TreeNode);
    SetActiveForm();
    QVERIFY(DocForm(DocKind::Wave, 0)->isVisible());
    QCOMPARE(pane_->tree()->currentItem(), WaveRecords[0].TreeNode);
    DocWindowActivated(DocForm(DocKind::Data, 0));
    QCOMPARE(pane_->tree()->currentItem(), DataRecords[0].TreeNode);
}

void TestSheet::sortedOrdersByName() {
    QVERIFY(NewDataSheet());
    AddDocument(DocKind::Wave);
    AddDocument(DocKind::Data);
    AddDocument(DocKind::Measure);
    QCOMPARE(SheetRootNode()->child(0)->text(0), QString("Wave0"));
    SetSorted(true);
    QCOMPARE(SheetRootNode()->child(0)->text(0), QString("Data0"));
    QCOMPARE(SheetRootNode()->child(2)->text(0), QString("Wave0"));
    AddDocument(DocKind::Data);
    QCOMPARE(SheetRootNode()->child(1)->text(0), QString("Data1"));
}

void TestSheet::dirtyRaisedAndClearedAsListed() {
    QVERIFY(NewDataSheet());
    QVERIFY(!SheetDirty);
    AddDocument(DocKind::Wave);
    QVERIFY(SheetDirty);
    SheetDirty = false;
    RemoveDocument(DocKind::Wave, 0);
    QVERIFY(SheetDirty);
    tp_->answers = {platform::MsgResult::No};
    QVERIFY(NewDataSheet());
    QVERIFY(!SheetDirty);
}

QTEST_MAIN(TestSheet)
#include "tst_sheet.moc"
