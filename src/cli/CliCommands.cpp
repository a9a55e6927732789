// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/CliCommands.h"

#include "acquire/Jobs.h"
#include "acquire/MeasureJob.h"
#include "acquire/TableJob.h"
#include "acquire/WaveJob.h"
#include "cli/Cli.h"
#include "controller/CtrlData.h"
#include "controller/CtrlFile.h"
#include "controller/SettingsExchange.h"
#include "export/CaptureExport.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/RS232Func.h"
#include "link/UsbFunc.h"
#include "measure/MeasureStats.h"
#include "measure/MeasureTable.h"
#include "memwave/CsvExport.h"
#include "memwave/WaveformFile.h"
#include "panel/LcdImage.h"
#include "platform/Pacing.h"
#include "platform/SafeFile.h"
#include "replay/RecordFile.h"
#include "shared/ComPorts.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetFile.h"
#include "sheet/SheetRecords.h"
#include "views/ScreenRenderer.h"
#include "views/frmData.h"

#include <QBuffer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <cstdio>
#include <unistd.h>

namespace {

QString g_note;

int fail(const QString& message, int status = 2) {
    return CliFail(message, status);
}

void out(const QString& text) {
    CliOut(text);
}

int writeFile(const QString& path, const QByteArray& bytes) {
    const QString error = platform::WriteFileAtomically(path, bytes);
    return error.isEmpty() ? 0 : fail((path == "-" ? "standard output" : path) + ": " + error);
}

QByteArray pngOf(const QImage& image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

bool readable(const QString& path, QString* error) {
    QFile f(path);
    if (f.open(QIODevice::ReadOnly)) return true;
    *error = path + ": cannot read: " + f.errorString();
    return false;
}

// The percentage of a long file's writing on standard error, when that is a
// terminal; the line is wiped at the end.
class FileProgress {
public:
    ~FileProgress() {
        if (printed_) std::fputs("\r     \r", stderr);
    }
    std::function<bool(int)> callback() {
        return [this](int percent) {
            if (terminal_) {
                std::fprintf(stderr, "\r%3d %%", percent);
                printed_ = true;
            }
            return true;
        };
    }

private:
    bool terminal_ = ::isatty(STDERR_FILENO);
    bool printed_ = false;
};

// The limits file, read before the instrument is asked anything.
MeasureRecord g_limits;

std::function<void()> g_lastWords;

// ---- instrument commands --------------------------------------------------------------------

// A data sheet holding the fetched screen as its one waveform document, named
// as the program names a new one.
QByteArray sheetOfScreen(WaveRecord& w) {
    w.Name = NewNameBase(DocKind::Wave) + "1";
    SheetName = TreeLabel("Untitle");
    SetDocCounts({1, 0, 0, 0, 0});
    return SheetBytes();
}

int screen(const CliRequest& r, int round) {
    if (!r.lcd.isEmpty()) {
        if (SoftwareSetting.ScopeIOType != kIoTypeUsb)
            return fail("the screen image is read over USB only");
        const QByteArray png = ReadLcdPng();
        if (png.isEmpty()) return fail("the screen image could not be read", 3);
        return writeFile(RoundPath(r.lcd, round, r.repeat), png);
    }
    WaveRecord& w = WaveRecords[0];
    w = WaveRecord();
    w.SelCh1 = w.SelCh2 = w.SelMath = w.SelLA = true; // every source the instrument shows
    RunJobWithoutWindow(kJobWave, 0);
    if (!Connected) return fail("the link was lost during the fetch", 3);
    if (!JobWarning.isEmpty()) CliNote(JobWarning);
    w.Loaded = true;
    if (!r.ult.isEmpty()) return writeFile(RoundPath(r.ult, round, r.repeat), sheetOfScreen(w));
    return writeFile(RoundPath(r.png, round, r.repeat),
                     pngOf(RenderScreen(w, 2.0, IsDigitalModel == 1)));
}

int table(const CliRequest& r, int round) {
    const QString source = r.args[0].toUpper();
    const int kind = source == "CH1" ? kJobTableCh1 : source == "CH2" ? kJobTableCh2 : kJobTableLa;
    RunJobWithoutWindow(kind, 0);
    if (!Connected) return fail("the link was lost during the fetch", 3);
    if (!JobWarning.isEmpty()) CliNote(JobWarning);
    DataRecord d;
    TakeTableJob(d, source);
    return writeFile(RoundPath(r.out, round, r.repeat), DataExportBytes(d));
}

// The statistics as the command prints them: a tab-separated table in the
// value column's pictures, or JSON in base units (a fraction for the
// percentages); the exit status (1 when any verdict failed).
int printStats(const CliRequest& r, const MeasureStats& stats) {
    bool failed = false;
    QJsonArray rows;
    QString text = "measure\tcount\tmin\tmax\tmean\tstddev\tpass\tfail\n";
    for (const MeasureRow& row : MeasureRows()) {
        const MeasureStat& st = stats.items[static_cast<std::size_t>(row.slot)];
        failed = failed || st.failed > 0;
        QJsonObject o{{"name", row.english},
                      {"unit", MeasureUnit(row)},
                      {"count", static_cast<qint64>(st.count)}};
        QString line = QString(row.english) + "\t" + QString::number(st.count);
        if (st.count > 0) {
            o["current"] = st.current;
            o["min"] = st.min;
            o["max"] = st.max;
            o["mean"] = st.mean;
            o["stddev"] = st.stddev();
            for (double v : {st.min, st.max, st.mean, st.stddev()})
                line += "\t" + StatText(row, v);
        } else {
            line += "\t\t\t\t";
        }
        if (st.passed + st.failed > 0) {
            o["passed"] = static_cast<qint64>(st.passed);
            o["failed"] = static_cast<qint64>(st.failed);
        }
        line += "\t" + QString::number(st.passed) + "\t" + QString::number(st.failed) + "\n";
        text += line;
        rows.append(o);
    }
    if (r.json)
        text = QString::fromUtf8(
            QJsonDocument(QJsonObject{{"refreshes", static_cast<qint64>(stats.refreshes)},
                                      {"measures", rows}})
                .toJson(QJsonDocument::Indented));
    const int status =
        r.out.isEmpty() || r.out == "-" ? (out(text), 0) : writeFile(r.out, text.toUtf8());
    return status != 0 ? status : failed ? 1 : 0;
}

// --stats N: N refreshes, then each measure's statistics (the pass and fail
// counts over them too). A signal ends the run at once with what was
// gathered: the refreshes already counted, not the one it cut.
int measureStats(const CliRequest& r) {
    const QString source = r.args[0].toUpper();
    MeasureStats stats;
    MeasureRecord rec = g_limits;
    SetCliLastWords([&r, &stats] { printStats(r, stats); });
    for (int n = 0; n < r.stats; ++n) {
        if (n > 0) platform::Wait(static_cast<int>(r.interval * 1000)); // never scaled
        RunJobWithoutWindow(source == "CH1" ? 1 : 2, 0);
        if (!Connected) {
            SetCliLastWords({});
            return fail("the link was lost during the fetch", 3);
        }
        if (!JobWarning.isEmpty()) CliNote(JobWarning);
        TakeCurrentMeasure(rec);
        AddRefresh(stats, rec);
    }
    SetCliLastWords({});
    return printStats(r, stats);
}

int measure(const CliRequest& r, int round) {
    if (r.stats > 0) return measureStats(r);
    const QString source = r.args[0].toUpper();
    MeasureRecord rec = g_limits;
    RunJobWithoutWindow(source == "CH1" ? 1 : 2, 0);
    if (!Connected) return fail("the link was lost during the fetch", 3);
    if (!JobWarning.isEmpty()) CliNote(JobWarning);
    TakeCurrentMeasure(rec);
    bool failed = false;
    for (const MeasureRow& row : MeasureRows()) {
        MeasureItem& item = rec.Items[static_cast<std::size_t>(row.slot)];
        item.Verdict = CellsFor(rec, row).verdict;
        if (!item.Verdict.isEmpty() && !VerdictPasses(item.Verdict)) failed = true;
    }
    // JSON with --repeat: one document a line (JSON Lines).
    QString text = MeasureText(rec, r.json, r.repeat > 1);
    int status = 0;
    if (r.out.isEmpty() || r.out == "-")
        out(text);
    else
        status = writeFile(RoundPath(r.out, round, r.repeat), text.toUtf8());
    return status != 0 ? status : failed ? 1 : 0;
}

int settings(const CliRequest& r, int round) {
    if (r.args[0] == "get") {
        RunJobWithoutWindow(kJobDownload, 0);
        if (!LastReadAllComplete()) return fail("the settings could not be read", 3);
        const QString path = RoundPath(r.args[1], round, r.repeat);
        return WriteControlFile(path) ? 0 : 2;
    }
    RunJobWithoutWindow(kJobUpload, 0);
    return Connected ? 0 : fail("the link was lost while writing", 3);
}

// ---- file commands -------------------------------------------------------------------------

int wfm2csv(const CliRequest& r) {
    MemoryRecord rec;
    QString error;
    if (LoadWaveformFile(r.args[0], rec, &error) != WaveformLoad::Ok ||
        (!rec.Loaded && !rec.LAValid))
        return fail(r.args[0] + ": " + (error.isEmpty() ? MsgFileError : error));
    if (!rec.Ch1On && !rec.Ch2On) return fail(r.args[0] + ": " + MsgBadWaveform);
    FileProgress progress;
    error = ExportCsv(r.args[1], rec, progress.callback());
    return error.isEmpty() ? 0 : fail(r.args[1] + ": " + error);
}

int rcd2png(const CliRequest& r) {
    RecordRecord rec;
    QString error;
    const RecordLoad result = LoadRecordFile(r.args[0], rec, &error);
    if (result != RecordLoad::Ok)
        return fail(r.args[0] + ": " + (error.isEmpty() ? RecordLoadMessage(result) : error));
    if (r.frame > rec.FrameCount)
        return fail(
            QString("frame %1 is not in the record (1 to %2)").arg(r.frame).arg(rec.FrameCount));
    rec.CurrentFrame = static_cast<std::int16_t>(r.frame);
    // The replay window's drawing, at its default size.
    QImage image(QSize(350 * 2, 250 * 2), QImage::Format_RGB32);
    QPainter painter(&image);
    DrawScreenGrid(painter, ScreenStyle{rec.ColorMode, true, false}, 2.0, image.size());
    painter.setPen(rec.Source == "CH2" ? ColorCh2 : ColorCh1);
    QPointF previous;
    for (int k = 0; k < kFrameSamples; ++k) {
        const int sample = FrameSample(rec, r.frame, k);
        if (sample < 0) break;
        const QPointF point(25 + k * 2.0, sample * 2.0 + 25);
        if (k > 0) painter.drawLine(previous, point);
        previous = point;
    }
    painter.end();
    return writeFile(r.args[1], pngOf(image));
}

} // namespace

Capture CaptureOfFile(const QString& path, int frame, QString* error, bool withAnalog) {
    if (path.endsWith(".rcd", Qt::CaseInsensitive)) {
        RecordRecord rec;
        const RecordLoad result = LoadRecordFile(path, rec, error);
        if (result != RecordLoad::Ok) {
            *error = path + ": " + (error->isEmpty() ? RecordLoadMessage(result) : *error);
            return {};
        }
        Capture capture = CaptureOfFrame(rec, frame, error);
        if (capture.samples() == 0) *error = path + ": " + *error;
        return capture;
    }
    MemoryRecord rec;
    if (LoadWaveformFile(path, rec, error) != WaveformLoad::Ok || (!rec.Loaded && !rec.LAValid)) {
        *error = path + ": " + (error->isEmpty() ? MsgFileError : *error);
        return {};
    }
    Capture capture = CaptureOfMemory(rec, error, withAnalog);
    if (capture.samples() == 0) *error = path + ": " + *error;
    return capture;
}

namespace {

int convert(const CliRequest& r) {
    const CaptureFormat format = CaptureFormatOf(r.args[1]);
    if (format == CaptureFormat::Unknown)
        return fail(r.args[1] + ": the kind of file is told by .sr, .vcd, .csv or .npz");
    QString error;
    const Capture capture = CaptureOfFile(r.args[0], r.frame, &error);
    if (capture.samples() == 0) return fail(error);
    FileProgress progress;
    error = WriteCapture(r.args[1], capture, format, progress.callback());
    return error.isEmpty() ? 0 : fail(r.args[1] + ": " + error);
}

int sheetInfo(const CliRequest& r) {
    QFile f(r.args[0]);
    if (!f.open(QIODevice::ReadOnly)) return fail(r.args[0] + ": cannot read: " + f.errorString());
    QString error;
    const SheetRead result = ParseSheet(f.readAll(), &error);
    if (result == SheetRead::BadSignature) return fail(r.args[0] + ": " + MsgBadSheetFile);
    out("name\t" + SheetName + "\n");
    const char* kinds[kDocKindCount] = {"wave", "measure", "data", "record", "memory wave"};
    for (int k = 0; k < kDocKindCount; ++k) {
        const auto kind = static_cast<DocKind>(k);
        for (int slot = 0; slot < DocCount(kind); ++slot)
            out(QString("%1\t%2\n").arg(kinds[k], DocName(kind, slot)));
    }
    return result == SheetRead::Ok ? 0 : fail(r.args[0] + ": " + error);
}

int list() {
    OpenVisaRM();
    for (const QString& name : SearchUsbResources())
        out(name + "\n");
    for (int port = 1; port <= kComPortCount; ++port)
        if (!ComPortDevice(port).isEmpty())
            out(QString("ASRL%1::INSTR\t%2\n").arg(port).arg(ComPortDevice(port)));
    return 0;
}

} // namespace

int CliFail(const QString& message, int status) {
    QString line = message;
    if (!g_note.isEmpty() && !line.contains(g_note)) line += " (" + g_note + ")";
    g_note.clear();
    std::fprintf(stderr, "korvane-cli: %s\n", qPrintable(line));
    return status;
}

void CliOut(const QString& text) {
    std::fputs(text.toUtf8().constData(), stdout);
    std::fflush(stdout);
}

void CliNote(const QString& message) {
    if (g_note.isEmpty()) g_note = message; // the first says what went wrong
}

void CliFlushNotes() {
    if (g_note.isEmpty()) return;
    std::fprintf(stderr, "korvane-cli: %s\n", qPrintable(g_note));
    g_note.clear();
}

QString RoundPath(const QString& path, int round, int rounds) {
    if (rounds <= 1 || path == QLatin1String("-")) return path;
    const qsizetype dot = path.lastIndexOf('.');
    const QString number = QString("-%1").arg(round + 1, 3, 10, QLatin1Char('0'));
    return dot > path.lastIndexOf('/') ? path.left(dot) + number + path.mid(dot) : path + number;
}

QString CheckCommandWords(const CliRequest& r) {
    const QString& c = r.command;
    const QString first = r.args.value(0);
    if (c == "log" || c == "log-export") return CheckLogWords(r);
    if (c == "settings" && first != "get" && first != "put")
        return "usage: korvane-cli settings get|put FILE.rmt";
    if (c == "screen" && int(!r.png.isEmpty()) + int(!r.lcd.isEmpty()) + int(!r.ult.isEmpty()) != 1)
        return "usage: korvane-cli screen --png FILE | --lcd FILE | --ult FILE";
    if (c == "table") {
        const QString s = first.toUpper();
        if (s != "CH1" && s != "CH2" && s != "LA")
            return "table takes CH1, CH2 or LA, not " + first;
        if (r.out.isEmpty()) return "usage: korvane-cli table CH1|CH2|LA --out FILE|-";
    }
    if (c == "spectrum" && !SpectrumOfFile(r) && first.toUpper() != "CH1" &&
        first.toUpper() != "CH2")
        return "spectrum takes CH1, CH2 or a .wfm file, not " + first;
    if (c == "measure" && first.toUpper() != "CH1" && first.toUpper() != "CH2")
        return "measure takes CH1 or CH2, not " + first;
    if ((c == "send" || c == "query") && first.trimmed().isEmpty())
        return QString("usage: korvane-cli %1 COMMAND [ARGUMENT...]").arg(c);
    return QString();
}

int PrepareInstrumentCommand(const CliRequest& r) {
    QString error;
    if (r.command == "settings" && r.args[0] == "put") {
        if (!readable(r.args[1], &error)) return fail(error);
        if (!ReadControlFile(r.args[1]))
            return fail(r.args[1] + ": not a control file of this instrument");
    }
    // The limits of measure and log, read once before anything is connected.
    if ((r.command == "measure" || r.command == "log") && !r.limits.isEmpty()) {
        if (!readable(r.limits, &error)) return fail(error);
        QFile f(r.limits);
        f.open(QIODevice::ReadOnly);
        g_limits = MeasureRecord();
        if (!ApplyLimitsText(QString::fromUtf8(f.readAll()), g_limits, &error)) return fail(error);
    }
    if (r.command == "log") return PrepareLog(r);
    return 0;
}

int RunInstrumentCommand(const CliRequest& r, int round) {
    const QString& c = r.command;
    if (c == "idn") {
        out(CutAtLineFeed(CmdQuery("*IDN?")) + "\n");
        return 0;
    }
    if (c == "send") {
        CmdSend(r.args[0]);
        return 0;
    }
    if (c == "query") {
        out(CutAtLineFeed(CmdQuery(r.args[0])) + "\n");
        return 0;
    }
    if (c == "settings") return settings(r, round);
    if (c == "screen") return screen(r, round);
    if (c == "log") return RunLogCommand(r);
    if (c == "table") return table(r, round);
    if (c == "measure") return measure(r, round);
    if (c == "spectrum") return RunSpectrumFetch(r, round);
    return fail("unknown command " + c);
}

int RunFileCommand(const CliRequest& r) {
    const QString& c = r.command;
    if (c == "wfm2csv") return wfm2csv(r);
    if (c == "rcd2png") return rcd2png(r);
    if (c == "convert") return convert(r);
    if (c == "decode") return RunDecodeCommand(r);
    if (c == "spectrum") return RunSpectrumFile(r);
    if (c == "sheet-info") return sheetInfo(r);
    if (c == "list") return list();
    if (c == "log-export") return RunLogExport(r);
    return fail("unknown command " + c);
}

// ---- the measure texts ---------------------------------------------------------------------

const MeasureRecord& CliLimits() {
    return g_limits;
}

void SetCliLastWords(std::function<void()> words) {
    g_lastWords = std::move(words);
}

void CliSayLastWords() {
    if (!g_lastWords) return;
    const std::function<void()> words = std::move(g_lastWords);
    g_lastWords = {};
    words();
}

bool ApplyLimitsText(const QString& text, MeasureRecord& record, QString* error) {
    int number = 0;
    for (const QString& raw : text.split('\n')) {
        ++number;
        const QString line = raw.trimmed();
        if (line.isEmpty() || line.startsWith('#')) continue;
        const qsizetype eq = line.indexOf('=');
        const QStringList limits = line.mid(eq + 1).split(',');
        bool okUnder = false, okOver = false;
        const double under = limits.value(0).trimmed().toDouble(&okUnder);
        const double over = limits.value(1).trimmed().toDouble(&okOver);
        const MeasureRow* row = MeasureRowNamed(line.left(eq).trimmed());
        if (eq <= 0 || !row || limits.size() != 2 || !okUnder || !okOver) {
            if (error) *error = QString("limits line %1 does not read: %2").arg(number).arg(line);
            return false;
        }
        MeasureItem& item = record.Items[static_cast<std::size_t>(row->slot)];
        item.LimitEnabled = true;
        item.UnderLimit = under;
        item.OverLimit = over;
    }
    return true;
}

QJsonValue MeasureValue(const MeasureRow& row, const QString& text) {
    const std::optional<double> value = MeasureBaseValue(row, text);
    return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null);
}

QString MeasureText(const MeasureRecord& record, bool json, bool oneLine) {
    if (json) {
        QJsonArray rows;
        for (const MeasureRow& row : MeasureRows()) {
            const MeasureItem& item = record.Items[static_cast<std::size_t>(row.slot)];
            QJsonObject o{{"name", row.english},
                          {"text", item.Text},
                          {"value", MeasureValue(row, item.Text)},
                          {"unit", MeasureUnit(row)}};
            if (!item.Verdict.isEmpty()) {
                o["under"] = item.UnderLimit;
                o["over"] = item.OverLimit;
                o["verdict"] = item.Verdict;
                o["pass"] = VerdictPasses(item.Verdict);
            }
            rows.append(o);
        }
        const QJsonDocument doc(QJsonObject{{"setting", record.SettingText}, {"measures", rows}});
        return QString::fromUtf8(
                   doc.toJson(oneLine ? QJsonDocument::Compact : QJsonDocument::Indented)) +
               (oneLine ? "\n" : "");
    }
    QString text;
    for (const MeasureRow& row : MeasureRows()) {
        const MeasureItem& item = record.Items[static_cast<std::size_t>(row.slot)];
        text += QString(row.english) + "\t" + item.Text + "\t" + item.Verdict + "\n";
    }
    return text;
}
