// SPDX-License-Identifier: GPL-3.0-or-later
#include "logger/LogPlot.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

void TrendSeries::add(double time, double value, bool fails) {
    t.push_back(time);
    v.push_back(value);
    if (fails) failing.push_back(time);
    const std::size_t block = (v.size() - 1) / kTrendBlock;
    if (block >= blockLow.size()) {
        blockLow.push_back(NAN);
        blockHigh.push_back(NAN);
        blockGap.push_back(false);
    }
    if (std::isnan(value)) blockGap[block] = true;
    if (!std::isnan(value)) {
        blockLow[block] = std::isnan(blockLow[block]) ? value : std::min(blockLow[block], value);
        blockHigh[block] = std::isnan(blockHigh[block]) ? value : std::max(blockHigh[block], value);
    }
}

std::vector<ColumnSpan> TrendColumns(const TrendSeries& s, double from, double to, int columns) {
    std::vector<ColumnSpan> out(static_cast<std::size_t>(std::max(columns, 0)));
    if (columns <= 0 || !(to > from)) return out;
    const double perColumn = (to - from) / columns;
    auto take = [&](double time, double low, double high, bool gap) {
        const int c = std::clamp(static_cast<int>((time - from) / perColumn), 0, columns - 1);
        ColumnSpan& span = out[static_cast<std::size_t>(c)];
        span.gap = span.gap || gap;
        if (std::isnan(low)) return;
        span.low = span.empty() ? low : std::min(span.low, low);
        span.high = std::isnan(span.high) ? high : std::max(span.high, high);
    };
    std::size_t i =
        static_cast<std::size_t>(std::lower_bound(s.t.begin(), s.t.end(), from) - s.t.begin());
    const std::size_t end =
        static_cast<std::size_t>(std::upper_bound(s.t.begin(), s.t.end(), to) - s.t.begin());
    const double samplesPerColumn = static_cast<double>(end - i) / columns;
    while (i < end) {
        // A whole block inside one column: its lowest and highest at once.
        const std::size_t block = i / kTrendBlock;
        const std::size_t blockEnd = (block + 1) * kTrendBlock;
        if (samplesPerColumn > 2 * kTrendBlock && i % kTrendBlock == 0 && blockEnd <= end &&
            static_cast<int>((s.t[i] - from) / perColumn) ==
                static_cast<int>((s.t[blockEnd - 1] - from) / perColumn)) {
            take(s.t[i], s.blockLow[block], s.blockHigh[block], s.blockGap[block]);
            i = blockEnd;
            continue;
        }
        take(s.t[i], s.v[i], s.v[i], std::isnan(s.v[i]));
        ++i;
    }
    return out;
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
    update();
}

void LogPlot::seriesChanged() {
    update();
}

double LogPlot::span() const {
    double last = 0;
    for (const TrendSeries& s : series_)
        if (!s.t.empty()) last = std::max(last, s.t.back());
    return std::max(last, 1e-3); // the samples so far fill the width
}

QRect LogPlot::laneRect(int lane) const {
    const int lanes = std::max<int>(1, static_cast<int>(series_.size()));
    const int height = (this->height() - 4) / lanes;
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

void LogPlot::mousePressEvent(QMouseEvent* event) {
    if (const std::optional<double> f = failingNear(event->position().toPoint()))
        emit failingSampleClicked(*f);
}

namespace {
QString shortNumber(double v) {
    return QString::number(v, 'g', 4);
}
} // namespace

void LogPlot::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, false);
    const double total = span();
    for (int lane = 0; lane < static_cast<int>(series_.size()); ++lane) {
        const TrendSeries& s = series_[static_cast<std::size_t>(lane)];
        const QRect r = laneRect(lane);
        if (r.height() < 8 || r.width() < 8) continue;
        const std::vector<ColumnSpan> columns = TrendColumns(s, 0, total, r.width());
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
        p.drawText(r.left(), r.top() - 3,
                   s.title + (s.unit.isEmpty() ? QString() : " (" + s.unit + ")"));
        p.setPen(QColor(160, 160, 160));
        p.drawText(QRect(0, r.top() - 6, r.left() - 4, 14), Qt::AlignRight, shortNumber(high));
        p.drawText(QRect(0, r.bottom() - 8, r.left() - 4, 14), Qt::AlignRight, shortNumber(low));
        p.setPen(QPen(QColor(255, 128, 0), 1, Qt::DashLine)); // the limits
        for (const std::optional<double>& limit : {s.under, s.over})
            if (limit) p.drawLine(QPointF(r.left(), y(*limit)), QPointF(r.right(), y(*limit)));
        p.setPen(QColor(255, 255, 0));
        bool joined = false; // to the column before
        QPointF last;
        for (int x = 0; x < static_cast<int>(columns.size()); ++x) {
            const ColumnSpan& c = columns[static_cast<std::size_t>(x)];
            if (c.gap) joined = false; // the line breaks at a gap
            if (c.empty()) continue;   // no sample here: the line passes over
            const double px = r.left() + x;
            if (joined) p.drawLine(last, QPointF(px, y(c.low)));
            p.drawLine(QPointF(px, y(c.low)), QPointF(px, y(c.high)));
            last = QPointF(px, y(c.high));
            joined = true;
        }
        p.setPen(QColor(255, 0, 0));
        for (double f : s.failing) {
            const double px = r.left() + f / total * r.width();
            p.drawLine(QPointF(px, r.bottom() - 4), QPointF(px, r.bottom()));
        }
    }
}
