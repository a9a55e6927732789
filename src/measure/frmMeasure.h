// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The measure window: the instrument's eighteen automatic measures of one
// channel, with pass and fail limits and their verdicts, refreshed single or
// automatic, and exported as tab-separated text.
#include "measure/MeasureStats.h"
#include "sheet/DocWindow.h"
#include "views/RefreshCycle.h"

class QLabel;
class QRadioButton;
class QTimer;
class QToolButton;
class QTreeWidget;
struct MeasureRecord;

// The list's icon of an image number 1..18: a plain drawn set.
QIcon MeasureIcon(int number);

class frmMeasure : public DocWindow {
    Q_OBJECT
public:
    explicit frmMeasure(int slot);
    ~frmMeasure() override;
    MeasureRecord& record() const;

    void cmdRefresh_Click();
    void LoadMeasure();
    void LoadMeasureMarked(); // LoadMeasure under the loading flag
    void Timer1_Timer();
    void cmdExport_Click();
    void cmdPassFailed_Click();
    void StartDispMeasure();
    void DispMeasure();
    QRadioButton* option(int index) const { return OptionCH_[index]; }
    QTreeWidget* view() const { return MeasureView_; }

    // Statistics over the refreshes: the list's columns for them, their reset
    // and export, and the trend of the selected measure.
    void ShowStatistics(bool on);
    void ResetStatistics();
    void ExportStatistics();
    const MeasureStats& statistics() const { return stats_; }

    void ShowRecord() override;

protected:
    void resizeEvent(QResizeEvent* event) override;

public:
    bool MayClose() const override;
    void Unload() override;
    void EndAuto();

private:
    void applyCaptions(int index);
    void select(int index); // -1 clears both
    RefreshWindow refreshWindow();

    QToolButton* cmdRefresh_ = nullptr;
    QToolButton* cmdExport_ = nullptr;
    QToolButton* cmdPassFailed_ = nullptr;
    QToolButton* cmdStats_ = nullptr;
    QToolButton* cmdStatsReset_ = nullptr;
    QToolButton* cmdStatsExport_ = nullptr;
    class TrendPlot* trend_ = nullptr;
    MeasureStats stats_;
    void dispStatistics();
    void showTrend();
    QRadioButton* OptionCH_[2] = {nullptr, nullptr};
    QLabel* SettingLabel_ = nullptr;
    QTreeWidget* MeasureView_ = nullptr;
    QTimer* Timer1_ = nullptr;
    QTimer* Timer2_ = nullptr;
    bool firstTick_ = true;
    bool loading_ = false;
    int captionRoutine_ = 0;
};

void RegisterMeasureWindow();
