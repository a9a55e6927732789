// SPDX-License-Identifier: GPL-3.0-or-later
// A vendor VISA library loaded at run time: found by the search, opened, and
// talked to through the same procedures as the built-in transports.
#include "TestPlatform.h"

#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/UsbFunc.h"
#include "platform/Visa.h"
#include "shared/SoftwareSetting.h"

#include <QTemporaryDir>
#include <QtTest>
#include <dlfcn.h>

class TestVendorVisa : public QObject {
    Q_OBJECT
private slots:
    void connectsThroughTheLibrary() {
        TestPlatform tp;
        QTemporaryDir empty; // no simulated instrument anywhere
        platform::SetSimulatedUsbDirectory(empty.path());
        platform::SetVendorVisaLibrary(FAKE_VISA_PATH);
        OpenVisaRM();
        QCOMPARE(SearchUsbResources(), QStringList{"USB0::0x1234::0x5678::FAKE01::INSTR"});
        ConnectToDevice();
        QVERIFY(Connected);
        QCOMPARE(ModelName, QString("NQ4202CD"));
        QCOMPARE(BandwidthIndex, 4);
        QCOMPARE(CtrlData.MathDisplay, QString("ON"));
        QVERIFY(tp.boxes.isEmpty());
        // The library saw the connect sequence in order, each line closed by a line feed.
        void* lib = ::dlopen(FAKE_VISA_PATH, RTLD_NOW | RTLD_NOLOAD);
        QVERIFY(lib);
        auto log = reinterpret_cast<const char* (*)()>(::dlsym(lib, "fakeVisaLog"));
        QVERIFY(log);
        QCOMPARE(
            QString(log()),
            QString(
                "<clear>:KEY:LOCK ENABLE\n:WAVeform:POINts:MODE NORmal\n*IDN?\n:MATH:DISPLAY?\n"));
        DisconnectFromDevice();
    }
};

QTEST_GUILESS_MAIN(TestVendorVisa)
#include "tst_vendorvisa.moc"
