#include "acquire/frmPrgress.h"

#include "acquire/Jobs.h"
#include "link/NQ4000Cmd.h"
#include "link/RS232Func.h"
#include "platform/MainWindow.h"
#include "platform/Pacing.h"
#include "platform/Settings.h"
#include "shared/AppIdentity.h"

#include <QCloseEvent>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>

namespace {
const QString kSection = "Settings_NQ4000L";
}

QPoint frmPrgress::PlaceFor(QPoint stored, QSize frame, QSize dialog) {
    QPoint p = stored;
    if (p.x() > frame.width() || p.x() < -dialog.width()) p.setX(400);
    if (p.y() > frame.height() || p.y() < -dialog.height()) p.setY(600);
    return p;
}

frmPrgress::frmPrgress(const QString& caption, QWidget* parent)
    : QWidget(parent ? parent : platform::MainWindow(),
              Qt::Tool | Qt::WindowTitleHint | Qt::CustomizeWindowHint) {
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName("frmPrgress");
    setWindowTitle(caption);
    ProgressBar1_ = new QProgressBar;
    ProgressBar1_->setRange(0, 100);
    ProgressBar1_->setMinimumWidth(320);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(ProgressBar1_);
    Timer1_ = new QTimer(this);
    Timer1_->setSingleShot(true);
    Timer1_->setTimerType(Qt::PreciseTimer); // the job starts 100 ms on, not up to 5 ms later
    Timer1_->setInterval(platform::ScaledMs(100));
    connect(Timer1_, &QTimer::timeout, this, &frmPrgress::Timer1_Timer);
    // The bar's creep: the wave and table jobs run it around their block reads.
    Timer2_ = new QTimer(this);
    Timer2_->setInterval(1);
    connect(Timer2_, &QTimer::timeout, this, &frmPrgress::Timer2_Timer);

    // Load: the remembered place, the flags, the first timer.
    stored_ = QPoint(platform::GetSettingInt(kAppTitle, kSection, "ProgressLeft", 500),
                     platform::GetSettingInt(kAppTitle, kSection, "ProgressTop", 800));
    const QPoint stored = stored_;
    const QWidget* main = platform::MainWindow();
    const QSize frame = main ? main->size() : QSize(1024, 768);
    adjustSize();
    move(PlaceFor(stored, frame, size()));
    Rs232Sending = true;
    Timer2_->stop();
    ProgressBar1_->setValue(0);
    JobRunning = true;
    SetProgressView([this](double value) {
        ProgressBar1_->setValue(static_cast<int>(value));
        ProgressBar1_->repaint();
    });
    SetCreepView([this](bool running) {
        if (running)
            Timer2_->start();
        else
            Timer2_->stop();
    });
    Timer1_->start();
}

void frmPrgress::Timer1_Timer() {
    // Every job begins with this exchange; its answer decides nothing.
    (void)(CutAtLineFeed(CmdQuery(QueryCommand(cmd::TriggerStatus))) == QLatin1String(":STOP"));
    PerformJob();
    repaint();
    platform::Sleep(200);
    Rs232Sending = false;
    JobDone = true;
    JobRunning = false;
    SetProgressView({});
    SetCreepView({});
    Timer2_->stop();
    // The place goes back to the store when it changed: a write costs a file.
    if (x() != stored_.x())
        platform::SaveSetting(kAppTitle, kSection, "ProgressLeft", QString::number(x()));
    if (y() != stored_.y())
        platform::SaveSetting(kAppTitle, kSection, "ProgressTop", QString::number(y()));
    close();
}

void frmPrgress::Timer2_Timer() {
    ProgressBar1_->setValue(std::min(100, ProgressBar1_->value() + ProgressCreep));
    if (JobKind == 6 && JobRunning)
        PercentShown =
            std::min(100, std::min(static_cast<int>(ProgressTarget), PercentShown + ProgressCreep));
    ShowPercent();
}

void frmPrgress::closeEvent(QCloseEvent* event) {
    if (JobRunning) {
        event->ignore(); // a job can't be stopped by closing its window
        return;
    }
    QWidget::closeEvent(event);
}
