// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/AnalyserPane.h"

#include "shared/LoadLanguage.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSpinBox>
#include <QSplitter>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
QString say(const char* english, const char* chinese) {
    return CaptionLanguage() == kLanguageChinese ? QString::fromUtf8(chinese)
                                                 : QString::fromUtf8(english);
}
} // namespace

AnalyserPane::AnalyserPane(QWidget* parent)
    : QWidget(parent), channel_(new QComboBox), window_(new QComboBox), averages_(new QSpinBox),
      reset_(new QToolButton), note_(new QLabel), averageLabel_(new QLabel),
      plot_(new AnalyserPlot), harmonics_(new QLabel) {
    setObjectName("AnalyserPane");
    channel_->setObjectName("spectrumChannel");
    window_->setObjectName("spectrumWindow");
    averages_->setObjectName("spectrumAverages");
    channel_->addItems({"CH1", "CH2"});
    averages_->setRange(1, 64);
    window_->setCurrentIndex(-1);
    auto* controls = new QHBoxLayout;
    controls->addWidget(channel_);
    controls->addWidget(window_);
    controls->addWidget(averageLabel_);
    controls->addWidget(averages_);
    controls->addWidget(reset_);
    controls->addWidget(note_, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(controls);
    layout->addWidget(plot_, 1);
    harmonics_->setObjectName("spectrumHarmonics");
    harmonics_->setWordWrap(true);
    harmonics_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(harmonics_);
    plot_->setMinimumHeight(200);
    applyCaptions();
    window_->setCurrentIndex(static_cast<int>(FftWindow::Hanning));
    const auto refresh = [this] { Refresh(); };
    connect(channel_, &QComboBox::currentIndexChanged, this, refresh);
    connect(window_, &QComboBox::currentIndexChanged, this, refresh);
    connect(averages_, &QSpinBox::valueChanged, this, refresh);
    connect(reset_, &QToolButton::clicked, plot_, &AnalyserPlot::resetView);
}

void AnalyserPane::applyCaptions(QToolButton* opener, const QString& tip) {
    if (opener) {
        opener->setText(say("Spectrum", "频谱"));
        opener->setToolTip(tip);
    }
    const int chosen = window_->currentIndex();
    window_->clear();
    window_->addItems(CaptionLanguage() == kLanguageChinese
                          ? QStringList{QString::fromUtf8("矩形窗"), QString::fromUtf8("汉宁窗"),
                                        QString::fromUtf8("汉明窗"),
                                        QString::fromUtf8("布莱克曼窗")}
                          : kFftWindowNames);
    window_->setCurrentIndex(chosen);
    averageLabel_->setText(say("Averages", "平均次数"));
    reset_->setText(say("Full span", "全频宽"));
    plot_->setToolTip(say("Wheel: zoom about the pointer; drag: zoom to a box; click: second "
                          "marker (right click clears it); double-click: the whole spectrum",
                          "滚轮：以指针为中心缩放；拖动：框选缩放；单击：第二标记（右键清除）；"
                          "双击：全频宽"));
}

void AnalyserPane::Refresh() {
    if (!samples || window_->currentIndex() < 0) return;
    std::vector<double> volts;
    double rate = 0;
    QString note;
    if (!samples(channel_->currentIndex() + 1, volts, rate, note)) {
        plot_->setSpectrum(Spectrum());
        harmonics_->clear();
        note_->setText(say("No samples of this channel", "此通道没有数据"));
        return;
    }
    const Spectrum s =
        ComputeRmsSpectrum(volts.data(), volts.size(), rate,
                           static_cast<FftWindow>(window_->currentIndex()), averages_->value());
    plot_->setSpectrum(s);
    QStringList list;
    for (const Harmonic& h : plot_->harmonics())
        list << HarmonicText(s, h, say("below noise", "低于噪声"));
    harmonics_->setText(list.join("   "));
    note_->setText((note.isEmpty() ? QString() : note + "  ") + say("bin ", "分辨率 ") +
                   FrequencyText(s.binHz));
}

void AnalyserPane::setShown(bool on) {
    setVisible(on);
    if (!on) return;
    if (auto* split = qobject_cast<QSplitter*>(parentWidget()); split && !placed_) {
        const int total = split->height();
        split->setSizes({total - total * 2 / 5, total * 2 / 5});
        placed_ = true;
    }
    Refresh();
}

QSplitter* PictureArea(QWidget* picture, AnalyserPane* analyser, QWidget* decode) {
    analyser->hide();
    decode->hide();
    auto* pictures = new QSplitter(Qt::Vertical);
    pictures->addWidget(picture);
    pictures->addWidget(analyser);
    pictures->setStretchFactor(0, 3); // the picture keeps the larger part
    pictures->setStretchFactor(1, 2);
    auto* split = new QSplitter;
    split->addWidget(pictures);
    split->addWidget(decode);
    split->setStretchFactor(0, 3);
    split->setStretchFactor(1, 1);
    return split;
}
