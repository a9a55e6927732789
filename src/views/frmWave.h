// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The waveform window: one WaveRecord drawn as the instrument's screen, with
// refresh (single or automatic), source selection, zoom and best fit, grid,
// colour, export, print and preview. It redraws from its record alone.
#include "sheet/DocWindow.h"
#include "views/Cursors.h"
#include "views/RefreshCycle.h"

#include <QEvent>
#include <QImage>
#include <functional>

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QRadioButton;
class QScrollArea;
class QTimer;
class QToolButton;
struct WaveRecord;

// The screen picture: shows its backing image, nothing else.
class WavePicture : public QWidget {
    Q_OBJECT
public:
    explicit WavePicture(QWidget* parent = nullptr);
    void setImage(const QImage& image);
    const QImage& image() const { return image_; }
    // The mouse over the picture: press, move and release, with the position.
    std::function<void(QEvent::Type, QPointF, Qt::MouseButtons)> onMouse;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QImage image_;
};

// "150%" -> 1.5; nothing when the text is not a number followed by "%".
// A factor below 0.01 is raised to 0.01.
bool ParseZoomText(const QString& text, double* zoom);
QString ZoomText(double zoom); // "0%" picture of the factor
// The zoom box's commit in every picture window: a good text moves the
// cursors with the picture and becomes the zoom; a bad one is said and the
// box shows the zoom again. True when the zoom was taken.
bool CommitZoomBox(QComboBox* box, double& zoom, CursorSet& cursors);
// The picture's context menu: which channel the Y cursors measure (the last
// fetched, CH1 or CH2); changed() redraws.
void AddYChannelMenu(QWidget* picture, CursorSet& cursors, std::function<void()> changed);

class DecodePane;
class AnalyserPane;
namespace decode {
struct PixelScale;
}

class frmWave : public DocWindow {
    Q_OBJECT
public:
    explicit frmWave(int slot);
    ~frmWave() override;

    WaveRecord& record() const;
    double ZoomFactor() const { return zoom_; }

    // The handlers, callable from tests.
    void cmdRefresh_Click();
    void LoadData();
    void Timer1_Timer();
    void ZoomCombo_Commit(); // click or Enter in the zoom box
    void BestFitChk_Click(bool checked);
    void GridCheck_Click(bool checked);
    void OptionColor_Click(int index);
    void ChkCH_Click(int index, bool checked);
    void cmdExport_Click();
    void cmdPrint_Click();
    void cmdPreview_Click();
    void Form_Resize(); // lays out and redraws when the picture changes
    // The mouse on the picture: the cursors' pointer shapes and drags.
    void WavePic_Mouse(QEvent::Type type, QPointF at, Qt::MouseButtons buttons);
    void ChkCursor_Click(bool x, bool on);
    CursorSet& cursors() { return cursors_; }

    // The picture as shown (for export, and for tests).
    const QImage& picture() const;
    DecodePane* decodePane() const { return decode_; }
    AnalyserPane* spectrumPane() const { return spectrum_; }
    QCheckBox* sourceBox(int index) const;
    QComboBox* zoomCombo() const { return ZoomCombo_; }
    QToolButton* refreshButton() const { return cmdRefresh_; }
    QTimer* timer1() const { return Timer1_; }

    void ShowRecord() override;
    bool MayClose() const override;
    void Unload() override;
    // Ends an automatic refresh this window runs (its look and flags).
    void EndAuto();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildControls();
    void applyCaptions(int index);
    void copyRecordToControls();
    void redraw();        // the screen anew from the record, then the cursors
    void redrawCursors(); // the cursors over the screen drawn before
    QImage renderAt(double z) const;
    decode::PixelScale decodeScale(double z, int width) const;
    RefreshWindow refreshWindow();
    void markDirty();

    QToolButton* cmdCapture_ = nullptr; // the screen for other tools
    QToolButton* cmdDecode_ = nullptr;
    QToolButton* cmdSpectrum_ = nullptr;
    AnalyserPane* spectrum_ = nullptr;
    DecodePane* decode_ = nullptr;
    QToolButton* cmdRefresh_ = nullptr;
    std::array<QCheckBox*, 4> ChkCH_{};
    QCheckBox* ChkCursorX_ = nullptr;
    QCheckBox* ChkCursorY_ = nullptr;
    QComboBox* ZoomCombo_ = nullptr;
    QCheckBox* BestFitChk_ = nullptr;
    QCheckBox* GridCheck_ = nullptr;
    QRadioButton* OptionColor_[2] = {nullptr, nullptr};
    QToolButton* cmdExport_ = nullptr;
    QToolButton* cmdPrint_ = nullptr;
    QToolButton* cmdPreview_ = nullptr;
    QWidget* picRefreshProgress_ = nullptr;
    QLabel* LblRefreshText_ = nullptr;
    QLabel* LblRefreshValue_ = nullptr;
    QScrollArea* BackPic_ = nullptr;
    WavePicture* WavePic_ = nullptr;
    QTimer* Timer1_ = nullptr;
    QTimer* Timer2_ = nullptr;
    QLabel* labZoom_ = nullptr;
    QWidget* fraDisplay_ = nullptr;

    double zoom_ = 1.0;
    bool firstPaint_ = true;
    bool settingUp_ = false; // control changes made by the program, not the user
    CursorSet cursors_;
    QImage screen_; // grid and traces; the cursors go over a copy
    int captionRoutine_ = 0;
};

// Registers the wave window with the data sheet (the kind's factory).
void RegisterWaveWindow();
