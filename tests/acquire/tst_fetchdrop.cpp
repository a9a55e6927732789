// SPDX-License-Identifier: GPL-3.0-or-later
// A window's refresh whose link drops at any of its commands keeps what the
// window showed before: the wave picture, the table's rows and the measure
// cells, as the user sees them. A refresh whose blocks come short says so.
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "acquire/MeasureJob.h"
#include "acquire/TableJob.h"
#include "acquire/WaveJob.h"
#include "controller/CtrlData.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "measure/frmMeasure.h"
#include "platform/Status.h"
#include "shared/ValueText.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetFile.h"
#include "sheet/SheetRecords.h"
#include "views/frmData.h"
#include "views/frmWave.h"

#include <QApplication>
#include <QRegularExpression>
#include <QTableView>
#include <QTreeWidget>
#include <QtTest>

namespace {
enum class Kind { Wave, Table, Measure };

DocKind docKind(Kind kind) {
    return kind == Kind::Wave    ? DocKind::Wave
           : kind == Kind::Table ? DocKind::Data
                                 : DocKind::Measure;
}

// What the window shows: its picture's pixels, or its cells' texts.
QVariant shown(Kind kind) {
    DocWindow* form = DocForm(docKind(kind), 0);
    if (auto* w = qobject_cast<frmWave*>(form)) return w->picture();
    QStringList cells;
    if (auto* d = qobject_cast<frmData*>(form)) {
        const QAbstractItemModel* m = d->view()->model();
        for (int r = 0; r < m->rowCount(); ++r)
            for (int c = 0; c < m->columnCount(); ++c)
                cells << m->index(r, c).data().toString();
    } else if (auto* m = qobject_cast<frmMeasure*>(form)) {
        for (int r = 0; r < m->view()->topLevelItemCount(); ++r)
            for (int c = 0; c < m->view()->columnCount(); ++c)
                cells << m->view()->topLevelItem(r)->text(c);
    }
    return cells;
}

void refresh(Kind kind) {
    DocWindow* form = DocForm(docKind(kind), 0);
    if (auto* w = qobject_cast<frmWave*>(form)) w->LoadData();
    if (auto* d = qobject_cast<frmData*>(form)) d->LoadData();
    if (auto* m = qobject_cast<frmMeasure*>(form)) m->LoadMeasure();
}

// A sheet with one window of the kind, filled by one good refresh.
void openFilledWindow(Kind kind) {
    ResetDataSheet();
    CtrlData.Ch1Display = CtrlData.Ch2Display = CtrlData.LaDisplay = WordOn;
    QVERIFY(NewDataSheet());
    QCOMPARE(AddDocument(docKind(kind)), 0);
    DocWindow* form = DocForm(docKind(kind), 0);
    if (auto* w = qobject_cast<frmWave*>(form)) {
        w->Timer1_Timer();
        WaveRecords[0].SelCh1 = WaveRecords[0].SelCh2 = WaveRecords[0].SelLA = true;
    }
    if (auto* d = qobject_cast<frmData*>(form)) d->Timer1_Timer();
    if (auto* m = qobject_cast<frmMeasure*>(form)) m->Timer1_Timer();
    refresh(kind);
}

int commandsOfRefresh(Kind kind) {
    TestPlatform tp;
    SimulatedLink link;
    openFilledWindow(kind);
    link.clearLog();
    refresh(kind);
    link.sync();
    return static_cast<int>(link.log().filter(QRegularExpression("^[^<]")).size());
}
} // namespace

Q_DECLARE_METATYPE(Kind)

class TestFetchDrop : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init() { ResetControllerState(); }
    void dropKeepsWhatTheWindowShows_data();
    void dropKeepsWhatTheWindowShows();
    void shortBlocksAreSaid();
};

void TestFetchDrop::initTestCase() {
    RegisterWaveJob();
    RegisterTableJobs();
    RegisterMeasureJobs();
    RegisterWaveWindow();
    RegisterDataWindow();
    RegisterMeasureWindow();
}

void TestFetchDrop::dropKeepsWhatTheWindowShows_data() {
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<int>("dropAt");
    const std::pair<Kind, const char*> kinds[] = {
        {Kind::Wave, "wave"}, {Kind::Table, "table"}, {Kind::Measure, "measure"}};
    for (const auto& [kind, name] : kinds) {
        const int n = commandsOfRefresh(kind);
        QVERIFY2(n > 5, name);
        for (int k = 1; k <= n; ++k)
            QTest::addRow("%s, command %d of %d", name, k, n) << kind << k;
    }
}

void TestFetchDrop::dropKeepsWhatTheWindowShows() {
    platform::ShowStatus(QString());
    QFETCH(Kind, kind);
    QFETCH(int, dropAt);
    TestPlatform tp;
    SimulatedLink link;
    QVERIFY(link.connected());
    openFilledWindow(kind);
    const QVariant before = shown(kind);
    QVERIFY(before.isValid());
    const QByteArray savedBefore = SheetBytes(); // the records, as a save would write them
    tp.boxes.clear();
    sim::Faults drop;
    drop.dropAtCommand = dropAt;
    link.instrument().SetFaults(drop);

    refresh(kind);
    if (Connected) return; // the drop fell on the job's last, unanswered command

    QCOMPARE(tp.boxes.size(), 1); // the link's one message
    QCOMPARE(shown(kind), before);
    // The record behind it is the one fetched before, whole: a redraw or a
    // save shows no half-fetched screen.
    QVERIFY(SheetBytes() == savedBefore);
    if (auto* w = qobject_cast<frmWave*>(DocForm(DocKind::Wave, 0))) {
        w->resize(w->size() + QSize(40, 30)); // a new size: drawn again from the record
        QApplication::processEvents();
        w->resize(w->size() - QSize(40, 30));
        QApplication::processEvents();
        QCOMPARE(shown(kind), before);
    }
    ResetDataSheet();
}

void TestFetchDrop::shortBlocksAreSaid() {
    TestPlatform tp;
    SimulatedLink link;
    platform::ShowStatus(QString());
    openFilledWindow(Kind::Wave);
    QVERIFY2(platform::LastStatus().isEmpty(), qPrintable(platform::LastStatus())); // whole blocks
    sim::Faults truncate;
    truncate.truncateBlocks = true;
    link.instrument().SetFaults(truncate);
    refresh(Kind::Wave);
    QVERIFY(Connected);
    QVERIFY2(platform::LastStatus().contains(QRegularExpression("only \\d+ of 600 samples")),
             qPrintable(platform::LastStatus()));
    ResetDataSheet();
}

QTEST_MAIN(TestFetchDrop)
#include "tst_fetchdrop.moc"
