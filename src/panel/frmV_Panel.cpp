// SPDX-License-Identifier: GPL-3.0-or-later
#include "panel/frmV_Panel.h"
#include "shared/Icons.h"
#include "views/Exports.h"

#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/UsbFunc.h"
#include "panel/LcdImage.h"
#include "panel/VirtualKeys.h"
#include "platform/Faults.h"
#include "platform/FileDialog.h"
#include "platform/MsgBox.h"
#include "platform/Printing.h"
#include "platform/SafeFile.h"
#include "shared/LoadLanguage.h"
#include "shared/SoftwareSetting.h"

#include <QBuffer>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMdiSubWindow>
#include <QPointer>
#include <QResizeEvent>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

bool PanelRunning = false;
bool PanelOpen = false;
bool PanelWindowOpen = false;
bool KeyWindowOpen = false;

namespace {
QString text(const char* control) {
    return FormText("frmV_Panel", control);
}
} // namespace

// ---- the screen and panel window -------------------------------------------------------

frmV_Panel::frmV_Panel(QWidget* parent) : QWidget(parent) {
    setObjectName("frmV_Panel");
    setAttribute(Qt::WA_DeleteOnClose);
    RawImage.assign(kLcdReply, 0);
    PixelColor.assign(kLcdReply + 1, 0);
    auto* tools = new QHBoxLayout;
    auto tool = [tools](QToolButton*& b, const char* icon) {
        b = new QToolButton;
        b->setIcon(ThemeIcon(icon));
        b->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        tools->addWidget(b);
    };
    tool(cmdRun_, "media-playback-start");
    tool(cmdStop_, "media-playback-stop");
    tool(cmdZoom_, "zoom-in");
    tool(cmdExport_, "document-save-as");
    tool(cmdPrint_, "document-print");
    tool(cmdPreview_, "document-print-preview");
    tools->addStretch(1);
    connect(cmdRun_, &QToolButton::clicked, this,
            platform::Guarded("cmdRun_Click", [this] { cmdRun_Click(); }));
    connect(cmdStop_, &QToolButton::clicked, this,
            platform::Guarded("cmdStop_Click", [this] { cmdStop_Click(); }));
    connect(cmdZoom_, &QToolButton::clicked, this,
            platform::Guarded("cmdZoom_Click", [this] { cmdZoom_Click(); }));
    connect(cmdExport_, &QToolButton::clicked, this,
            platform::Guarded("cmdExport_Click", [this] { cmdExport_Click(); }));
    connect(cmdPrint_, &QToolButton::clicked, this,
            platform::Guarded("cmdPrint_Click", [this] { Print(false); }));
    connect(cmdPreview_, &QToolButton::clicked, this,
            platform::Guarded("cmdPreview_Click", [this] { Print(true); }));
    PanelWavePic_ = new QLabel;
    PanelWavePic_->setObjectName("PanelWavePic");
    PanelWavePic_->setFixedSize(kLcdWidth, kLcdHeight);
    PanelWavePic_->setStyleSheet("background: black;");
    panel_ = new FrontPanel(false);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(tools);
    auto* row = new QHBoxLayout;
    row->addWidget(PanelWavePic_, 0, Qt::AlignTop);
    row->addWidget(panel_, 1);
    layout->addLayout(row);
    captionRoutine_ = AddCaptionRoutine([this](int index) { applyCaptions(index); });
    applyCaptions(CaptionLanguage());
    // Load: the picture runs, the loop starts once the window is up.
    PanelOpen = true;
    PanelRunning = true;
    PanelWindowOpen = true;
    cmdRun_->setEnabled(false);
    cmdStop_->setEnabled(true);
    QTimer::singleShot(10, this, [this] { refreshLoop(); });
}

frmV_Panel::~frmV_Panel() {
    RemoveCaptionRoutine(captionRoutine_);
    PanelRunning = false;
    PanelOpen = false;
    PanelWindowOpen = false;
}

void frmV_Panel::applyCaptions(int index) {
    if (index != kLanguageChinese && index != kLanguageEnglish) return;
    setWindowTitle(text("Caption"));
    cmdRun_->setText(text("cmdRun"));
    cmdStop_->setText(text("cmdStop"));
    cmdZoom_->setText(text("labZoom"));
    cmdExport_->setText(text("cmdExport").trimmed());
    cmdPrint_->setText(text("cmdPrint").trimmed());
    cmdPreview_->setText(text("cmdPreview").trimmed());
}

void frmV_Panel::closeWindow() {
    PanelOpen = false;
    if (auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget()))
        sub->close();
    else
        close();
}

void frmV_Panel::refreshLoop() {
    // One round of the loop; the next is queued, so the event loop runs
    // between refreshes and the keys are served there.
    if (!PanelOpen) return;
    platform::RunHandler("tDrawBmp_Timer", [this] {
        if (PanelRunning) {
            DrawBulkWave();
            if (!Connected) {
                closeWindow(); // the link dropped: the panel goes with it
                return;
            }
        }
        // The lamps every two seconds, between two pictures.
        if (!lampClock_.isValid() || lampClock_.elapsed() >= 2000) {
            lampClock_.start();
            PollPanelLamps(panel_);
        }
    });
    if (!PanelOpen) return;
    QTimer::singleShot(PanelRunning ? 0 : 20, this, [this] { refreshLoop(); });
}

void frmV_Panel::DrawBulkWave() {
    GetLcdData(RawImage);
    if (!PanelRunning || !PanelOpen) return;
    if (IsColorDevice())
        TransClr(RawImage.data(), kLcdPixels, PixelColor.data());
    else
        TransMono(RawImage.data(), kLcdPixels, PixelColor.data());
    picture_ = LcdPicture(PixelColor, ZoomState == 1);
    PanelWavePic_->setFixedSize(picture_.size());
    PanelWavePic_->setPixmap(QPixmap::fromImage(picture_));
    ++refreshes_;
}

void frmV_Panel::cmdRun_Click() {
    PanelRunning = true;
    cmdRun_->setEnabled(false);
    cmdStop_->setEnabled(true);
    QTimer::singleShot(0, this, [this] { refreshLoop(); });
}

void frmV_Panel::cmdStop_Click() {
    PanelRunning = false;
    cmdRun_->setEnabled(true);
    cmdStop_->setEnabled(false);
}

void frmV_Panel::cmdZoom_Click() {
    ZoomState = ZoomState == 0 ? 1 : 0;
    zoomChosen_ = true;
    PanelWavePic_->clear();
}

void frmV_Panel::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // The screen at twice its size when the window has room for it beside
    // the panel, until the user chooses with Zoom.
    if (zoomChosen_) return;
    const bool room = need2x_.isValid()
                          ? width() >= need2x_.width() && height() >= need2x_.height()
                          : width() >= 2 * kLcdWidth + panel_->minimumSizeHint().width() + 40 &&
                                height() >= 2 * kLcdHeight + 60;
    ZoomState = room ? 1 : 0;
}

QSize frmV_Panel::sizeAtZoom(int zoom) {
    const int scale = zoom + 1;
    PanelWavePic_->setFixedSize(kLcdWidth * scale, kLcdHeight * scale);
    for (QLayout* l : findChildren<QLayout*>()) // the nested rows cache the old size
        l->invalidate();
    layout()->invalidate();
    return sizeHint();
}

QSize frmV_Panel::OpeningSize(const QSize& room) {
    need2x_ = sizeAtZoom(1);
    const QSize single = sizeAtZoom(0);
    ZoomState = need2x_.width() <= room.width() && need2x_.height() <= room.height() ? 1 : 0;
    if (ZoomState == 1) sizeAtZoom(1);
    return (ZoomState == 1 ? need2x_ : single).boundedTo(room);
}

void frmV_Panel::cmdExport_Click() {
    ExportPicture(picture_);
}

void frmV_Panel::Print(bool preview) {
    if (preview)
        platform::PrintPreviewBitmap(picture_, windowTitle());
    else
        platform::PrintBitmap(picture_, windowTitle());
}

void frmV_Panel::closeEvent(QCloseEvent* event) {
    PanelRunning = false;
    PanelOpen = false;
    panel_->StopRepeat();
    PanelWindowOpen = false;
    QWidget::closeEvent(event);
}

void frmV_Panel::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        closeWindow();
        return;
    }
    QWidget::keyPressEvent(event);
}

// ---- the keys alone -----------------------------------------------------------------------

frmV_Key::frmV_Key(QWidget* parent) : QWidget(parent) {
    setObjectName("frmV_Key");
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(FormText("frmV_Key", "Caption"));
    panel_ = new FrontPanel(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(panel_);
    KeyWindowOpen = true;
    auto* lamps = new QTimer(this);
    lamps->setInterval(2000);
    connect(lamps, &QTimer::timeout, this,
            platform::Guarded("LampTimer", [this] { PollPanelLamps(panel_); }));
    lamps->start();
}

frmV_Key::~frmV_Key() {
    KeyWindowOpen = false;
}

void frmV_Key::VK_Trig_Force() {
    CmdSend(cmd::KeyCommand("FORCE"));
}

void frmV_Key::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        if (auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget()))
            sub->close();
        else
            close();
        return;
    }
    QWidget::keyPressEvent(event);
}

bool PanelHasScreen(int visaBusType) {
    return visaBusType == 1;
}

QWidget* OpenVirtualPanel(QWidget* parent) {
    if (PanelHasScreen(VisaBusType) && SoftwareSetting.ScopeIOType == kIoTypeUsb)
        return new frmV_Panel(parent);
    return new frmV_Key(parent);
}
