// SPDX-License-Identifier: GPL-3.0-or-later
// nq4000l-sim: a simulated NQ4000L oscilloscope on USB, RS232 and LAN, and a
// writer of the files the instrument makes.
#include "Files.h"
#include "Simulator.h"

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

volatile std::sig_atomic_t g_stop = 0;
void onSignal(int) {
    g_stop = 1;
}

void usage() {
    std::puts(
        "Usage: nq4000l-sim [options]\n"
        "\n"
        "Runs a simulated NQ4000L oscilloscope until interrupted (Ctrl+C), or writes\n"
        "a file the instrument makes and exits.\n"
        "\n"
        "Faces (USB is on unless --no-usb):\n"
        "  --no-usb              no USB face\n"
        "  --usb-dir DIR         folder of the USB face's socket (default\n"
        "                        $XDG_RUNTIME_DIR/nq4000l-sim or /tmp/nq4000l-sim-UID);\n"
        "                        the program's USB search looks there\n"
        "  --usb-resource NAME   resource name (default USB0::0x5345::0x4102::SIM0000001::INSTR);\n"
        "                        its serial field is the serial *IDN? answers\n"
        "  --rs232               an RS232 face on a pseudo-terminal; its path is printed\n"
        "  --serial-link PATH    keep a symbolic link PATH pointing at that pseudo-terminal\n"
        "  --tcp [PORT]          a LAN face on 127.0.0.1 (default port 5025; 0 = any)\n"
        "\n"
        "Identity:\n"
        "  --identity KIND       default | mono | no-digital | other-maker | empty\n"
        "  --model TEXT          the model word of *IDN? (default NQ4102CD)\n"
        "\n"
        "Signals (SHAPE:HERTZ:PEAK_VOLTS[:OFFSET], SHAPE one of sine square triangle\n"
        "sawtooth dc):\n"
        "  --ch1 SIGNAL         default sine:1000:1.0\n"
        "  --ch2 SIGNAL         default square:2000:0.5\n"
        "\n"
        "Faults:\n"
        "  --latency MS          wait before every reply\n"
        "  --drop-at N           the link drops at the Nth command\n"
        "  --silent              answer nothing\n"
        "  --garbage             answer noise\n"
        "  --truncate-blocks     send half of every binary block\n"
        "  --log                 print every command received, with its time\n"
        "  --jitter PERCENT      measured values spread by this much (a standard deviation)\n"
        "\n"
        "Files (write, then exit):\n"
        "  --write-rcd PATH      a frame record; with --frames N (100), --channel 1|2\n"
        "  --write-wfm PATH      a deep-memory waveform file (UART on D0, I2C on D1/D2,\n"
        "                        SPI on D3-D6); with --points N (4000,\n"
        "                        up to 2000000), --older (the old head), --alternate,\n"
        "                        --no-ch1, --no-ch2, --no-digital\n"
        "\n"
        "  --help                this text");
}

std::vector<std::string> splitResource(const std::string& name) {
    std::vector<std::string> fields;
    std::size_t from = 0;
    for (std::size_t at; (at = name.find("::", from)) != std::string::npos; from = at + 2)
        fields.push_back(name.substr(from, at - from));
    fields.push_back(name.substr(from));
    return fields;
}

bool identityByName(const std::string& name, sim::Identity& out) {
    if (name == "default")
        out = sim::Identity();
    else if (name == "mono")
        out = sim::Identity::Mono();
    else if (name == "no-digital")
        out = sim::Identity::WithoutDigital();
    else if (name == "other-maker")
        out = sim::Identity::OtherMaker();
    else if (name == "empty")
        out = sim::Identity::Empty();
    else
        return false;
    return true;
}

int fail(const std::string& message) {
    std::fprintf(stderr, "nq4000l-sim: %s\n", message.c_str());
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    sim::SimulatorOptions options;
    sim::Faults faults;
    sim::Generator ch1, ch2;
    sim::Generator::parse("sine:1000:1.0", ch1);
    sim::Generator::parse("square:2000:0.5", ch2);
    std::string rcdPath, wfmPath, model;
    sim::RecordFileContent record;
    sim::WaveformFileContent waveform;
    bool log = false;

    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto next = [&](const char* what) -> std::string {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "nq4000l-sim: %s needs %s\n", a.c_str(), what);
                std::exit(2);
            }
            return argv[++i];
        };
        auto number = [&](const char* what) {
            const std::string v = next(what);
            char* end = nullptr;
            const long n = std::strtol(v.c_str(), &end, 10);
            if (*end) {
                std::fprintf(stderr, "nq4000l-sim: %s wants a whole number, not %s\n", a.c_str(),
                             v.c_str());
                std::exit(2);
            }
            return static_cast<int>(n);
        };
        if (a == "--help" || a == "-h")
            return usage(), 0;
        else if (a == "--no-usb")
            options.usb = false;
        else if (a == "--usb-dir")
            options.usbDirectory = next("a folder");
        else if (a == "--usb-resource")
            options.usbResource = next("a resource name");
        else if (a == "--rs232")
            options.rs232 = true;
        else if (a == "--serial-link")
            options.rs232 = true, options.serialLink = next("a path");
        else if (a == "--tcp") {
            options.tcp = true;
            if (i + 1 < argc && argv[i + 1][0] != '-') options.tcpPort = number("a port");
        } else if (a == "--identity") {
            if (!identityByName(next("a kind"), options.identity))
                return fail("unknown identity " + a);
        } else if (a == "--model")
            model = next("a model word");
        else if (a == "--ch1" || a == "--ch2") {
            const std::string signal = next("a signal");
            if (!sim::Generator::parse(signal, a == "--ch1" ? ch1 : ch2))
                return fail("bad signal " + signal);
        } else if (a == "--latency")
            faults.latencyMs = number("milliseconds");
        else if (a == "--jitter") {
            const std::string v = next("a percentage");
            double percent = -1;
            const auto r = std::from_chars(v.data(), v.data() + v.size(), percent);
            if (r.ec != std::errc() || r.ptr != v.data() + v.size() || percent < 0) {
                std::fprintf(stderr, "nq4000l-sim: --jitter wants a percentage, not %s\n",
                             v.c_str());
                return 2;
            }
            faults.jitter = percent / 100.0;
        } else if (a == "--drop-at")
            faults.dropAtCommand = number("a command count");
        else if (a == "--silent")
            faults.silent = true;
        else if (a == "--garbage")
            faults.garbage = true;
        else if (a == "--truncate-blocks")
            faults.truncateBlocks = true;
        else if (a == "--log")
            log = true;
        else if (a == "--write-rcd")
            rcdPath = next("a path");
        else if (a == "--frames")
            record.frames = number("a count");
        else if (a == "--channel")
            record.channel = number("1 or 2");
        else if (a == "--write-wfm")
            wfmPath = next("a path");
        else if (a == "--points")
            waveform.points = number("a count");
        else if (a == "--older")
            waveform.olderHead = true;
        else if (a == "--alternate")
            waveform.alternate = true;
        else if (a == "--no-ch1")
            waveform.ch1 = false;
        else if (a == "--no-ch2")
            waveform.ch2 = false;
        else if (a == "--no-digital")
            waveform.digital = false;
        else
            return fail("unknown option " + a + " (see --help)");
    }
    if (!model.empty()) options.identity.model = model;
    // The serial of *IDN? is the resource name's serial field
    // (USB0::VENDOR::PRODUCT::SERIAL::INSTR): two simulators, two identities.
    if (const auto fields = splitResource(options.usbResource);
        fields.size() >= 4 && !fields[3].empty())
        options.identity.serial = fields[3];

    if (!rcdPath.empty() || !wfmPath.empty()) {
        std::string error;
        if (!rcdPath.empty()) {
            record.generator = record.channel == 2 ? ch2 : ch1;
            if (!sim::WriteRecordFile(rcdPath, record, &error)) return fail(error);
            std::printf("wrote %s (%d frames of CH%d)\n", rcdPath.c_str(), record.frames,
                        record.channel);
        }
        if (!wfmPath.empty()) {
            waveform.ch1Generator = ch1;
            waveform.ch2Generator = ch2;
            if (!sim::WriteWaveformFile(wfmPath, waveform, &error)) return fail(error);
            std::printf("wrote %s (%d points)\n", wfmPath.c_str(), waveform.points);
        }
        return 0;
    }

    sim::Simulator simulator(options);
    simulator.instrument().SetFaults(faults);
    simulator.instrument().SetGenerator(1, ch1);
    simulator.instrument().SetGenerator(2, ch2);
    std::string error;
    if (!simulator.Start(&error)) return fail(error);
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    std::printf("NQ4000L simulator: %s\n", options.identity.idn().c_str());
    if (options.usb)
        std::printf("USB   %s\n      (socket %s)\n", simulator.usbResource().c_str(),
                    simulator.usbSocketPath().c_str());
    if (options.rs232) std::printf("RS232 %s\n", simulator.serialPath().c_str());
    if (options.tcp) std::printf("LAN   127.0.0.1:%d\n", simulator.tcpPort());
    std::fflush(stdout);

    std::size_t printed = 0;
    auto printLog = [&] {
        if (!log) return;
        const auto entries = simulator.instrument().Log();
        for (; printed < entries.size(); ++printed)
            std::printf("%10.3f  %s\n", entries[printed].seconds, entries[printed].command.c_str());
        std::fflush(stdout);
    };
    while (!g_stop) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        printLog();
    }
    simulator.Stop();
    printLog(); // what came in since the last round, the last commands included
    return 0;
}
