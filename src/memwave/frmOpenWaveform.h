// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The memory waveform viewer: a deep-memory capture on a drawn screen, with
// its own time and volts per division, zoom, scrolling, cursors, the trace
// dragged by the mouse, CSV and bitmap export, print and preview.
#include "memwave/MemoryView.h"
#include "sheet/DocWindow.h"
#include "views/Cursors.h"

#include <QEvent>
#include <QImage>
#include <QWidget>
#include <functional>

class QBoxLayout;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QRadioButton;
class QScrollArea;
class QToolButton;
class WavePicture;
class DecodePane;
class AnalyserPane;
class QSplitter;
namespace decode {
struct PixelScale;
}

// The CSV export's progress window: a bar in ten steps; it cannot be closed
// while the export runs.
class frmPrgressSave : public QWidget {
    Q_OBJECT
public:
    explicit frmPrgressSave(QWidget* parent = nullptr);
    bool busy = false;
    QProgressBar* bar() const { return bar_; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QProgressBar* bar_;
};

// What a held ladder button steps.
enum class HoldTarget { TimeDiv, TimeDiv1, TimeDiv2, Ch1Div, Ch2Div };

class frmOpenWaveform : public DocWindow {
    Q_OBJECT
public:
    explicit frmOpenWaveform(int slot);
    ~frmOpenWaveform() override;
    MemoryRecord& record() const;

    void OpenWaveformFile(); // the dialog, then the load
    bool LoadWaveform(const QString& path);
    void Timer1_Timer();
    void Step(HoldTarget target, bool up); // one press or tick of a ladder button
    void ZoomCombo_Commit();
    void Reset_Click();
    void ExportCsv();
    void SaveBitmap();
    void PrintPicture(bool preview);
    void SetColour(bool colour);
    void SetGrid(bool grid);
    void Mouse(QEvent::Type type, QPointF at, Qt::MouseButtons buttons);
    void Pipeline(PipelinePart part);
    void Decode_Click(); // the decoder dialog; its OK decodes the capture
    void CentreOnSample(std::int64_t sample);
    DecodePane* decodePane() const { return decode_; }
    AnalyserPane* spectrumPane() const { return spectrum_; }
    void Spectrum_Click(bool on); // the analyser under the picture, over the visible range

    double ZoomFactor() const { return zoom_; }
    const QImage& picture() const;
    MemoryView& view() { return view_; }
    CursorSet& cursors() { return cursors_; }
    QComboBox* zoomCombo() const { return ZoomCombo_; }
    QString shownText(HoldTarget target) const;

    void ShowRecord() override;

protected:
    void resizeEvent(QResizeEvent* event) override;

public:
    bool MayClose() const override;
    void Unload() override;

private:
    void buildControls();
    void applyCaptions(int index);
    void showValues(); // the record's time and volt values in the boxes
    void redraw();
    QImage render(double z) const;
    decode::PixelScale decodeScale(double z, int width) const;

    MemoryView view_;
    CursorSet cursors_;
    double zoom_ = 1.0;
    bool firstTick_ = true;
    bool exporting_ = false;
    // The grab of the trace: where the mouse went down, and what it moves.
    bool grabbing_ = false;
    int grabChannel_ = 1;
    QPointF grabAt_;
    double grabDelay_ = 0, grabOffset_ = 0;

    WavePicture* MemoryWavePic_ = nullptr;
    QScrollArea* BackPic_ = nullptr;
    QComboBox* ZoomCombo_ = nullptr;
    QRadioButton* OptionColor_[2] = {nullptr, nullptr};
    QCheckBox* GridCheck_ = nullptr;
    QCheckBox* ChkCursorX_ = nullptr;
    QCheckBox* ChkCursorY_ = nullptr;
    QWidget* framTimeDiv_ = nullptr;
    QWidget* framAltTimeDiv_ = nullptr;
    QLineEdit* txtTimeDiv_ = nullptr;
    QLineEdit* txtCH1TimeDiv_ = nullptr;
    QLineEdit* txtCH2TimeDiv_ = nullptr;
    QLineEdit* txtCH1Div_ = nullptr;
    QLineEdit* txtCH2Div_ = nullptr;
    QToolButton* cmdOpen_ = nullptr;
    QToolButton* cmdCapture_ = nullptr;   // Export capture...
    QToolButton* cmdPulseView_ = nullptr; // Open in PulseView
    QToolButton* cmdDecode_ = nullptr;
    QToolButton* cmdSpectrum_ = nullptr;
    AnalyserPane* spectrum_ = nullptr;
    DecodePane* decode_ = nullptr;
    QSplitter* split_ = nullptr;
    QBoxLayout* controls_ = nullptr; // the ladders: side by side, or stacked when narrow
    QGroupBox* timeBox_ = nullptr;
    QGroupBox* voltBox_ = nullptr;
    QLabel* zoomLabel_ = nullptr;
    QToolButton* cmdCsv_ = nullptr;
    QToolButton* cmdBitmap_ = nullptr;
    QToolButton* cmdPrint_ = nullptr;
    QToolButton* cmdPreview_ = nullptr;
    QToolButton* cmdReset_ = nullptr;
    int captionRoutine_ = 0;
};

void RegisterMemoryWaveWindow();
