// SPDX-License-Identifier: GPL-3.0-or-later
#include "acquire/MeasureJob.h"

#include "acquire/Jobs.h"
#include "acquire/WaveJob.h"
#include "link/NQ4000Cmd.h"
#include "platform/Clock.h"
#include "platform/Pacing.h"
#include "shared/ValueText.h"

#include <QLocale>

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
        QString text;
        bool number = false;
        reply.trimmed().toDouble(&number);
        if (!number && !reply.contains('*')) WarnUnreadable(QString(item.word).mid(1), reply);
        if (reply.contains('*')) {
            text = item.family == Family::Percent && (item.slot == 13 || item.slot == 14) ? reply
                                                                                          : "*****";
        } else {
            switch (item.family) {
            case Family::Volt:
                text = NormVolt(reply);
                break;
            case Family::Time:
                text = NormTime3(reply);
                break;
            case Family::Frequency:
                text = NormFreq(reply);
                break;
            case Family::Percent:
                text = NormPercent(reply);
                break;
            }
        }
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
