// SPDX-License-Identifier: GPL-3.0-or-later
#include "memwave/MemoryView.h"

#include "shared/StringRES.h"
#include "shared/ValueText.h"

#include <algorithm>
#include <cmath>

namespace {

std::vector<std::int64_t> ladder(std::int64_t first, std::int64_t last) {
    std::vector<std::int64_t> values;
    for (std::int64_t decade = 1; decade <= last; decade *= 10)
        for (int m : {1, 2, 5})
            if (decade * m >= first && decade * m <= last) values.push_back(decade * m);
    return values;
}

std::int64_t stepLadder(const std::vector<std::int64_t>& values, std::int64_t now, bool up,
                        std::int64_t upException, std::int64_t exceptionBound) {
    if (up) {
        for (std::size_t i = 0; i + 1 < values.size(); ++i) {
            const std::int64_t bound = values[i] == upException ? exceptionBound : values[i];
            if (now <= bound) return values[i + 1];
        }
        return values.back();
    }
    // Down: at or below a step's upper neighbour, the step itself.
    if (now > values.back()) return values.back();
    for (std::size_t i = 0; i + 1 < values.size(); ++i)
        if (now <= values[i + 1]) return values[i];
    return values[values.size() - 2];
}

QString number(double v) {
    return QString::number(v, 'g', 9);
}

} // namespace

std::int64_t StepVoltLadder(std::int64_t microvolts, bool up) {
    static const std::vector<std::int64_t> volts = ladder(2000, 10000000);
    if (!up && microvolts <= 5000) return 2000;
    return stepLadder(volts, microvolts, up, -1, -1);
}

std::int64_t StepTimeLadder(std::int64_t picoseconds, bool up) {
    static const std::vector<std::int64_t> times = ladder(1, 50000000000000LL);
    if (!up && picoseconds <= times.front()) return times.front();
    return stepLadder(times, picoseconds, up, 2000, 2001);
}

void MemoryView::attach(const MemoryRecord& rec) {
    using Samples = std::span<const std::int16_t>;
    ch1_.build(rec.Ch1Valid ? Samples(rec.Ch1Data) : Samples());
    ch2_.build(rec.Ch2Valid ? Samples(rec.Ch2Data) : Samples());
    la_.build(rec.LAValid ? std::span<const std::uint8_t>(rec.LAData)
                          : std::span<const std::uint8_t>(),
              rec.Alternate ? rec.Points1 : rec.PointsMain);
}

CaptureTiming MemoryView::timing(const MemoryRecord& r, int channel) const {
    CaptureTiming t;
    if (!r.Alternate) {
        t = {r.SampleRateMain, r.PointsMain, r.Delay, r.TimeOriginMain, r.TimeDiv};
    } else if (channel == 1) {
        t = {r.SampleRate1, r.Points1, r.Delay1, r.TimeOrigin1, r.TimeDiv1};
    } else {
        t = {r.SampleRate2, r.Points2, r.Delay2, r.TimeOrigin2, r.TimeDiv2};
    }
    return t;
}

void MemoryView::fillTexts(const MemoryRecord& r) {
    WaveRecord& s = screen_;
    s.Loaded = r.Loaded || r.LAValid;
    s.ShowYT = true;
    s.ShowXY = s.ShowRoll = false;
    s.PointCount = 600;
    s.TriggerMode = r.TriggerMode;
    s.SplitScreen = r.Alternate;
    s.ColorDisplay = r.ColorDisplay;
    s.GridOn = r.GridOn;
    s.ShowCh1 = r.Ch1Valid && r.Ch1On;
    s.ShowCh2 = r.Ch2Valid && r.Ch2On;
    s.ShowLA = r.LAValid && r.LAOn;
    s.ShowMath = false;
    s.FFTDisplay = s.MathDisplay = WordOff;
    s.ActiveChannel = s.ShowCh2 && !s.ShowCh1 ? 2 : 1;
    s.Ch1Scale = NormVolt(number(r.VoltDiv1));
    s.Ch2Scale = NormVolt(number(r.VoltDiv2));
    s.Ch1Offset = NormVolt(number(r.OffsetVolt1));
    s.Ch2Offset = NormVolt(number(r.OffsetVolt2));
    s.TimeScale = NormTime3(number(r.TimeDiv));
    s.TimeOffset = NormTime3(number(r.Delay));
    s.AltTimeScale1 = NormTime3(number(r.TimeDiv1));
    s.AltTimeOffset1 = NormTime3(number(r.Delay1));
    s.AltTimeScale2 = NormTime3(number(r.TimeDiv2));
    s.AltTimeOffset2 = NormTime3(number(r.Delay2));
    SystemData& d = s.SysData;
    d.Ch1On = s.ShowCh1 ? 1 : 0;
    d.Ch2On = s.ShowCh2 ? 1 : 0;
    d.LAOn = s.ShowLA ? 1 : 0;
    d.LAEnableMask = static_cast<std::int16_t>(r.LAEnableMask);
    d.LAActiveChannel = 255; // no lane is the current one in a file
    d.LAHeightLow = d.LAHeightHigh = 8;
    for (std::size_t n = 0; n < 16; ++n)
        d.LAPosition[n] = r.LAPositionRow[n];
}

void MemoryView::pipeline(MemoryRecord& r, PipelinePart part) {
    fillTexts(r);
    SystemData& d = screen_.SysData;
    auto channel = [&](int number) {
        const CaptureTiming t = timing(r, number);
        const VisibleRange range = VisibleRangeFor(t);
        ScreenColumns columns{};
        const bool one = number == 1;
        WaveZoom(columns, one ? r.Ch1Data : r.Ch2Data, one ? ch1_ : ch2_, t, range);
        VerticalZoom v;
        v.capturedScale = one ? r.Ch1ScaleStored : r.Ch2ScaleStored;
        v.capturedOffset = one ? r.CaptureOffset1 : r.CaptureOffset2;
        v.shownScale = one ? r.VoltDiv1 : r.VoltDiv2;
        v.shownOffset = one ? r.OffsetVolt1 : r.OffsetVolt2;
        if (v.capturedScale == 0) v.capturedScale = v.shownScale;
        WaveZoomV(columns, range, v);
        SampleArray& out = one ? screen_.Ch1Samples : screen_.Ch2Samples;
        out.fill(0);
        for (std::size_t i = 0; i < columns.size(); ++i)
            out[static_cast<long long>(i)] = columns[i];
        const std::int16_t first = range.empty() ? 0 : range.screenStart;
        const std::int16_t last = range.empty() ? -1 : range.screenStop;
        if (one) {
            d.AltStart1 = first;
            d.AltEnd1 = last;
            r.SourceStart = range.sourceStart;
            r.SourceStop = range.sourceStop;
            r.ScreenStart = first;
            r.ScreenStop = last;
        } else {
            d.AltStart2 = first;
            d.AltEnd2 = last;
        }
        if (one || !r.Ch1Valid) {
            d.DrawStart = first;
            d.DrawEnd = last;
        }
    };
    if ((part == PipelinePart::Ch1 || part == PipelinePart::All) && r.Ch1Valid) channel(1);
    if ((part == PipelinePart::Ch2 || part == PipelinePart::All) && r.Ch2Valid) channel(2);
    if (part == PipelinePart::All && r.LAValid) {
        const CaptureTiming t = timing(r, 1);
        const VisibleRange range = VisibleRangeFor(t);
        ScreenColumns words{};
        LAZoom(words, r.LAData, la_, t, range);
        screen_.LASamples.fill(0);
        for (std::size_t w = 2; w < words.size(); ++w) {
            const long long at = 2 * static_cast<long long>(w) - 3;
            if (at + 1 > SampleArray::upper()) break;
            screen_.LASamples[at] = words[w] & 0xFF;
            screen_.LASamples[at + 1] = (words[w] >> 8) & 0xFF;
        }
        if (!r.Ch1Valid && !r.Ch2Valid) {
            d.DrawStart = range.empty() ? 0 : range.screenStart;
            d.DrawEnd = range.empty() ? -1 : range.screenStop;
        }
    }
}
