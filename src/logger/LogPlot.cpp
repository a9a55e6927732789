// SPDX-License-Identifier: GPL-3.0-or-later
#include "logger/LogPlot.h"

#include "logger/LogStore.h"
#include "measure/MeasureTable.h"
#include "shared/LoadLanguage.h"

#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QTimeZone>
#include <algorithm>
#include <numeric>
#include <set>

void TrendBlocks::add(std::size_t index, std::size_t size, double value) {
    const std::size_t block = index / size;
    if (block >= low.size()) {
        low.push_back(NAN);
        high.push_back(NAN);
        gap.push_back(0);
    }
    if (std::isnan(value)) {
        gap[block] = 1;
        return;
    }
    low[block] = std::isnan(low[block]) ? value : std::min(low[block], value);
    high[block] = std::isnan(high[block]) ? value : std::max(high[block], value);
}

void TrendSeries::add(double time, double value, bool fails) {
    t.push_back(time);
    v.push_back(value);
    if (fails) failing.push_back(time);
    by8.add(v.size() - 1, 8, value);
    by64.add(v.size() - 1, 64, value);
}

namespace {

// The plot's lanes for the store's lanes met so far, in the same order.
void nameLanes(const std::vector<TrendLane>& lanes, std::vector<TrendSeries>* series) {
    while (series->size() < lanes.size()) {
        const TrendLane& named = lanes[series->size()];
        TrendSeries s;
        s.channel = named.channel;
        s.measure = named.measure;
        s.unit = named.unit;
        series->push_back(std::move(s));
    }
}

struct EnvelopeBlock {
    double began;
    int lane;
    qint64 samples;
    double low, high;
};

// The envelope read, its lanes and its blocks; false when the log has none.
bool readEnvelope(LogStore& store, const LogFilter& filter, std::vector<TrendLane>* lanes,
                  std::vector<EnvelopeBlock>* blocks, std::vector<qint64>* samplesOf) {
    return store.readEnvelope(filter, lanes,
                              [&](double began, int lane, qint64 samples, double low, double high) {
                                  blocks->push_back({began, lane, samples, low, high});
                                  samplesOf->resize(lanes->size());
                                  (*samplesOf)[static_cast<std::size_t>(lane)] += samples;
                              });
}

// A long log as its envelope: each block's lowest and highest value at the
// block's middle (kept within the log's span), a block with nothing measured
// a break; the failing samples at their own times.
bool envelopeTrend(LogStore& store, const LogFilter& filter, std::pair<double, double> span,
                   std::vector<TrendLane>& lanes, const std::vector<EnvelopeBlock>& blocks,
                   const std::vector<qint64>& samplesOf,
                   const std::function<void(double)>& breakAtGaps, StoredTrend* out,
                   QString* error) {
    out->envelope = true;
    nameLanes(lanes, &out->lanes);
    for (const EnvelopeBlock& b : blocks) {
        const double middle =
            std::clamp(b.began + kTrendBlockSeconds / 2.0, span.first, span.second);
        breakAtGaps(middle);
        TrendSeries& into = out->lanes[static_cast<std::size_t>(b.lane)];
        into.add(middle - out->began, b.low, false);
        if (b.high > b.low) into.add(middle - out->began, b.high, false); // NaN: one break
    }
    for (qint64 n : samplesOf)
        out->samples = std::max(out->samples, static_cast<std::size_t>(n));
    if (!store.readFailing(filter, &lanes, [&](double seconds, int lane) {
            nameLanes(lanes, &out->lanes);
            out->lanes[static_cast<std::size_t>(lane)].failing.push_back(seconds - out->began);
        })) {
        *error = store.error();
        return false;
    }
    return true;
}

// The limits each lane was last judged against, drawn as the live plot
// draws them; a log from before the limits were kept has none. `lanes` are
// the store's lanes in the order of out->lanes.
void readLimits(LogStore& store, const LogFilter& filter, std::vector<TrendLane> lanes,
                StoredTrend* out) {
    const std::size_t known = out->lanes.size();
    store.readLimits(filter, &lanes, [&](int lane, double under, double over) {
        if (static_cast<std::size_t>(lane) >= known) return; // no samples in the span
        TrendSeries& s = out->lanes[static_cast<std::size_t>(lane)];
        s.under = under;
        s.over = over;
    });
}

} // namespace

bool ReadLogTrend(LogStore& store, const LogFilter& filter, StoredTrend* out,
                  const std::function<bool(double share)>& progress, QString* error,
                  std::size_t detailRows) {
    error->clear();
    if (!store.openToRead()) { // no file made, none of a newer program misread
        *error = store.error();
        return false;
    }
    const std::optional<std::pair<double, double>> span = store.timeSpan(filter);
    if (!span) {
        *error = store.error().isEmpty() ? store.target().shown() + ": no samples logged"
                                         : store.error();
        return false;
    }
    out->began = span->first;
    out->lanes.clear();
    out->samples = 0;
    out->envelope = false;
    const double length = std::max(span->second - span->first, 1e-9);
    std::vector<std::pair<double, double>> gaps;
    std::size_t nextGap = 0;
    auto breakAtGaps = [&](double seconds) { // the line breaks where a gap began
        for (; nextGap < gaps.size() && gaps[nextGap].first <= seconds; ++nextGap)
            for (TrendSeries& s : out->lanes)
                s.add(gaps[nextGap].first - out->began, NAN, false);
    };
    if (!progress(0)) return false;
    if (!store.readGaps(filter,
                        [&](double began, double seconds) { gaps.emplace_back(began, seconds); })) {
        *error = store.error();
        return false;
    }
    // The envelope first: a few thousand rows tell how long the log is, and
    // are all the plot needs when it is long. A log without one (schema 1,
    // not yet opened to log into) is read sample by sample.
    std::vector<TrendLane> lanes;
    std::vector<EnvelopeBlock> blocks;
    std::vector<qint64> samplesOf;
    if (readEnvelope(store, filter, &lanes, &blocks, &samplesOf) && !samplesOf.empty() &&
        static_cast<std::size_t>(*std::max_element(samplesOf.begin(), samplesOf.end())) >
            detailRows) {
        if (!envelopeTrend(store, filter, *span, lanes, blocks, samplesOf, breakAtGaps, out, error))
            return false;
        readLimits(store, filter, lanes, out);
        return true;
    }
    lanes.clear();
    std::size_t rows = 0;
    std::set<int> late; // lanes with a row written after a later one
    std::vector<std::size_t> rowsOf;
    bool cancelled = false;
    const bool read =
        store.readTrend(filter, &lanes, [&](double seconds, int lane, double value, bool fails) {
            nameLanes(lanes, &out->lanes);
            const double at = seconds - out->began;
            breakAtGaps(seconds);
            rowsOf.resize(out->lanes.size());
            out->samples = std::max(out->samples, ++rowsOf[static_cast<std::size_t>(lane)]);
            TrendSeries& into = out->lanes[static_cast<std::size_t>(lane)];
            if (!into.t.empty() && at < into.t.back()) late.insert(lane);
            into.add(at, value, fails);
            if (++rows % 65536 == 0 && !progress((seconds - span->first) / length)) {
                cancelled = true;
                return false;
            }
            return true;
        });
    if (cancelled) return false;
    if (!read) {
        *error = store.error();
        return false;
    }
    for (int lane : late) { // put in time order, blocks built anew
        TrendSeries& s = out->lanes[static_cast<std::size_t>(lane)];
        std::vector<std::size_t> order(s.t.size());
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return s.t[a] < s.t[b]; });
        TrendSeries sorted;
        sorted.channel = s.channel;
        sorted.measure = s.measure;
        sorted.unit = s.unit;
        const std::set<double> failing(s.failing.begin(), s.failing.end());
        for (std::size_t i : order)
            sorted.add(s.t[i], s.v[i], failing.count(s.t[i]) > 0);
        s = std::move(sorted);
    }
    readLimits(store, filter, lanes, out);
    return true;
}

std::vector<ColumnSpan> TrendColumns(const TrendSeries& s, double from, double to, int columns) {
    std::vector<ColumnSpan> out(static_cast<std::size_t>(std::max(columns, 0)));
    if (columns <= 0 || !(to > from)) return out;
    const double perColumn = (to - from) / columns;
    auto take = [](ColumnSpan& span, double low, double high, bool gap) {
        span.gap = span.gap || gap;
        if (std::isnan(low)) return;
        span.low = span.empty() ? low : std::min(span.low, low);
        span.high = std::isnan(span.high) ? high : std::max(span.high, high);
    };
    // Column c holds the samples of [from + c w, from + (c + 1) w); the last
    // one its right edge too. The walk goes forward once: whole blocks while
    // a block's last sample is still in the column, samples one by one at
    // the column's ends (a search per column would miss the cache each time).
    std::size_t i =
        static_cast<std::size_t>(std::lower_bound(s.t.begin(), s.t.end(), from) - s.t.begin());
    const std::size_t n = s.t.size();
    for (int c = 0; c < columns && i < n; ++c) {
        const bool lastColumn = c + 1 == columns;
        const double edge = lastColumn ? to : from + (c + 1) * perColumn;
        auto inside = [&](std::size_t k) { return lastColumn ? s.t[k] <= edge : s.t[k] < edge; };
        ColumnSpan& span = out[static_cast<std::size_t>(c)];
        while (i < n) {
            if (i % 64 == 0 && i + 64 <= n && inside(i + 63)) {
                take(span, s.by64.low[i / 64], s.by64.high[i / 64], s.by64.gap[i / 64]);
                i += 64;
            } else if (i % 8 == 0 && i + 8 <= n && inside(i + 7)) {
                take(span, s.by8.low[i / 8], s.by8.high[i / 8], s.by8.gap[i / 8]);
                i += 8;
            } else if (inside(i)) {
                take(span, s.v[i], s.v[i], std::isnan(s.v[i]));
                ++i;
            } else {
                break;
            }
        }
    }
    return out;
}

QString TrendLaneCaption(const TrendSeries& s) {
    const MeasureRow* row = MeasureRowNamed(s.measure);
    const QString caption = s.channel + ' ' + (row ? MeasureRowName(*row) : s.measure);
    if (s.unit.isEmpty()) return caption;
    const QString unit =
        s.unit == QLatin1String("fraction") ? FormText("frmDataLogger", "UnitFraction") : s.unit;
    return caption + " (" + unit + ")";
}

std::vector<TimeTick> TrendTimeTicks(double origin, double span, int width, int spacing) {
    std::vector<TimeTick> ticks;
    if (!(span > 0) || width <= 0 || spacing <= 0) return ticks;
    static constexpr double kSteps[] = {0.01, 0.02, 0.05, 0.1,  0.2,   0.5,   1,     2,
                                        5,    10,   15,   30,   60,    120,   300,   600,
                                        900,  1800, 3600, 7200, 10800, 21600, 43200, 86400};
    double step = 0;
    for (double s : kSteps)
        if (width * s / span >= spacing) {
            step = s;
            break;
        }
    if (step == 0) // days: a whole number of them
        step = 86400 * std::ceil(spacing * span / width / 86400);
    const QString format = step < 1 ? "HH:mm:ss.z" : step < 60 ? "HH:mm:ss" : "HH:mm";
    // Whole milliseconds, so that a step's multiples are exact.
    const qint64 stepMs = std::llround(step * 1000);
    const qint64 first =
        static_cast<qint64>(std::ceil(origin * 1000 / static_cast<double>(stepMs))) * stepMs;
    for (qint64 ms = first; ms <= std::llround((origin + span) * 1000); ms += stepMs) {
        const QDateTime at = QDateTime::fromMSecsSinceEpoch(ms, QTimeZone::utc());
        const bool midnight = ms % 86400000 == 0;
        ticks.push_back(
            {ms / 1000.0 - origin, at.toString(midnight || step >= 86400 ? "MM-dd" : format)});
    }
    return ticks;
}

LogPlot::LogPlot(QWidget* parent) : QWidget(parent) {
    setObjectName("LogPlot");
    setMinimumSize(240, 120);
    setAutoFillBackground(true);
    QPalette p = palette();
    p.setColor(QPalette::Window, Qt::black);
    setPalette(p);
}

void LogPlot::setSeries(std::vector<TrendSeries> series) {
    series_ = std::move(series);
    seriesChanged();
}

void LogPlot::setOrigin(double secondsSince1970) {
    origin_ = secondsSince1970;
    pictureStale_ = true;
    update();
}

void LogPlot::captionsChanged() {
    pictureStale_ = true;
    update();
}

void LogPlot::seriesChanged() {
    columns_.clear(); // new samples: the columns are worked out again
    pictureStale_ = true;
    update();
}

const std::vector<ColumnSpan>& LogPlot::columnsOf(int lane, int width, double total) {
    // A repaint with the same samples and width (an expose, another window
    // moved over it) reuses the columns: only new samples or a new width
    // cost a walk over the log.
    if (columns_.size() != series_.size() || columnsWidth_ != width || columnsSpan_ != total) {
        columns_.assign(series_.size(), {});
        columnsWidth_ = width;
        columnsSpan_ = total;
    }
    std::vector<ColumnSpan>& c = columns_[static_cast<std::size_t>(lane)];
    if (c.empty()) c = TrendColumns(series_[static_cast<std::size_t>(lane)], 0, total, width);
    return c;
}

double LogPlot::span() const {
    double last = 0;
    for (const TrendSeries& s : series_)
        if (!s.t.empty()) last = std::max(last, s.t.back());
    return std::max(last, 1e-3); // the samples so far fill the width
}

QRect LogPlot::laneRect(int lane) const {
    const int lanes = std::max<int>(1, static_cast<int>(series_.size()));
    const int axis = fontMetrics().height() + 2; // the times below the last lane
    const int height = (this->height() - 4 - axis) / lanes;
    const int left = fontMetrics().horizontalAdvance(QStringLiteral("-000.000m")) + 8;
    return QRect(left, 2 + lane * height + fontMetrics().height(), width() - left - 6,
                 height - fontMetrics().height() - 4);
}

std::optional<double> LogPlot::failingNear(QPoint at) const {
    for (int lane = 0; lane < static_cast<int>(series_.size()); ++lane) {
        const QRect r = laneRect(lane);
        if (!r.adjusted(0, -8, 0, 8).contains(at)) continue;
        const double seconds = (at.x() - r.left()) * span() / std::max(1, r.width());
        const double near = span() * 6 / std::max(1, r.width()); // six pixels
        std::optional<double> best;
        for (double f : series_[static_cast<std::size_t>(lane)].failing)
            if (std::abs(f - seconds) <= near &&
                (!best || std::abs(f - seconds) < std::abs(*best - seconds)))
                best = f;
        return best;
    }
    return std::nullopt;
}

double LogPlot::secondsAt(int x) const {
    const QRect r = laneRect(0);
    const int column = std::clamp(x - r.left(), 0, std::max(1, r.width()));
    return column * span() / std::max(1, r.width());
}

// A click on a failing mark shows its screen; a drag across the plot
// chooses a span to look at closer (five pixels at least, so that a click
// that moves a little stays a click).
void LogPlot::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    pressed_ = event->position().toPoint();
    draggedX_ = pressed_->x();
}

void LogPlot::mouseMoveEvent(QMouseEvent* event) {
    if (!pressed_) return;
    draggedX_ = event->position().toPoint().x();
    update();
}

void LogPlot::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !pressed_) return;
    const QPoint pressedAt = *pressed_;
    const int from = std::min(pressedAt.x(), event->position().toPoint().x());
    const int to = std::max(pressedAt.x(), event->position().toPoint().x());
    pressed_.reset();
    update();
    if (to - from >= 5 && !series_.empty())
        emit spanChosen(secondsAt(from), secondsAt(to));
    else if (const std::optional<double> f = failingNear(pressedAt))
        emit failingSampleClicked(*f);
}

void LogPlot::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) emit wholeAsked();
}

namespace {
QString shortNumber(double v) {
    return QString::number(v, 'g', 4);
}
} // namespace

void LogPlot::paintEvent(QPaintEvent*) {
    // An expose with nothing new shows the picture drawn last.
    if (picture_.size() != size() * devicePixelRatioF() || picture_.isNull() || pictureStale_) {
        picture_ = QImage(size() * devicePixelRatioF(), QImage::Format_RGB32);
        picture_.setDevicePixelRatio(devicePixelRatioF());
        picture_.fill(Qt::black);
        QPainter p(&picture_);
        draw(p);
        pictureStale_ = false;
    }
    QPainter painter(this);
    painter.drawImage(0, 0, picture_);
    if (pressed_ && pressed_->x() != draggedX_) { // the span being chosen
        const QRect r = laneRect(0);
        const int from = std::clamp(std::min(pressed_->x(), draggedX_), r.left(), r.right());
        const int to = std::clamp(std::max(pressed_->x(), draggedX_), r.left(), r.right());
        painter.fillRect(QRect(from, 0, to - from + 1, height()), QColor(80, 140, 255, 70));
    }
}

void LogPlot::draw(QPainter& p) {
    p.setRenderHint(QPainter::Antialiasing, false);
    const double total = span();
    for (int lane = 0; lane < static_cast<int>(series_.size()); ++lane) {
        const TrendSeries& s = series_[static_cast<std::size_t>(lane)];
        const QRect r = laneRect(lane);
        if (r.height() < 8 || r.width() < 8) continue;
        const std::vector<ColumnSpan>& columns = columnsOf(lane, r.width(), total);
        double low = s.under.value_or(INFINITY), high = s.over.value_or(-INFINITY);
        for (const ColumnSpan& c : columns)
            if (!c.empty()) low = std::min(low, c.low), high = std::max(high, c.high);
        if (!std::isfinite(low) || !std::isfinite(high)) low = 0, high = 1;
        if (high - low < 1e-12 * std::max(1.0, std::abs(high))) { // a steady value: in the middle
            const double half = std::max(std::abs(high) * 0.05, 1e-9);
            low -= half, high += half;
        }
        const double pad = (high - low) * 0.08;
        low -= pad, high += pad;
        auto y = [&](double v) { return r.bottom() - (v - low) / (high - low) * r.height(); };
        p.setPen(QColor(70, 70, 70));
        p.drawRect(r);
        p.setPen(Qt::white);
        p.drawText(r.left(), r.top() - 3, TrendLaneCaption(s));
        p.setPen(QColor(160, 160, 160));
        p.drawText(QRect(0, r.top() - 6, r.left() - 4, 14), Qt::AlignRight, shortNumber(high));
        p.drawText(QRect(0, r.bottom() - 8, r.left() - 4, 14), Qt::AlignRight, shortNumber(low));
        p.setPen(QPen(QColor(255, 128, 0), 1, Qt::DashLine)); // the limits
        for (const std::optional<double>& limit : {s.under, s.over})
            if (limit) p.drawLine(QPointF(r.left(), y(*limit)), QPointF(r.right(), y(*limit)));
        // The columns as one batch of lines: each its low-to-high stroke, joined
        // to the column before unless a gap lies between.
        std::vector<QLine> lines; // whole pixels: the raster engine's fast path
        lines.reserve(columns.size() * 2);
        bool joined = false;
        QPoint last;
        for (int x = 0; x < static_cast<int>(columns.size()); ++x) {
            const ColumnSpan& c = columns[static_cast<std::size_t>(x)];
            if (c.gap) joined = false; // the line breaks at a gap
            if (c.empty()) continue;   // no sample here: the line passes over
            const int px = r.left() + x;
            const QPoint low(px, static_cast<int>(std::lround(y(c.low))));
            const QPoint high(px, static_cast<int>(std::lround(y(c.high))));
            if (joined) lines.emplace_back(last, low);
            lines.emplace_back(low, high);
            last = high;
            joined = true;
        }
        p.setPen(QColor(255, 255, 0));
        p.drawLines(lines.data(), static_cast<int>(lines.size()));
        lines.clear();
        for (double f : s.failing) {
            const int px = r.left() + static_cast<int>(f / total * r.width());
            lines.emplace_back(QPoint(px, r.bottom() - 4), QPoint(px, r.bottom()));
        }
        p.setPen(QColor(255, 0, 0));
        p.drawLines(lines.data(), static_cast<int>(lines.size()));
    }
    if (series_.empty()) return;
    // The times, UTC, below the last lane.
    const QRect last = laneRect(static_cast<int>(series_.size()) - 1);
    const int textWidth = fontMetrics().horizontalAdvance(QStringLiteral("00:00:00.0")) + 16;
    p.setPen(QColor(160, 160, 160));
    p.drawText(QRect(0, last.bottom() + 2, last.left() - 4, fontMetrics().height()), Qt::AlignRight,
               QStringLiteral("UTC"));
    for (const TimeTick& tick : TrendTimeTicks(origin_, total, last.width(), textWidth)) {
        const int x =
            last.left() + static_cast<int>(std::lround(tick.seconds / total * last.width()));
        p.drawLine(x, last.bottom() - 3, x, last.bottom());
        const QRect box(x - textWidth / 2, last.bottom() + 2, textWidth, fontMetrics().height());
        const int used = fontMetrics().horizontalAdvance(tick.text);
        if (x + used / 2 < width() && x - used / 2 > last.left() - 8) // whole labels only
            p.drawText(box, Qt::AlignHCenter, tick.text);
    }
}
