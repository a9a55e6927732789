// SPDX-License-Identifier: GPL-3.0-or-later
// The persisted settings record and the recent-file lists, through the real store.
#include "TestPlatform.h"

#include "link/LinkState.h"
#include "platform/Settings.h"
#include "shared/AppIdentity.h"
#include "shared/ComPorts.h"
#include "shared/FileFunc.h"
#include "shared/SoftwareSetting.h"

#include <QFile>
#include <QtTest>

using platform::GetSetting;
using platform::SaveSetting;

class TestSettings : public QObject {
    Q_OBJECT
private slots:
    void init() { SoftwareSetting = SoftwareSettingRecord(); }
    void emptyStoreGivesTheDefaults();
    void fileShowsSectionsAndKeysAsNamed();
    void everyFieldRoundTrips();
    void rs232DoesNotSurviveARestart();
    void unreadableValuesFallBackWithoutStopping();
    void framePlaceIsNotWrittenWhileMinimised();
    void twipsFollowTheScreenDpi();
    void recentListRotation_data();
    void recentListRotation();
    void recentMenuHiddenWhenEmpty();
    void comPortMapOverridesAndSurvives();
};

void TestSettings::emptyStoreGivesTheDefaults() {
    TestPlatform tp;
    const FramePlaceTwips place = ReadSoftwareSetting();
    const SoftwareSettingRecord& s = SoftwareSetting;
    QCOMPARE(s.StartupCheckHardware, false);
    QCOMPARE(s.StartupLoadSheet, false);
    QCOMPARE(s.StartupLoadCtrl, false);
    QCOMPARE(s.ScopeIOType, 0);
    QCOMPARE(s.COM_Port, 1);
    QCOMPARE(s.BaudRate, QString("9600"));
    QCOMPARE(s.GPIB_Addr, 7);
    QCOMPARE(s.RefreshType, QString("Single"));
    QCOMPARE(s.RefreshInterval, 1000);
    QCOMPARE(place.left, 1000.0);
    QCOMPARE(place.top, 1000.0);
    QCOMPARE(place.width, 6500.0);
    QCOMPARE(place.height, 6500.0);
}

void TestSettings::everyFieldRoundTrips() {
    TestPlatform tp;
    SoftwareSettingRecord& s = SoftwareSetting;
    s.StartupCheckHardware = true;
    s.StartupLoadSheet = true;
    s.StartupLoadCtrl = true;
    s.COM_Port = 5;
    s.BaudRate = "38400";
    s.GPIB_Addr = 30;
    s.RefreshType = "Auto";
    s.RefreshInterval = 5000;
    const FramePlaceTwips written{120.5, 240, 9000, 7000.25};
    WriteSoftwareSetting(&written);
    // The exact keys and texts of the store.
    QCOMPARE(GetSetting(kAppTitle, "General_NQ4000L", "StartupCheckHardware"), QString("True"));
    QCOMPARE(GetSetting(kAppTitle, "Refresh_NQ4000L", "Refresh Type"), QString("Auto"));
    QCOMPARE(GetSetting(kAppTitle, "Refresh_NQ4000L", "Refresh Interval"), QString("5000"));
    QCOMPARE(GetSetting(kAppTitle, "Settings_NQ4000L", "MainLeft"), QString("120.5"));

    SoftwareSetting = SoftwareSettingRecord();
    platform::SetSettingsDirectory(tp.settingsDir() + "/config"); // a fresh read from disk
    const FramePlaceTwips read = ReadSoftwareSetting();
    QCOMPARE(s.StartupCheckHardware, true);
    QCOMPARE(s.StartupLoadSheet, true);
    QCOMPARE(s.StartupLoadCtrl, true);
    QCOMPARE(s.COM_Port, 5);
    QCOMPARE(s.BaudRate, QString("38400"));
    QCOMPARE(s.GPIB_Addr, 30);
    QCOMPARE(s.RefreshType, QString("Auto"));
    QCOMPARE(s.RefreshInterval, 5000);
    QCOMPARE(read.left, 120.5);
    QCOMPARE(read.top, 240.0);
    QCOMPARE(read.width, 9000.0);
    QCOMPARE(read.height, 7000.25);
}

void TestSettings::rs232DoesNotSurviveARestart() {
    TestPlatform tp;
    SaveSetting(kAppTitle, "IO Settings_NQ4000L", "ScopeIOType", "2");
    ReadSoftwareSetting();
    QCOMPARE(SoftwareSetting.ScopeIOType, 0);
    WriteSoftwareSetting(nullptr); // the end of a run in which RS232 was not chosen again
    QCOMPARE(GetSetting(kAppTitle, "IO Settings_NQ4000L", "ScopeIOType"), QString("0"));
}

void TestSettings::unreadableValuesFallBackWithoutStopping() {
    TestPlatform tp;
    SaveSetting(kAppTitle, "IO Settings_NQ4000L", "COM_Port", "three");
    SaveSetting(kAppTitle, "Refresh_NQ4000L", "Refresh Interval", "");
    SaveSetting(kAppTitle, "Settings_NQ4000L", "MainWidth", "wide");
    SaveSetting(kAppTitle, "General_NQ4000L", "StartupLoadSheet", "maybe");
    const FramePlaceTwips place = ReadSoftwareSetting();
    QCOMPARE(SoftwareSetting.COM_Port, 1);
    QCOMPARE(SoftwareSetting.RefreshInterval, 1000);
    QCOMPARE(SoftwareSetting.StartupLoadSheet, false);
    QCOMPARE(place.width, 6500.0);
}

void TestSettings::framePlaceIsNotWrittenWhileMinimised() {
    TestPlatform tp;
    const FramePlaceTwips first{1, 2, 3000, 4000};
    WriteSoftwareSetting(&first);
    WriteSoftwareSetting(nullptr); // minimised at the end
    QCOMPARE(GetSetting(kAppTitle, "Settings_NQ4000L", "MainWidth"), QString("3000"));
    QCOMPARE(GetSetting(kAppTitle, "Settings_NQ4000L", "MainHeight"), QString("4000"));
}

void TestSettings::twipsFollowTheScreenDpi() {
    QCOMPARE(PixelsToTwips(96, 96), 1440.0);
    QCOMPARE(PixelsToTwips(100, 120), 1200.0);
    QCOMPARE(TwipsToPixels(6500, 96), 6500 / 15.0);
    QCOMPARE(TwipsToPixels(PixelsToTwips(333, 144), 144), 333.0);
}

void TestSettings::recentListRotation_data() {
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QString>("added");
    QTest::addColumn<QStringList>("after");
    QTest::newRow("into empty") << QStringList{} << "/a" << QStringList{"/a"};
    QTest::newRow("new on top") << QStringList{"/a", "/b"} << "/c" << QStringList{"/c", "/a", "/b"};
    QTest::newRow("fourth falls off")
        << QStringList{"/a", "/b", "/c", "/d"} << "/e" << QStringList{"/e", "/a", "/b", "/c"};
    QTest::newRow("known moves up, others behind stay")
        << QStringList{"/a", "/b", "/c", "/d"} << "/c" << QStringList{"/c", "/a", "/b", "/d"};
    QTest::newRow("top stays top") << QStringList{"/a", "/b"} << "/a" << QStringList{"/a", "/b"};
    QTest::newRow("last moves up")
        << QStringList{"/a", "/b", "/c", "/d"} << "/d" << QStringList{"/d", "/a", "/b", "/c"};
}

void TestSettings::recentListRotation() {
    QFETCH(QStringList, before);
    QFETCH(QString, added);
    QFETCH(QStringList, after);
    TestPlatform tp;
    for (int i = 0; i < before.size(); ++i)
        SaveSetting(kAppTitle, kRecentCtrlSection, "RecentFile" + QString::number(i + 1),
                    before[i]);
    QStringList shown;
    SetRecentCtrlMenuView([&shown](const QStringList& e) { shown = e; });
    AddRecentCtrl(added);
    SetRecentCtrlMenuView({});
    QCOMPARE(RecentEntries(kRecentCtrlSection), after);
    QCOMPARE(shown, after); // the menu was rebuilt from the store at once
    QCOMPARE(RecentEntries(kRecentSheetSection), QStringList{}); // the other list is untouched
}

void TestSettings::recentMenuHiddenWhenEmpty() {
    TestPlatform tp;
    QStringList shown{"stale"};
    SetRecentSheetMenuView([&shown](const QStringList& e) { shown = e; });
    LoadRecentSheetMenu();
    QVERIFY(shown.isEmpty());
    // A list whose first entry is empty counts as empty, whatever stands behind it.
    SaveSetting(kAppTitle, kRecentSheetSection, "RecentFile2", "/x.ult");
    LoadRecentSheetMenu();
    QVERIFY(shown.isEmpty());
    // The shift copies and never clears, so the lone second entry now stands twice.
    AddRecentSheet("/y.ult");
    QCOMPARE(shown, (QStringList{"/y.ult", "/x.ult", "/x.ult"}));
    SetRecentSheetMenuView({});
}

void TestSettings::comPortMapOverridesAndSurvives() {
    TestPlatform tp;
    SetComPortOverride(3, "/dev/pts/7");
    QCOMPARE(ComPortDevice(3), QString("/dev/pts/7"));
    QCOMPARE(ComPortDevice(0), QString());
    QCOMPARE(ComPortDevice(17), QString());
    SaveComPortMap();
    SetComPortOverride(3, QString());
    LoadComPortMap();
    QCOMPARE(ComPortOverride(3), QString("/dev/pts/7"));
    // Without an override a port maps to the system's ports in order.
    SetComPortOverride(3, QString());
    const QStringList system = SystemSerialDevices();
    QCOMPARE(ComPortDevice(1), system.value(0));
}

void TestSettings::fileShowsSectionsAndKeysAsNamed() {
    TestPlatform tp;
    platform::SaveSetting(kAppTitle, "IO Settings_NQ4000L", "BaudRate", "9600");
    platform::SaveSetting(kAppTitle, "Refresh_NQ4000L", "Refresh Interval", "2000");
    QFile f(platform::SettingsFilePath(kAppTitle));
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QByteArray text = f.readAll();
    QVERIFY(text.contains("[IO Settings_NQ4000L]\nBaudRate=9600\n"));
    QVERIFY(text.contains("Refresh Interval=2000"));
    QVERIFY(!text.contains('%'));
    // A file of an earlier version, percent-encoded, still reads.
    f.close();
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("[Refresh_NQ4000L]\nRefresh%20Interval=5000\n");
    f.close();
    platform::SetSettingsDirectory(tp.settingsDir() + "/config");
    QCOMPARE(platform::GetSetting(kAppTitle, "Refresh_NQ4000L", "Refresh Interval"),
             QString("5000"));
}

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
