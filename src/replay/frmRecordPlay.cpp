// SPDX-License-Identifier: GPL-3.0-or-later
#include "replay/frmRecordPlay.h"
#include "export/CaptureExport.h"
#include "shared/Icons.h"
#include "views/Exports.h"

#include "platform/Faults.h"
#include "platform/FileDialog.h"
#include "platform/HoldRepeat.h"
#include "platform/MsgBox.h"
#include "platform/Printing.h"
#include "platform/SafeFile.h"
#include "replay/RecordFile.h"
#include "shared/LoadLanguage.h"
#include "shared/StringRES.h"
#include "sheet/SheetRecords.h"
#include "views/ReadoutText.h"
#include "views/ScreenRenderer.h"

#include <QBuffer>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QSlider>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

QPointF SecondTextPlace(double left, double row, int firstWidth, int secondWidth, double wanted,
                        double right, int lineHeight) {
    const double gap = lineHeight; // about two blanks
    const double x = std::max(wanted, left + firstWidth + gap);
    if (x + secondWidth <= right) return {x, row};
    return {left, row + lineHeight};
}

namespace {
QString text(const char* control) {
    return FormText("frmRecordPlay", control);
}
bool chinese() {
    return CaptionLanguage() == kLanguageChinese;
}

// The status line: the word in white, the frame counter in green, on black.
class StatusStrip : public QWidget {
public:
    QString word, counter;
    StatusStrip() { setFixedHeight(26); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), Qt::black);
        p.setPen(Qt::white);
        const int base = 8 + p.fontMetrics().ascent();
        p.drawText(30, base, word);
        p.setPen(QColor(0, 255, 0));
        p.drawText(30 + p.fontMetrics().horizontalAdvance(word) + 8, base, counter);
    }
};

// The screen's place: it takes the room the window gives it and draws the
// frame made for its size; its own size never depends on the picture.
class FramePanel : public QWidget {
public:
    QImage image;
    std::function<void()> resized;
    FramePanel() {
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
        setMinimumSize(200, 150);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), palette().window());
        p.drawImage(0, 0, image);
    }
    void resizeEvent(QResizeEvent*) override {
        if (resized) resized();
    }
};

const char* const kPlayTips[8] = {"cmdPlay.tip", "cmdPause.tip", "cmdStop.tip", "cmdFirst.tip",
                                  "cmdLast.tip", "cmdNext.tip",  "cmdPrev.tip", "chkLoop.tip"};
const char* const kPlayIcons[8] = {
    "media-playback-start", "media-playback-pause", "media-playback-stop", "media-skip-backward",
    "media-skip-forward",   "media-seek-forward",   "media-seek-backward", "media-playlist-repeat"};
} // namespace

// ---- drawing a frame -----------------------------------------------------------------

double RecordZoom(QSize size) {
    return std::max(0.1, std::min((size.width() - 50) / 300.0, (size.height() - 50) / 200.0));
}

QImage RecordFrameRenderer::draw(const RecordRecord& rec, QSize size) {
    const double z = RecordZoom(size);
    const QSize picture(static_cast<int>(std::lround(300 * z + 50)),
                        static_cast<int>(std::lround(200 * z + 50)));
    const QString texts = rec.Source + rec.VoltDiv + rec.Offset + rec.TimeDiv + rec.Delay;
    if (base_.isNull() || size_ != picture || colour_ != rec.ColorMode || texts_ != texts) {
        // The grid, the marks and the texts change with the window, not the frame.
        size_ = picture;
        colour_ = rec.ColorMode;
        texts_ = texts;
        base_ = QImage(picture, QImage::Format_RGB32);
        QPainter p(&base_);
        DrawScreenGrid(p, ScreenStyle{rec.ColorMode, true, false}, z, picture);
        if (rec.HasSamples || rec.Loaded) {
            Surface s(p);
            const bool ch2 = rec.Source == QLatin1String("CH2");
            const QColor trace = rec.ColorMode ? (ch2 ? ColorCh2 : ColorCh1) : QColor(Qt::black);
            const QColor marker = rec.ColorMode ? ColorMarker : QColor(Qt::black);
            // The channel's mark at its offset, the trigger's at its delay.
            const double scale = ScreenVolt(rec.VoltDiv);
            const double g = scale != 0
                                 ? std::clamp(100 - ScreenVolt(rec.Offset) / scale * 25, 0.0, 200.0)
                                 : 100;
            s.setFore(trace);
            const double y0 = g * z + 25 - 5;
            s.line(6, y0, 19, y0);
            s.lineTo(23, y0 + 5);
            s.lineTo(19, y0 + 10);
            s.lineTo(6, y0 + 10);
            s.lineTo(6, y0);
            s.text(10, y0 - 1, ch2 ? "2" : "1");
            const double timeScale = ScreenTime(rec.TimeDiv);
            const double c =
                timeScale != 0
                    ? std::clamp(150 - ScreenTime(rec.Delay) / timeScale * 25, 4.0, 295.0)
                    : 150;
            s.setFore(marker);
            const double x = c * z + 25 - 4;
            s.line(x, 26, x + 8, 26);
            s.lineTo(x + 4, 30);
            s.lineTo(x, 26);
            s.text(x + 1, 9, "T");
            const double row = 200 * z + 29;
            const QString volts =
                rec.Source + " Volt/Div: " + rec.VoltDiv + "  Offset: " + rec.Offset;
            const QString times = "TimeDiv: " + rec.TimeDiv + "  Delay: " + rec.Delay;
            s.setFore(trace);
            s.text(25, row, volts);
            s.setFore(marker);
            const QPointF at =
                SecondTextPlace(25, row, s.textWidth(volts), s.textWidth(times), 25 + 150 * z,
                                25 + 300 * z, s.painter().fontMetrics().height());
            s.text(at.x(), at.y(), times);
        }
    }
    QImage out = base_;
    if (!rec.HasSamples || rec.CurrentFrame < 1) return out;
    QPainter p(&out);
    p.setPen(QPen(rec.ColorMode ? (rec.Source == QLatin1String("CH2") ? ColorCh2 : ColorCh1)
                                : QColor(Qt::black)));
    std::array<QPointF, kFrameSamples> points;
    int n = 0;
    for (int k = 0; k < kFrameSamples; ++k) {
        const int sample = FrameSample(rec, rec.CurrentFrame, k);
        if (sample < 0) break; // a frame the record does not hold
        points[static_cast<std::size_t>(n++)] = QPointF(25 + k * z, sample * z + 25);
    }
    if (n >= 2) p.drawPolyline(points.data(), n);
    return out;
}

// ---- the window ---------------------------------------------------------------------

frmRecordPlay::frmRecordPlay(int slot)
    : DocWindow(DocKind::Record, slot),
      controller_([this]() -> RecordRecord& { return record(); }) {
    setObjectName("frmRecordPlay");
    buildControls();
    TimerInterval_ = new QTimer(this);
    TimerInterval_->setTimerType(Qt::PreciseTimer);
    connect(TimerInterval_, &QTimer::timeout, this,
            platform::Guarded("TimerInterval_Timer", [this] { controller_.Tick(); }));
    controller_.setSlider = [this](int value) {
        if (SliderFrame_->value() != value && SliderFrame_->isEnabled() &&
            value <= SliderFrame_->maximum())
            SliderFrame_->setValue(value); // its change draws
        else
            controller_.SliderChanged(value);
    };
    controller_.drawFrame = [this] { drawFrame(); };
    controller_.startTimer = [this](int ms) { TimerInterval_->start(std::max(1, ms)); };
    controller_.stopTimer = [this] { TimerInterval_->stop(); };
    replayClock_.start();
    controller_.clock = [this] { return replayClock_.nsecsElapsed() / 1e6; };
    controller_.statusChanged = [this] { updateStatus(); };
    Timer1_ = new QTimer(this);
    Timer1_->setSingleShot(true);
    Timer1_->setInterval(1);
    connect(Timer1_, &QTimer::timeout, this,
            platform::Guarded("Timer1_Timer", [this] { Timer1_Timer(); }));
    captionRoutine_ = AddCaptionRoutine([this](int index) { applyCaptions(index); });
    applyCaptions(CaptionLanguage());
    resize(560, 460);
    Timer1_->start();
}

frmRecordPlay::~frmRecordPlay() {
    RemoveCaptionRoutine(captionRoutine_);
}

RecordRecord& frmRecordPlay::record() const {
    return RecordRecords[Tag()];
}

void frmRecordPlay::buildControls() {
    auto* tools = new QHBoxLayout;
    auto tool = [tools](const char* icon) {
        auto* b = new QToolButton;
        b->setIcon(ThemeIcon(icon));
        b->setAutoRaise(true);
        tools->addWidget(b);
        return b;
    };
    cmdRun_ = tool("document-open");
    FlatBttn_[4] = tool("color-management");
    FlatBttn_[5] = tool("color-picker-grey");
    FlatBttn_[1] = tool("document-save-as");
    cmdCapture_ = tool("text-csv");
    cmdCapture_->setObjectName("cmdCapture");
    connect(cmdCapture_, &QToolButton::clicked, this, platform::Guarded("cmdCapture_Click", [this] {
                QString error;
                ExportCapture(CaptureOfFrame(record(), record().CurrentFrame, &error));
            }));
    FlatBttn_[2] = tool("document-print");
    FlatBttn_[3] = tool("document-print-preview");
    tools->addStretch(1);
    connect(cmdRun_, &QToolButton::clicked, this,
            platform::Guarded("cmdRun_Click", [this] { OpenRecordFile(); }));
    connect(FlatBttn_[4], &QToolButton::clicked, this,
            platform::Guarded("FlatBttn4_Click", [this] { SetColour(true); }));
    connect(FlatBttn_[5], &QToolButton::clicked, this,
            platform::Guarded("FlatBttn5_Click", [this] { SetColour(false); }));
    connect(FlatBttn_[1], &QToolButton::clicked, this,
            platform::Guarded("FlatBttn1_Click", [this] { SaveBitmap(); }));
    connect(FlatBttn_[2], &QToolButton::clicked, this,
            platform::Guarded("FlatBttn2_Click", [this] { PrintFrame(false); }));
    connect(FlatBttn_[3], &QToolButton::clicked, this,
            platform::Guarded("FlatBttn3_Click", [this] { PrintFrame(true); }));

    auto* picture = new FramePanel;
    picture->resized = [this] {
        if (!firstTick_) drawFrame();
    };
    RecordWavePic_ = picture;
    auto* status = new StatusStrip;
    PicMsg_ = status;

    auto* play = new QHBoxLayout;
    for (std::size_t i = 0; i < AresBtnPlay_.size(); ++i) {
        auto* b = new QToolButton;
        b->setIcon(ThemeIcon(kPlayIcons[i]));
        b->setCheckable(i <= 2 || i == 7);
        play->addWidget(b);
        AresBtnPlay_[i] = b;
        connect(b, &QToolButton::clicked, this, [this, i] {
            platform::RunHandler("AresBtnPlay_Click", [&] {
                switch (i) {
                case 0:
                    controller_.Start();
                    break;
                case 1:
                    controller_.Pause();
                    break;
                case 2:
                    controller_.Stop();
                    break;
                case 3:
                    controller_.First();
                    break;
                case 4:
                    controller_.Last();
                    break;
                case 5:
                    controller_.Step(1);
                    break;
                case 6:
                    controller_.Step(-1);
                    break;
                default:
                    controller_.ToggleLoop();
                    break;
                }
                updateStatus();
            });
        });
    }
    AresBtnSub_ = new QToolButton;
    AresBtnSub_->setText("-");
    lblTimeInterval_ = new QLabel;
    lblTimeInterval_->setMinimumWidth(70);
    lblTimeInterval_->setAlignment(Qt::AlignCenter);
    AresBtnAdd_ = new QToolButton;
    AresBtnAdd_->setText("+");
    AresBtnDefaultTime_ = new QToolButton;
    AresBtnDefaultTime_->setIcon(ThemeIcon("edit-undo"));
    play->addSpacing(12);
    play->addWidget(AresBtnSub_);
    play->addWidget(lblTimeInterval_);
    play->addWidget(AresBtnAdd_);
    play->addWidget(AresBtnDefaultTime_);
    play->addStretch(1);
    for (bool up : {true, false}) {
        QToolButton* b = up ? AresBtnAdd_ : AresBtnSub_;
        new platform::HoldRepeat(
            b, 100,
            [this, up] {
                controller_.SpeedPress(up);
                lblTimeInterval_->setText(IntervalText());
            },
            [this] {
                controller_.SpeedTick();
                lblTimeInterval_->setText(IntervalText());
            });
    }
    connect(AresBtnDefaultTime_, &QToolButton::clicked, this, [this] {
        controller_.DefaultInterval();
        lblTimeInterval_->setText(IntervalText());
    });
    SliderFrame_ = new QSlider(Qt::Horizontal);
    SliderFrame_->setEnabled(false);
    connect(SliderFrame_, &QSlider::valueChanged, this, [this](int value) {
        platform::RunHandler("SliderFrame_Change", [&] { controller_.SliderChanged(value); });
    });
    connect(SliderFrame_, &QSlider::sliderPressed, this, [this] {
        resumeAfterDrag_ = controller_.status() == ReplayStatus::Replaying;
        if (resumeAfterDrag_) controller_.Pause();
    });
    connect(SliderFrame_, &QSlider::sliderReleased, this, [this] {
        if (resumeAfterDrag_) controller_.Start();
    });

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(tools);
    layout->addWidget(picture, 1);
    layout->addWidget(status);
    layout->addWidget(SliderFrame_);
    layout->addLayout(play);
}

void frmRecordPlay::applyCaptions(int index) {
    if (index != kLanguageChinese && index != kLanguageEnglish) return;
    cmdRun_->setToolTip(text("cmdOpen.tip"));
    FlatBttn_[4]->setToolTip(text("optColor.tip"));
    FlatBttn_[5]->setToolTip(text("optMono.tip"));
    FlatBttn_[1]->setToolTip(text("cmdSave.tip"));
    cmdCapture_->setToolTip(ExportCaptureText());
    FlatBttn_[2]->setToolTip(text("cmdPrint.tip"));
    FlatBttn_[3]->setToolTip(text("cmdPreview.tip"));
    for (std::size_t i = 0; i < AresBtnPlay_.size(); ++i)
        AresBtnPlay_[i]->setToolTip(text(kPlayTips[i]));
    AresBtnDefaultTime_->setToolTip(text("cmdInterval.tip"));
    updateStatus();
}

QString frmRecordPlay::IntervalText() const {
    return ConvertTimeToStr(record().IntervalSeconds).replace(',', '.');
}

QString frmRecordPlay::StatusLine() const {
    const auto* strip = static_cast<const StatusStrip*>(PicMsg_);
    return strip->counter.isEmpty() ? strip->word : strip->word + " " + strip->counter;
}

void frmRecordPlay::updateStatus() {
    const RecordRecord& r = record();
    auto* strip = static_cast<StatusStrip*>(PicMsg_);
    const bool loaded = r.HasSamples || r.Loaded;
    if (!loaded) {
        strip->word = text("labPrompt");
        strip->counter.clear();
    } else {
        const bool zh = chinese();
        switch (static_cast<ReplayStatus>(r.Status)) {
        case ReplayStatus::Replaying:
            strip->word = zh ? QString::fromUtf8("正在回放") : QStringLiteral("Replaying");
            break;
        case ReplayStatus::Pause:
            strip->word = zh ? QString::fromUtf8("暂停") : QStringLiteral("Pause");
            break;
        case ReplayStatus::Stop:
            strip->word = zh ? QString::fromUtf8("停止") : QStringLiteral("Stop");
            break;
        }
        strip->counter = QString::number(r.CurrentFrame) + "/" + QString::number(r.FrameCount);
    }
    RecordRecords[Tag()].StatusText = strip->word;
    strip->update();
    for (int i = 0; i < 3; ++i)
        AresBtnPlay_[static_cast<std::size_t>(i)]->setChecked(loaded && r.Status == i);
    AresBtnPlay_[7]->setChecked(r.Loop);
    for (int i = 0; i <= 6; ++i)
        AresBtnPlay_[static_cast<std::size_t>(i)]->setEnabled(loaded);
    const bool replaying = loaded && r.Status == 0;
    AresBtnAdd_->setEnabled(!replaying);
    AresBtnSub_->setEnabled(!replaying);
    AresBtnDefaultTime_->setEnabled(!replaying);
    lblTimeInterval_->setText(IntervalText());
}

void frmRecordPlay::setUpAfterLoad() {
    const RecordRecord& r = record();
    SliderFrame_->blockSignals(true);
    if (r.FrameCount < 2) {
        SliderFrame_->setEnabled(false);
    } else {
        SliderFrame_->setEnabled(true);
        SliderFrame_->setRange(1, r.FrameCount);
        SliderFrame_->setValue(r.CurrentFrame);
    }
    SliderFrame_->blockSignals(false);
    updateStatus();
}

void frmRecordPlay::Timer1_Timer() {
    firstTick_ = false;
    record().Used = true;
    setUpAfterLoad();
    drawFrame();
}

void frmRecordPlay::ShowRecord() {
    setWindowTitle(DocCaption(DocKind::Record, Tag()));
    if (!firstTick_) {
        setUpAfterLoad();
        drawFrame();
    }
}

void frmRecordPlay::drawFrame() {
    auto* panel = static_cast<FramePanel*>(RecordWavePic_);
    picture_ = renderer_.draw(record(), panel->size());
    panel->image = picture_;
    panel->update(); // repaints coalesce: a fast replay draws many frames a paint
    ++framesDrawn_;
    updateStatus();
}

void frmRecordPlay::OpenRecordFile() {
    platform::FileDialogRequest request;
    request.title =
        chinese() ? QString::fromUtf8("打开波形录制文件") : QStringLiteral("Open Record Files");
    request.filter =
        (chinese() ? QString::fromUtf8("录制文件 ") : QStringLiteral("Record Files ")) +
        "(*.rcd)|*.rcd";
    request.fileMustExist = true;
    const std::optional<QString> path = platform::ShowFileDialog(request);
    if (!path || path->isEmpty()) return;
    LoadRecord(*path);
}

bool frmRecordPlay::LoadRecord(const QString& path) {
    controller_.Pause();
    QString error;
    const RecordLoad result = LoadRecordFile(path, record(), &error);
    if (result != RecordLoad::Ok) {
        platform::MsgBox(error.isEmpty() ? RecordLoadMessage(result) : error);
        updateStatus();
        return false;
    }
    setWindowTitle(DocCaption(DocKind::Record, Tag()));
    setUpAfterLoad();
    drawFrame();
    SheetDirty = true;
    controller_.Start();
    return true;
}

void frmRecordPlay::SetColour(bool colour) {
    record().ColorMode = colour;
    SheetDirty = true;
    drawFrame();
}

void frmRecordPlay::SaveBitmap() {
    if (controller_.status() == ReplayStatus::Replaying) controller_.Pause();
    ExportPicture(picture_);
}

void frmRecordPlay::PrintFrame(bool preview) {
    if (controller_.status() == ReplayStatus::Replaying) controller_.Pause();
    drawFrame();
    if (preview)
        platform::PrintPreviewBitmap(picture_, record().Name);
    else
        platform::PrintBitmap(picture_, record().Name);
}

void frmRecordPlay::Unload() {
    if (controller_.status() == ReplayStatus::Replaying) controller_.Pause();
    record().Used = false;
}

void RegisterRecordWindow() {
    SetDocWindowFactory(DocKind::Record,
                        [](int slot) -> DocWindow* { return new frmRecordPlay(slot); });
}
