// The data window's two costs: one table job against the simulated
// instrument with the link's real pacing, over the pauses it must make, and
// filling the table view with 1200 rows.
#include "Simulator.h"
#include "acquire/Jobs.h"
#include "acquire/TableJob.h"
#include "controller/CtrlData.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/UsbFunc.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/Visa.h"
#include "shared/LoadLanguage.h"
#include "sheet/SheetRecords.h"
#include "views/frmData.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTableView>
#include <QTemporaryDir>
#include <cstdio>

namespace {
long long g_paused = 0;
void addPause(int ms) {
    g_paused += ms;
}
} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QTemporaryDir dir;
    sim::SimulatorOptions options;
    options.usbDirectory = dir.path().toStdString();
    sim::Simulator simulator(options);
    if (!simulator.Start()) return 1;
    platform::SetSimulatedUsbDirectory(dir.path());
    platform::SetMsgBoxHook([](const platform::MsgBoxRequest& r) {
        std::fprintf(stderr, "message: %s\n", qPrintable(r.prompt));
        return platform::MsgResult::Ok;
    });
    ApplyLanguage(kLanguageEnglish);
    CtrlData = CtrlDataDefaults();
    RegisterTableJobs();
    OpenVisaRM();
    ConnectToDevice();
    if (!Connected) return 1;
    platform::SetSleepObserver(addPause);
    g_paused = 100; // the job window starts its job 100 ms after it shows
    QElapsedTimer clock;
    clock.start();
    RunJob(kJobTableCh1, "table", 0);
    const double measured = clock.nsecsElapsed() / 1e6;
    std::printf("table job: measured %.1f ms, pauses %lld ms, overhead %.2f %% (target at most "
                "1 %%)\n",
                measured, g_paused, (measured - g_paused) / g_paused * 100);
    platform::SetSleepObserver(nullptr);
    DisconnectFromDevice();

    DataRecord record;
    record.Loaded = true;
    record.RowCount = 1200;
    record.VoltText.assign(1201, "1.00E+00");
    record.TimeText.assign(1202, "-6.00E-03");
    QTableView view;
    DataTableModel model;
    view.setModel(&model);
    view.resize(480, 600);
    view.show();
    QCoreApplication::processEvents();
    clock.restart();
    model.setRecord(&record);
    view.repaint();
    std::printf("table view, 1200 rows: %.3f ms (target at most 5 ms)\n",
                clock.nsecsElapsed() / 1e6);
    return 0;
}
