// The README's picture: the program's frame with a data sheet, a wave window
// fetched from the simulated instrument, and the controller tree; saved to the
// path given. Run by scripts/screenshot.sh under Xvfb.
#include "Simulator.h"
#include "app/frmMain.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "platform/Settings.h"
#include "platform/Visa.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetRecords.h"
#include "views/frmWave.h"

#include <QApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QScreen>
#include <QTemporaryDir>
#include <QTimer>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    if (argc < 2) return 2;
    QTemporaryDir dir;
    platform::SetSettingsDirectory(dir.filePath("config"));
    sim::SimulatorOptions options;
    options.usbDirectory = dir.filePath("usb").toStdString();
    sim::Simulator simulator(options);
    if (!simulator.Start()) return 1;
    simulator.instrument().Process(":MATH:DISPLAY ON");
    platform::SetSimulatedUsbDirectory(dir.filePath("usb"));
    fMainForm = new frmMain;
    fMainForm->Load();
    fMainForm->resize(1280, 800);
    fMainForm->show();
    QTimer::singleShot(300, [&] {
        ConnectToDevice();
        NewDataSheet();
        AddDocument(DocKind::Wave);
        auto* wave = qobject_cast<frmWave*>(DocForm(DocKind::Wave, 0));
        wave->Timer1_Timer();
        WaveRecord& r = WaveRecords[0];
        r.SelCh1 = r.SelCh2 = r.SelMath = r.SelLA = true;
        wave->LoadData();
        if (auto* sub = qobject_cast<QMdiSubWindow*>(wave->parentWidget())) sub->resize(820, 640);
        QTimer::singleShot(500, [&] {
            fMainForm->grab().save(QString::fromLocal8Bit(argv[1]));
            DisconnectFromDevice();
            QApplication::exit(0);
        });
    });
    return QApplication::exec();
}
