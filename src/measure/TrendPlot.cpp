// SPDX-License-Identifier: GPL-3.0-or-later
#include "measure/TrendPlot.h"

#include "shared/Picture.h"

#include <QPainter>
#include <algorithm>

TrendPlot::TrendPlot(QWidget* parent) : QWidget(parent) {
    setObjectName("TrendPlot");
    setMinimumHeight(90);
}

void TrendPlot::setMeasure(const MeasureRow* row, const MeasureStat* stat) {
    row_ = row;
    stat_ = stat ? *stat : MeasureStat();
    update();
}

void TrendPlot::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), QColor(20, 20, 24));
    const QFontMetrics fm = fontMetrics();
    if (!row_ || stat_.trend.empty()) return;
    const QString high = ShownForm(StatText(*row_, stat_.max)),
                  low = ShownForm(StatText(*row_, stat_.min));
    const int labels = std::max(fm.horizontalAdvance(high), fm.horizontalAdvance(low)) + 8;
    const QRectF area(labels, 6, width() - labels - 6, height() - 12);
    const double span = stat_.max - stat_.min;
    auto yOf = [&](double v) {
        return span > 0 ? area.bottom() - (v - stat_.min) / span * area.height()
                        : area.center().y();
    };
    p.setPen(QColor(160, 160, 170));
    p.drawText(2, static_cast<int>(area.top()) + fm.ascent(), high);
    p.drawText(2, static_cast<int>(area.bottom()), low);
    p.setPen(QPen(QColor(120, 200, 255), 1, Qt::DashLine));
    p.drawLine(QPointF(area.left(), yOf(stat_.mean)), QPointF(area.right(), yOf(stat_.mean)));
    QPolygonF line;
    const std::size_t n = stat_.trend.size();
    for (std::size_t i = 0; i < n; ++i)
        line << QPointF(area.left() + (n > 1 ? area.width() * static_cast<double>(i) / (n - 1) : 0),
                        yOf(stat_.trend[i]));
    p.setPen(QPen(QColor(255, 200, 40), 1.5));
    p.drawPolyline(line);
}
