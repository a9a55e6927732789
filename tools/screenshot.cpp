// SPDX-License-Identifier: GPL-3.0-or-later
// Screenshots of the program as a user sees it, run by scripts/screenshot.sh
// under Xvfb: the frame with a window of one kind, filled from the simulated
// instrument or its files, at a screen size and in a language.
//
//   korvane_screenshot OUT.png [--window NAME] [--size WxH] [--language en|zh]
//
// NAME: frame (a fetched wave window, the README's picture), wave, measure,
// data, record, memory, options, about, passfail, fftsetting, parameter,
// adjust, panel, decode (a memory wave decoded), wavedecode (a wave window decoded),
// decoders (the decoder dialog), spectrum (a memory wave's analyser), wavespectrum,
// measurestats (the measure window's statistics), logger (the Data Logger
// after a short log).
#include "Files.h"
#include "Simulator.h"
#include "app/frmAbout.h"
#include "app/frmMain.h"
#include "app/frmOptions.h"
#include "controller/CtrlData.h"
#include "controller/CtrlDialog.h"
#include "controller/CtrlDialogAdjust.h"
#include "controller/PraseCtrlList.h"
#include "controller/SettingsExchange.h"
#include "controller/frmCtrlList.h"
#include "decode/DecodeStacks.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "logger/frmDataLogger.h"
#include "measure/frmMeasure.h"
#include "measure/frmPassFailed.h"
#include "memwave/frmOpenWaveform.h"
#include "platform/Pacing.h"
#include "platform/Settings.h"
#include "platform/Visa.h"
#include "replay/frmRecordPlay.h"
#include "shared/LoadLanguage.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetRecords.h"
#include "views/DecodeDialog.h"
#include "views/DecodePane.h"
#include "views/frmData.h"
#include "views/frmWave.h"
#include "views/frmWaveSetting.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QSpinBox>
#include <QSplitter>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidgetItem>
#include <cstdio>

namespace {

struct Options {
    QString out, window = "frame";
    QSize size{1280, 800};
    int language = kLanguageEnglish;
};

QTreeWidgetItem* treeRow(const QString& start) {
    return fMainForm->findChild<frmCtrlList*>()->RowStartingWith(start);
}

template <typename W> W* docWindow(DocKind kind) {
    if (!SheetExists()) NewDataSheet();
    const int slot = AddDocument(kind);
    auto* w = qobject_cast<W*>(DocForm(kind, slot));
    if (auto* sub = qobject_cast<QMdiSubWindow*>(w->parentWidget())) sub->showMaximized();
    return w;
}

void decodeSetup(DecodePane* pane, const QStringList& stacks) {
    pane->SetSetup(decode::SetupOfTexts(stacks, 1.4, 0.2));
    ShowDecodePane(qobject_cast<QSplitter*>(pane->parentWidget()), pane);
}

// The window of the kind, filled; a dialog comes back to be grabbed with the frame.
QWidget* openWindow(const QString& name, const QTemporaryDir& dir, sim::Simulator& simulator) {
    if (name == "frame" || name == "wave" || name == "wavedecode" || name == "wavespectrum") {
        auto* wave = docWindow<frmWave>(DocKind::Wave);
        wave->Timer1_Timer(); // the first tick, then the control state's
        wave->Timer1_Timer();
        // The sources ticked as a user ticks them: only those the
        // instrument shows are offered.
        for (int i = 0; i < 4; ++i)
            if (QCheckBox* box = wave->sourceBox(i); box->isEnabled() && !box->isChecked())
                box->click();
        if (name == "wavedecode") {
            CmdSend(":TIMEBASE:SCALE 0.0001"); // 500 kHz: the UART and I2C decode on screen
            CtrlData.LaDisplay = WordOn;
            decodeSetup(wave->decodePane(),
                        {"uart:rx=D0:baudrate=115200", "i2c:scl=D1:sda=D2,eeprom24xx"});
        }
        wave->LoadData();
        if (name == "wavespectrum") wave->findChild<QToolButton*>("cmdSpectrum")->setChecked(true);
        if (name == "frame")
            if (auto* sub = qobject_cast<QMdiSubWindow*>(wave->parentWidget())) {
                sub->showNormal();
                sub->resize(820, 640);
            }
        return nullptr;
    }
    if (name == "measure" || name == "measurestats") {
        auto* m = docWindow<frmMeasure>(DocKind::Measure);
        m->Timer1_Timer();
        MeasureRecords[0].Items[0].LimitEnabled = true;
        MeasureRecords[0].Items[0].UnderLimit = 1.5;
        MeasureRecords[0].Items[0].OverLimit = 2.5;
        MeasureRecords[0].Items[7].LimitEnabled = true;
        MeasureRecords[0].Items[7].UnderLimit = 1100;
        MeasureRecords[0].Items[7].OverLimit = 1200;
        m->LoadMeasure();
        if (name == "measurestats") {
            m->findChild<QToolButton*>("cmdStats")->setChecked(true);
            for (int i = 0; i < 4; ++i)
                m->LoadMeasure();
            m->view()->setCurrentItem(m->view()->topLevelItem(0));
        }
        return nullptr;
    }
    if (name == "data") {
        auto* d = docWindow<frmData>(DocKind::Data);
        d->Timer1_Timer();
        d->LoadData();
        return nullptr;
    }
    if (name == "record") {
        const QString path = dir.filePath("frames.rcd");
        sim::RecordFileContent content;
        std::string error;
        sim::WriteRecordFile(path.toStdString(), content, &error);
        auto* r = docWindow<frmRecordPlay>(DocKind::Record);
        r->LoadRecord(path);
        return nullptr;
    }
    if (name == "memory" || name == "decode" || name == "spectrum") {
        const QString path = dir.filePath("capture.wfm");
        sim::WaveformFileContent content;
        content.points = 100000;
        std::string error;
        sim::WriteWaveformFile(path.toStdString(), content, &error);
        auto* m = docWindow<frmOpenWaveform>(DocKind::MemoryWave);
        m->Timer1_Timer();
        m->LoadWaveform(path);
        if (name == "spectrum") m->findChild<QToolButton*>("cmdSpectrum")->setChecked(true);
        if (name == "decode") {
            // The capture's first 1.2 ms, where every bus is busy.
            MemoryRecords[0].TimeDiv = 1e-4;
            MemoryRecords[0].Delay = -2.4e-3;
            m->Pipeline(PipelinePart::All);
            decodeSetup(m->decodePane(),
                        {"uart:rx=D0:baudrate=115200", "i2c:scl=D1:sda=D2,eeprom24xx",
                         "spi:clk=D3:mosi=D4:miso=D5:cs=D6"});
            m->decodePane()->Decode();
        }
        return nullptr;
    }
    if (name == "panel" || name == "panelvertical") {
        if (QTreeWidgetItem* item = treeRow(TreeLabel("Virtual Panel")))
            PraseCtrlList(frmCtrlList::FullPath(item));
        for (QMdiSubWindow* sub : fMainForm->findChild<QMdiArea*>()->subWindowList())
            sub->showMaximized();
        QCoreApplication::processEvents();
        if (name == "panelvertical") // the vertical keys' page, as its tab shows it
            for (QTabBar* tabs : fMainForm->findChildren<QTabBar*>("PanelPages"))
                if (tabs->isVisible())
                    QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(1).center());
        return nullptr;
    }
    if (name == "logger" || name == "loggerspan") {
        // Opened from Tools as a user opens it, filled by a short log of the
        // simulator into a file of the run's folder; Vpp judged against the
        // measure window's limits.
        auto* m = docWindow<frmMeasure>(DocKind::Measure);
        MeasureRecords[0].Items[0].LimitEnabled = true;
        MeasureRecords[0].Items[0].UnderLimit = 1.5;
        MeasureRecords[0].Items[0].OverLimit = 2.5;
        qobject_cast<QMdiSubWindow*>(m->parentWidget())->showMinimized();
        fMainForm->findChild<QAction*>("mnuToolsDataLogger")->trigger();
        auto* logger = fMainForm->findChild<frmDataLogger*>();
        logger->findChild<QLineEdit*>("txtDatabase")->setText(dir.filePath("bench.db"));
        logger->findChild<QSpinBox*>("spnCount")->setValue(60);
        logger->findChild<QDoubleSpinBox*>("spnInterval")->setValue(0);
        // The bench's values wander a little; the link's pauses are skipped
        // so the picture is taken in seconds, not minutes.
        sim::Faults faults = simulator.instrument().faults();
        faults.jitter = 0.02;
        simulator.instrument().SetFaults(faults);
        platform::SetPacingScale(0);
        logger->findChild<QPushButton*>("cmdStart")->click();
        platform::SetPacingScale(1);
        if (name == "loggerspan") {
            // The log opened, a span of it dragged over and read closer, and a
            // second drag under way.
            auto settle = [logger] {
                while (logger->reading())
                    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
                QCoreApplication::processEvents();
            };
            logger->findChild<QPushButton*>("cmdOpen")->click();
            settle();
            LogPlot* plot = logger->plot();
            const int y = plot->height() / 3;
            QTest::mousePress(plot, Qt::LeftButton, {}, QPoint(plot->width() / 4, y));
            QTest::mouseMove(plot, QPoint(plot->width() * 3 / 5, y));
            QTest::mouseRelease(plot, Qt::LeftButton, {}, QPoint(plot->width() * 3 / 5, y));
            settle();
            QTest::mousePress(plot, Qt::LeftButton, {}, QPoint(plot->width() / 2, y));
            QTest::mouseMove(plot, QPoint(plot->width() * 3 / 4, y));
        }
        return nullptr;
    }
    QWidget* dialog = nullptr;
    if (name == "options") dialog = new frmOptions(fMainForm);
    if (name == "about") dialog = new frmAbout(fMainForm);
    if (name == "passfail") dialog = new frmPassFailed(0, "Measure0", fMainForm);
    if (name == "fftsetting") dialog = new frmWaveSetting(fMainForm);
    if (name == "adjust") dialog = new CtrlDialogAdjust(1, fMainForm);
    if (name == "decoders") dialog = new DecodeDialog(decode::DecodeSetup(), fMainForm);
    if (name == "parameter")
        if (QTreeWidgetItem* item = treeRow(TreeLabel("Holdoff") + " [")) {
            const CtrlRowMatch row = MatchCtrlPath(SplitCtrlPath(frmCtrlList::FullPath(item)));
            dialog = new CtrlDialog(row, ShapeCtrlDialog(row), fMainForm);
        }
    if (dialog) dialog->show();
    return dialog;
}

bool parse(int argc, char** argv, Options& o) {
    for (int i = 1; i < argc; ++i) {
        const QString a = QString::fromLocal8Bit(argv[i]);
        const QString next = i + 1 < argc ? QString::fromLocal8Bit(argv[i + 1]) : QString();
        if (a == "--window") {
            o.window = next;
            ++i;
        } else if (a == "--size") {
            const QStringList wh = next.split('x');
            if (wh.size() != 2) return false;
            o.size = QSize(wh[0].toInt(), wh[1].toInt());
            ++i;
        } else if (a == "--language") {
            o.language = next == "zh" ? kLanguageChinese : kLanguageEnglish;
            ++i;
        } else {
            o.out = a;
        }
    }
    return !o.out.isEmpty() && o.size.isValid();
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    Options o;
    if (!parse(argc, argv, o)) {
        std::fprintf(stderr, "usage: korvane_screenshot OUT.png [--window NAME] [--size WxH] "
                             "[--language en|zh]\n");
        return 2;
    }
    QTemporaryDir dir;
    platform::SetSettingsDirectory(dir.filePath("config"));
    sim::SimulatorOptions options;
    options.usbDirectory = dir.filePath("usb").toStdString();
    sim::Simulator simulator(options);
    if (!simulator.Start()) return 1;
    // The instrument as a bench might have it: both channels, the math
    // trace and the logic lanes shown.
    for (const char* command : {":MATH:DISPLAY ON", ":CHANNEL2:DISPLAY ON", ":LA:DISPLAY ON"})
        simulator.instrument().Process(command);
    platform::SetSimulatedUsbDirectory(dir.filePath("usb"));
    LanguageIndex = o.language;
    ApplyLanguage(o.language);
    fMainForm = new frmMain;
    fMainForm->Load();
    fMainForm->setGeometry(QRect(QPoint(0, 0), o.size));
    fMainForm->show();
    QWidget* dialog = nullptr;
    QTimer::singleShot(300, [&] {
        fMainForm->action("mnuToolsConnect")->trigger();
        DownloadfromDSO(); // the tree says what the instrument shows
        dialog = openWindow(o.window, dir, simulator);
        QTimer::singleShot(1500, [&] {
            // The screen as the user sees it: the frame and a dialog over it.
            QImage shot(o.size, QImage::Format_RGB32);
            shot.fill(Qt::black);
            QPainter p(&shot);
            p.drawPixmap(fMainForm->geometry().topLeft(), fMainForm->grab());
            if (dialog) {
                const QPoint at = dialog->mapToGlobal(QPoint(0, 0)) -
                                  fMainForm->mapToGlobal(QPoint(0, 0)) +
                                  fMainForm->geometry().topLeft();
                p.drawPixmap(at, dialog->grab());
            }
            p.end();
            shot.save(o.out);
            if (dialog) dialog->close();
            DisconnectFromDevice();
            QApplication::exit(0);
        });
    });
    return QApplication::exec();
}
