// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/frmWave.h"

#include "export/CaptureExport.h"
#include "shared/Icons.h"
#include "views/AnalyserPane.h"
#include "views/DecodePane.h"
#include "views/Exports.h"

#include "acquire/Jobs.h"
#include "acquire/WaveJob.h"
#include "controller/CtrlData.h"
#include "link/LinkState.h"
#include "platform/Faults.h"
#include "platform/FileDialog.h"
#include "platform/MsgBox.h"
#include "platform/Printing.h"
#include "platform/SafeFile.h"
#include "platform/Status.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"
#include "sheet/SheetRecords.h"
#include "views/ScreenRenderer.h"

#include <QBuffer>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QSplitter>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

QString text(const char* control) {
    return FormText("frmWave", control);
}

bool chinese() {
    return CaptionLanguage() == kLanguageChinese;
}

// The four sources' display states, in ChkCH order.
std::array<bool, 4> displayStates() {
    return {CtrlData.Ch1Display == WordOn, CtrlData.Ch2Display == WordOn,
            CtrlData.MathDisplay == WordOn, CtrlData.LaDisplay == WordOn};
}

} // namespace

// ---- the picture --------------------------------------------------------------------

WavePicture::WavePicture(QWidget* parent) : QWidget(parent) {
    setMouseTracking(true);
}

void WavePicture::mousePressEvent(QMouseEvent* e) {
    if (onMouse) onMouse(QEvent::MouseButtonPress, e->position(), e->buttons() | e->button());
}
void WavePicture::mouseMoveEvent(QMouseEvent* e) {
    if (onMouse) onMouse(QEvent::MouseMove, e->position(), e->buttons());
}
void WavePicture::mouseReleaseEvent(QMouseEvent* e) {
    if (onMouse) onMouse(QEvent::MouseButtonRelease, e->position(), e->buttons());
}

void WavePicture::setImage(const QImage& image) {
    if (image.size() != image_.size()) setFixedSize(image.size());
    image_ = image;
    update(); // repaints coalesce: many images a second cost one paint a frame
}

void WavePicture::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.drawImage(0, 0, image_);
}

bool ParseZoomText(const QString& text, double* zoom) {
    const QString t = text.trimmed();
    if (!t.endsWith('%')) return false;
    const QString number = PointForm(t.left(t.size() - 1).trimmed());
    bool ok = false;
    const double value = number.toDouble(&ok);
    if (!ok) return false;
    *zoom = std::max(0.01, value / 100);
    return true;
}

QString ZoomText(double zoom) {
    return FormatPicture(zoom, "0%", Precision::Double);
}

bool CommitZoomBox(QComboBox* box, double& zoom, CursorSet& cursors) {
    double z = 0;
    const bool taken = ParseZoomText(box->currentText(), &z);
    if (!taken) {
        platform::MsgBox(MsgBadZoom, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation);
    } else {
        RescaleCursors(cursors, zoom, z);
        zoom = z;
    }
    box->setEditText(ZoomText(zoom));
    return taken;
}

void AddYChannelMenu(QWidget* picture, CursorSet& cursors, std::function<void()> changed) {
    picture->setContextMenuPolicy(Qt::CustomContextMenu);
    QObject::connect(
        picture, &QWidget::customContextMenuRequested, picture,
        [picture, &cursors, changed](const QPoint& at) {
            const bool zh = CaptionLanguage() == kLanguageChinese;
            QMenu menu(picture);
            const QString choices[3] = {
                zh ? QString::fromUtf8("Y光标：最后读取的通道")
                   : QStringLiteral("Y cursors: the channel fetched last"),
                zh ? QString::fromUtf8("Y光标：CH1") : QStringLiteral("Y cursors: CH1"),
                zh ? QString::fromUtf8("Y光标：CH2") : QStringLiteral("Y cursors: CH2")};
            for (int i = 0; i < 3; ++i) {
                QAction* a = menu.addAction(choices[i]);
                a->setCheckable(true);
                a->setChecked(cursors.YChannel == i);
                a->setData(i);
            }
            if (QAction* chosen = menu.exec(picture->mapToGlobal(at))) {
                cursors.YChannel = chosen->data().toInt();
                if (changed) changed();
            }
        });
}

// ---- the window ---------------------------------------------------------------------

frmWave::frmWave(int slot) : DocWindow(DocKind::Wave, slot) {
    setObjectName("frmWave");
    buildControls();
    // Form load: the first paint waits for the first tick, the zoom list, 100 %.
    zoom_ = 1.0;
    KeepCursorsInFrame(cursors_, zoom_);
    firstPaint_ = true;
    const RefreshTimers timers = MakeRefreshTimers(this, [this] { Timer1_Timer(); });
    Timer1_ = timers.Timer1;
    Timer2_ = timers.Timer2;
    captionRoutine_ = AddCaptionRoutine([this](int index) { applyCaptions(index); });
    applyCaptions(CaptionLanguage());
    resize(640, 460);
    Timer1_->start();
}

frmWave::~frmWave() {
    RemoveCaptionRoutine(captionRoutine_);
    EndOwnAutoRefresh(RefreshKind::Wave, Tag(), record().AutoRunning);
}

WaveRecord& frmWave::record() const {
    return WaveRecords[Tag()];
}

void frmWave::buildControls() {
    auto* top = new QHBoxLayout;
    top->setSpacing(6);

    cmdRefresh_ = new QToolButton;
    cmdRefresh_->setObjectName("cmdRefresh");
    cmdRefresh_->setIcon(ThemeIcon("view-refresh"));
    cmdRefresh_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    cmdRefresh_->setMinimumHeight(40);
    connect(cmdRefresh_, &QToolButton::clicked, this,
            platform::Guarded("cmdRefresh_Click", [this] { cmdRefresh_Click(); }));
    // The refresh button with its progress under it: the progress never takes
    // room from the display group beside them.
    auto* refreshColumn = new QVBoxLayout;
    refreshColumn->addWidget(cmdRefresh_);
    top->addLayout(refreshColumn);

    auto* display = new QGroupBox;
    fraDisplay_ = display;
    auto* dl = new QGridLayout(display);
    const char* sources[4] = {"CH1", "CH2", "Math", "LA"};
    for (int i = 0; i < 4; ++i) {
        ChkCH_[i] = new QCheckBox(sources[i]);
        ChkCH_[i]->setObjectName(QString("ChkCH%1").arg(i));
        connect(ChkCH_[i], &QCheckBox::toggled, this, [this, i](bool on) {
            platform::RunHandler("ChkCH_Click", [&] { ChkCH_Click(i, on); });
        });
        dl->addWidget(ChkCH_[i], 0, i);
    }
    labZoom_ = new QLabel;
    ZoomCombo_ = new QComboBox;
    ZoomCombo_->setObjectName("ZoomCombo");
    ZoomCombo_->setEditable(true);
    ZoomCombo_->addItems(
        {"50%", "75%", "100%", "125%", "150%", "200%", "250%", "300%", "400%", "500%"});
    ZoomCombo_->setCurrentText("100%");
    connect(ZoomCombo_, &QComboBox::textActivated, this,
            platform::Guarded("ZoomCombo_Click", [this] { ZoomCombo_Commit(); }));
    BestFitChk_ = new QCheckBox;
    connect(BestFitChk_, &QCheckBox::toggled, this, [this](bool on) {
        platform::RunHandler("BestFitChk_Click", [&] { BestFitChk_Click(on); });
    });
    GridCheck_ = new QCheckBox;
    connect(GridCheck_, &QCheckBox::toggled, this, [this](bool on) {
        platform::RunHandler("GridCheck_Click", [&] { GridCheck_Click(on); });
    });
    auto* colours = new QButtonGroup(this);
    for (int i = 0; i < 2; ++i) {
        OptionColor_[i] = new QRadioButton;
        colours->addButton(OptionColor_[i], i);
    }
    connect(colours, &QButtonGroup::idClicked, this, [this](int id) {
        platform::RunHandler("OptionColor_Click", [&] { OptionColor_Click(id); });
    });
    dl->addWidget(labZoom_, 1, 0);
    dl->addWidget(ZoomCombo_, 1, 1);
    dl->addWidget(BestFitChk_, 1, 2, 1, 2);
    dl->addWidget(GridCheck_, 2, 0);
    dl->addWidget(OptionColor_[0], 2, 1);
    dl->addWidget(OptionColor_[1], 2, 2);
    ChkCursorX_ = new QCheckBox;
    ChkCursorY_ = new QCheckBox;
    connect(ChkCursorX_, &QCheckBox::toggled, this, [this](bool on) {
        platform::RunHandler("ChkCursorX_Click", [&] { ChkCursor_Click(true, on); });
    });
    connect(ChkCursorY_, &QCheckBox::toggled, this, [this](bool on) {
        platform::RunHandler("ChkCursorY_Click", [&] { ChkCursor_Click(false, on); });
    });
    dl->addWidget(ChkCursorX_, 2, 3);
    dl->addWidget(ChkCursorY_, 2, 4);
    top->addWidget(display);

    auto* output = new QVBoxLayout;
    auto makeButton = [output](QToolButton*& b, const char* name, const char* icon) {
        b = new QToolButton;
        b->setObjectName(name);
        b->setIcon(ThemeIcon(icon));
        b->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        output->addWidget(b);
    };
    makeButton(cmdExport_, "cmdExport", "document-save-as");
    makeButton(cmdPrint_, "cmdPrint", "document-print");
    makeButton(cmdPreview_, "cmdPreview", "document-print-preview");
    makeButton(cmdCapture_, "cmdCapture", "document-save-as");
    makeButton(cmdDecode_, "cmdDecode", "korvane-decode");
    makeButton(cmdSpectrum_, "cmdSpectrum", "korvane-fft");
    cmdSpectrum_->setCheckable(true);
    connect(cmdSpectrum_, &QToolButton::toggled, this,
            [this](bool on) { spectrum_->setShown(on); });
    connect(cmdDecode_, &QToolButton::clicked, this, platform::Guarded("cmdDecode_Click", [this] {
                ShowDecodePane(qobject_cast<QSplitter*>(decode_->parentWidget()), decode_);
                decode_->ChooseDecoders();
            }));
    connect(cmdCapture_, &QToolButton::clicked, this, platform::Guarded("cmdCapture_Click", [this] {
                QString error;
                ExportCapture(CaptureOfScreen(record(), &error));
            }));
    connect(cmdExport_, &QToolButton::clicked, this,
            platform::Guarded("cmdExport_Click", [this] { cmdExport_Click(); }));
    connect(cmdPrint_, &QToolButton::clicked, this,
            platform::Guarded("cmdPrint_Click", [this] { cmdPrint_Click(); }));
    connect(cmdPreview_, &QToolButton::clicked, this,
            platform::Guarded("cmdPreview_Click", [this] { cmdPreview_Click(); }));
    top->addLayout(output);

    picRefreshProgress_ = new QWidget;
    picRefreshProgress_->setObjectName("picRefreshProgress");
    auto* pl = new QHBoxLayout(picRefreshProgress_);
    LblRefreshText_ = new QLabel;
    LblRefreshValue_ = new QLabel;
    pl->addWidget(LblRefreshText_);
    pl->addWidget(LblRefreshValue_);
    picRefreshProgress_->hide();
    pl->setContentsMargins(0, 0, 0, 0);
    pl->setSpacing(3);
    refreshColumn->addWidget(picRefreshProgress_);
    refreshColumn->addStretch(1);
    top->addStretch(1);

    BackPic_ = new QScrollArea;
    BackPic_->setObjectName("BackPic");
    BackPic_->setWidgetResizable(false);
    BackPic_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    BackPic_->setBackgroundRole(QPalette::Dark);
    WavePic_ = new WavePicture;
    WavePic_->setObjectName("WavePic");
    WavePic_->onMouse = [this](QEvent::Type type, QPointF at, Qt::MouseButtons buttons) {
        platform::RunHandler("WavePic_Mouse", [&] { WavePic_Mouse(type, at, buttons); });
    };
    BackPic_->setWidget(WavePic_);
    AddYChannelMenu(WavePic_, cursors_, [this] { redrawCursors(); });

    // Decoding the fetched screen: 600 samples a lane, what fits in a screen.
    decode_ = new DecodePane("Wave");
    decode_->capture = [this] {
        QString error;
        return CaptureOfScreen(record(), &error);
    };
    decode_->changed = [this] {
        redraw();
        Form_Resize(); // the rows take room under the screen
    };
    // The spectrum analyser of the fetched screen, under the picture.
    spectrum_ = new AnalyserPane;
    spectrum_->samples = [this](int channel, std::vector<double>& volts, double& rate, QString&) {
        const WaveRecord& r = record();
        if (!r.Loaded || !(channel == 1 ? r.ShowCh1 : r.ShowCh2)) return false;
        volts = ChannelVolts(r, channel);
        rate = ScreenSampleRate(r);
        return !volts.empty() && rate > 0;
    };
    QSplitter* split = PictureArea(BackPic_, spectrum_, decode_);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(split, 1);

    auto* f5 = new QShortcut(QKeySequence(Qt::Key_F5), this);
    f5->setContext(Qt::WidgetWithChildrenShortcut);
    connect(f5, &QShortcut::activated, this,
            platform::Guarded("cmdRefresh_Click", [this] { cmdRefresh_Click(); }));
}

void frmWave::applyCaptions(int index) {
    if (index != kLanguageChinese && index != kLanguageEnglish) return;
    cmdRefresh_->setText(text(AutoRefreshActive(RefreshKind::Wave) && record().AutoRunning
                                  ? "mnuRefresh"
                                  : "cmdRefresh")
                             .trimmed());
    cmdRefresh_->setToolTip(text("cmdRefresh.tip"));
    static_cast<QGroupBox*>(fraDisplay_)->setTitle(text("fraDisplay"));
    labZoom_->setText(text("labZoom"));
    ChkCH_[2]->setText(chinese() ? QString::fromUtf8("数学") : QStringLiteral("Math"));
    cmdCapture_->setText(chinese() ? QString::fromUtf8("采集...") : QStringLiteral("Capture..."));
    cmdCapture_->setToolTip(ExportCaptureText());
    decode_->applyCaptions(cmdDecode_);
    spectrum_->applyCaptions(cmdSpectrum_,
                             chinese() ? QString::fromUtf8("屏幕数据的频谱分析")
                                       : QStringLiteral("The spectrum of the fetched screen"));
    BestFitChk_->setText(text("cmdBestFit"));
    GridCheck_->setText(text("chkGrid"));
    OptionColor_[0]->setText(text("optColor"));
    OptionColor_[1]->setText(text("optBW").replace("&&", "&"));
    ChkCursorX_->setText(text("optCursorX"));
    ChkCursorY_->setText(text("optCursorY"));
    cmdExport_->setText(text("cmdExport"));
    cmdPrint_->setText(text("cmdPrint"));
    cmdPreview_->setText(text("cmdPreview").trimmed());
    cmdPreview_->setToolTip(text("cmdPreview.tip"));
    // Shown as icons in a narrow window: the names stay in the tool tips.
    for (QToolButton* b : {cmdExport_, cmdPrint_, cmdCapture_, cmdDecode_})
        if (b->toolTip().isEmpty()) b->setToolTip(b->text());
    LblRefreshText_->setText(text("labRefreshing"));
}

// ---- timers and record --------------------------------------------------------------

void frmWave::Timer1_Timer() {
    WaveRecord& r = record();
    if (firstPaint_) {
        Timer1_->setInterval(500);
        const bool dirty = SheetDirty;
        r.NeedsInit = true;
        copyRecordToControls();
        firstPaint_ = false;
        Form_Resize();
        SheetDirty = dirty; // setting up the controls is no change of the sheet
    }
    // Without an instrument the controller's display states say nothing about
    // this record: its own choices stay, as its traces are drawn.
    const std::array<bool, 4> on =
        Connected ? displayStates() : std::array<bool, 4>{true, true, true, true};
    if (on[0] && on[1] && on[2] && on[3]) {
        for (QCheckBox* box : ChkCH_)
            box->setEnabled(true);
        return;
    }
    bool* sel[4] = {&r.SelCh1, &r.SelCh2, &r.SelMath, &r.SelLA};
    settingUp_ = true;
    for (std::size_t i = 0; i < 4; ++i) {
        if (!on[i]) {
            ChkCH_[i]->setChecked(false);
            ChkCH_[i]->setEnabled(false);
            *sel[i] = false;
        } else {
            ChkCH_[i]->setEnabled(true);
        }
    }
    settingUp_ = false;
}

void frmWave::copyRecordToControls() {
    const WaveRecord& r = record();
    settingUp_ = true;
    // The zoom the window had when the sheet was saved (Int42, in percent).
    if (r.Int42 >= 1 && r.Int42 <= 1000 && !r.BestFit) {
        const double saved = r.Int42 / 100.0;
        RescaleCursors(cursors_, zoom_, saved);
        zoom_ = saved;
        ZoomCombo_->setEditText(ZoomText(zoom_));
    }
    const bool sel[4] = {r.SelCh1, r.SelCh2, r.SelMath, r.SelLA};
    for (std::size_t i = 0; i < 4; ++i)
        ChkCH_[i]->setChecked(sel[i]);
    ZoomCombo_->setEnabled(!r.BestFit);
    BestFitChk_->setChecked(r.BestFit);
    GridCheck_->setChecked(r.GridOn);
    OptionColor_[r.ColorDisplay ? 0 : 1]->setChecked(true);
    ChkCursorX_->setChecked(cursors_.CursorXOn);
    ChkCursorY_->setChecked(cursors_.CursorYOn);
    settingUp_ = false;
}

void frmWave::ShowRecord() {
    setWindowTitle(DocCaption(DocKind::Wave, Tag()));
    if (!firstPaint_) {
        copyRecordToControls();
        redraw();
    }
}

void frmWave::markDirty() {
    if (!settingUp_) SheetDirty = true;
}

// ---- refresh ------------------------------------------------------------------------

RefreshWindow frmWave::refreshWindow() {
    return RefreshWindowOf(this, cmdRefresh_, Timer2_, &frmWave::LoadData);
}

void frmWave::cmdRefresh_Click() {
    RunRefreshCycle(RefreshKind::Wave, refreshWindow());
}

void frmWave::LoadData() {
    const QString caption = chinese() ? QString::fromUtf8("波形数据数据下载中...")
                                      : QStringLiteral("Waveform Data Loading...");
    WaveRecord& r = record();
    if (!r.SelCh1 && !r.SelCh2 && !r.SelMath && !r.SelLA) return;
    QPointer<frmWave> self(this);
    const int slot = Tag();
    picRefreshProgress_->show();
    PercentShown = 1;
    LblRefreshValue_->setText("1%");
    SetPercentView([self](int percent) {
        if (self) self->LblRefreshValue_->setText(QString::number(percent) + "%");
    });
    RunJob(kJobWave, caption, slot);
    SetPercentView({});
    if (!self) return; // the window went while the job ran
    picRefreshProgress_->hide();
    if (!JobSucceeded()) return; // the link went: the earlier picture stays
    if (!JobWarning.isEmpty()) platform::ShowStatus(JobWarning);
    record().Loaded = true;
    SheetDirty = true;
    cmdRefresh_->setFocus();
    redraw();
    if (decode_->isVisible() && !decode_->setup().empty()) decode_->Decode(); // the new screen
    if (spectrum_->isVisible()) spectrum_->Refresh();
}

// ---- display options ------------------------------------------------------------------

void frmWave::ZoomCombo_Commit() {
    if (!CommitZoomBox(ZoomCombo_, zoom_, cursors_)) return;
    record().Int42 = static_cast<std::int16_t>(std::lround(std::min(zoom_, 10.0) * 100));
    Form_Resize();
}

void frmWave::BestFitChk_Click(bool checked) {
    if (settingUp_) return;
    record().BestFit = checked;
    ZoomCombo_->setEnabled(!checked);
    SheetDirty = true;
    Form_Resize();
}

void frmWave::GridCheck_Click(bool checked) {
    if (settingUp_) return;
    record().GridOn = checked;
    SheetDirty = true;
    redraw();
}

void frmWave::OptionColor_Click(int index) {
    if (settingUp_) return;
    record().ColorDisplay = index == 0;
    SheetDirty = true;
    redraw();
}

void frmWave::ChkCH_Click(int index, bool checked) {
    if (settingUp_) return;
    WaveRecord& r = record();
    bool* sel[4] = {&r.SelCh1, &r.SelCh2, &r.SelMath, &r.SelLA};
    *sel[index] = checked;
    SheetDirty = true;
}

QCheckBox* frmWave::sourceBox(int index) const {
    return ChkCH_[static_cast<std::size_t>(index)];
}

// ---- layout and drawing ----------------------------------------------------------------

void frmWave::resizeEvent(QResizeEvent* event) {
    DocWindow::resizeEvent(event);
    // A narrow window (a small screen beside the docks) keeps every tool in
    // view: the right-hand buttons as icons, their names in the tool tips.
    const bool narrow = width() < 780;
    for (QToolButton* b :
         {cmdExport_, cmdPrint_, cmdPreview_, cmdCapture_, cmdDecode_, cmdSpectrum_})
        b->setToolButtonStyle(narrow ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon);
    if (!firstPaint_) platform::RunHandler("Form_Resize", [this] { Form_Resize(); });
}

void frmWave::Form_Resize() {
    if (firstPaint_) return;
    const WaveRecord& r = record();
    if (r.BestFit) {
        const QSize area = BackPic_->maximumViewportSize();
        // The annotation rows of a decode stay in view under the screen.
        const double fit = std::max(
            0.01, std::min(area.width() / 350.0, (area.height() - decode_->rowsHeight()) / 250.0));
        RescaleCursors(cursors_, zoom_, fit);
        zoom_ = fit;
        ZoomCombo_->setEditText(ZoomText(zoom_));
        BackPic_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        BackPic_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    } else {
        BackPic_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
        BackPic_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
        BackPic_->horizontalScrollBar()->setPageStep(100);
        BackPic_->verticalScrollBar()->setPageStep(100);
    }
    // Only a picture of another size is drawn anew: a resize that keeps the
    // zoom is a paint of the same image.
    if (WavePic_->image().size() != ScreenPictureSize(zoom_) + QSize(0, decode_->rowsHeight()))
        redraw();
}

QImage frmWave::renderAt(double z) const {
    QImage image = RenderScreen(record(), z, IsDigitalModel == 1);
    if (decode_->rowsHeight() == 0) return image;
    QImage withRows(image.width(), image.height() + decode_->rowsHeight(), image.format());
    QPainter p(&withRows);
    p.drawImage(0, 0, image);
    decode_->paintRows(p, image.height(), 0, image.width(), decodeScale(z, image.width()));
    return withRows;
}

decode::PixelScale frmWave::decodeScale(double z, int width) const {
    // Sample k of the 600 lies on column k / 2, at x = 25 + column * z.
    decode::PixelScale scale;
    scale.firstSample = -25.0 * 2 / z;
    scale.samplesPerPixel = 2 / z;
    scale.width = width;
    return scale;
}

void frmWave::redraw() {
    if (firstPaint_) return;
    screen_ = renderAt(zoom_);
    redrawCursors();
}

void frmWave::redrawCursors() {
    if (firstPaint_ || screen_.isNull()) return;
    if (!cursors_.CursorXOn && !cursors_.CursorYOn) {
        WavePic_->setImage(screen_);
        return;
    }
    QImage picture = screen_;
    QPainter painter(&picture);
    DisplayCursorM(painter, record(), cursors_, zoom_);
    painter.end();
    WavePic_->setImage(picture);
}

void frmWave::ChkCursor_Click(bool x, bool on) {
    (x ? cursors_.CursorXOn : cursors_.CursorYOn) = on;
    redrawCursors();
}

void frmWave::WavePic_Mouse(QEvent::Type type, QPointF at, Qt::MouseButtons buttons) {
    const bool split = record().SplitScreen;
    switch (type) {
    case QEvent::MouseButtonPress: {
        const int rowsTop = picture().height() - decode_->rowsHeight();
        if (decode_->rowsHeight() > 0 && at.y() >= rowsTop) {
            decode_->clickRows(at.x(), static_cast<int>(at.y()) - rowsTop,
                               decodeScale(zoom_, picture().width()));
            return;
        }
        if (buttons & Qt::LeftButton) cursors_.dragging = CursorAt(cursors_, at, zoom_, split);
        break;
    }
    case QEvent::MouseMove:
        if (cursors_.dragging != CursorId::None) {
            DragCursor(cursors_, cursors_.dragging, at, zoom_);
            if (!firstPaint_) redrawCursors(); // only the cursors: the screen stays
            return;
        }
        break;
    case QEvent::MouseButtonRelease:
        cursors_.dragging = CursorId::None;
        break;
    default:
        break;
    }
    // The pointer shows what a press would grab.
    const CursorId under = cursors_.dragging != CursorId::None
                               ? cursors_.dragging
                               : CursorAt(cursors_, at, zoom_, split);
    if (under == CursorId::None)
        WavePic_->unsetCursor();
    else if (under <= CursorId::AltX2)
        WavePic_->setCursor(Qt::SizeHorCursor);
    else
        WavePic_->setCursor(Qt::SizeVerCursor);
}

const QImage& frmWave::picture() const {
    return WavePic_->image();
}

// ---- output ----------------------------------------------------------------------------

void frmWave::cmdExport_Click() {
    ExportPicture(picture());
}

void frmWave::cmdPrint_Click() {
    // Printed at 200 %: 700 x 500 pixels, whatever the window shows.
    platform::PrintBitmap(renderAt(2.0), record().Name);
    redraw();
}

void frmWave::cmdPreview_Click() {
    platform::PrintPreviewBitmap(renderAt(2.0), record().Name);
    redraw();
}

// ---- closing ----------------------------------------------------------------------------

bool frmWave::MayClose() const {
    return !JobRunning && !RefreshMark;
}

void frmWave::EndAuto() {
    EndAutoRefresh(RefreshKind::Wave, refreshWindow());
}

void frmWave::Unload() {
    record().NeedsInit = false;
    if (AutoRefreshActive(RefreshKind::Wave)) {
        DocWindow* running = nullptr;
        if (ActiveRefreshSlot >= 0 && ActiveRefreshSlot < DocCount(DocKind::Wave))
            running = DocForm(DocKind::Wave, ActiveRefreshSlot);
        if (auto* wave = qobject_cast<frmWave*>(running))
            wave->EndAuto();
        else
            SetAutoRefreshActive(RefreshKind::Wave, false);
    }
}

void RegisterWaveWindow() {
    SetDocWindowFactory(DocKind::Wave, [](int slot) -> DocWindow* { return new frmWave(slot); });
}
