#include "cli/Cli.h"

#include "acquire/Jobs.h"
#include "acquire/MeasureJob.h"
#include "acquire/TableJob.h"
#include "acquire/WaveJob.h"
#include "controller/CtrlData.h"
#include "controller/CtrlFile.h"
#include "controller/SettingsExchange.h"
#include "link/Connection.h"
#include "link/DlgResource.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/RS232Func.h"
#include "link/UsbFunc.h"
#include "measure/MeasureTable.h"
#include "memwave/CsvExport.h"
#include "memwave/WaveformFile.h"
#include "panel/LcdImage.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/SafeFile.h"
#include "platform/Visa.h"
#include "replay/RecordFile.h"
#include "shared/AppIdentity.h"
#include "shared/ComPorts.h"
#include "shared/LoadLanguage.h"
#include "shared/SoftwareSetting.h"
#include "sheet/SheetFile.h"
#include "sheet/SheetRecords.h"
#include "views/ScreenRenderer.h"
#include "views/frmData.h"

#include <QBuffer>
#include <QCommandLineParser>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QThread>
#include <cstdio>
#include <unistd.h>

namespace {

// One line on standard error, and the status that goes with it.
int fail(const QString& message, int status = 2) {
    std::fprintf(stderr, "korvane-cli: %s\n", qPrintable(message));
    return status;
}

void out(const QString& text) {
    std::fputs(text.toUtf8().constData(), stdout);
    std::fflush(stdout);
}

QString usage() {
    return QStringLiteral(
        "usage: korvane-cli [options] COMMAND [arguments]\n"
        "commands:\n"
        "  list                          instruments on USB and the configured serial ports\n"
        "  idn                           the instrument's identification\n"
        "  send CMD | query CMD          one command, or one query and its reply\n"
        "  settings get FILE.rmt         read every setting into a control file\n"
        "  settings put FILE.rmt         write every setting of a control file\n"
        "  screen --png FILE             the screen of a wave fetch, drawn\n"
        "  screen --lcd FILE.png         the instrument's own screen image (USB)\n"
        "  table CH1|CH2|LA --out FILE   the data table export\n"
        "  measure CH1|CH2 [--limits FILE] [--json]\n"
        "                                the 18 measures; exit 1 when a verdict fails\n"
        "  wfm2csv IN.wfm OUT.csv        a deep-memory file as CSV\n"
        "  rcd2png IN.rcd --frame N OUT  one frame of a record as a picture\n"
        "  sheet-info FILE.ult           what a data sheet file holds\n"
        "options: --resource NAME, --rs232 PATH, --language en|zh,\n"
        "         --repeat N --interval S (fetching commands)\n");
}

// ---- the link ---------------------------------------------------------------------------

bool g_messages = false; // a message box was shown (its text went to standard error)

bool connect(const QCommandLineParser& p) {
    if (p.isSet("rs232")) {
        SoftwareSetting.ScopeIOType = kIoTypeRs232;
        SoftwareSetting.COM_Port = 1;
        SetComPortOverride(1, p.value("rs232"));
    } else {
        OpenVisaRM();
        const QString wanted = p.value("resource");
        // More than one instrument: the one named, or the first.
        SetResourceChooserHook([wanted](const QStringList& names) -> std::optional<QString> {
            if (!wanted.isEmpty())
                return names.contains(wanted) ? std::optional<QString>(wanted) : std::nullopt;
            return names.value(0);
        });
        if (!wanted.isEmpty()) {
            VisaRsrcIndex = 1;
            VisaRsrcName = wanted;
        }
    }
    ConnectToDevice();
    return Connected;
}

void disconnect() {
    if (Connected) DisconnectFromDevice();
    VisaCloseInstr();
}

// ---- files --------------------------------------------------------------------------------

int writeFile(const QString& path, const QByteArray& bytes) {
    const QString error = platform::WriteFileAtomically(path, bytes);
    return error.isEmpty() ? 0 : fail(path + ": " + error);
}

QByteArray pngOf(const QImage& image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// The fetching commands may repeat: the file names then carry the round.
QString roundPath(const QString& path, int round, int rounds) {
    if (rounds <= 1) return path;
    const qsizetype dot = path.lastIndexOf('.');
    const QString number = QString("-%1").arg(round + 1, 3, 10, QLatin1Char('0'));
    return dot > path.lastIndexOf('/') ? path.left(dot) + number + path.mid(dot) : path + number;
}

// ---- commands ------------------------------------------------------------------------------

int cmdList() {
    OpenVisaRM();
    for (const QString& name : SearchUsbResources())
        out(name + "\n");
    for (int port = 1; port <= kComPortCount; ++port)
        if (!ComPortDevice(port).isEmpty())
            out(QString("ASRL%1::INSTR\t%2\n").arg(port).arg(ComPortDevice(port)));
    return 0;
}

int cmdScreen(const QCommandLineParser& p, const QStringList& args, int round, int rounds) {
    if (args.size() < 3) return fail("screen needs --png FILE or --lcd FILE");
    const QString path = roundPath(args[2], round, rounds);
    if (args[1] == "--lcd") {
        if (SoftwareSetting.ScopeIOType != kIoTypeUsb)
            return fail("the screen image is read over USB only");
        std::vector<std::uint8_t> raw(kLcdReply);
        GetLcdData(raw);
        if (!Connected) return fail("the screen image could not be read");
        std::vector<std::uint32_t> pixels(kLcdReply);
        (IsColorDevice() ? TransClr : TransMono)(raw.data(), kLcdPixels, pixels.data());
        return writeFile(path, pngOf(LcdPicture(pixels, false)));
    }
    if (args[1] != "--png") return fail("screen needs --png FILE or --lcd FILE");
    (void)p;
    WaveRecord& r = WaveRecords[0];
    r = WaveRecord();
    // Every source the instrument shows.
    r.SelCh1 = r.SelCh2 = r.SelMath = r.SelLA = true;
    RunJobWithoutWindow(kJobWave, 0);
    if (!Connected) return fail("the link was lost during the fetch");
    r.Loaded = true;
    return writeFile(path, pngOf(RenderScreen(r, 2.0, IsDigitalModel == 1)));
}

int cmdTable(const QCommandLineParser& p, const QStringList& args, int round, int rounds) {
    const QString source = args.value(1).toUpper();
    const int kind = source == "CH1"   ? kJobTableCh1
                     : source == "CH2" ? kJobTableCh2
                     : source == "LA"  ? kJobTableLa
                                       : 0;
    if (kind == 0 || !p.isSet("out")) return fail("usage: table CH1|CH2|LA --out FILE");
    RunJobWithoutWindow(kind, 0);
    if (!Connected) return fail("the link was lost during the fetch");
    DataRecord d;
    d.Loaded = true;
    d.Source = source;
    d.RowCount = TableRowCount;
    d.Title = SheetTitle;
    d.VoltText = TableVoltText;
    d.TimeText = TableTimeText;
    return writeFile(roundPath(p.value("out"), round, rounds), DataExportBytes(d));
}

int cmdMeasure(const QCommandLineParser& p, const QStringList& args) {
    const QString source = args.value(1).toUpper();
    if (source != "CH1" && source != "CH2")
        return fail("usage: measure CH1|CH2 [--limits FILE] [--json]");
    MeasureRecord rec;
    if (p.isSet("limits")) {
        QFile f(p.value("limits"));
        if (!f.open(QIODevice::ReadOnly)) return fail(p.value("limits") + ": " + f.errorString());
        QString error;
        if (!ApplyLimitsText(QString::fromUtf8(f.readAll()), rec, &error)) return fail(error);
    }
    RunJobWithoutWindow(source == "CH1" ? 1 : 2, 0);
    if (!Connected) return fail("the link was lost during the fetch");
    TakeCurrentMeasure(rec);
    bool failed = false;
    for (const MeasureRow& row : MeasureRows()) {
        MeasureItem& item = rec.Items[static_cast<std::size_t>(row.slot)];
        item.Verdict = CellsFor(rec, row).verdict;
        if (!item.Verdict.isEmpty() && !VerdictPasses(item.Verdict)) failed = true;
    }
    out(MeasureText(rec, p.isSet("json")));
    return failed ? 1 : 0;
}

int cmdSettings(const QStringList& args) {
    if (args.size() < 3 || (args[1] != "get" && args[1] != "put"))
        return fail("usage: settings get|put FILE.rmt");
    if (args[1] == "get") {
        RunJobWithoutWindow(kJobDownload, 0);
        if (!LastReadAllComplete()) return fail("the settings could not be read");
        return WriteControlFile(args[2]) ? 0 : fail("the control file could not be written");
    }
    if (!ReadControlFile(args[2])) return fail(args[2] + ": not a control file of this instrument");
    RunJobWithoutWindow(kJobUpload, 0);
    return Connected ? 0 : fail("the link was lost while writing");
}

int cmdWfm2Csv(const QStringList& args) {
    if (args.size() < 3) return fail("usage: wfm2csv IN.wfm OUT.csv");
    MemoryRecord rec;
    QString error;
    if (LoadWaveformFile(args[1], rec, &error) != WaveformLoad::Ok)
        return fail(args[1] + ": " + (error.isEmpty() ? MsgFileError : error));
    if (!rec.Ch1On && !rec.Ch2On) return fail(args[1] + ": " + MsgBadWaveform);
    const bool terminal = ::isatty(STDERR_FILENO);
    error = ExportCsv(args[2], rec, [terminal](int percent) {
        if (terminal) std::fprintf(stderr, "\r%3d %%", percent);
        return true;
    });
    if (terminal) std::fprintf(stderr, "\n");
    return error.isEmpty() ? 0 : fail(args[2] + ": " + error);
}

int cmdRcd2Png(const QCommandLineParser& p, const QStringList& args) {
    if (args.size() < 3) return fail("usage: rcd2png IN.rcd --frame N OUT.png");
    RecordRecord rec;
    QString error;
    const RecordLoad result = LoadRecordFile(args[1], rec, &error);
    if (result != RecordLoad::Ok)
        return fail(args[1] + ": " + (error.isEmpty() ? RecordLoadMessage(result) : error));
    const int frame = p.isSet("frame") ? p.value("frame").toInt() : 1;
    if (frame < 1 || frame > rec.FrameCount)
        return fail(
            QString("frame %1 is not in the record (1 to %2)").arg(frame).arg(rec.FrameCount));
    rec.CurrentFrame = static_cast<std::int16_t>(frame);
    // The replay window's drawing, at its default size.
    QImage image(QSize(350 * 2, 250 * 2), QImage::Format_RGB32);
    QPainter painter(&image);
    DrawScreenGrid(painter, ScreenStyle{rec.ColorMode, true, false}, 2.0, image.size());
    painter.setPen(rec.Source == "CH2" ? ColorCh2 : ColorCh1);
    QPointF previous;
    for (int k = 0; k < kFrameSamples; ++k) {
        const int sample = FrameSample(rec, frame, k);
        if (sample < 0) break;
        const QPointF point(25 + k * 2.0, sample * 2.0 + 25);
        if (k > 0) painter.drawLine(previous, point);
        previous = point;
    }
    painter.end();
    return writeFile(args[2], pngOf(image));
}

int cmdSheetInfo(const QStringList& args) {
    if (args.size() < 2) return fail("usage: sheet-info FILE.ult");
    QFile f(args[1]);
    if (!f.open(QIODevice::ReadOnly)) return fail(args[1] + ": " + f.errorString());
    QString error;
    const SheetRead result = ParseSheet(f.readAll(), &error);
    if (result == SheetRead::BadSignature) return fail(args[1] + ": " + MsgBadSheetFile);
    out("name\t" + SheetName + "\n");
    const char* kinds[kDocKindCount] = {"wave", "measure", "data", "record", "memory wave"};
    for (int k = 0; k < kDocKindCount; ++k) {
        const auto kind = static_cast<DocKind>(k);
        for (int slot = 0; slot < DocCount(kind); ++slot)
            out(QString("%1\t%2\n").arg(kinds[k], DocName(kind, slot)));
    }
    return result == SheetRead::Ok ? 0 : fail(args[1] + ": " + error);
}

} // namespace

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
        const MeasureRow* row = nullptr;
        for (const MeasureRow& r : MeasureRows())
            if (line.left(eq).trimmed() == QLatin1String(r.english)) row = &r;
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

QString MeasureText(const MeasureRecord& record, bool json) {
    if (json) {
        QJsonArray rows;
        for (const MeasureRow& row : MeasureRows()) {
            const MeasureItem& item = record.Items[static_cast<std::size_t>(row.slot)];
            QJsonObject o{{"name", row.english}, {"value", item.Text}};
            if (!item.Verdict.isEmpty()) {
                o["under"] = item.UnderLimit;
                o["over"] = item.OverLimit;
                o["verdict"] = item.Verdict;
                o["pass"] = VerdictPasses(item.Verdict);
            }
            rows.append(o);
        }
        return QString::fromUtf8(
            QJsonDocument(QJsonObject{{"setting", record.SettingText}, {"measures", rows}})
                .toJson());
    }
    QString text;
    for (const MeasureRow& row : MeasureRows()) {
        const MeasureItem& item = record.Items[static_cast<std::size_t>(row.slot)];
        text += QString(row.english) + "\t" + item.Text + "\t" + item.Verdict + "\n";
    }
    return text;
}

int CliMain(int argc, char** argv) {
    // Fonts and pictures need Qt's GUI module, not a display: the offscreen
    // platform serves a server without one.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCoreApplication::setApplicationName("korvane-cli");
    QCoreApplication::setApplicationVersion(kVersionText);
    QCommandLineParser p;
    p.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsOptions);
    p.addOptions({{"resource", "VISA resource name", "NAME"},
                  {"rs232", "serial device", "PATH"},
                  {"language", "en or zh", "LANG", "en"},
                  {"repeat", "rounds of a fetching command", "N", "1"},
                  {"interval", "seconds between rounds", "S", "0"},
                  {"out", "output file", "FILE"},
                  {"limits", "limits file", "FILE"},
                  {"frame", "frame number", "N"},
                  {"json", "JSON output"},
                  {"png", "drawn screen", "FILE"},
                  {"lcd", "screen image", "FILE"},
                  {{"h", "help"}, "this help"}});
    if (!p.parse(QCoreApplication::arguments())) return fail(p.errorText());
    QStringList args = p.positionalArguments();
    // --png and --lcd are the screen command's own words.
    if (!args.isEmpty() && args[0] == "screen") {
        if (p.isSet("png")) args << "--png" << p.value("png");
        if (p.isSet("lcd")) args << "--lcd" << p.value("lcd");
    }
    if (p.isSet("h") || args.isEmpty()) {
        out(usage());
        return args.isEmpty() && !p.isSet("h") ? 2 : 0;
    }
    ApplyLanguage(p.value("language") == "zh" ? kLanguageChinese : kLanguageEnglish);
    MakerName = "Vexor Technologies,Inc.";
    ProductName = "NQ4000L";
    CtrlData = CtrlDataDefaults();
    platform::SetMsgBoxHook([](const platform::MsgBoxRequest& r) {
        g_messages = true;
        std::fprintf(stderr, "korvane-cli: %s%s\n",
                     r.title.isEmpty() ? "" : qPrintable(r.title + ": "), qPrintable(r.prompt));
        return platform::MsgResult::Ok;
    });
    // KORVANE_PACING scales the link's pauses (0 skips them): for a simulated
    // instrument only, a real one needs its pauses.
    bool scaled = false;
    const double pacing = qEnvironmentVariable("KORVANE_PACING").toDouble(&scaled);
    if (scaled && pacing >= 0) platform::SetPacingScale(pacing);
    RegisterWaveJob();
    RegisterTableJobs();
    RegisterMeasureJobs();
    RegisterSettingsJobs();
    StartLinkTimers();

    const QString command = args[0];
    if (command == "wfm2csv") return cmdWfm2Csv(args);
    if (command == "rcd2png") return cmdRcd2Png(p, args);
    if (command == "sheet-info") return cmdSheetInfo(args);
    if (command == "list") return cmdList();
    const QStringList known = {"idn", "send", "query", "settings", "screen", "table", "measure"};
    if (!known.contains(command)) return fail("unknown command " + command + "\n" + usage());
    if (!connect(p)) {
        disconnect();
        return fail("no instrument answers", 3);
    }
    int status = 0;
    const int rounds = std::max(1, p.value("repeat").toInt());
    const double interval = p.value("interval").toDouble();
    for (int round = 0; round < rounds && status <= 1; ++round) {
        if (round > 0 && interval > 0) platform::Sleep(static_cast<int>(interval * 1000));
        if (command == "idn")
            out(CutAtLineFeed(CmdQuery("*IDN?")) + "\n");
        else if (command == "send")
            CmdSend(args.value(1));
        else if (command == "query")
            out(CutAtLineFeed(CmdQuery(args.value(1))) + "\n");
        else if (command == "settings")
            status = cmdSettings(args);
        else if (command == "screen")
            status = std::max(status, cmdScreen(p, args, round, rounds));
        else if (command == "table")
            status = std::max(status, cmdTable(p, args, round, rounds));
        else if (command == "measure")
            status = std::max(status, cmdMeasure(p, args));
        if (!Connected && status == 0) status = fail("the link was lost");
    }
    disconnect();
    return status;
}
