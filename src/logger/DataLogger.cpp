// SPDX-License-Identifier: GPL-3.0-or-later
#include "logger/DataLogger.h"

#include "acquire/Jobs.h"
#include "link/LinkState.h"
#include "measure/MeasureTable.h"
#include "platform/Clock.h"
#include "platform/Pacing.h"

#include <QElapsedTimer>
#include <algorithm>

int ReconnectDelayMs(int attempt) {
    return attempt >= 5 ? 10000 : std::min(10000, 500 << attempt);
}

int LoggedChannels(const QList<LoggedMeasure>& measures) {
    int channels = 0;
    for (const LoggedMeasure& m : measures)
        channels |= 1 << m.channel;
    return channels;
}

namespace {

// One sample: the measure job of each channel in turn; false when the link
// went during it (nothing of the sample is stored).
bool takeSample(const LogRun& run, MeasureRecord (&records)[3]) {
    const int channels = LoggedChannels(run.measures);
    for (int channel = 1; channel <= 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        RunJobWithoutWindow(channel, 0);
        if (!Connected) return false;
        TakeCurrentMeasure(records[channel]);
    }
    return true;
}

bool anyFails(const QList<LogRow>& rows) {
    return std::any_of(rows.begin(), rows.end(),
                       [](const LogRow& r) { return r.verdict == QLatin1String("fail"); });
}

} // namespace

LogResult RunDataLog(const LogRun& run, LogStore& store, const QString& instrument,
                     const LogEvents& events) {
    LogResult result;
    QElapsedTimer clock;
    clock.start();
    const qint64 intervalMs = static_cast<qint64>(run.interval * 1000);
    auto timeIsUp = [&] { return run.duration > 0 && clock.elapsed() >= run.duration * 1000; };
    auto stop = [&] { return events.stopRequested && events.stopRequested(); };
    auto say = [&](const QString& state) {
        if (events.progress) events.progress(result.samples, state);
    };
    qint64 nextMs = 0; // when the next sample starts, on the run's clock
    while ((run.count <= 0 || result.samples < run.count) && !timeIsUp() && !stop()) {
        if (const qint64 wait = nextMs - clock.elapsed(); wait > 0) {
            platform::Wait(static_cast<int>(std::min<qint64>(
                wait, run.duration > 0 ? run.duration * 1000 - clock.elapsed() : wait)));
            if (timeIsUp() || stop()) break;
        }
        nextMs = std::max(nextMs + intervalMs, clock.elapsed());
        const QDateTime time = platform::Now().toUTC();
        MeasureRecord records[3];
        if (!Connected || !takeSample(run, records)) {
            // The link went: a gap from this sample until it is back.
            ++result.gaps;
            for (int attempt = 0; !stop() && !timeIsUp(); ++attempt) {
                say(QString("link lost; reconnecting in %1 s")
                        .arg(ReconnectDelayMs(attempt) / 1000.0));
                platform::Wait(ReconnectDelayMs(attempt));
                if (events.reconnect && events.reconnect()) break;
            }
            const double seconds = time.msecsTo(platform::Now().toUTC()) / 1000.0;
            if (store.addGap(instrument, time, seconds) == LogStore::Write::Fatal) {
                result.error = store.error();
                return result;
            }
            nextMs = clock.elapsed();
            continue;
        }
        const MeasureRecord* byChannel[3] = {nullptr, &records[1], &records[2]};
        const QList<LogRow> rows = SampleRows(run.measures, byChannel, run.limits, time);
        const QByteArray png = run.keepFailingScreens && anyFails(rows) && events.screenshot
                                   ? events.screenshot()
                                   : QByteArray();
        const LogStore::Write written = store.addSample(instrument, rows, png);
        if (written == LogStore::Write::Fatal) {
            result.error = store.error();
            return result;
        }
        ++result.samples;
        if (events.sampled) events.sampled(rows);
        say(written == LogStore::Write::Held
                ? QString("%1 rows held: the database is away").arg(store.heldRows())
                : QString());
    }
    // What a server that is away still holds: asked for a minute more, the
    // pauses growing as for the link, before the run says it is lost.
    QElapsedTimer waiting;
    waiting.start();
    for (int attempt = 0;; ++attempt) {
        const LogStore::Write w = store.flush();
        if (w == LogStore::Write::Committed) break;
        if (w == LogStore::Write::Fatal || waiting.elapsed() > 60000 || stop()) {
            result.error = QString("%1 rows could not be written: %2")
                               .arg(store.heldRows())
                               .arg(store.error());
            break;
        }
        say(QString("%1 rows held: the database is away").arg(store.heldRows()));
        platform::Wait(ReconnectDelayMs(attempt));
    }
    return result;
}
