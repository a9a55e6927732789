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
    tools_ = new QWidget;
    auto* tools = new QHBoxLayout(tools_);
    tools->setContentsMargins(0, 0, 0, 0);
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
    layout->setContentsMargins(4, 4, 4, 4); // room for the screen at twice its size
    layout->addWidget(tools_);
    row_ = new QBoxLayout(QBoxLayout::LeftToRight);
    row_->addWidget(PanelWavePic_, 0, Qt::AlignTop | Qt::AlignLeft);
    row_->addWidget(panel_, 1);
    layout->addLayout(row_, 1);
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
    arrange(size()); // the keys make room for the screen, or take it back
}

void frmV_Panel::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    arrange(size());
}

PanelArrangement ChoosePanelArrangement(QSize room, QSize screen, QSize columns, QSize pages,
                                        int spacing, int chosenZoom) {
    const std::vector<int> zooms =
        chosenZoom >= 0 ? std::vector<int>{chosenZoom} : std::vector<int>{1, 0};
    for (int zoom : zooms) {
        const QSize shown = screen * (zoom + 1);
        if (shown.width() + spacing + columns.width() <= room.width() &&
            std::max(shown.height(), columns.height()) <= room.height())
            return {zoom, false};
        if (std::max(shown.width(), pages.width()) <= room.width() &&
            shown.height() + spacing + pages.height() <= room.height())
            return {zoom, true};
    }
    return {std::max(chosenZoom, 0), true}; // nothing fits: the smallest
}

void frmV_Panel::arrange(QSize size) {
    const QMargins m = layout()->contentsMargins();
    const int spacing = layout()->spacing();
    const QSize room(size.width() - m.left() - m.right(),
                     size.height() - m.top() - m.bottom() - tools_->sizeHint().height() - spacing);
    const PanelArrangement a = ChoosePanelArrangement(
        room, QSize(kLcdWidth, kLcdHeight), panel_->FormSize(PanelForm::Columns),
        panel_->FormSize(PanelForm::Pages), row_->spacing(), zoomChosen_ ? ZoomState : -1);
    ZoomState = a.zoom;
    if (a == arrangement_ && PanelWavePic_->width() == kLcdWidth * (a.zoom + 1)) return;
    arrangement_ = a;
    PanelWavePic_->setFixedSize(kLcdWidth * (a.zoom + 1), kLcdHeight * (a.zoom + 1));
    row_->setDirection(a.below ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    panel_->SetForm(a.below ? PanelForm::Pages : PanelForm::Columns); // its rows invalidated there
    layout()->invalidate();
}

QSize frmV_Panel::minimumSizeHint() const {
    // The screen at its own pixels with the keys in pages below it.
    const QMargins m = layout()->contentsMargins();
    const int spacing = layout()->spacing();
    const QSize pages = panel_->minimumSizeHint();
    const QSize tools = tools_->minimumSizeHint();
    return {m.left() + m.right() + std::max({tools.width(), kLcdWidth, pages.width()}),
            m.top() + m.bottom() + tools.height() + spacing + kLcdHeight + row_->spacing() +
                pages.height()};
}

QSize frmV_Panel::OpeningSize(const QSize& room) {
    arrange(room);
    layout()->activate();
    return sizeHint().boundedTo(room);
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
    panel_->SetAutoForm(true); // pages when the window is too small for the columns
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
