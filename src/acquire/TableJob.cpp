// SPDX-License-Identifier: GPL-3.0-or-later
#include "acquire/TableJob.h"

#include "acquire/Jobs.h"
#include "acquire/WaveJob.h"
#include "link/NQ4000Cmd.h"
#include "platform/Clock.h"
#include "platform/Faults.h"
#include "shared/Picture.h"
#include "shared/ValueText.h"

#include <QLocale>

std::vector<QString> TableVoltText(kTableTextBound + 1);
std::vector<QString> TableTimeText(kTableTextBound + 1);
int TableRowCount = 0;
QString SheetTitle;

namespace {

QString query(const QString& command) {
    return CutAtLineFeed(CmdQuery(command));
}

QString rateText(const QString& reply) {
    QString text = NormFreq(reply);
    if (text.contains('H')) text = text.left(text.indexOf('H')) + "Sa";
    return text;
}

} // namespace

short OffsetRows(double offset, double scale) {
    if (scale == 0) throw platform::ArithmeticFault("division by zero");
    const double x = offset * 25 / scale;
    return CIntHalfEven(offset <= 0 ? x - 0.5 : x + 0.5);
}

QString TableNumberText(double value, bool single) {
    const Precision p = single ? Precision::Single : Precision::Double;
    return FormatPicture(value, value < 1 ? "0.00E-00" : "0.00E+00", p);
}

void RunTableJob(const QString& source) {
    const bool ch1 = source == QLatin1String("CH1");
    const bool ch2 = source == QLatin1String("CH2");
    const bool channel = ch1 || ch2;
    // 1: run state, system data, trigger mode.
    const bool running = query(QueryCommand(cmd::TriggerStatus)) != QLatin1String("STOP");
    const SystemData sys = ReadSystemData();
    const QString mode = query(QueryCommand(cmd::Trigger + cmd::Mode));
    // 2: the channel's parameters; the digital table reads channel 1's.
    const int number = ch2 ? 2 : 1;
    const QString root = cmd::ChannelRoot(number);
    const QString scaleReply = query(QueryCommand(root + cmd::Scale));
    const QString offsetReply = query(QueryCommand(root + cmd::Offset));
    const bool invert = query(QueryCommand(root + cmd::Invert)) == cmd::On;
    const double scale = Val(scaleReply);
    const short offsetRows = OffsetRows(Val(offsetReply), scale); // 3
    // 4: the columns drawn, and the time base that goes with them.
    const bool alternate = channel && mode == QLatin1String("ALTERNATION");
    int first = sys.DrawStart, last = sys.DrawEnd;
    QString timeScale, timeOffset;
    if (!alternate) {
        timeScale = query(QueryCommand(cmd::Timebase + cmd::Scale));
        timeOffset = query(QueryCommand(cmd::Timebase + cmd::Offset));
    } else {
        first = ch1 ? sys.AltStart1 : sys.AltStart2;
        last = ch1 ? sys.AltEnd1 : sys.AltEnd2;
        CmdSend(SetCommand(cmd::AlternationSource, ch1 ? cmd::ArgChannel1 : cmd::ArgChannel2));
        timeScale = query(QueryCommand(cmd::TriggerAlternation + cmd::TimeScale));
        timeOffset = query(QueryCommand(cmd::TriggerAlternation + cmd::TimeOffset));
    }
    TableRowCount = (last - first + 1) * 2;
    if ((ch1 && sys.Ch1On == 0) || (ch2 && sys.Ch2On == 0)) TableRowCount = 0; // 5
    const double sampleTime = Val(timeScale) / 50;                             // 6
    // 7: the settings line.
    SetProgressSteps(20);
    AdvanceProgress();
    ProgressCreep = 3;
    QString rate;
    if (channel)
        rate = query(
            QueryCommand(cmd::Acquire + cmd::Samp, ch1 ? cmd::ArgChannel1 : cmd::ArgChannel2));
    SheetTitle = source + " " + NormVolt(scaleReply) + "  " + NormTime3(timeScale) + " " +
                 rateText(rate) + " Size=" + QString::number(TableRowCount) +
                 "  [Date:" + QLocale().toString(platform::Today(), QLocale::ShortFormat) + "]";
    // 8: the block.
    const QString word = ch1 ? cmd::ArgChannel1 : ch2 ? cmd::ArgChannel2 : cmd::ArgDigital;
    CmdSend(QueryCommand(cmd::WaveformData, word));
    StartProgressCreep();
    RawSamples.fill(0);
    const int count = ReadTraceBlock(kTraceRequest);
    StopProgressCreep();
    WarnShortBlock(word, count, std::min(kTraceRequest - 10, channel ? 600 : 1200));
    std::fill(TableVoltText.begin(), TableVoltText.end(), QString());
    std::fill(TableTimeText.begin(), TableTimeText.end(), QString());
    // 9: the voltages of the channels.
    if (channel) {
        const int groundRow = 100 - offsetRows;
        for (int i = 1; i <= TableRowCount && i <= kTableTextBound; ++i) {
            const int at = i + first * 2;
            if (at > RawSamples.upper()) break; // the raw buffer's bound ends the column
            const int raw = RawSamples[at];
            const int row = invert && running ? 225 - raw : raw - 25;
            const float value = static_cast<float>((groundRow - row) * scale / 25);
            TableVoltText[static_cast<std::size_t>(i)] = TableNumberText(value, true);
        }
    }
    // 10: the times; First x 2 is added twice, by the table's own rule.
    const double offset = Val(timeOffset);
    int k = 1;
    for (int i = first * 2; i <= (last + 1) * 2 && k <= kTableTextBound; ++i, ++k) {
        const double time = sampleTime * (i - 300 + first * 2) + offset;
        TableTimeText[static_cast<std::size_t>(k)] = TableNumberText(time, false);
    }
    AdvanceProgress();
}

void TakeTableJob(DataRecord& d, const QString& source) {
    d.Loaded = true;
    d.Source = source;
    d.RowCount = TableRowCount;
    d.Title = SheetTitle;
    d.VoltText = TableVoltText;
    d.TimeText = TableTimeText;
}

void RegisterTableJobs() {
    SetJobBody(kJobTableCh1, [] { RunTableJob("CH1"); });
    SetJobBody(kJobTableCh2, [] { RunTableJob("CH2"); });
    SetJobBody(kJobTableLa, [] { RunTableJob("LA"); });
}
