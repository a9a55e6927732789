// SPDX-License-Identifier: GPL-3.0-or-later
// korvane-cli spectrum: the peak and its harmonics 2 to 10, of a fetched
// screen's channel or of a deep-memory file (a time range of it).
#include "acquire/Jobs.h"
#include "acquire/WaveJob.h"
#include "cli/CliCommands.h"
#include "export/CaptureExport.h"
#include "link/LinkState.h"
#include "memwave/MemoryView.h"
#include "memwave/WaveformFile.h"
#include "shared/StringRES.h"
#include "sheet/SheetRecords.h"
#include "views/Analyser.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>

namespace {

QString toneLine(const QString& name, const Spectrum& s, const Tone& t) {
    return name + " " + FrequencyText(MarkerFrequency(s, t)) + " " + LevelText(t.dbv()) + "\n";
}

QJsonObject toneJson(const Spectrum& s, const Tone& t) {
    return {{"frequency", MarkerFrequency(s, t)}, {"level_dbv", t.dbv()}, {"rms", t.rms}};
}

int printSpectrum(const CliRequest& r, const QString& source, const Spectrum& s) {
    if (s.empty()) return CliFail(source + ": too few samples for a spectrum");
    const Tone peak = FindPeak(s);
    const std::vector<Harmonic> harmonics = Harmonics(s, peak);
    if (r.json) {
        QJsonObject o{{"source", source},
                      {"sample_rate", s.sampleRate},
                      {"bin_hz", s.binHz},
                      {"window", kFftWindowNames[static_cast<int>(s.window)].toLower()},
                      {"averages", s.averaged}};
        if (peak.valid()) o["peak"] = toneJson(s, peak);
        QJsonArray list;
        for (const Harmonic& h : harmonics) {
            QJsonObject entry = h.belowNoise() ? QJsonObject{{"frequency", h.frequency},
                                                             {"level_dbv", QJsonValue::Null},
                                                             {"rms", QJsonValue::Null}}
                                               : toneJson(s, h.tone);
            entry["order"] = h.order;
            list.append(entry);
        }
        o["harmonics"] = list;
        CliOut(QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact)) + "\n");
        return 0;
    }
    QString text = source + ", " + FrequencyText(s.binHz) + " bins, " +
                   kFftWindowNames[static_cast<int>(s.window)] + "\n";
    if (peak.valid()) text += toneLine("peak", s, peak);
    for (const Harmonic& h : harmonics)
        text += HarmonicText(s, h) + "\n";
    CliOut(text);
    return 0;
}

} // namespace

bool SpectrumOfFile(const CliRequest& r) {
    return r.command == "spectrum" && r.args.value(0).endsWith(".wfm", Qt::CaseInsensitive);
}

int RunSpectrumFetch(const CliRequest& r, int) {
    const int channel = r.args[0].toUpper() == "CH2" ? 2 : 1;
    WaveRecord& w = WaveRecords[0];
    w = WaveRecord();
    (channel == 1 ? w.SelCh1 : w.SelCh2) = true;
    RunJobWithoutWindow(kJobWave, 0);
    if (!Connected) return CliFail("the link was lost during the fetch", 3);
    if (!JobWarning.isEmpty()) CliNote(JobWarning);
    w.Loaded = true;
    if (!(channel == 1 ? w.ShowCh1 : w.ShowCh2))
        return CliFail(QString("CH%1 is not shown on the instrument").arg(channel));
    const std::vector<double> volts = ChannelVolts(w, channel);
    return printSpectrum(r, QString("CH%1").arg(channel),
                         ComputeRmsSpectrum(volts.data(), volts.size(), ScreenSampleRate(w),
                                            static_cast<FftWindow>(r.window), r.averages));
}

int RunSpectrumFile(const CliRequest& r) {
    MemoryRecord rec;
    QString error;
    if (LoadWaveformFile(r.args[0], rec, &error) != WaveformLoad::Ok || !rec.Loaded)
        return CliFail(r.args[0] + ": " + (error.isEmpty() ? MsgFileError : error));
    const int channel = r.channel;
    if (!(channel == 1 ? rec.Ch1Valid : rec.Ch2Valid))
        return CliFail(QString("%1: the file holds no CH%2").arg(r.args[0]).arg(channel));
    MemoryView view;
    const CaptureTiming t = view.timing(rec, channel);
    // Sample i lies at (i - points / 2) / rate + origin.
    auto sampleAt = [&](double seconds) {
        return static_cast<std::int64_t>(
            std::llround((seconds - t.origin) * t.sampleRate + t.points / 2.0));
    };
    const std::int64_t from = std::isnan(r.from) ? 0 : std::max<std::int64_t>(0, sampleAt(r.from));
    const std::int64_t to =
        std::isnan(r.to) ? t.points : std::min<std::int64_t>(t.points, sampleAt(r.to));
    const auto v = MemoryVolts(rec, channel, from, to - from);
    const std::vector<double> volts(v.begin(), v.end());
    return printSpectrum(r, QString("CH%1").arg(channel),
                         ComputeRmsSpectrum(volts.data(), volts.size(), t.sampleRate,
                                            static_cast<FftWindow>(r.window), r.averages));
}
