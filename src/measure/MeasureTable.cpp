// SPDX-License-Identifier: GPL-3.0-or-later
#include "measure/MeasureTable.h"

#include "acquire/MeasureJob.h"
#include "link/NQ4000Cmd.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/ValueText.h"

namespace {

using F = MeasureFamily;
const std::array<MeasureRow, 18> kRows = {{
    {"Vpp", 0, F::Volt, 1, 0},
    {"Vmax", 1, F::Volt, 2, 1},
    {"Vmin", 2, F::Volt, 3, 2},
    {"Vavg", 3, F::Volt, 4, 3},
    {"Vamp", 15, F::Volt, 5, 4},
    {"Vtop", 4, F::Volt, 6, 6},
    {"Vbase", 5, F::Volt, 7, 7},
    {"Vrms", 6, F::Volt, 8, 5},
    {"Vover", 13, F::Percent, 9, 9},
    {"Vpre", 14, F::Percent, 10, 8},
    {"Frequency", 7, F::Frequency, 11, 10},
    {"Rise Time", 8, F::Time, 13, 12},
    {"Fall Time", 9, F::Time, 14, 13},
    {"Period", 10, F::Time, 12, 11},
    {"Pulse Width+", 11, F::Time, 15, 14},
    {"Pulse Width-", 12, F::Time, 16, 15},
    {"Duty+", 16, F::Percent, 17, 16},
    {"Duty-", 17, F::Percent, 18, 17},
}};

bool chinese() {
    return CaptionLanguage() == kLanguageChinese;
}

// Texts made under a comma locale read like the others.
QString pointed(QString text) {
    return text.replace(QLatin1Char(','), QLatin1Char('.'));
}

} // namespace

const std::array<MeasureRow, 18>& MeasureRows() {
    return kRows;
}

const MeasureRow& RowOfSlot(int slot) {
    for (const MeasureRow& row : kRows)
        if (row.slot == slot) return row;
    platform::ThrowBounds("measure slot", slot, 0, 17);
}

QString MeasureRowName(const MeasureRow& row) {
    return MeasureName(row.nameIndex);
}

QStringList FamilyUnits(MeasureFamily family) {
    switch (family) {
    case F::Volt:
        return kVoltUnits;
    case F::Frequency:
        return {"GHz", "MHz", "kHz", "Hz", "mHz"};
    case F::Time:
        return kTimeUnits;
    case F::Percent:
        break;
    }
    return {"%"};
}

double ParseByFamily(MeasureFamily family, const QString& text, bool* ok) {
    const QString t = pointed(text);
    double value = 0;
    switch (family) {
    case F::Volt:
        value = ParseVoltTextWide(t);
        break;
    case F::Frequency:
        value = ParseFreqText(t);
        break;
    case F::Time:
        value = ParseTimeText(t);
        break;
    case F::Percent:
        value = ParsePercentText(t);
        break;
    }
    *ok = ValueTextValid;
    return value;
}

LimitText FormatLimit(MeasureFamily family, double value) {
    SplitResult r;
    switch (family) {
    case F::Volt:
        r = SplitVoltToUnit(value);
        break;
    case F::Frequency:
        r = SplitFreqToUnit(value);
        break;
    case F::Time:
        r = SplitTimeToUnit(value);
        break;
    case F::Percent:
        r = SplitPercentToText(value);
        break;
    }
    return {r.number, r.unitRow < 0 ? 2 : r.unitRow, r.joined};
}

std::optional<double> MeasureBaseValue(const MeasureRow& row, const QString& text) {
    bool ok = false;
    const double value = ParseByFamily(row.family, text, &ok);
    if (!ok || text.contains('*')) return std::nullopt; // "*****": nothing measured
    return value;
}

QString MeasureUnit(const MeasureRow& row) {
    switch (row.family) {
    case MeasureFamily::Volt:
        return QStringLiteral("V");
    case MeasureFamily::Time:
        return QStringLiteral("s");
    case MeasureFamily::Frequency:
        return QStringLiteral("Hz");
    case MeasureFamily::Percent:
        break;
    }
    return QStringLiteral("fraction");
}

const MeasureRow* MeasureRowNamed(const QString& english) {
    for (const MeasureRow& row : MeasureRows())
        if (english.compare(QLatin1String(row.english), Qt::CaseInsensitive) == 0) return &row;
    return nullptr;
}

QString Verdict(const MeasureItem& item, MeasureFamily family) {
    if (!item.LimitEnabled || item.Text.isEmpty()) return QString();
    const bool zh = chinese();
    bool ok = false;
    const double value = ParseByFamily(family, CutAtLineFeed(item.Text), &ok);
    if (!ok) return zh ? QString::fromUtf8("失败") : QStringLiteral("Fail");
    if (value < item.UnderLimit)
        return zh ? QString::fromUtf8("失败 [低于下限]") : QStringLiteral("Fail [Under Limit]");
    if (value > item.OverLimit)
        return zh ? QString::fromUtf8("失败 [高于上限]") : QStringLiteral("Fail [Over Limit]");
    return zh ? QString::fromUtf8("通过") : QStringLiteral("Pass");
}

bool VerdictPasses(const QString& verdict) {
    return verdict == QLatin1String("Pass") || verdict == QString::fromUtf8("通过");
}

MeasureCells CellsFor(const MeasureRecord& rec, const MeasureRow& row) {
    const MeasureItem& item = rec.Items[static_cast<std::size_t>(row.slot)];
    MeasureCells c;
    c.value = item.Text;
    if (!item.Text.isEmpty() && item.LimitEnabled) {
        c.under = FormatLimit(row.family, item.UnderLimit).joined;
        c.over = FormatLimit(row.family, item.OverLimit).joined;
        c.verdict = Verdict(item, row.family);
    }
    return c;
}

QByteArray MeasureExportBytes(const MeasureRecord& rec) {
    const QString crlf = QStringLiteral("\r\n");
    QString out = MakerName + " -[Measure]" + crlf;
    out += crlf + crlf + crlf + crlf;
    out += SettingLineForFile(rec.SettingText) + crlf; // a file keeps the point
    out += crlf;
    out += QString::fromUtf8("  类型\t   值\t  下限\t  上限\t通过&失败") + crlf;
    for (const MeasureRow& row : kRows) {
        const MeasureItem& item = rec.Items[static_cast<std::size_t>(row.slot)];
        QString under, over;
        if (item.LimitEnabled) {
            under = FormatLimit(row.family, item.UnderLimit).joined;
            over = FormatLimit(row.family, item.OverLimit).joined;
        }
        out += MeasureRowName(row) + "\t" + PointForm(CutAtLineFeed(item.Text)) + "\t" +
               PointForm(under) + "\t" + PointForm(over) + "\t" + item.Verdict + crlf;
    }
    return out.toUtf8();
}

void TakeCurrentMeasure(MeasureRecord& rec) {
    rec.Loaded = true;
    for (std::size_t slot = 0; slot < 18; ++slot)
        rec.Items[slot].Text = CurrentMeasure.values[slot];
    rec.SettingText = CurrentMeasure.setting;
}
