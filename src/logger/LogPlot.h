// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The Data Logger's trend plot: one lane a measure, stacked, over the log's
// time. A long log is drawn by its lowest and highest value in each pixel
// column (from blocks of 64 and 8 samples when a column spans many), so a
// day at 10 Hz redraws about as fast as a minute; a gap is a break in the line; limits
// are dashed lines; a failing sample is marked.
#include <QImage>
#include <QString>
#include <QWidget>
#include <cmath>
#include <functional>
#include <optional>
#include <vector>

// The lowest and highest value of each block of a fixed size, and whether a
// gap lies in it: a column spanning many samples reads whole blocks.
struct TrendBlocks {
    std::vector<double> low, high;
    std::vector<char> gap;
    void add(std::size_t index, std::size_t size, double value);
};

struct TrendSeries {
    QString channel, measure, unit;                           // as stored: "CH1", "Vpp", "V"
    QString title() const { return channel + ' ' + measure; } // "CH1 Vpp"
    std::vector<double> t, v;          // seconds since the log began; NaN: a gap
    std::vector<double> failing;       // times of failing samples
    std::optional<double> under, over; // the limits drawn
    TrendBlocks by8, by64;             // blocks of 8 and of 64 samples
    void add(double time, double value, bool fails);
};

// A lane's heading in the caption language: "CH1 Vpp (V)", "CH1 峰峰值 (V)";
// the stored names stay English, for the database and the command line.
QString TrendLaneCaption(const TrendSeries& s);

struct ColumnSpan {
    double low = NAN, high = NAN; // NaN: no value in the column
    bool gap = false;             // a gap lies in the column: the line breaks there
    bool empty() const { return std::isnan(low); }
};
// The lowest and highest value in each of `columns` equal columns of
// [from, to], and where the gaps lie. A column without a sample is empty
// (the line passes over it); one with a gap breaks the line.
std::vector<ColumnSpan> TrendColumns(const TrendSeries& s, double from, double to, int columns);

// The time axis's labels: a step of 1-2-5 seconds (from 10 ms), 10, 15 or 30 seconds or
// minutes, 1 to 12 hours or whole days, the smallest that keeps labels
// `spacing` pixels apart over `width`; the labels on the step's multiples
// of UTC time. A label reads the time of day to the step's precision; one
// at midnight reads the date ("11-25").
struct TimeTick {
    double seconds; // from the origin
    QString text;
};
std::vector<TimeTick> TrendTimeTicks(double origin, double span, int width, int spacing);

class LogStore;
struct LogFilter;

// A stored log as the plot's lanes ("CH1 Vpp", in the order met), times in
// seconds from its first sample, each gap a break in every lane.
struct StoredTrend {
    double began = 0; // the first sample, seconds since 1970 (UTC)
    std::vector<TrendSeries> lanes;
    std::size_t samples = 0; // the most rows of one lane (a gap's break not counted)
    bool envelope = false;   // read as blocks' lowest and highest values
};
// Reads the log for the plot. A log of up to `detailRows` samples in its
// fullest lane is read sample by sample; a longer one as its envelope (each
// block's lowest and highest value, both at the block's middle) with its
// failing samples at their own times: a day at 10 Hz in a few thousand rows.
// `progress` is told the share read (0 to 1) now and then and returns false
// to cancel. False with *error when the database cannot be read or holds no
// sample; false with *error empty when cancelled.
constexpr std::size_t kTrendDetailRows = 400000;
bool ReadLogTrend(LogStore& store, const LogFilter& filter, StoredTrend* out,
                  const std::function<bool(double share)>& progress, QString* error,
                  std::size_t detailRows = kTrendDetailRows);

class QPainter;

class LogPlot : public QWidget {
    Q_OBJECT
public:
    explicit LogPlot(QWidget* parent = nullptr);
    void setSeries(std::vector<TrendSeries> series);
    // The time (seconds since 1970, UTC) the series' times count from.
    void setOrigin(double secondsSince1970);
    std::vector<TrendSeries>& series() { return series_; }
    void seriesChanged();   // after adding to series(): redraw
    void captionsChanged(); // the language changed: the headings drawn anew
    // The failing sample nearest a point of the plot (seconds), if one is near.
    std::optional<double> failingNear(QPoint at) const;

    // The plot's time (seconds) at a point's column, within the samples' span.
    double secondsAt(int x) const;

signals:
    void failingSampleClicked(double seconds);
    void spanChosen(double from, double to); // dragged across: [from, to] in seconds
    void wholeAsked();                       // double-clicked

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void draw(QPainter& painter);
    QRect laneRect(int lane) const;
    double span() const;
    const std::vector<ColumnSpan>& columnsOf(int lane, int width, double total);
    std::vector<TrendSeries> series_;
    std::vector<std::vector<ColumnSpan>> columns_; // a lane's columns at columnsWidth_
    int columnsWidth_ = 0;
    double columnsSpan_ = 0;
    QImage picture_; // what was drawn last, shown again by an expose
    bool pictureStale_ = true;
    std::optional<QPoint> pressed_; // a drag across the plot: where it began
    int draggedX_ = 0;              // and where it is
    double origin_ = 0;             // seconds since 1970 of the series' time 0
};
