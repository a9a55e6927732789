// SPDX-License-Identifier: GPL-3.0-or-later
#include "acquire/frmPrgress.h"

#include "acquire/Jobs.h"
#include "link/NQ4000Cmd.h"
#include "link/RS232Func.h"
#include "platform/MainWindow.h"
#include "platform/Pacing.h"
#include "platform/Settings.h"

#include "shared/AppIdentity.h"
#include <QGuiApplication>
#include <QScreen>
#include <climits>

#include <QCloseEvent>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>

namespace {
const QString kSection = "Settings_NQ4000L";
}

QPoint frmPrgress::PlaceFor(std::optional<QPoint> stored, QRect frame, QSize dialog,
                            const QList<QRect>& screens) {
    if (stored)
        for (const QRect& screen : screens)
            if (screen.contains(QRect(*stored, dialog))) return *stored;
    return {frame.x() + (frame.width() - dialog.width()) / 2,
            frame.y() + (frame.height() - dialog.height()) / 2};
}

frmPrgress::frmPrgress(const QString& caption, QWidget* parent)
    : QWidget(parent ? parent : platform::MainWindow(),
              Qt::Tool | Qt::WindowTitleHint | Qt::CustomizeWindowHint) {
    // The first timer starts with the load, so the window's own making (its
    // place from the settings, its layout, its first paint) falls inside
    // the 100 ms the job waits anyway, not after them.
    Timer1_ = new QTimer(this);
    Timer1_->setSingleShot(true);
    Timer1_->setTimerType(Qt::PreciseTimer); // the job starts 100 ms on, not up to 5 ms later
    Timer1_->setInterval(platform::ScaledMs(100));
    connect(Timer1_, &QTimer::timeout, this, &frmPrgress::Timer1_Timer);
    Timer1_->start();
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName("frmPrgress");
    setWindowTitle(caption);
    ProgressBar1_ = new QProgressBar;
    ProgressBar1_->setRange(0, 100);
    ProgressBar1_->setMinimumWidth(320);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(ProgressBar1_);
    // The bar's creep: the wave and table jobs run it around their block reads.
    Timer2_ = new QTimer(this);
    Timer2_->setInterval(1);
    connect(Timer2_, &QTimer::timeout, this, &frmPrgress::Timer2_Timer);

    // Load: the remembered place, the flags, the first timer.
    // A place the user left it at is kept (in pixels); the first time, or when
    // no screen shows that place, the window comes up over the frame's middle.
    std::optional<QPoint> stored;
    if (!platform::GetSetting(kAppTitle, kSection, "ProgressLeft", QString()).isEmpty())
        stored = QPoint(platform::GetSettingInt(kAppTitle, kSection, "ProgressLeft", 0),
                        platform::GetSettingInt(kAppTitle, kSection, "ProgressTop", 0));
    stored_ = stored.value_or(QPoint(INT_MIN, INT_MIN));
    const QWidget* main = platform::MainWindow();
    const QRect frame = main ? main->frameGeometry() : QRect(0, 0, 1024, 768);
    QList<QRect> screens;
    for (const QScreen* s : QGuiApplication::screens())
        screens << s->availableGeometry();
    adjustSize();
    move(PlaceFor(stored, frame, size(), screens));
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
