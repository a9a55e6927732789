// SPDX-License-Identifier: GPL-3.0-or-later
// _korvane: the library's own functions for the Python package (korvane/),
// which wraps them in its Capture class and documented calls. Nothing here
// computes anything itself: files are read, written, decoded and analysed by
// the same code the program and korvane-cli use.
// Python's headers first: they name a member "slots", a word Qt's headers
// make a macro.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "acquire/Jobs.h"
#include "acquire/MeasureJob.h"
#include "acquire/TableJob.h"
#include "acquire/WaveJob.h"
#include "cli/CliCommands.h"
#include "controller/CtrlData.h"
#include "controller/CtrlDialog.h"
#include "controller/CtrlDialogAdjust.h"
#include "controller/CtrlFile.h"
#include "controller/CtrlState.h"
#include "controller/CtrlTree.h"
#include "controller/PraseCtrlList.h"
#include "controller/SettingsExchange.h"
#include "decode/Decode.h"
#include "decode/DecodeStacks.h"
#include "decode/Decoders.h"
#include "export/CaptureExport.h"
#include "link/Connection.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/RS232Func.h"
#include "link/ScriptLink.h"
#include "link/UsbFunc.h"
#include "logger/LogStore.h"
#include "measure/MeasureTable.h"
#include "panel/LcdImage.h"
#include "panel/VirtualKeys.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "platform/Visa.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/ReplyText.h"
#include "shared/SoftwareSetting.h"
#include "shared/ValueText.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetFile.h"
#include "sheet/SheetRecords.h"
#include "views/Analyser.h"
#include "views/ScreenRenderer.h"
#include "views/frmData.h"

#include <QBuffer>
#include <QFile>
#include <QGuiApplication>

#include <cmath>
#include <dlfcn.h>
#include <memory>
#include <optional>
#include <utility>

namespace py = pybind11;

namespace {

// The exceptions, created when the module loads (korvane.Error and below).
PyObject* g_error = nullptr;
PyObject* g_fileFormatError = nullptr;
PyObject* g_usageError = nullptr;
PyObject* g_noInstrument = nullptr;
PyObject* g_linkLost = nullptr;

[[noreturn]] void raise(PyObject* type, const QString& message) {
    PyErr_SetString(type, message.toUtf8().constData());
    throw py::error_already_set();
}

void dropQtMessages(QtMsgType, const QMessageLogContext&, const QString&) {}

// Qt's GUI module for fonts and pictures, never a display; the library's
// texts keep the point whatever the locale, as the command line's do.
void ensureApplication() {
    if (QCoreApplication::instance()) return;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(dropQtMessages); // a library prints nothing on its own
    static int argc = 1;
    static char name[] = "korvane";
    static char* argv[] = {name, nullptr};
    new QGuiApplication(argc, argv); // lives as long as the interpreter
    SetDisplayDecimalSign(QLatin1Char('.'));
    ApplyLanguage(kLanguageEnglish);
    platform::SetMsgBoxHook([](const platform::MsgBoxRequest&) { return platform::MsgResult::Ok; });
}

// The protocol decoders inside a running interpreter. Their library adds its
// module to the table of built-in modules, which only a starting interpreter
// reads: the module goes into sys.modules first. Its start then ends by
// releasing the interpreter's lock it took; this thread takes it back.
void startDecoders() {
    static bool started = false;
    if (started) return;
    started = true;
    if (void* library = ::dlopen("libsigrokdecode.so.4", RTLD_NOW | RTLD_GLOBAL)) {
        using Init = PyObject* (*)();
        if (auto init = reinterpret_cast<Init>(::dlsym(library, "PyInit_sigrokdecode")))
            if (PyObject* module = init()) {
                PyDict_SetItemString(PyImport_GetModuleDict(), "sigrokdecode", module);
                Py_DECREF(module);
            }
    }
    decode::DecodersReady();
    if (!PyGILState_Check()) PyGILState_Ensure(); // held by this thread from here on
    PyErr_Clear();                                // the table's refusal, said and done
}

// A vector handed to NumPy without a copy: the array owns it.
template <typename T, typename A> py::array_t<T> arrayOf(std::vector<T, A>&& values) {
    auto* owned = new std::vector<T, A>(std::move(values));
    py::capsule free(owned, [](void* p) { delete static_cast<std::vector<T, A>*>(p); });
    return py::array_t<T>(static_cast<py::ssize_t>(owned->size()), owned->data(), free);
}

py::dict dictOf(Capture&& c) {
    py::dict d;
    d["sample_rate"] = c.sampleRate;
    d["first_time"] = c.firstTime;
    d["trigger_sample"] = c.triggerSample();
    py::list names, analog;
    for (int a = 0; a < c.analogNames.size(); ++a) {
        names.append(c.analogNames[a].toStdString());
        analog.append(arrayOf(std::move(c.analog[static_cast<std::size_t>(a)])));
    }
    d["names"] = names;
    d["analog"] = analog;
    d["volts_per_div"] = c.voltsPerDiv;
    d["logic"] = c.hasLogic ? py::object(arrayOf(std::move(c.logic))) : py::none();
    return d;
}

// A screen record a capture keeps for its picture, handed to Python whole.
py::capsule screenCapsule(const WaveRecord& screen) {
    auto* kept = new WaveRecord(screen);
    kept->TreeNode = nullptr;
    return py::capsule(kept, [](void* p) { delete static_cast<WaveRecord*>(p); });
}

py::bytes pngOf(const WaveRecord& screen) {
    const QImage picture = RenderScreen(screen, 2, IsDigitalModel == 1);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "PNG");
    return py::bytes(png.constData(), static_cast<std::size_t>(png.size()));
}

// The fields of a screen record: its samples as a capture, its math trace in
// divisions, the record itself for the picture.
py::dict dictOfScreen(const WaveRecord& w) {
    QString error;
    Capture c = CaptureOfScreen(w, &error);
    if (c.samples() == 0) raise(g_error, error);
    py::dict d = dictOf(std::move(c));
    std::vector<float> math = MathOfScreen(w);
    d["math"] = math.empty() ? py::object(py::none()) : py::object(arrayOf(std::move(math)));
    d["screen"] = screenCapsule(w);
    py::dict settings;
    settings["trigger_mode"] = w.TriggerMode.toStdString();
    settings["time_scale"] = w.TimeScale.toStdString();
    settings["time_offset"] = w.TimeOffset.toStdString();
    settings["ch1_scale"] = w.Ch1Scale.toStdString();
    settings["ch1_offset"] = w.Ch1Offset.toStdString();
    settings["ch2_scale"] = w.Ch2Scale.toStdString();
    settings["ch2_offset"] = w.Ch2Offset.toStdString();
    settings["date"] = w.Date.toStdString();
    d["settings"] = settings;
    return d;
}

Capture
captureOf(double sampleRate, double firstTime, const std::vector<std::string>& names,
          const std::vector<py::array_t<float, py::array::c_style | py::array::forcecast>>& analog,
          const std::vector<double>& voltsPerDiv, const py::object& logic) {
    Capture c;
    c.sampleRate = sampleRate;
    c.firstTime = firstTime;
    c.voltsPerDiv = voltsPerDiv;
    for (std::size_t a = 0; a < names.size() && a < analog.size(); ++a) {
        c.analogNames << QString::fromStdString(names[a]);
        const auto& v = analog[a];
        c.analog.emplace_back(v.data(), v.data() + v.size());
    }
    if (!logic.is_none()) {
        const auto words =
            py::array_t<std::uint16_t, py::array::c_style | py::array::forcecast>::ensure(logic);
        if (!words) raise(g_usageError, "logic must be an array of 16-bit words");
        c.hasLogic = true;
        c.logic.assign(words.data(), words.data() + words.size());
    }
    if (c.voltsPerDiv.size() < c.analog.size()) c.voltsPerDiv.resize(c.analog.size(), 1.0);
    return c;
}

py::dict readCapture(const std::string& path, int frame) {
    ensureApplication();
    QString error;
    Capture capture;
    {
        py::gil_scoped_release free; // other threads run while the file is read
        capture = CaptureOfFile(QString::fromStdString(path), frame, &error);
    }
    if (capture.samples() == 0) raise(g_fileFormatError, error);
    return dictOf(std::move(capture));
}

void writeCapture(
    const std::string& path, double sampleRate, double firstTime,
    const std::vector<std::string>& names,
    const std::vector<py::array_t<float, py::array::c_style | py::array::forcecast>>& analog,
    const std::vector<double>& voltsPerDiv, const py::object& logic) {
    ensureApplication();
    const QString target = QString::fromStdString(path);
    const CaptureFormat format = CaptureFormatOf(target);
    if (format == CaptureFormat::Unknown)
        raise(g_usageError, target + ": the kind of file is told by .sr, .vcd, .csv or .npz");
    const Capture c = captureOf(sampleRate, firstTime, names, analog, voltsPerDiv, logic);
    QString error;
    {
        py::gil_scoped_release free;
        error = WriteCapture(target, c, format);
    }
    if (!error.isEmpty()) raise(g_error, target + ": " + error);
}

py::list decodeCapture(
    const std::vector<std::string>& stacks, double threshold, double hysteresis, double sampleRate,
    double firstTime, const std::vector<std::string>& names,
    const std::vector<py::array_t<float, py::array::c_style | py::array::forcecast>>& analog,
    const std::vector<double>& voltsPerDiv, const py::object& logic) {
    ensureApplication();
    startDecoders();
    QStringList texts;
    for (const std::string& s : stacks)
        texts << QString::fromStdString(s);
    if (texts.isEmpty()) raise(g_usageError, "decode needs at least one stack, e.g. 'uart:rx=D0'");
    QString error;
    const decode::DecodeSetup setup =
        decode::CheckedSetupOfTexts(texts, threshold, hysteresis, &error);
    if (!error.isEmpty()) raise(g_usageError, error);
    const Capture c = captureOf(sampleRate, firstTime, names, analog, voltsPerDiv, logic);
    decode::DecodeResult result;
    {
        py::gil_scoped_release free;
        result = decode::RunDecode(setup, decode::InputOfCapture(c, setup));
    }
    if (!result.error.isEmpty()) raise(g_error, result.error);
    py::list out;
    for (const decode::Annotation& a : result.annotations) {
        const decode::AnnotationRow& row = result.rows[a.row];
        py::dict d;
        d["start"] = a.start;
        d["end"] = a.end;
        d["time"] = result.timeOf(a.start);
        d["decoder"] = row.decoder.toStdString();
        d["row"] = row.id.toStdString();
        py::list t;
        for (const QString& text : a.texts)
            t.append(text.toStdString());
        d["texts"] = t;
        out.append(d);
    }
    return out;
}

py::dict spectrumOf(py::array_t<double, py::array::c_style | py::array::forcecast> samples,
                    double sampleRate, const std::string& window, int averages) {
    ensureApplication();
    int kind = -1;
    for (int k = 0; k < kFftWindowNames.size(); ++k)
        if (kFftWindowNames[k].toLower().toStdString() == window) kind = k;
    if (kind < 0) raise(g_usageError, "window is one of rectangle, hanning, hamming, blackman");
    if (!(sampleRate > 0)) raise(g_usageError, "sample_rate must be above 0");
    if (averages < 1) raise(g_usageError, "averages must be 1 or more");
    Spectrum s;
    {
        py::gil_scoped_release free;
        s = ComputeRmsSpectrum(samples.data(), static_cast<std::size_t>(samples.size()), sampleRate,
                               static_cast<FftWindow>(kind), averages);
    }
    if (s.empty()) raise(g_usageError, "too few samples for a spectrum (16 a block at least)");
    std::vector<double> frequency(s.rms.size()), level(s.rms.size());
    for (std::size_t k = 0; k < s.rms.size(); ++k) {
        frequency[k] = s.frequencyOf(static_cast<double>(k));
        level[k] = s.rms[k] > 1e-10 ? 20 * std::log10(s.rms[k]) : -200.0;
    }
    const Tone peak = FindPeak(s);
    py::dict d;
    d["frequency"] = arrayOf(std::move(frequency));
    d["level"] = arrayOf(std::move(level));
    d["bin_hz"] = s.binHz;
    d["peak"] = peak.valid() ? py::object(py::make_tuple(MarkerFrequency(s, peak), peak.dbv()))
                             : py::none();
    py::list harmonics;
    for (const Harmonic& h : Harmonics(s, peak))
        harmonics.append(py::make_tuple(
            h.order, h.belowNoise() ? h.frequency : MarkerFrequency(s, h.tone),
            h.belowNoise() ? py::object(py::none()) : py::object(py::float_(h.tone.dbv()))));
    d["harmonics"] = harmonics;
    return d;
}

// ---- the instrument -------------------------------------------------------------------

// The jobs and the link's timers, as the command line sets them up.
void ensureLinkMachinery() {
    static bool ready = false;
    if (ready) return;
    ready = true;
    ensureApplication();
    MakerName = "Vexor Technologies,Inc.";
    ProductName = "NQ4000L";
    CtrlData = CtrlDataDefaults();
    RegisterWaveJob();
    RegisterTableJobs();
    RegisterMeasureJobs();
    RegisterSettingsJobs();
    StartLinkTimers();
}

// Ctrl+C during a wait: Python's handler is asked at every pause of the
// link's pacing (at least every 50 ms). Once it has said so, the rest of
// the work runs without pauses and without the link, so the call returns
// at once; the caller then unlocks the keys and raises KeyboardInterrupt.
bool g_interrupted = false;
double g_pacing = 1;

void checkSignals() {
    if (g_interrupted) return;
    const PyGILState_STATE state = PyGILState_Ensure();
    const bool asked = PyErr_CheckSignals() != 0;
    PyGILState_Release(state);
    if (!asked) return;
    g_interrupted = true;
    g_pacing = platform::PacingScale();
    platform::SetPacingScale(0);
    Connected = false; // every further command is a no-op; the handle stays open
}

// A call on the instrument: the interpreter free while it waits, Ctrl+C
// heard, a lost link raised as LinkLost (the interpreter goes on).
template <typename Fn> auto onInstrument(Fn&& work) {
    ensureLinkMachinery();
    if (!Connected) raise(g_linkLost, "not connected: use korvane.connect()");
    g_interrupted = false;
    struct PauseHookGuard { // off again however the work ends
        PauseHookGuard() { platform::SetPauseHook(checkSignals); }
        ~PauseHookGuard() { platform::SetPauseHook(nullptr); }
    };
    std::optional<decltype(work())> result;
    {
        const PauseHookGuard hook;
        py::gil_scoped_release free;
        result.emplace(work());
    }
    if (g_interrupted) {
        platform::SetPacingScale(g_pacing);
        Connected = true; // the handle is still open: the keys go back to the user
        CloseScriptLink();
        throw py::error_already_set(); // KeyboardInterrupt, set by the handler
    }
    if (!Connected) raise(g_linkLost, "the link to the instrument was lost");
    return std::move(*result);
}

std::string openLink(const std::string& resource, const std::string& serial, double timeout) {
    ensureLinkMachinery();
    if (!(timeout > 0) || timeout > 3600)
        raise(g_usageError, "timeout is seconds above 0 (at most 3600)");
    // KORVANE_PACING scales the link's pauses, for a simulated instrument
    // only (a real one needs them), as for the command line.
    bool scaled = false;
    const double pacing = qEnvironmentVariable("KORVANE_PACING").toDouble(&scaled);
    platform::SetPacingScale(scaled && pacing >= 0 ? pacing : 1.0);
    if (Connected) CloseScriptLink();
    // A new session knows nothing of the instrument yet, as a new process of
    // the command line: what an earlier one read says nothing of this one.
    CtrlData = CtrlDataDefaults();
    bool up = false;
    {
        py::gil_scoped_release free;
        up = OpenScriptLink(QString::fromStdString(resource), QString::fromStdString(serial));
    }
    if (!up)
        raise(g_noInstrument,
              resource.empty() && serial.empty()
                  ? QStringLiteral("no instrument answers")
                  : QString::fromStdString(resource + serial) + ": no instrument answers");
    // How long one reply may take over USB: the program's 10 s unless asked.
    if (SoftwareSetting.ScopeIOType == kIoTypeUsb)
        viSetAttribute(VisaInstr, VI_ATTR_TMO_VALUE, static_cast<ViAttrState>(timeout * 1000));
    return CutAtLineFeed(CmdQuery(cmd::Idn)).toStdString();
}

void closeLink() {
    if (!Connected) return;
    py::gil_scoped_release free;
    CloseScriptLink();
}

std::string query(const std::string& command) {
    return onInstrument(
        [&] { return CutAtLineFeed(CmdQuery(QString::fromStdString(command))).toStdString(); });
}

void send(const std::string& command) {
    onInstrument([&] {
        CmdSend(QString::fromStdString(command));
        return 0;
    });
}

void pressKey(const std::string& name) {
    QString control = QString::fromStdString(name);
    if (!control.startsWith("VK_")) control = "VK_" + control;
    const VirtualKey* key = nullptr;
    for (const VirtualKey& k : VirtualKeys())
        if (control.compare(QLatin1String(k.control), Qt::CaseInsensitive) == 0) key = &k;
    if (!key)
        raise(g_usageError, QString::fromStdString(name) + ": no such key on the front panel");
    onInstrument([key] {
        CmdSend(StepCommand(*key));
        return 0;
    });
}

py::dict fetch() {
    WaveRecord& w = WaveRecords[0];
    const bool done = onInstrument([&w] {
        w = WaveRecord();
        w.SelCh1 = w.SelCh2 = w.SelMath = w.SelLA = true; // every source the instrument shows
        RunJobWithoutWindow(kJobWave, 0);
        w.Loaded = true;
        return JobSucceeded();
    });
    if (!done) raise(g_linkLost, "the fetch did not complete: " + JobWarning);
    return dictOfScreen(w);
}

py::dict measure(int channel) {
    if (channel != 1 && channel != 2) raise(g_usageError, "channel is 1 or 2 (CH1 or CH2)");
    MeasureRecord rec;
    onInstrument([&rec, channel] {
        RunJobWithoutWindow(channel, 0);
        TakeCurrentMeasure(rec);
        return 0;
    });
    py::dict out;
    for (const MeasureRow& row : MeasureRows()) {
        const QString& text = rec.Items[static_cast<std::size_t>(row.slot)].Text;
        out[row.english] = MeasureBaseValue(row, text).value_or(std::nan(""));
    }
    return out;
}

py::bytes screenshot() {
    const QByteArray png = onInstrument([] { return ReadLcdPng(); });
    if (png.isEmpty()) raise(g_linkLost, "the screen image could not be read");
    return py::bytes(png.constData(), static_cast<std::size_t>(png.size()));
}

// The settings read from the instrument into the program's control file
// (korvane-cli settings get), and a control file written to it (put).
void saveSettings(const std::string& path) {
    const bool read = onInstrument([] {
        RunJobWithoutWindow(kJobDownload, 0);
        return LastReadAllComplete();
    });
    if (!read) raise(g_linkLost, "the settings could not be read");
    if (!WriteControlFile(QString::fromStdString(path)))
        raise(g_error, QString::fromStdString(path) + ": could not be written");
}

void loadSettings(const std::string& path) {
    ensureLinkMachinery();
    if (ReadControlFileChecked(QString::fromStdString(path)) != CtrlFileRead::Whole)
        raise(g_fileFormatError,
              QString::fromStdString(path) + ": not a whole control file of this instrument");
    onInstrument([] {
        RunJobWithoutWindow(kJobUpload, 0);
        return 0;
    });
}

// The data table job's rows of CH1, CH2 or LA: times and volts as numbers
// (the table's texts read back; LA has no volts).
py::dict table(const std::string& source) {
    const QString which = QString::fromStdString(source).toUpper();
    const int kind = which == "CH1"   ? kJobTableCh1
                     : which == "CH2" ? kJobTableCh2
                     : which == "LA"  ? kJobTableLa
                                      : -1;
    if (kind < 0) raise(g_usageError, "the table's source is CH1, CH2 or LA");
    DataRecord d;
    onInstrument([&d, kind, which] {
        RunJobWithoutWindow(kind, 0);
        TakeTableJob(d, which);
        return 0;
    });
    std::vector<double> time, volts;
    for (int i = 1; i <= d.RowCount && i < static_cast<int>(d.TimeText.size()); ++i) {
        time.push_back(Val(d.TimeText[static_cast<std::size_t>(i)]));
        if (which != "LA" && i < static_cast<int>(d.VoltText.size()))
            volts.push_back(Val(d.VoltText[static_cast<std::size_t>(i)]));
    }
    py::dict out;
    out["title"] = d.Title.toStdString();
    out["time"] = arrayOf(std::move(time));
    out["volts"] = which == "LA" ? py::object(py::none()) : py::object(arrayOf(std::move(volts)));
    return out;
}

// A picture of a capture as the waveform window draws it: its own screen
// record when it has one (a fetch, a data sheet), else the capture put on
// the screen by ScreenOfCapture.
py::bytes
picture(const py::object& screen, double sampleRate, double firstTime,
        const std::vector<std::string>& names,
        const std::vector<py::array_t<float, py::array::c_style | py::array::forcecast>>& analog,
        const std::vector<double>& voltsPerDiv, const py::object& logic) {
    ensureApplication();
    if (!screen.is_none()) return pngOf(*screen.cast<py::capsule>().get_pointer<WaveRecord>());
    return pngOf(
        ScreenOfCapture(captureOf(sampleRate, firstTime, names, analog, voltsPerDiv, logic)));
}

// A data sheet's waveform documents (fetched screens) and Memory Wave
// documents, each with its name in the sheet's tree, in the tree's order.
py::list readSheet(const std::string& path) {
    ensureApplication();
    const QString file = QString::fromStdString(path);
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly)) raise(g_fileFormatError, file + ": " + in.errorString());
    const QByteArray bytes = in.readAll();
    QString error;
    SheetRead read = SheetRead::Ok;
    {
        py::gil_scoped_release free;
        read = ParseSheet(bytes, &error);
    }
    if (read == SheetRead::BadSignature) raise(g_fileFormatError, file + ": not a data sheet");
    if (read == SheetRead::Stopped) raise(g_fileFormatError, file + ": " + error);
    py::list out;
    for (int i = 0; i < DocCount(DocKind::Wave); ++i) {
        const WaveRecord& w = WaveRecords[i];
        QString why;
        if (!w.Loaded || CaptureOfScreen(w, &why).samples() == 0) continue;
        py::dict d = dictOfScreen(w);
        d["name"] = w.Name.toStdString();
        d["kind"] = "wave";
        out.append(d);
    }
    for (int i = 0; i < DocCount(DocKind::MemoryWave); ++i) {
        const MemoryRecord& m = MemoryRecords[i];
        QString why;
        Capture c = CaptureOfMemory(m, &why);
        if (c.samples() == 0) continue;
        py::dict d = dictOf(std::move(c));
        d["name"] = m.Name.toStdString();
        d["kind"] = "memory";
        out.append(d);
    }
    return out;
}

// ---- the parameter tree ------------------------------------------------------------------

// Every value row of the controller tree as (captions from the section
// down, the value shown), after a read of all settings.
void collectRows(const CtrlTreeNode& node, std::vector<std::string>& path, py::list& out) {
    for (const CtrlTreeNode& child : node.children) {
        path.push_back(child.caption.toStdString());
        if (child.field) out.append(py::make_tuple(path, child.field->toStdString()));
        collectRows(child, path, out);
        path.pop_back();
    }
}

py::list settings() {
    const bool read = onInstrument([] {
        RunJobWithoutWindow(kJobDownload, 0);
        return LastReadAllComplete();
    });
    if (!read) raise(g_linkLost, "the settings could not be read");
    const CtrlTreeNode root = BuildCtrlTreeModel(CtrlData, ModelHasLa);
    py::list out;
    std::vector<std::string> path;
    collectRows(root, path, out);
    return out;
}

// One value row set as its parameter dialog sets it: a word from its list,
// or a number into its box. The dialog's refusals come back as UsageError.
void applyRow(const std::vector<std::string>& captions, const std::string& value) {
    QString path = ProductName;
    for (const std::string& caption : captions)
        path += "\\" + QString::fromStdString(caption);
    const CtrlRowMatch row = MatchCtrlPath(SplitCtrlPath(path + " [x]"));
    const QString name = path.section("\\", 1).replace("\\", ".");
    if (row.action != CtrlRowAction::Dialog || !row.field)
        raise(g_usageError, name + ": no setting of that name in the tree");
    QString refusal;
    platform::SetMsgBoxHook([&refusal](const platform::MsgBoxRequest& box) {
        refusal = box.prompt;
        return platform::MsgResult::Ok;
    });
    struct HookBack {
        ~HookBack() {
            platform::SetMsgBoxHook(
                [](const platform::MsgBoxRequest&) { return platform::MsgResult::Ok; });
        }
    } back;
    const QString text = QString::fromStdString(value);
    QString wrong;
    onInstrument([&] {
        CtrlDialogKey = row.key;
        const CtrlDialogLayout layout = ShapeCtrlDialog(row);
        const bool listed = layout.items.contains(text);
        if (layout.shape == DialogShape::QueryOnly) {
            wrong = name + ": read only";
        } else if (layout.shape == DialogShape::Adjust) { // Volt/Div, walked by the knob
            if (!(ParseVoltText(PointForm(text)) > 0))
                wrong = name + ": a scale such as 2.00V";
            else
                AdjustOK(row.captions.value(0) == QLatin1String("CH2") ? 1 : 0, text);
        } else if (listed) {
            if (!CtrlDialogOK(row, text, layout.input)) wrong = name + ": " + refusal;
        } else if (!layout.unitButtons.isEmpty()) {
            if (!CtrlDialogOK(row, layout.selected, text)) wrong = name + ": " + refusal;
        } else {
            wrong = name + ": one of " + layout.items.join(", ");
        }
        return 0;
    });
    if (!wrong.isEmpty()) raise(g_usageError, wrong);
    if (!refusal.isEmpty()) raise(g_usageError, name + ": " + refusal);
}

// The pauses the link's pacing has kept since the last call, in milliseconds:
// what `make bench` holds a fetch's time against.
long long g_pausedMs = 0;
void countPause(int milliseconds) {
    g_pausedMs += milliseconds;
}
long long takePauses() {
    platform::SetSleepObserver(countPause);
    return std::exchange(g_pausedMs, 0);
}

// A data log's rows as columns: times in milliseconds since 1970 (UTC), the
// texts, the values (NaN for nothing measured; a gap's seconds).
py::dict readLog(const std::string& target, const std::string& from, const std::string& to,
                 const std::string& instrument) {
    ensureApplication();
    QString error;
    const std::optional<LogTarget> where = ParseLogTarget(QString::fromStdString(target), &error);
    if (!where) raise(g_usageError, error);
    LogFilter filter;
    for (const auto& [text, bound] : {std::pair{from, &filter.from}, std::pair{to, &filter.to}}) {
        if (text.empty()) continue;
        *bound = ParseLogTime(QString::fromStdString(text));
        if (!*bound)
            raise(g_usageError, QString::fromStdString(text) +
                                    ": a time is ISO 8601 (2026-11-25 or 2026-11-25T08:00:00Z)");
    }
    filter.instrument = QString::fromStdString(instrument);
    std::vector<std::int64_t> times;
    std::vector<double> values;
    std::vector<std::string> instruments, channels, measures, units, verdicts;
    bool opened = false, read = false;
    LogStore store(*where);
    {
        py::gil_scoped_release free; // a long log reads while other threads run
        opened = store.openToRead();
        read = opened && store.readRows(filter, [&](const LogExportRow& r) {
            times.push_back(QDateTime::fromString(r.time, Qt::ISODateWithMs).toMSecsSinceEpoch());
            values.push_back(r.value.value_or(std::nan("")));
            instruments.push_back(r.instrument.toStdString());
            channels.push_back(r.channel.toStdString());
            measures.push_back(r.measure.toStdString());
            units.push_back(r.unit.toStdString());
            verdicts.push_back(r.verdict.toStdString());
        });
    }
    if (!opened && where->kind == LogTarget::Kind::SQLite)
        raise(g_fileFormatError, store.error()); // the file is there: it holds no log
    if (!read) raise(g_error, store.error());
    py::dict d;
    d["time_ms"] = arrayOf(std::move(times));
    d["value"] = arrayOf(std::move(values));
    d["instrument"] = instruments;
    d["channel"] = channels;
    d["measure"] = measures;
    d["unit"] = units;
    d["verdict"] = verdicts;
    return d;
}

py::list instruments() {
    ensureLinkMachinery();
    py::list out;
    QStringList names;
    {
        py::gil_scoped_release free;
        OpenVisaRM();
        names = SearchUsbResources();
    }
    for (const QString& n : names)
        out.append(n.toStdString());
    return out;
}

} // namespace

PYBIND11_MODULE(_korvane, m) {
    m.doc() = "The Korvane library's functions for the korvane package.";
    static py::exception<std::runtime_error> error(m, "Error");
    static py::exception<std::runtime_error> fileFormat(m, "FileFormatError", error.ptr());
    static py::exception<std::runtime_error> usage(m, "UsageError", error.ptr());
    g_error = error.ptr();
    g_fileFormatError = fileFormat.ptr();
    g_usageError = usage.ptr();
    static py::exception<std::runtime_error> noInstrument(m, "NoInstrument", error.ptr());
    static py::exception<std::runtime_error> linkLost(m, "LinkLost", error.ptr());
    g_noInstrument = noInstrument.ptr();
    g_linkLost = linkLost.ptr();
    m.attr("version") = kPackageVersion.toStdString();
    m.def("read_capture", &readCapture, py::arg("path"), py::arg("frame") = 1);
    m.def("write_capture", &writeCapture);
    m.def("decode", &decodeCapture);
    m.def("instruments", &instruments);
    m.def("open", &openLink, py::arg("resource") = "", py::arg("serial") = "",
          py::arg("timeout") = 10.0);
    m.def("close", &closeLink);
    m.def("query", &query);
    m.def("send", &send);
    m.def("key", &pressKey);
    m.def("fetch", &fetch);
    m.def("measure", &measure);
    m.def("screenshot", &screenshot);
    m.def("save_settings", &saveSettings);
    m.def("load_settings", &loadSettings);
    m.def("table", &table);
    m.def("settings", &settings);
    m.def("apply_setting", &applyRow);
    m.def("read_sheet", &readSheet);
    m.def("picture", &picture);
    m.def("take_pauses", &takePauses);
    m.def("read_log", &readLog);
    m.def("spectrum", &spectrumOf, py::arg("samples"), py::arg("sample_rate"),
          py::arg("window") = "hanning", py::arg("averages") = 1);
}
