// SPDX-License-Identifier: GPL-3.0-or-later
// The data window's two costs: one table job against the simulated
// instrument with the link's real pacing, over the pauses it must make, and
// filling the table view with 1200 rows.
#include "BenchSupport.h"
#include "acquire/Jobs.h"
#include "acquire/TableJob.h"
#include "sheet/SheetRecords.h"
#include "views/frmData.h"

#include <memory>

#include <QApplication>
#include <QElapsedTimer>
#include <QTableView>
#include <cstdio>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    RegisterTableJobs();
    auto instrument = std::make_unique<BenchInstrument>();
    if (!instrument->connected()) return 1;
    TimeJobOverItsPauses(kJobTableCh1, "table job");
    instrument.reset();

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
    QElapsedTimer clock;
    clock.start();
    model.setRecord(&record);
    view.repaint();
    std::printf("table view, 1200 rows: %.3f ms (target at most 5 ms)\n",
                clock.nsecsElapsed() / 1e6);
    return 0;
}
