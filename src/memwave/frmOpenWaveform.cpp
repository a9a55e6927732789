// SPDX-License-Identifier: GPL-3.0-or-later
#include "memwave/frmOpenWaveform.h"

#include "export/CaptureExport.h"
#include "shared/Icons.h"
#include "views/AnalyserPane.h"
#include "views/DecodePane.h"
#include "views/Exports.h"

#include "memwave/CsvExport.h"
#include "memwave/WaveformFile.h"
#include "platform/Faults.h"
#include "platform/FileDialog.h"
#include "platform/HoldRepeat.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/Printing.h"
#include "platform/SafeFile.h"
#include "platform/Status.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"
#include "sheet/SheetRecords.h"
#include "views/ScreenRenderer.h"
#include "views/frmWave.h"

#include <QBuffer>
#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QElapsedTimer>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QProgressBar>
#include <QRadioButton>
#include <QScrollArea>
#include <QSplitter>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <cmath>

namespace {
QString text(const char* control) {
    return FormText("frmOpenWaveform", control);
}
bool chinese() {
    return CaptionLanguage() == kLanguageChinese;
}
QString number(double v) {
    return QString::number(v, 'g', 9);
}
std::int64_t picoseconds(double seconds) {
    return std::llround(seconds * 1e12);
}
std::int64_t microvolts(double volts) {
    return std::llround(volts * 1e6);
}
} // namespace

// ---- the export's progress window ----------------------------------------------------

frmPrgressSave::frmPrgressSave(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::WindowTitleHint | Qt::CustomizeWindowHint),
      bar_(new QProgressBar) {
    bar_->setRange(0, 100);
    bar_->setMinimumWidth(300);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(bar_);
}

void frmPrgressSave::closeEvent(QCloseEvent* event) {
    if (busy) {
        event->ignore(); // the export runs to its end
        return;
    }
    QWidget::closeEvent(event);
}

// ---- the window -------------------------------------------------------------------------

frmOpenWaveform::frmOpenWaveform(int slot) : DocWindow(DocKind::MemoryWave, slot) {
    setObjectName("frmOpenWaveform");
    buildControls();
    KeepCursorsInFrame(cursors_, zoom_);
    captionRoutine_ = AddCaptionRoutine([this](int index) { applyCaptions(index); });
    applyCaptions(CaptionLanguage());
    resize(680, 520);
    QTimer::singleShot(1, this, platform::Guarded("Timer1_Timer", [this] { Timer1_Timer(); }));
}

frmOpenWaveform::~frmOpenWaveform() {
    RemoveCaptionRoutine(captionRoutine_);
}

MemoryRecord& frmOpenWaveform::record() const {
    return MemoryRecords[Tag()];
}

void frmOpenWaveform::buildControls() {
    auto* tools = new QHBoxLayout;
    auto tool = [tools](QToolButton*& b, const char* icon) {
        b = new QToolButton;
        b->setIcon(ThemeIcon(icon));
        b->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        tools->addWidget(b);
    };
    tool(cmdOpen_, "document-open");
    tool(cmdCsv_, "text-csv");
    tool(cmdBitmap_, "image-x-generic");
    tool(cmdPrint_, "document-print");
    tool(cmdPreview_, "document-print-preview");
    tool(cmdCapture_, "document-save-as");
    tool(cmdPulseView_, "korvane-wave");
    tool(cmdDecode_, "korvane-decode");
    tool(cmdSpectrum_, "korvane-fft");
    cmdSpectrum_->setObjectName("cmdSpectrum");
    cmdSpectrum_->setCheckable(true);
    connect(cmdSpectrum_, &QToolButton::toggled, this, [this](bool on) {
        platform::RunHandler("cmdSpectrum_Click", [&] { Spectrum_Click(on); });
    });
    cmdDecode_->setObjectName("cmdDecode");
    connect(cmdDecode_, &QToolButton::clicked, this,
            platform::Guarded("cmdDecode_Click", [this] { Decode_Click(); }));
    cmdCapture_->setObjectName("cmdCapture");
    cmdPulseView_->setObjectName("cmdPulseView");
    cmdPulseView_->setVisible(PulseViewInstalled()); // only where PulseView is there
    connect(cmdCapture_, &QToolButton::clicked, this, platform::Guarded("cmdCapture_Click", [this] {
                QString error;
                ExportCapture(CaptureOfMemory(record(), &error));
            }));
    connect(cmdPulseView_, &QToolButton::clicked, this,
            platform::Guarded("cmdPulseView_Click", [this] {
                QString error;
                const Capture capture = CaptureOfMemory(record(), &error);
                if (capture.samples() == 0)
                    platform::MsgBox(MsgBadWaveform);
                else
                    OpenInPulseView(capture);
            }));
    connect(cmdOpen_, &QToolButton::clicked, this,
            platform::Guarded("cmdOpen_Click", [this] { OpenWaveformFile(); }));
    connect(cmdCsv_, &QToolButton::clicked, this,
            platform::Guarded("FlatBttn3_Click", [this] { ExportCsv(); }));
    connect(cmdBitmap_, &QToolButton::clicked, this,
            platform::Guarded("FlatBttn4_Click", [this] { SaveBitmap(); }));
    connect(cmdPrint_, &QToolButton::clicked, this,
            platform::Guarded("cmdPrint_Click", [this] { PrintPicture(false); }));
    connect(cmdPreview_, &QToolButton::clicked, this,
            platform::Guarded("cmdPreview_Click", [this] { PrintPicture(true); }));
    tools->addStretch(1);

    // A ladder box: the value, and - and + that step it while held.
    auto ladder = [this](QLineEdit*& box, HoldTarget target) {
        auto* w = new QWidget;
        auto* l = new QHBoxLayout(w);
        l->setContentsMargins(0, 0, 0, 0);
        auto* dec = new QToolButton;
        dec->setText("-");
        box = new QLineEdit;
        box->setReadOnly(true);
        box->setMaximumWidth(80);
        auto* inc = new QToolButton;
        inc->setText("+");
        l->addWidget(dec);
        l->addWidget(box);
        l->addWidget(inc);
        for (bool up : {false, true}) {
            auto step = [this, target, up] {
                platform::RunHandler("abtn_Click", [&] { Step(target, up); });
            };
            new platform::HoldRepeat(up ? inc : dec, 200, step, step);
        }
        return w;
    };
    auto* controls = controls_ = new QBoxLayout(QBoxLayout::LeftToRight);
    auto* timeBox = timeBox_ = new QGroupBox("Time/Div");
    auto* tl = new QHBoxLayout(timeBox);
    framTimeDiv_ = ladder(txtTimeDiv_, HoldTarget::TimeDiv);
    framAltTimeDiv_ = new QWidget;
    auto* al = new QHBoxLayout(framAltTimeDiv_);
    al->setContentsMargins(0, 0, 0, 0);
    al->addWidget(new QLabel("CH1"));
    al->addWidget(ladder(txtCH1TimeDiv_, HoldTarget::TimeDiv1));
    al->addWidget(new QLabel("CH2"));
    al->addWidget(ladder(txtCH2TimeDiv_, HoldTarget::TimeDiv2));
    tl->addWidget(framTimeDiv_);
    tl->addWidget(framAltTimeDiv_);
    framAltTimeDiv_->hide();
    auto* voltBox = voltBox_ = new QGroupBox("Volt/Div");
    auto* vl = new QHBoxLayout(voltBox);
    vl->addWidget(new QLabel("CH1"));
    vl->addWidget(ladder(txtCH1Div_, HoldTarget::Ch1Div));
    vl->addWidget(new QLabel("CH2"));
    vl->addWidget(ladder(txtCH2Div_, HoldTarget::Ch2Div));
    controls->addWidget(timeBox);
    controls->addWidget(voltBox);

    auto* display = new QHBoxLayout;
    ZoomCombo_ = new QComboBox;
    ZoomCombo_->setEditable(true);
    ZoomCombo_->addItems({"100%", "200%", "300%"});
    ZoomCombo_->setEnabled(false);
    connect(ZoomCombo_, &QComboBox::textActivated, this,
            platform::Guarded("ZoomCombo_Click", [this] { ZoomCombo_Commit(); }));
    auto* colours = new QButtonGroup(this);
    for (int i = 0; i < 2; ++i) {
        OptionColor_[i] = new QRadioButton;
        colours->addButton(OptionColor_[i], i);
    }
    connect(colours, &QButtonGroup::idClicked, this, [this](int id) {
        platform::RunHandler("OptionColor_Click", [&] { SetColour(id == 0); });
    });
    GridCheck_ = new QCheckBox;
    connect(GridCheck_, &QCheckBox::clicked, this,
            [this](bool on) { platform::RunHandler("GridCheck_Click", [&] { SetGrid(on); }); });
    ChkCursorX_ = new QCheckBox;
    ChkCursorY_ = new QCheckBox;
    connect(ChkCursorX_, &QCheckBox::toggled, this, [this](bool on) {
        cursors_.CursorXOn = on;
        redraw();
    });
    connect(ChkCursorY_, &QCheckBox::toggled, this, [this](bool on) {
        cursors_.CursorYOn = on;
        redraw();
    });
    cmdReset_ = new QToolButton;
    connect(cmdReset_, &QToolButton::clicked, this,
            platform::Guarded("Reset_Click", [this] { Reset_Click(); }));
    zoomLabel_ = new QLabel("Zoom");
    display->addWidget(zoomLabel_);
    display->addWidget(ZoomCombo_);
    display->addWidget(OptionColor_[0]);
    display->addWidget(OptionColor_[1]);
    display->addWidget(GridCheck_);
    display->addWidget(ChkCursorX_);
    display->addWidget(ChkCursorY_);
    display->addWidget(cmdReset_);
    display->addStretch(1);

    BackPic_ = new QScrollArea;
    BackPic_->setWidgetResizable(false);
    BackPic_->setBackgroundRole(QPalette::Dark);
    MemoryWavePic_ = new WavePicture;
    MemoryWavePic_->onMouse = [this](QEvent::Type type, QPointF at, Qt::MouseButtons buttons) {
        platform::RunHandler("MemoryWavePic_Mouse", [&] { Mouse(type, at, buttons); });
    };
    BackPic_->setWidget(MemoryWavePic_);
    AddYChannelMenu(MemoryWavePic_, cursors_, [this] { redraw(); });

    decode_ = new DecodePane("MemoryWave");
    decode_->capture = [this] {
        QString error;
        return CaptureOfMemory(record(), &error);
    };
    decode_->centreOn = [this](std::int64_t sample) { CentreOnSample(sample); };
    decode_->changed = [this] { redraw(); };
    // The spectrum of what the screen shows, at the capture's own resolution.
    spectrum_ = new AnalyserPane;
    spectrum_->samples = [this](int channel, std::vector<double>& volts, double& rate,
                                QString& note) {
        const MemoryRecord& r = record();
        if (!r.Loaded || !(channel == 1 ? r.Ch1Valid : r.Ch2Valid)) return false;
        const CaptureTiming t = view_.timing(r, channel);
        const VisibleRange range = VisibleRangeFor(t);
        if (range.empty()) return false;
        std::int64_t from = range.sourceStart, count = range.sourceStop - range.sourceStart + 1;
        constexpr std::int64_t kMost = 1 << 20;
        if (count > kMost) { // the middle of a wider view
            note = (chinese() ? QString::fromUtf8("可见 %1 点的中间 1048576 点")
                              : QStringLiteral("the middle 1,048,576 of %1 points shown"))
                       .arg(count);
            from += (count - kMost) / 2;
            count = kMost;
        }
        const auto v = MemoryVolts(r, channel, from, count);
        volts.assign(v.begin(), v.end());
        rate = t.sampleRate;
        return !volts.empty();
    };
    split_ = PictureArea(BackPic_, spectrum_, decode_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4); // every pixel counts beside the docks at 800x600
    layout->addLayout(tools);
    layout->addLayout(controls);
    layout->addLayout(display);
    layout->addWidget(split_, 1);
}

void frmOpenWaveform::resizeEvent(QResizeEvent* event) {
    DocWindow::resizeEvent(event);
    // A narrow window (a small screen beside the docks) keeps every tool in
    // view: icons only, their names in the tool tips, and the ladders stacked.
    const bool narrow = width() < 780;
    for (QToolButton* b : {cmdOpen_, cmdCsv_, cmdBitmap_, cmdPrint_, cmdPreview_, cmdCapture_,
                           cmdPulseView_, cmdDecode_, cmdSpectrum_}) {
        b->setToolButtonStyle(narrow ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon);
    }
    controls_->setDirection(width() < 700 ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

void frmOpenWaveform::applyCaptions(int index) {
    if (index != kLanguageChinese && index != kLanguageEnglish) return;
    cmdOpen_->setText(text("cmdOpen"));
    cmdOpen_->setToolTip(chinese() ? QString::fromUtf8("打开波形文件") : "Open waveform File");
    cmdCsv_->setText("CSV");
    cmdCsv_->setToolTip(chinese() ? QString::fromUtf8("输出CSV") : "Output CSV");
    cmdBitmap_->setText(text("cmdBitmap").trimmed());
    cmdBitmap_->setToolTip(chinese() ? QString::fromUtf8("输出位图") : "Output Bitmap");
    cmdPrint_->setText(text("cmdPrint").trimmed());
    cmdPreview_->setText(text("cmdPreview").trimmed());
    cmdPrint_->setToolTip(cmdPrint_->text()); // the names, when only the icons show
    cmdPreview_->setToolTip(cmdPreview_->text());
    OptionColor_[0]->setText(text("optColor"));
    OptionColor_[1]->setText(text("optBW").replace("&&", "&"));
    GridCheck_->setText(text("chkGrid"));
    ChkCursorX_->setText(text("optCursorX"));
    ChkCursorY_->setText(text("optCursorY"));
    cmdReset_->setText(chinese() ? QString::fromUtf8("复位") : "Reset");
    cmdCapture_->setText(chinese() ? QString::fromUtf8("采集...") : QStringLiteral("Capture..."));
    cmdCapture_->setToolTip(
        chinese() ? QString::fromUtf8("为 PulseView、sigrok-cli、GTKWave 或 NumPy 导出")
                  : QStringLiteral("For PulseView, sigrok-cli, GTKWave or NumPy"));
    cmdPulseView_->setText(QStringLiteral("PulseView"));
    decode_->applyCaptions(cmdDecode_);
    spectrum_->applyCaptions(cmdSpectrum_, chinese()
                                               ? QString::fromUtf8("可见范围的频谱分析")
                                               : QStringLiteral("The spectrum of the range shown"));
    cmdPulseView_->setToolTip(OpenInPulseViewText());
    timeBox_->setTitle(text("labTimeDiv"));
    voltBox_->setTitle(TreeLabel("Volt/Div"));
    zoomLabel_->setText(text("labZoom"));
}

// ---- loading ---------------------------------------------------------------------------

void frmOpenWaveform::OpenWaveformFile() {
    platform::FileDialogRequest request;
    request.title =
        chinese() ? QString::fromUtf8("打开波形文件") : QStringLiteral("Open Waveform Files");
    request.filter =
        (chinese() ? QString::fromUtf8("波形文件 ") : QStringLiteral("Waveform Files ")) +
        "(*.wfm)|*.wfm";
    request.fileMustExist = true;
    const std::optional<QString> path = platform::ShowFileDialog(request);
    if (!path || path->isEmpty()) return;
    LoadWaveform(*path);
}

bool frmOpenWaveform::LoadWaveform(const QString& path) {
    MemoryRecord loaded;
    loaded.Name = record().Name;
    loaded.TreeNode = record().TreeNode;
    loaded.Used = record().Used;
    loaded.ColorDisplay = record().ColorDisplay;
    loaded.GridOn = record().GridOn;
    QString error;
    // A file that cannot be read or does not hold what its head promises is
    // refused with its reason; the capture shown before stays.
    if (LoadWaveformFile(path, loaded, &error) != WaveformLoad::Ok ||
        (!loaded.Loaded && !loaded.LAValid)) {
        platform::MsgBox(error.isEmpty() ? MsgFileError : error);
        return false;
    }
    record() = std::move(loaded);
    setWindowTitle(DocCaption(DocKind::MemoryWave, Tag()));
    SheetDirty = true;
    view_.attach(record());
    showValues();
    Pipeline(PipelinePart::All);
    return record().Loaded;
}

void frmOpenWaveform::Timer1_Timer() {
    const bool dirty = SheetDirty;
    firstTick_ = false;
    record().Used = true;
    if (record().Loaded || record().LAValid) {
        view_.attach(record());
        showValues();
    }
    ZoomCombo_->setEnabled(true);
    ZoomCombo_->setEditText(ZoomText(zoom_));
    GridCheck_->setChecked(record().GridOn);
    OptionColor_[record().ColorDisplay ? 0 : 1]->setChecked(true);
    Pipeline(PipelinePart::All);
    SheetDirty = dirty; // the first look is no change of the sheet
}

void frmOpenWaveform::ShowRecord() {
    setWindowTitle(DocCaption(DocKind::MemoryWave, Tag()));
    if (!firstTick_) {
        view_.attach(record());
        showValues();
        Pipeline(PipelinePart::All);
    }
}

QString frmOpenWaveform::shownText(HoldTarget target) const {
    const MemoryRecord& r = record();
    switch (target) {
    case HoldTarget::TimeDiv:
        return NormTime3(number(r.TimeDiv));
    case HoldTarget::TimeDiv1:
        return NormTime3(number(r.TimeDiv1));
    case HoldTarget::TimeDiv2:
        return NormTime3(number(r.TimeDiv2));
    case HoldTarget::Ch1Div:
        return NormVolt(number(r.VoltDiv1));
    case HoldTarget::Ch2Div:
        break;
    }
    return NormVolt(number(r.VoltDiv2));
}

void frmOpenWaveform::showValues() {
    const MemoryRecord& r = record();
    framTimeDiv_->setVisible(!r.Alternate);
    framAltTimeDiv_->setVisible(r.Alternate);
    txtTimeDiv_->setText(shownText(HoldTarget::TimeDiv));
    txtCH1TimeDiv_->setText(shownText(HoldTarget::TimeDiv1));
    txtCH2TimeDiv_->setText(shownText(HoldTarget::TimeDiv2));
    txtCH1Div_->setText(shownText(HoldTarget::Ch1Div));
    txtCH2Div_->setText(shownText(HoldTarget::Ch2Div));
}

// ---- the pipeline and the picture ---------------------------------------------------------

void frmOpenWaveform::Pipeline(PipelinePart part) {
    view_.pipeline(record(), part);
    redraw();
    if (spectrum_->isVisible()) spectrum_->Refresh(); // the range shown has changed
}

QImage frmOpenWaveform::render(double z) const {
    QImage image = RenderScreen(view_.screen(), z, true);
    const MemoryRecord& r = record();
    if (r.Loaded) {
        // The channels' positions, where the live screen has its math label.
        QPainter p(&image);
        Surface s(p);
        const double row = std::round(214 * z + 25);
        if (r.Ch1Valid && r.Ch1On) {
            s.setFore(r.ColorDisplay ? ColorCh1 : QColor(Qt::black));
            s.text(25, row, "Pos1:  " + NormVolt(number(r.OffsetVolt1)));
        }
        if (r.Ch2Valid && r.Ch2On) {
            s.setFore(r.ColorDisplay ? ColorCh2 : QColor(Qt::black));
            s.text(std::round(150 * z + 25), row, "Pos2:  " + NormVolt(number(r.OffsetVolt2)));
        }
        s.flush();
        DisplayCursorM(p, view_.screen(), cursors_, z);
    }
    if (decode_->rowsHeight() == 0) return image;
    // The annotation rows under the digital lanes, on the picture's time axis.
    QImage withRows(image.width(), image.height() + decode_->rowsHeight(), image.format());
    QPainter p(&withRows);
    p.drawImage(0, 0, image);
    decode_->paintRows(p, image.height(), 0, image.width(), decodeScale(z, image.width()));
    p.end();
    return withRows;
}

decode::PixelScale frmOpenWaveform::decodeScale(double z, int width) const {
    // Column c of the screen lies at x = 25 + c * z.
    const CaptureTiming t = view_.timing(record(), 1);
    decode::PixelScale scale;
    scale.firstSample = t.sampleAt(-25.0 / z);
    scale.samplesPerPixel = (t.sampleAt(1) - t.sampleAt(0)) / z;
    scale.width = width;
    return scale;
}

void frmOpenWaveform::Spectrum_Click(bool on) {
    spectrum_->setShown(on);
}

void frmOpenWaveform::Decode_Click() {
    ShowDecodePane(split_, decode_);
    decode_->ChooseDecoders();
}

void frmOpenWaveform::CentreOnSample(std::int64_t sample) {
    MemoryRecord& r = record();
    const CaptureTiming t = view_.timing(r, 1);
    if (!(t.sampleRate > 0)) return;
    const double time = (static_cast<double>(sample) - t.points / 2.0) / t.sampleRate + t.origin;
    (r.Alternate ? r.Delay1 : r.Delay) = time;
    SheetDirty = true;
    showValues();
    Pipeline(PipelinePart::All);
}

void frmOpenWaveform::redraw() {
    if (firstTick_) return;
    MemoryWavePic_->setImage(render(zoom_));
}

const QImage& frmOpenWaveform::picture() const {
    return MemoryWavePic_->image();
}

// ---- the controls ---------------------------------------------------------------------------

void frmOpenWaveform::Step(HoldTarget target, bool up) {
    MemoryRecord& r = record();
    SheetDirty = true;
    switch (target) {
    case HoldTarget::TimeDiv:
        r.TimeDiv = StepTimeLadder(picoseconds(r.TimeDiv), up) / 1e12;
        break;
    case HoldTarget::TimeDiv1:
        r.TimeDiv1 = StepTimeLadder(picoseconds(r.TimeDiv1), up) / 1e12;
        break;
    case HoldTarget::TimeDiv2:
        r.TimeDiv2 = StepTimeLadder(picoseconds(r.TimeDiv2), up) / 1e12;
        break;
    case HoldTarget::Ch1Div:
    case HoldTarget::Ch2Div: {
        const bool one = target == HoldTarget::Ch1Div;
        float& scale = one ? r.VoltDiv1 : r.VoltDiv2;
        float& offset = one ? r.OffsetVolt1 : r.OffsetVolt2;
        const float before = scale;
        scale = static_cast<float>(StepVoltLadder(microvolts(scale), up) / 1e6);
        if (before != 0) offset = offset * scale / before; // the trace stays where it is
        break;
    }
    }
    showValues();
    Pipeline(target == HoldTarget::Ch1Div   ? PipelinePart::Ch1
             : target == HoldTarget::Ch2Div ? PipelinePart::Ch2
                                            : PipelinePart::All);
}

void frmOpenWaveform::ZoomCombo_Commit() {
    if (CommitZoomBox(ZoomCombo_, zoom_, cursors_)) redraw();
}

void frmOpenWaveform::Reset_Click() {
    SheetDirty = true;
    MemoryRecord reloaded = record();
    if (!reloaded.FilePath.isEmpty()) {
        QString error;
        if (LoadWaveformFile(reloaded.FilePath, reloaded, &error) == WaveformLoad::Ok) {
            MemoryRecord& r = record();
            // The capture's own time and volt values come back.
            r.TimeDiv = reloaded.TimeDiv;
            r.Delay = reloaded.Delay;
            r.TimeDiv1 = reloaded.TimeDiv1;
            r.Delay1 = reloaded.Delay1;
            r.TimeDiv2 = reloaded.TimeDiv2;
            r.Delay2 = reloaded.Delay2;
            r.VoltDiv1 = reloaded.VoltDiv1;
            r.VoltDiv2 = reloaded.VoltDiv2;
            r.OffsetVolt1 = reloaded.OffsetVolt1;
            r.OffsetVolt2 = reloaded.OffsetVolt2;
        }
    }
    showValues();
    Pipeline(PipelinePart::All);
}

void frmOpenWaveform::SetColour(bool colour) {
    record().ColorDisplay = colour;
    SheetDirty = true;
    Pipeline(PipelinePart::All);
}

void frmOpenWaveform::SetGrid(bool grid) {
    record().GridOn = grid;
    SheetDirty = true;
    Pipeline(PipelinePart::All);
}

// ---- the mouse: cursors first, else the trace itself ------------------------------------------

void frmOpenWaveform::Mouse(QEvent::Type type, QPointF at, Qt::MouseButtons buttons) {
    MemoryRecord& r = record();
    const bool split = r.Alternate;
    switch (type) {
    case QEvent::MouseButtonPress: {
        if (!(buttons & Qt::LeftButton)) return;
        // The annotation rows lie under the screen, at the picture's foot.
        const int rowsTop = picture().height() - decode_->rowsHeight();
        if (decode_->rowsHeight() > 0 && at.y() >= rowsTop) {
            decode_->clickRows(at.x(), static_cast<int>(at.y()) - rowsTop,
                               decodeScale(zoom_, picture().width()));
            return;
        }
        cursors_.dragging = CursorAt(cursors_, at, zoom_, split);
        if (cursors_.dragging != CursorId::None || !r.Loaded) return;
        grabbing_ = true;
        grabAt_ = at;
        // In an alternate file the upper half is CH1's, the lower CH2's.
        grabChannel_ = split && at.y() > 200 * zoom_ / 2 + 25 ? 2 : (r.Ch1Valid ? 1 : 2);
        grabDelay_ = r.Alternate ? (grabChannel_ == 1 ? r.Delay1 : r.Delay2) : r.Delay;
        grabOffset_ = grabChannel_ == 1 ? r.OffsetVolt1 : r.OffsetVolt2;
        return;
    }
    case QEvent::MouseMove:
        if (cursors_.dragging != CursorId::None) {
            DragCursor(cursors_, cursors_.dragging, at, zoom_);
            redraw();
        } else if (grabbing_) {
            // 25 rows a division at the zoom: dragging right shows earlier times.
            const double dx = (at.x() - grabAt_.x()) / (25 * zoom_);
            const double dy = (at.y() - grabAt_.y()) / (25 * zoom_);
            const bool one = grabChannel_ == 1;
            const double timeDiv = r.Alternate ? (one ? r.TimeDiv1 : r.TimeDiv2) : r.TimeDiv;
            const double delay = grabDelay_ - dx * timeDiv;
            if (!r.Alternate)
                r.Delay = delay;
            else
                (one ? r.Delay1 : r.Delay2) = delay;
            float& offset = one ? r.OffsetVolt1 : r.OffsetVolt2;
            offset = static_cast<float>(grabOffset_ - dy * (one ? r.VoltDiv1 : r.VoltDiv2));
            SheetDirty = true;
            Pipeline(PipelinePart::All);
        }
        break;
    case QEvent::MouseButtonRelease:
        cursors_.dragging = CursorId::None;
        grabbing_ = false;
        break;
    default:
        break;
    }
    const CursorId under = CursorAt(cursors_, at, zoom_, split);
    if (under == CursorId::None)
        MemoryWavePic_->unsetCursor();
    else
        MemoryWavePic_->setCursor(under <= CursorId::AltX2 ? Qt::SizeHorCursor : Qt::SizeVerCursor);
}

// ---- output -----------------------------------------------------------------------------------

void frmOpenWaveform::ExportCsv() {
    const MemoryRecord& r = record();
    if (!(r.Ch1On && r.Ch1Valid) && !(r.Ch2On && r.Ch2Valid)) {
        platform::MsgBox(MsgBadWaveform);
        return;
    }
    platform::FileDialogRequest request;
    request.save = true;
    request.title =
        chinese() ? QString::fromUtf8("保存到CSV文件") : QStringLiteral("Save To CSV file");
    request.filter = (chinese() ? QString::fromUtf8("CSV文件 ") : QStringLiteral("CSV Files ")) +
                     "(*.csv)|*.csv";
    request.fileMustExist = false;
    const std::optional<QString> path = platform::ShowFileDialog(request);
    if (!path || path->isEmpty()) return;
    frmPrgressSave progress(this);
    progress.setWindowTitle(request.title);
    progress.busy = true;
    progress.show();
    exporting_ = true;
    // The interface runs between tenths, and every few milliseconds at most.
    QElapsedTimer pump;
    pump.start();
    const QString error = ::ExportCsv(*path, r, [&](int percent) {
        progress.bar()->setValue(percent);
        if (pump.elapsed() > 10) {
            platform::DoEvents();
            pump.restart();
        }
        return true;
    });
    exporting_ = false;
    progress.busy = false;
    progress.close();
    if (!error.isEmpty())
        platform::MsgBox(error, platform::MsgButtons::Ok, platform::MsgIcon::Critical);
    else
        platform::ShowStatus(ExportedToText(*path));
}

void frmOpenWaveform::SaveBitmap() {
    ExportPicture(picture());
}

void frmOpenWaveform::PrintPicture(bool preview) {
    const QImage image = render(2.0);
    if (preview)
        platform::PrintPreviewBitmap(image, record().Name);
    else
        platform::PrintBitmap(image, record().Name);
}

bool frmOpenWaveform::MayClose() const {
    return !exporting_;
}

void frmOpenWaveform::Unload() {
    record().Used = false;
}

void RegisterMemoryWaveWindow() {
    SetDocWindowFactory(DocKind::MemoryWave,
                        [](int slot) -> DocWindow* { return new frmOpenWaveform(slot); });
}
