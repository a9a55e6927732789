// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The record replay window: a frame record played like a film on a drawn
// instrument screen, with stepping, a slider, the loop, and the frame
// interval; colour or mono, bitmap export, print and preview.
#include "replay/Replay.h"
#include "sheet/DocWindow.h"

#include <QElapsedTimer>
#include <QImage>
#include <QPointF>
#include <array>

// Where the picture's second read-out text goes: at `wanted` on the first
// text's row when it clears that text by a gap and ends before `right`,
// else at `left` on the next row, so the two never write over each other.
QPointF SecondTextPlace(double left, double row, int firstWidth, int secondWidth, double wanted,
                        double right, int lineHeight);

class QLabel;
class QSlider;
class QTimer;
class QToolButton;

// The screen of one frame: the grid and texts kept for a size and a look,
// the trace drawn over a copy of them.
class RecordFrameRenderer {
public:
    QImage draw(const RecordRecord& rec, QSize size);

private:
    QImage base_;
    QSize size_;
    bool colour_ = true;
    QString texts_;
};
// The zoom of a picture of a size: the screen fills it less the margins.
double RecordZoom(QSize size);

class frmRecordPlay : public DocWindow {
    Q_OBJECT
public:
    explicit frmRecordPlay(int slot);
    ~frmRecordPlay() override;
    RecordRecord& record() const;
    ReplayController& controller() { return controller_; }

    void OpenRecordFile(); // the dialog, then the load
    bool LoadRecord(const QString& path);
    void Timer1_Timer();
    void SetColour(bool colour);
    void SaveBitmap();
    void PrintFrame(bool preview);
    QString StatusLine() const; // the word and "current/count"
    QString IntervalText() const;
    const QImage& picture() const { return picture_; }
    QSlider* slider() const { return SliderFrame_; }
    QToolButton* playButton(int index) const {
        return AresBtnPlay_[static_cast<std::size_t>(index)];
    }
    int framesDrawn() const { return framesDrawn_; }

    void ShowRecord() override;
    void Unload() override;

private:
    void buildControls();
    void applyCaptions(int index);
    void drawFrame();
    void updateStatus();
    void setUpAfterLoad();

    ReplayController controller_;
    RecordFrameRenderer renderer_;
    QImage picture_;
    QWidget* RecordWavePic_ = nullptr;
    QWidget* PicMsg_ = nullptr;
    QLabel* lblTimeInterval_ = nullptr;
    QSlider* SliderFrame_ = nullptr;
    QToolButton* cmdRun_ = nullptr;
    std::array<QToolButton*, 6> FlatBttn_{}; // 1..5 used
    QToolButton* cmdCapture_ = nullptr;      // the current frame for other tools
    std::array<QToolButton*, 8> AresBtnPlay_{};
    QToolButton* AresBtnAdd_ = nullptr;
    QToolButton* AresBtnSub_ = nullptr;
    QToolButton* AresBtnDefaultTime_ = nullptr;
    QTimer* TimerInterval_ = nullptr;
    QElapsedTimer replayClock_; // the replay's own time
    QTimer* Timer1_ = nullptr;
    bool resumeAfterDrag_ = false;
    bool firstTick_ = true;
    int framesDrawn_ = 0;
    int captionRoutine_ = 0;
};

void RegisterRecordWindow();
