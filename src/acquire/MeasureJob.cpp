// SPDX-License-Identifier: GPL-3.0-or-later
#include "acquire/MeasureJob.h"

#include "acquire/Jobs.h"
#include "acquire/WaveJob.h"
#include "link/NQ4000Cmd.h"
#include "platform/Clock.h"
#include "platform/Pacing.h"
#include "shared/ValueText.h"

#include <QLocale>
#include <algorithm>

CurrentMeasureBlock CurrentMeasure;

namespace {
enum class Family { Volt, Time, Frequency, Percent };
struct Item {
    const char* word;
    int slot;
    Family family;
};
// In the order of the queries.
const Item kItems[18] = {
    {":FREQUENCY", 7, Family::Frequency}, {":VPP", 0, Family::Volt},
    {":VMAX", 1, Family::Volt},           {":VMIN", 2, Family::Volt},
    {":VTOP", 4, Family::Volt},           {":VAVERAGE", 3, Family::Volt},
    {":VBASE", 5, Family::Volt},          {":VRMS", 6, Family::Volt},
    {":VAMPLITUDE", 15, Family::Volt},    {":PDUTYCYCLE", 16, Family::Percent},
    {":NDUTYCYCLE", 17, Family::Percent}, {":PERIOD", 10, Family::Time},
    {":RISETIME", 8, Family::Time},       {":FALLTIME", 9, Family::Time},
    {":PWIDTH", 11, Family::Time},        {":NWIDTH", 12, Family::Time},
    {":OVERSHOOT", 13, Family::Percent},  {":PRESHOOT", 14, Family::Percent},
};

QString query(const QString& command) {
    return CutAtLineFeed(CmdQuery(command));
}
} // namespace

QString MeasureReplyText(int slot, const QString& reply) {
    const Item* item = std::find_if(std::begin(kItems), std::end(kItems),
                                    [slot](const Item& i) { return i.slot == slot; });
    if (item == std::end(kItems)) return reply;
    if (reply.contains('*')) return slot == 13 || slot == 14 ? reply : QStringLiteral("*****");
    switch (item->family) {
    case Family::Volt:
        return NormVolt(reply);
    case Family::Time:
        return NormTime3(reply);
    case Family::Frequency:
        return NormFreq(reply);
    case Family::Percent:
        break;
    }
    return NormPercent(reply);
}

void RunMeasureJob(int channel) {
    const QString word = channel == 2 ? cmd::ArgChannel2 : cmd::ArgChannel1;
    platform::Sleep(200);
    const QString mode = query(QueryCommand(cmd::Trigger + cmd::Mode));
    QString setting = (channel == 2 ? "CH2 " : "CH1 ") +
                      NormVolt(query(QueryCommand(cmd::ChannelRoot(channel) + cmd::Scale)));
    const QString rate = query(QueryCommand(cmd::Acquire + cmd::Samp, word));
    QString timeScale;
    if (mode != QLatin1String("ALTERNATION")) {
        timeScale = query(QueryCommand(cmd::Timebase + cmd::Scale));
    } else {
        CmdSend(SetCommand(cmd::AlternationSource, word));
        timeScale = query(QueryCommand(cmd::TriggerAlternation + cmd::TimeScale));
    }
    setting += "  " + NormTime3(timeScale);
    QString rateText = NormFreq(rate);
    if (rateText.contains('H')) rateText = rateText.left(rateText.indexOf('H')) + "Sa";
    setting += " " + rateText;
    setting += " [Date:" + QLocale().toString(platform::Today(), QLocale::ShortFormat) + "] ";
    CurrentMeasure.setting = setting;
    CmdSend(SetCommand(cmd::Measure + cmd::Source, word));
    for (const Item& item : kItems) {
        const QString reply = query(QueryCommand(cmd::Measure + item.word, word));
        AdvanceProgress();
        bool number = false;
        reply.trimmed().toDouble(&number);
        if (!number && !reply.contains('*')) WarnUnreadable(QString(item.word).mid(1), reply);
        const QString text = MeasureReplyText(item.slot, reply);
        CurrentMeasure.values[static_cast<std::size_t>(item.slot)] = text;
        platform::Sleep(100);
    }
}

void RegisterMeasureJobs() {
    SetJobBody(1, [] {
        SetProgressSteps(18);
        RunMeasureJob(1);
    });
    SetJobBody(2, [] {
        SetProgressSteps(18);
        RunMeasureJob(2);
    });
}
