// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// A measure's trend over the refreshes: its last values as a line, the
// mean as a dashed line, the lowest and highest written at the side.
#include "measure/MeasureStats.h"

#include <QWidget>

class TrendPlot : public QWidget {
    Q_OBJECT
public:
    explicit TrendPlot(QWidget* parent = nullptr);
    void setMeasure(const MeasureRow* row, const MeasureStat* stat); // nullptr: nothing chosen

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const MeasureRow* row_ = nullptr;
    MeasureStat stat_;
};
