// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The spectrum analyser under a picture: the source channel, the window
// function, how many blocks to average, and the plot. The window that holds
// it supplies the samples (the fetched screen, or the visible range of a
// deep capture) and calls Refresh when they change.
#include "views/AnalyserPlot.h"

#include <QWidget>
#include <functional>
#include <vector>

class QComboBox;
class QSplitter;
class QLabel;
class QSpinBox;
class QToolButton;

class AnalyserPane : public QWidget {
    Q_OBJECT
public:
    explicit AnalyserPane(QWidget* parent = nullptr);
    // The samples of a channel (1 or 2) in volts and their rate; false when
    // there are none. A note ("the middle 1,048,576 of ...") may be set.
    std::function<bool(int channel, std::vector<double>& volts, double& rate, QString& note)>
        samples;
    void Refresh();
    // Shown under the picture (two fifths of the splitter's height the first
    // time, the user's division after) and refreshed; or hidden.
    void setShown(bool on);
    AnalyserPlot* plot() const { return plot_; }
    QComboBox* channelBox() const { return channel_; }
    QComboBox* windowBox() const { return window_; }
    QSpinBox* averagesBox() const { return averages_; }
    // The pane's texts, and those of the window's button that shows it
    // (whose tool tip says what the window analyses).
    void applyCaptions(QToolButton* opener = nullptr, const QString& tip = QString());

private:
    QComboBox* channel_;
    QComboBox* window_;
    QSpinBox* averages_;
    QToolButton* reset_;
    QLabel* note_;
    QLabel* averageLabel_;
    AnalyserPlot* plot_;
    QLabel* harmonics_; // "H2 2.000kHz below noise   H3 3.000kHz -12.55dBV ..."
    bool placed_ = false;
};

// A picture window's area: the picture with the analyser under it (hidden
// until asked for), and the decode pane beside both (hidden too). Returns
// the outer splitter to put in the window's layout.
QSplitter* PictureArea(QWidget* picture, AnalyserPane* analyser, QWidget* decode);
