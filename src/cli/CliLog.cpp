// SPDX-License-Identifier: GPL-3.0-or-later
// korvane-cli log and log-export: the data logger from the command line.
#include "cli/CliCommands.h"

#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/ScriptLink.h"
#include "link/UsbFunc.h"
#include "logger/DataLogger.h"
#include "panel/LcdImage.h"
#include "platform/SafeFile.h"
#include "shared/ReplyText.h"
#include "shared/SoftwareSetting.h"

#include <QCoreApplication>
#include <cstdio>
#include <memory>
#include <optional>

namespace {

std::unique_ptr<LogStore> g_store;
QList<LoggedMeasure> g_measures;

// The instrument's identity for the log: the serial field of *IDN?, so two
// benches logging into one database stay apart.
QString instrumentIdentity() {
    const QStringList fields = CutAtLineFeed(CmdQuery(cmd::Idn)).split(',');
    const QString serial = fields.value(2).trimmed();
    return serial.isEmpty() ? fields.join(',').trimmed() : serial;
}

QByteArray screenPng() {
    return SoftwareSetting.ScopeIOType == kIoTypeUsb ? ReadLcdPng() : QByteArray();
}

void say(const QString& line) {
    std::fprintf(stderr, "korvane-cli: %s\n", qPrintable(line));
    std::fflush(stderr);
}

} // namespace

QString CheckLogWords(const CliRequest& r) {
    QString error;
    if (r.db.isEmpty())
        return r.command + " needs --db FILE or --db postgresql://USER@HOST:PORT/DB";
    if (!ParseLogTarget(r.db, &error)) return error;
    if (r.command == "log-export") {
        if (r.out.isEmpty()) return "usage: korvane-cli log-export --db TARGET --out FILE|-";
        for (const QString& t : {r.fromTime, r.toTime})
            if (!t.isEmpty() && !ParseLogTime(t))
                return t + ": a time is ISO 8601 (2026-11-25 or 2026-11-25T08:00:00Z)";
        return {};
    }
    if (ParseLogMeasures(r.args.value(0), &error).isEmpty()) return error;
    if ((r.count > 0) == (r.duration > 0)) return "log needs one of --count N and --duration S";
    if (r.repeat != 1) return "log repeats by --interval and --count; --repeat does not apply";
    return {};
}

int PrepareLog(const CliRequest& r) {
    QString error;
    g_measures = ParseLogMeasures(r.args.value(0), &error);
    g_store = std::make_unique<LogStore>(*ParseLogTarget(r.db, &error));
    qAddPostRoutine([] { g_store.reset(); }); // closed while Qt's SQL still stands
    if (!g_store->open()) return CliFail(g_store->error());
    return 0;
}

int RunLogCommand(const CliRequest& r) {
    LogStore& store = *g_store;
    const QString instrument = instrumentIdentity();
    LogRun run;
    run.measures = g_measures;
    run.interval = r.interval;
    run.count = r.count;
    run.duration = r.duration;
    run.keepFailingScreens = r.keepFailingScreens;
    run.limits = CliLimits();
    LogResult result;
    auto summary = [&store, &result] {
        const qint64 held = store.flush() == LogStore::Write::Committed ? 0 : store.heldRows();
        say(QString("%1 samples logged into %2")
                .arg(store.committedSamples())
                .arg(store.target().shown()) +
            (result.gaps > 0 ? QString(", %1 gaps").arg(result.gaps) : QString()) +
            (held > 0 ? QString("; %1 rows could not be written: %2").arg(held).arg(store.error())
                      : QString()));
    };
    SetCliLastWords(summary); // Ctrl+C or SIGTERM: what was held goes in first
    LogEvents events;
    bool lostSaid = false;
    events.reconnect = [&r, &instrument, &lostSaid] {
        CloseScriptLink();
        if (!OpenScriptLink(r.resource, r.rs232)) return false;
        if (instrumentIdentity() != instrument) { // another instrument answers: not this log's
            CloseScriptLink();
            return false;
        }
        say("the link is back; logging on");
        lostSaid = false;
        return true;
    };
    events.screenshot = screenPng;
    events.progress = [&lostSaid](qint64, const QString& state) {
        if (state.startsWith("link lost") && !lostSaid) {
            say("the link was lost; reconnecting (a gap is logged)");
            lostSaid = true;
        }
    };
    result = RunDataLog(run, store, instrument, events);
    SetCliLastWords({});
    summary();
    if (!result.error.isEmpty()) return CliFail(result.error, 2);
    return 0;
}

int RunLogExport(const CliRequest& r) {
    QString error;
    LogStore store(*ParseLogTarget(r.db, &error));
    if (!store.openToRead()) return CliFail(store.error());
    LogFilter filter;
    if (!r.fromTime.isEmpty()) filter.from = ParseLogTime(r.fromTime);
    if (!r.toTime.isEmpty()) filter.to = ParseLogTime(r.toTime);
    filter.instrument = r.instrument;
    platform::AtomicFileWriter out;
    if (!out.open(r.out))
        return CliFail((r.out == "-" ? "standard output" : r.out) + ": " + out.error());
    bool written = out.write(LogCsvHeader());
    const bool read = store.readRows(
        filter, [&](const LogExportRow& row) { written = written && out.write(LogCsvLine(row)); });
    if (!read) return CliFail(store.error());
    if (!written || !out.commit())
        return CliFail((r.out == "-" ? "standard output" : r.out) + ": " + out.error());
    return 0;
}
