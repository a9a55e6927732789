// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Cli.h"

#include "acquire/Jobs.h"
#include "acquire/MeasureJob.h"
#include "acquire/TableJob.h"
#include "acquire/WaveJob.h"
#include "cli/CliCommands.h"

#include "controller/CtrlData.h"
#include "controller/CtrlFile.h"
#include "controller/SettingsExchange.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/RS232Func.h"
#include "link/ScriptLink.h"
#include "link/UsbFunc.h"
#include "measure/MeasureTable.h"
#include "platform/EndSignals.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/Visa.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/SoftwareSetting.h"
#include <climits>
#include <cmath>
#include <type_traits>

#include <QCommandLineParser>
#include <QFileInfo>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <cstdio>
#include <unistd.h>

namespace {

// ---- what the command line says ----------------------------------------------------------

struct Command {
    const char* name;
    const char* synopsis;
    const char* help;
    int minArgs, maxArgs; // positional words after the command; -1: the rest of the line
    bool instrument;      // talks to an instrument
    bool repeats;         // --repeat and --interval apply
    QStringList options;  // the command's own options
};

const QList<Command>& commands() {
    static const QList<Command> list = {
        {"list",
         "list",
         "The instruments on USB and the serial ports the program maps.",
         0,
         0,
         false,
         false,
         {}},
        {"idn", "idn", "The instrument's identification.", 0, 0, true, true, {}},
        {"send",
         "send COMMAND [ARGUMENT...]",
         "One command; the rest of the line is its text (\"send :CHANNEL1:SCALE 2\").",
         1,
         -1,
         true,
         false,
         {}},
        {"query", "query COMMAND [ARGUMENT...]", "One query and its reply.", 1, -1, true, true, {}},
        {"settings",
         "settings get|put FILE.rmt",
         "Every setting into a control file (get), or from one into the instrument (put). With "
         "--repeat, get writes FILE-001.rmt, FILE-002.rmt ...",
         2,
         2,
         true,
         true,
         {}},
        {"screen",
         "screen --png FILE | --lcd FILE | --ult FILE",
         "The screen of a wave fetch drawn as the Wave window draws it (--png), the "
         "instrument's own screen image over USB (--lcd), or the fetch as a data sheet of one "
         "waveform document that the program opens (--ult).",
         0,
         0,
         true,
         true,
         {"png", "lcd", "ult"}},
        {"table",
         "table CH1|CH2|LA --out FILE|-",
         "The Data window's export of a table fetch.",
         1,
         1,
         true,
         true,
         {"out"}},
        {"measure",
         "measure CH1|CH2 [--limits FILE] [--json] [--out FILE|-] [--stats N]",
         "The eighteen measures with their verdicts; exit status 1 when a verdict fails. --json "
         "gives the values in base units (V, s, Hz, a fraction) beside their texts; with "
         "--repeat one JSON document a line. --stats N refreshes N times (--interval apart) "
         "and prints each measure's count, minimum, maximum, mean and standard deviation, and "
         "its pass and fail counts; \"*****\" values are not counted. The text gives each "
         "figure as the value column does (\"50.0%\"), --json in base units (a percentage as "
         "a fraction). Ctrl+C or SIGTERM prints the statistics gathered so far.",
         1,
         1,
         true,
         true,
         {"limits", "json", "out", "stats"}},
        {"wfm2csv",
         "wfm2csv IN.wfm OUT.csv|-",
         "A deep-memory file as the viewer's CSV.",
         2,
         2,
         false,
         false,
         {}},
        {"rcd2png",
         "rcd2png IN.rcd [--frame N] OUT.png",
         "One frame of a record, drawn.",
         2,
         2,
         false,
         false,
         {"frame"}},
        {"convert",
         "convert IN.wfm|IN.rcd OUT.sr|OUT.vcd|OUT.csv|OUT.npz [--frame N]",
         "A deep-memory file or a record's frame for other tools: a sigrok session (PulseView, "
         "sigrok-cli), VCD (GTKWave), CSV at full precision, NumPy arrays; by OUT's extension.",
         2,
         2,
         false,
         false,
         {"frame"}},
        {"decode",
         "decode IN.wfm|IN.rcd -P DECODER[:CHANNEL=LANE...][:OPTION=VALUE...][,DECODER...] "
         "[-P ...] [--threshold V] [--hysteresis V] [--json] [--frame N]",
         "Protocol decoding: one -P a stack, in the habit of the field's command line "
         "(\"-P uart:rx=D0:baudrate=115200\", \"-P i2c:scl=D1:sda=D2,eeprom24xx\"). Lanes are "
         "D0..D15, or CH1 and CH2 cut at --threshold volts (1.4) with --hysteresis (0.2). One "
         "annotation a line: START-END DECODER: ROW: TEXT, in samples; --json gives one object "
         "a line. Exit status 1 when a decoder fails.",
         1,
         1,
         false,
         false,
         {"P", "threshold", "hysteresis", "json", "frame"}},
        {"spectrum",
         "spectrum CH1|CH2 | spectrum IN.wfm [--channel CH1|CH2] [--from S] [--to S] "
         "[--window rectangle|hanning|hamming|blackman] [--averages N] [--json]",
         "The spectrum's peak and its harmonics 2 to 10, each read at n times the peak's "
         "frequency (\"below noise\" when it does not rise 12 dB over the noise floor; null "
         "levels in JSON): of a channel fetched from the instrument's screen, or of a "
         "deep-memory file (between --from and --to seconds, the trigger at 0). Levels in dBV "
         "(RMS), each tone's level from its whole lobe; --json gives hertz, dBV and volts RMS.",
         1,
         1,
         true,
         true,
         {"window", "channel", "from", "to", "averages", "json"}},
        {"log",
         "log MEASURES --interval S (--count N | --duration S) --db TARGET [--limits FILE] "
         "[--keep-failing-screens]",
         "Logs measures (CH1:Vpp,CH1:Frequency,CH2:Duty+) every S seconds into a database: a "
         "SQLite file (made when missing) or postgresql://USER@HOST:PORT/DB (the password from "
         "PGPASSWORD or ~/.pgpass). One sample is one value a measure in base units, with its "
         "verdict under --limits, at a UTC time. A lost link is logged as a gap and bridged by "
         "reconnecting; a database server that is away gets the samples when it is back. Ctrl+C "
         "or SIGTERM stops after committing what was measured.",
         1,
         1,
         true,
         true,
         {"db", "count", "duration", "limits", "keep-failing-screens"}},
        {"log-export",
         "log-export --db TARGET [--from T] [--to T] [--instrument ID] --out FILE|-",
         "A log as CSV: time,instrument,channel,measure,value,unit,verdict in time order, times "
         "ISO 8601 UTC; a gap is a row whose measure is \"gap\" and whose value is its length "
         "in seconds.",
         0,
         0,
         false,
         false,
         {"db", "from", "to", "instrument", "out"}},
        {"sheet-info",
         "sheet-info FILE.ult",
         "What a data sheet file holds.",
         1,
         1,
         false,
         false,
         {}},
    };
    return list;
}

const Command* findCommand(const QString& name) {
    for (const Command& c : commands())
        if (name == QLatin1String(c.name)) return &c;
    return nullptr;
}

QString usage() {
    QString text = "Usage: korvane-cli [OPTION]... COMMAND [ARGUMENT]...\n"
                   "The NQ4000L oscilloscopes and Korvane's files from scripts.\n\nCommands:\n";
    for (const Command& c : commands())
        text += QString("  %1\n").arg(c.synopsis);
    text += "\nOptions:\n"
            "  --resource NAME   the instrument's VISA name (several on USB)\n"
            "  --rs232 PATH      the instrument on a serial device\n"
            "  --language en|zh  the language of the texts (en)\n"
            "  --repeat N        run a fetching command N times\n"
            "  --interval S      wall-clock seconds between rounds (up to 86400)\n"
            "  -v, --verbose     every command and reply on standard error\n"
            "  -V, --version     the version\n"
            "  -h, --help        this help; COMMAND --help the command's\n"
            "\nExit status: 0 done, 1 a verdict failed, 2 a wrong command line or file,\n"
            "3 no instrument, 128 + N ended by signal N.\n";
    return text;
}

QString commandHelp(const Command& c) {
    QString text = QString("Usage: korvane-cli [OPTION]... %1\n%2\n").arg(c.synopsis, c.help);
    if (c.repeats) text += "Repeats with --repeat N --interval S.\n";
    return text;
}

int fail(const QString& message, int status = 2) {
    return CliFail(message, status);
}

void out(const QString& text) {
    CliOut(text);
}

// ---- progress on a terminal ---------------------------------------------------------------

// One line on standard error, rewritten in place, when that is a terminal:
// what the command is doing, then a progress bar. Nothing of it reaches a
// pipe or a file.
class TerminalLine {
public:
    static bool shown() {
        static const bool terminal = ::isatty(STDERR_FILENO);
        return terminal;
    }
    static void say(const QString& text) {
        if (!shown()) return;
        std::fprintf(stderr, "\r\033[K%s", qPrintable(text));
        std::fflush(stderr);
        printed() = true;
    }
    static void clear() {
        if (!shown() || !printed()) return;
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        printed() = false;
    }

private:
    static bool& printed() {
        static bool p = false;
        return p;
    }
};

// "[########            ]  40 %"
QString ProgressBarText(int percent) {
    percent = std::clamp(percent, 0, 100);
    const int filled = percent / 5;
    return "[" + QString(filled, '#') + QString(20 - filled, ' ') +
           QString("] %1 %").arg(percent, 3);
}

class TerminalProgress {
public:
    explicit TerminalProgress(const QString& doing) : doing_(doing) {
        if (!TerminalLine::shown()) return;
        SetProgressView([this](double value) { show(static_cast<int>(value)); });
    }
    ~TerminalProgress() {
        SetProgressView({});
        TerminalLine::clear();
    }
    void show(int percent) {
        if (percent == shownPercent_) return;
        shownPercent_ = percent;
        TerminalLine::say(ProgressBarText(percent) + " " + doing_);
    }

private:
    QString doing_;
    int shownPercent_ = -1;
};

// ---- ending on a signal -------------------------------------------------------------------

bool g_ending = false;

// Between two commands (every pause of the link's pacing and every event
// pump): a pending Ctrl+C or SIGTERM ends the program as the window does:
// the instrument's keys unlocked, the link closed, the signal's status.
void endOnSignal() {
    const int signal = platform::PendingEndSignal();
    if (signal == 0 || g_ending) return;
    g_ending = true;
    TerminalLine::clear();
    CliSayLastWords(); // what the command gathered before the signal
    if (Connected) CmdSend(SetCommand(cmd::KeyLock, cmd::Disable));
    VisaCloseAll();
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(128 + signal);
}

// ---- the link ---------------------------------------------------------------------------

bool connect(const CliRequest& r) {
    const bool up = OpenScriptLink(r.resource, r.rs232, TerminalLine::say);
    TerminalLine::clear();
    return up;
}

void disconnect() {
    CloseScriptLink();
}

void logLine(const QString& line) {
    std::fprintf(stderr, "%s\n", qPrintable(line));
}

// ---- reading the command line -------------------------------------------------------------

// A number option, when given: read (the point always) and held to its range;
// false after the one line "--NAME is SAYS, not VALUE".
template <typename T>
bool numberOption(const QCommandLineParser& p, const char* name, T low, T high, const char* says,
                  T* out) {
    if (!p.isSet(name)) return true;
    bool ok = false;
    const QString text = p.value(name);
    // Read wide, held to the range, then narrowed: 99999999999 is no int.
    const double value = std::is_integral_v<T> ? static_cast<double>(text.toLongLong(&ok))
                                               : QLocale::c().toDouble(text, &ok);
    if (!ok || value < static_cast<double>(low) || value > static_cast<double>(high)) {
        fail(QString("--%1 is %2, not %3").arg(name, says, text));
        return false;
    }
    *out = static_cast<T>(value);
    return true;
}

// Everything is checked before anything is connected or sent.
std::optional<CliRequest> readRequest(const QStringList& arguments, int* status) {
    *status = 2;
    QCommandLineParser p;
    p.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsOptions);
    p.addOptions({{"resource", "", "NAME"},
                  {"rs232", "", "PATH"},
                  {"language", "", "LANG"},
                  {"repeat", "", "N"},
                  {"interval", "", "S"},
                  {"out", "", "FILE"},
                  {"limits", "", "FILE"},
                  {"frame", "", "N"},
                  {"json", ""},
                  {"png", "", "FILE"},
                  {"lcd", "", "FILE"},
                  {"ult", "", "FILE"},
                  {"db", "", "TARGET"},
                  {"count", "", "N"},
                  {"duration", "", "S"},
                  {"instrument", "", "ID"},
                  {"keep-failing-screens", ""},
                  {{"P", "protocol-decoders"}, "", "DECODERS"},
                  {"threshold", "", "V"},
                  {"hysteresis", "", "V"},
                  {"window", "", "NAME"},
                  {"channel", "", "CH"},
                  {"from", "", "S"},
                  {"to", "", "S"},
                  {"averages", "", "N"},
                  {"stats", "", "N"},
                  {{"v", "verbose"}, ""},
                  {{"V", "version"}, ""},
                  {{"h", "help"}, ""}});
    // "send :X:Y -1" must not read -1 as an option: what follows send or
    // query is the command's text.
    QStringList words = arguments;
    QStringList rest;
    for (int i = 1; i < words.size(); ++i)
        if (words[i] == QLatin1String("send") || words[i] == QLatin1String("query")) {
            rest = words.mid(i + 1);
            words = words.mid(0, i + 1);
            break;
        }
    if (!p.parse(words)) {
        fail(p.errorText() + " (see korvane-cli --help)");
        return std::nullopt;
    }
    CliRequest r;
    QStringList args = p.positionalArguments() + rest;
    if (p.isSet("version")) {
        out("korvane-cli " + kPackageVersion + "\n");
        *status = 0;
        return std::nullopt;
    }
    if (args.isEmpty()) {
        if (p.isSet("help")) {
            out(usage());
            *status = 0;
        } else {
            std::fputs(qPrintable(usage()), stderr);
        }
        return std::nullopt;
    }
    const Command* c = findCommand(args[0]);
    if (!c) {
        fail("unknown command '" + args[0] + "' (see korvane-cli --help)");
        return std::nullopt;
    }
    if (p.isSet("help")) {
        out(commandHelp(*c));
        *status = 0;
        return std::nullopt;
    }
    r.command = args[0];
    r.args = args.mid(1);
    const QString synopsis = QString("usage: korvane-cli %1").arg(c->synopsis);
    if (r.args.size() < c->minArgs || (c->maxArgs >= 0 && r.args.size() > c->maxArgs)) {
        fail(synopsis);
        return std::nullopt;
    }
    if (c->maxArgs < 0) r.args = QStringList{r.args.join(' ')}; // the command's whole text
    // Options that belong to other commands are a mistake, not a no-op.
    for (const char* own : {"out", "limits", "frame", "json", "png", "lcd", "ult", "P", "threshold",
                            "hysteresis", "window", "channel", "from", "to", "averages"})
        if (p.isSet(own) && !c->options.contains(QLatin1String(own))) {
            fail(QString("--%1 does not apply to %2").arg(own, r.command));
            return std::nullopt;
        }
    if ((p.isSet("repeat") || p.isSet("interval")) && !c->repeats) {
        fail("--repeat and --interval do not apply to " + r.command);
        return std::nullopt;
    }
    if (p.isSet("resource") && p.isSet("rs232")) {
        fail("--resource and --rs232 name two instruments: give one");
        return std::nullopt;
    }
    if (p.isSet("language")) {
        const QString language = p.value("language");
        if (language != "en" && language != "zh") {
            fail("--language is en or zh, not " + language);
            return std::nullopt;
        }
        r.chinese = language == "zh";
    }
    constexpr double kVolts = 1000, kForever = 1e300;
    if (!numberOption(p, "repeat", 1, 1000000, "a whole number from 1", &r.repeat) ||
        !numberOption(p, "interval", 0.0, 86400.0, "seconds from 0 to 86400", &r.interval) ||
        !numberOption(p, "frame", 1, INT_MAX, "a frame number from 1", &r.frame) ||
        !numberOption(p, "stats", 1, 1000000, "a whole number of refreshes from 1", &r.stats) ||
        !numberOption(p, "averages", 1, 1024, "a whole number from 1 to 1024", &r.averages) ||
        (r.command != "log-export" &&
         (!numberOption(p, "from", -kForever, kForever, "seconds", &r.from) ||
          !numberOption(p, "to", -kForever, kForever, "seconds", &r.to))) ||
        !numberOption(p, "count", qint64(1), qint64(1) << 40, "a whole number from 1", &r.count) ||
        !numberOption(p, "duration", 0.001, 1e9, "seconds above 0", &r.duration) ||
        !numberOption(p, "threshold", -kVolts, kVolts, "volts", &r.threshold) ||
        !numberOption(p, "hysteresis", -kVolts, kVolts, "volts", &r.hysteresis))
        return std::nullopt;
    r.resource = p.value("resource");
    r.rs232 = p.value("rs232");
    r.out = p.value("out");
    r.limits = p.value("limits");
    r.json = p.isSet("json");
    r.verbose = p.isSet("verbose");
    r.png = p.value("png");
    r.lcd = p.value("lcd");
    r.ult = p.value("ult");
    r.db = p.value("db");
    r.instrument = p.value("instrument");
    r.keepFailingScreens = p.isSet("keep-failing-screens");
    if (r.command == "log-export") {
        r.fromTime = p.value("from");
        r.toTime = p.value("to");
    }
    r.decoders = p.values("P");
    if (p.isSet("window")) {
        const QStringList names{"rectangle", "hanning", "hamming", "blackman"};
        r.window = static_cast<int>(names.indexOf(p.value("window").toLower()));
        if (r.window < 0) {
            fail("--window is rectangle, hanning, hamming or blackman, not " + p.value("window"));
            return std::nullopt;
        }
    }
    if (p.isSet("channel")) {
        const QString ch = p.value("channel").toUpper();
        if (ch != "CH1" && ch != "CH2") {
            fail("--channel is CH1 or CH2, not " + p.value("channel"));
            return std::nullopt;
        }
        r.channel = ch == "CH2" ? 2 : 1;
    }
    if (p.isSet("stats") && p.isSet("repeat")) {
        fail("--stats and --repeat both repeat: give one");
        return std::nullopt;
    }
    QString problem = r.command == "decode" ? CheckDecodeWords(r) : CheckCommandWords(r);
    if (!problem.isEmpty()) {
        fail(problem);
        return std::nullopt;
    }
    *status = 0;
    return r;
}

// Qt's own warnings (a missing runtime folder, a font cache) are not the
// program's: they show only with -v.
bool g_verbose = false;
void quietQtMessages(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (g_verbose || type == QtFatalMsg) std::fprintf(stderr, "qt: %s\n", qPrintable(message));
}

} // namespace

int CliMain(int argc, char** argv) {
    // Fonts and pictures need Qt's GUI module, never a display: the offscreen
    // platform serves a server without one, and a desktop too.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    for (int i = 1; i < argc; ++i)
        if (!qstrcmp(argv[i], "-v") || !qstrcmp(argv[i], "--verbose")) g_verbose = true;
    qInstallMessageHandler(quietQtMessages);
    QGuiApplication app(argc, argv);
    QCoreApplication::setApplicationName("korvane-cli");
    QCoreApplication::setApplicationVersion(kPackageVersion);
    // Everything printed or written keeps the point, whatever the locale;
    // dates stay the locale's, as in the windows' files.
    SetDisplayDecimalSign(QLatin1Char('.'));

    int status = 2;
    const std::optional<CliRequest> request = readRequest(QCoreApplication::arguments(), &status);
    if (!request) return status;
    const CliRequest& r = *request;
    const Command& c = *findCommand(r.command);

    ApplyLanguage(r.chinese ? kLanguageChinese : kLanguageEnglish);
    MakerName = "Vexor Technologies,Inc.";
    ProductName = "NQ4000L";
    CtrlData = CtrlDataDefaults();
    // A message box becomes part of the failure's one line.
    platform::SetMsgBoxHook([](const platform::MsgBoxRequest& box) {
        CliNote(box.prompt);
        return platform::MsgResult::Ok;
    });
    // KORVANE_PACING scales the link's pauses (0 skips them): for a simulated
    // instrument only, a real one needs its pauses. --interval is never scaled.
    bool scaled = false;
    const double pacing = qEnvironmentVariable("KORVANE_PACING").toDouble(&scaled);
    if (scaled && pacing >= 0) platform::SetPacingScale(pacing);
    if (r.verbose) SetCommandLog(logLine);
    RegisterWaveJob();
    RegisterTableJobs();
    RegisterMeasureJobs();
    RegisterSettingsJobs();
    StartLinkTimers();

    if (!c.instrument || SpectrumOfFile(r)) {
        status = RunFileCommand(r);
        CliFlushNotes();
        return status;
    }

    // What can be found wrong without the instrument is said first.
    if (!r.rs232.isEmpty() && !QFileInfo::exists(r.rs232))
        return fail(r.rs232 + ": no such device", 3);
    status = PrepareInstrumentCommand(r);
    if (status != 0) return status;

    platform::InstallEndSignals([](int) {}); // served between commands, below
    platform::SetPauseHook(endOnSignal);
    if (!connect(r)) {
        disconnect();
        return fail("no instrument answers", 3);
    }
    status = 0;
    for (int round = 0; round < r.repeat && status <= 1; ++round) {
        if (round > 0) platform::Wait(static_cast<int>(r.interval * 1000)); // never scaled
        TerminalProgress progress(r.command + " " + r.args.value(0));
        status = std::max(status, RunInstrumentCommand(r, round));
        // The logger bridges a lost link itself; any other command ends with it.
        if (!Connected && status == 0 && r.command != "log") status = fail("the link was lost", 3);
    }
    endOnSignal();
    disconnect();
    CliFlushNotes();
    platform::SetPauseHook(nullptr);
    platform::RemoveEndSignals();
    return status;
}
