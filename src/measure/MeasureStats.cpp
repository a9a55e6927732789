// SPDX-License-Identifier: GPL-3.0-or-later
#include "measure/MeasureStats.h"

#include "acquire/MeasureJob.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"

#include <algorithm>
#include <cmath>

void MeasureStat::add(double value) {
    current = value;
    ++count;
    if (count == 1) min = max = value;
    min = std::min(min, value);
    max = std::max(max, value);
    const double delta = value - mean;
    mean += delta / static_cast<double>(count);
    m2 += delta * (value - mean);
    if (trend.size() == kTrend) trend.erase(trend.begin());
    trend.push_back(value);
}

double MeasureStat::stddev() const {
    return count > 1 ? std::sqrt(m2 / static_cast<double>(count - 1)) : 0;
}

void AddRefresh(MeasureStats& stats, const MeasureRecord& rec) {
    ++stats.refreshes;
    for (const MeasureRow& row : MeasureRows()) {
        const MeasureItem& item = rec.Items[static_cast<std::size_t>(row.slot)];
        MeasureStat& s = stats.items[static_cast<std::size_t>(row.slot)];
        bool ok = false;
        const double value = ParseByFamily(row.family, PointForm(item.Text.trimmed()), &ok);
        if (ok && std::isfinite(value)) s.add(value);
        const QString verdict = Verdict(item, row.family);
        if (!verdict.isEmpty()) (VerdictPasses(verdict) ? s.passed : s.failed) += 1;
    }
}

QString StatText(const MeasureRow& row, double value) {
    // The figure goes through the job's own formatter as if the instrument
    // had replied with it: a mean of Duty+ reads "50.0%" as its values do.
    return MeasureReplyText(row.slot, QString::number(value, 'g', 12));
}

QStringList StatFigures(const MeasureRow& row, const MeasureStat& stat) {
    QStringList figures;
    for (double v : {stat.current, stat.min, stat.max, stat.mean, stat.stddev()})
        figures << (stat.count > 0 ? PointForm(StatText(row, v)) : QString());
    return figures;
}

QByteArray MeasureStatsExportBytes(const MeasureRecord& rec, const MeasureStats& stats) {
    const QString crlf = QStringLiteral("\r\n");
    const bool zh = CaptionLanguage() == kLanguageChinese;
    QString out = MakerName + " -[Measure]" + crlf;
    out += SettingLineForFile(rec.SettingText) + crlf + crlf;
    out += (zh ? QString::fromUtf8("刷新次数\t") : QStringLiteral("Refreshes\t")) +
           QString::number(stats.refreshes) + crlf;
    out += zh ? QString::fromUtf8("类型\t值\t最小\t最大\t平均\t标准差\t次数\t通过\t失败")
              : QStringLiteral("Measure\tValue\tMin\tMax\tMean\tStd dev\tCount\tPass\tFail");
    out += crlf;
    for (const MeasureRow& row : MeasureRows()) {
        const MeasureStat& s = stats.items[static_cast<std::size_t>(row.slot)];
        QStringList cells{MeasureRowName(row)};
        if (s.count > 0)
            for (double v : {s.current, s.min, s.max, s.mean, s.stddev()})
                cells << PointForm(StatText(row, v));
        else
            cells << ""
                  << ""
                  << ""
                  << ""
                  << "";
        cells << QString::number(s.count) << QString::number(s.passed) << QString::number(s.failed);
        out += cells.join('\t') + crlf;
    }
    return out.toUtf8();
}
