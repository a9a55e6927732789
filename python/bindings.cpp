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

#include "cli/CliCommands.h"
#include "decode/Decode.h"
#include "decode/DecodeStacks.h"
#include "decode/Decoders.h"
#include "export/CaptureExport.h"
#include "platform/MsgBox.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "views/Analyser.h"

#include <QGuiApplication>

#include <cmath>
#include <dlfcn.h>
#include <memory>

namespace py = pybind11;

namespace {

// The exceptions, created when the module loads (korvane.Error and below).
PyObject* g_error = nullptr;
PyObject* g_fileFormatError = nullptr;
PyObject* g_usageError = nullptr;

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
template <typename T> py::array_t<T> arrayOf(std::vector<T>&& values) {
    auto* owned = new std::vector<T>(std::move(values));
    py::capsule free(owned, [](void* p) { delete static_cast<std::vector<T>*>(p); });
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

} // namespace

PYBIND11_MODULE(_korvane, m) {
    m.doc() = "The Korvane library's functions for the korvane package.";
    static py::exception<std::runtime_error> error(m, "Error");
    static py::exception<std::runtime_error> fileFormat(m, "FileFormatError", error.ptr());
    static py::exception<std::runtime_error> usage(m, "UsageError", error.ptr());
    g_error = error.ptr();
    g_fileFormatError = fileFormat.ptr();
    g_usageError = usage.ptr();
    m.attr("version") = kPackageVersion.toStdString();
    m.def("read_capture", &readCapture, py::arg("path"), py::arg("frame") = 1);
    m.def("write_capture", &writeCapture);
    m.def("decode", &decodeCapture);
    m.def("spectrum", &spectrumOf, py::arg("samples"), py::arg("sample_rate"),
          py::arg("window") = "hanning", py::arg("averages") = 1);
}
