// SPDX-License-Identifier: GPL-3.0-or-later
// The simulated instrument's link drops at every command of connect,
// read-all and write-all in turn. Each time: no crash, one message that says
// the link failed, the lamp off, the controller's store as it was, and a new
// connect once the instrument is back.
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "controller/SettingsExchange.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "shared/StringRES.h"

#include <QRegularExpression>
#include <QtTest>
#include <functional>
#include <memory>

namespace {
enum class Phase { Connect, ReadAll, WriteAll };

void runPhase(Phase phase) {
    switch (phase) {
    case Phase::Connect:
        ConnectToDevice();
        break;
    case Phase::ReadAll:
        ReadAllSettings();
        break;
    case Phase::WriteAll:
        WriteAllSettings();
        break;
    }
}

// A controller record unlike what the simulator holds, so a download that
// wrote into it would show.
void distinctStore() {
    ResetControllerState();
    CtrlData.TimeDiv = "2.000ms";
    CtrlData.Ch1VoltDiv = "5.00V";
    CtrlData.TrigHoldoff = "1.00us";
    CtrlData.RunStop = WordStop;
}

// Commands the phase sends on a link that stays up.
int commandsOf(Phase phase) {
    TestPlatform tp;
    distinctStore();
    SimulatedLink link;
    if (phase == Phase::Connect) DisconnectFromDevice();
    link.clearLog();
    runPhase(phase);
    link.sync(); // the last command has surely arrived
    return static_cast<int>(link.log().filter(QRegularExpression("^[^<]")).size()) - 1;
}
} // namespace

Q_DECLARE_METATYPE(Phase)

class TestLinkDrop : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { RegisterSettingsJobs(); }
    void dropAtEveryCommand_data();
    void dropAtEveryCommand();
};

void TestLinkDrop::dropAtEveryCommand_data() {
    QTest::addColumn<Phase>("phase");
    QTest::addColumn<int>("dropAt");
    const std::pair<Phase, const char*> phases[] = {
        {Phase::Connect, "connect"}, {Phase::ReadAll, "read-all"}, {Phase::WriteAll, "write-all"}};
    for (const auto& [phase, name] : phases) {
        const int n = commandsOf(phase);
        QVERIFY2(n > 3, name);
        for (int k = 1; k <= n; ++k)
            QTest::addRow("%s, command %d of %d", name, k, n) << phase << k;
    }
}

void TestLinkDrop::dropAtEveryCommand() {
    QFETCH(Phase, phase);
    QFETCH(int, dropAt);
    TestPlatform tp;
    distinctStore();
    QList<bool> lamps;
    SetLampView([&lamps](bool on) { lamps << on; });
    SimulatedLink link;
    QVERIFY(link.connected());
    if (phase == Phase::Connect) DisconnectFromDevice();
    const CtrlDataRecord before = CtrlData;
    const bool dirtyBefore = CtrlDirty;
    lamps.clear();
    sim::Faults drop;
    drop.dropAtCommand = dropAt;
    link.instrument().SetFaults(drop);

    runPhase(phase);
    // A drop at a command that wants no answer is found by the next command
    // (with no pacing, the phase may have sent its last commands already).
    const bool foundInPhase = !Connected;
    if (Connected) CmdQuery("*IDN?");

    QVERIFY(!Connected);
    QVERIFY(lamps.isEmpty() || !lamps.last());
    const QStringList failures = {MsgCantRead,    MsgDeviceRead, MsgDeviceSend,
                                  MsgCantConnect, MsgDeviceInit, MsgReadTimeout};
    QCOMPARE(tp.boxes.size(), 1);
    QVERIFY2(failures.contains(tp.boxes[0].prompt), qPrintable(tp.boxes[0].prompt));
    if (foundInPhase || phase == Phase::WriteAll) {
        QVERIFY(CtrlData == before);
        QCOMPARE(CtrlDirty, dirtyBefore);
    }

    // The instrument is plugged back in: a connect works again.
    QVERIFY(link.simulator().Plug());
    tp.boxes.clear();
    ConnectToDevice();
    QVERIFY(Connected);
    QVERIFY(tp.boxes.isEmpty());
    QVERIFY(!lamps.isEmpty() && lamps.last());
    SetLampView({});
}

QTEST_MAIN(TestLinkDrop)
#include "tst_linkdrop.moc"
