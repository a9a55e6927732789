// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Tools > Data Logger: measures and an interval chosen, a database named,
// Start and Stop, and a trend plot a measure as the samples come in. The run
// is the command line's (RunDataLog) on the connected instrument; the window
// stays live between and during samples.
#include "logger/DataLogger.h"
#include "logger/LogPlot.h"

#include <QWidget>
#include <atomic>
#include <map>
#include <memory>
#include <optional>

class QCheckBox;
class QDoubleSpinBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QThread;

class frmDataLogger : public QWidget {
    Q_OBJECT
public:
    explicit frmDataLogger(QWidget* parent = nullptr);
    ~frmDataLogger() override;
    bool running() const { return running_; }
    LogPlot* plot() const { return plot_; }
    void cmdStart_Click(); // Start, or Stop while a log runs
    // Opens the log named in the database box in the plot, read on a worker
    // (the window stays live, the share read is shown); Cancel while reading.
    // A drag across the plot then reads that span (its samples themselves
    // when few enough), a double-click the whole log again.
    void cmdOpen_Click();
    bool reading() const { return reader_ != nullptr; }
    // The most samples of a lane read one by one; a longer log or span is
    // read as its envelope.
    void setDetailRows(std::size_t rows) { detailRows_ = rows; }
    void RequestStop() { stopAsked_ = true; } // the program ends: the log stops at once
    // The limits drawn and judged: the first measure document that has any.
    static MeasureRecord LimitsOfTheSheet();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void applyCaptions();
    void run();
    void showScreen(double seconds);
    void readStored(const LogTarget& target, const LogFilter& filter);
    void zoomTo(double from, double to); // seconds of the plot
    void opened(StoredTrend trend, const QString& error, const LogTarget& target,
                const LogFilter& filter);
    void enableFields(bool on);
    void say(const QString& text);

    QLineEdit* txtMeasures_;
    QDoubleSpinBox* spnInterval_;
    QSpinBox* spnCount_;
    QLineEdit* txtDatabase_;
    QPushButton* cmdBrowse_;
    QCheckBox* chkScreens_;
    QPushButton* cmdStart_;
    QPushButton* cmdOpen_;
    QLabel* lblState_;
    LogPlot* plot_;
    std::unique_ptr<LogStore> store_;
    QString instrument_;
    QDateTime began_;
    std::map<double, QDateTime> failingTimes_; // plot seconds -> the stored sample time
    std::optional<LogTarget> shown_;           // the stored log in the plot
    double shownBegan_ = 0;                    // its plot's 0, seconds since 1970
    std::size_t detailRows_ = kTrendDetailRows;
    bool running_ = false, stopAsked_ = false, closeAsked_ = false;
    QThread* reader_ = nullptr; // reads a stored log
    std::shared_ptr<std::atomic<bool>> readCancelled_;
    int captionRoutine_ = 0;
};
