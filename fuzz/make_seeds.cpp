// SPDX-License-Identifier: GPL-3.0-or-later
// Writes the seeds of the kept corpus with the program's own writers and the
// simulated instrument, so every seed is a well-formed input the fuzzers
// start from. Run: make_seeds <corpus folder>.
#include "FuzzSupport.h"

#include "Faces.h"
#include "Files.h"
#include "Instrument.h"
#include "acquire/MeasureJob.h"
#include "controller/CtrlData.h"
#include "controller/CtrlFile.h"
#include "controller/PatternLevels.h"
#include "controller/SettingsExchange.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "platform/Faults.h"
#include "platform/Settings.h"
#include "shared/SoftwareSetting.h"
#include "sheet/DataSheet.h"
#include "sheet/SheetFile.h"
#include "sheet/SheetRecords.h"

#include <QDir>
#include <QFile>
#include <cstdio>

namespace {
QString g_root;

void put(const QString& target, const QString& name, const QByteArray& bytes) {
    QDir().mkpath(g_root + "/" + target);
    QFile f(g_root + "/" + target + "/" + name);
    if (!f.open(QIODevice::WriteOnly) || f.write(bytes) != bytes.size())
        std::fprintf(stderr, "cannot write %s\n", qPrintable(f.fileName()));
}

QByteArray fileBytes(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QByteArray bytesOf(const std::vector<std::uint8_t>& v) {
    return QByteArray(reinterpret_cast<const char*>(v.data()), static_cast<qsizetype>(v.size()));
}

// The simulated instrument behind the transport, its replies kept as pieces.
class RecordingInstrument : public LinkTransport {
public:
    void Send(const QString& command) override { instrument.Process(command.toStdString()); }
    QString Query(const QString& command) override {
        const sim::Reply r = instrument.Process(command.toStdString());
        const QByteArray text = r.kind == sim::Reply::Kind::Text ? bytesOf(r.data) : QByteArray();
        pieces += FuzzPieces::encode(text);
        return QString::fromLatin1(text);
    }
    sim::Instrument instrument;
    QByteArray pieces;
};

void replies() {
    RegisterSettingsJobs();
    for (int digital : {1, 0}) {
        RecordingInstrument rec;
        SetLinkTransport(&rec);
        Connected = LinkOpen = true;
        IsDigitalModel = digital;
        ReadAllSettings();
        Connected = LinkOpen = true;
        platform::RunHandler("seeds", [] { SendPatternLevels(); });
        platform::RunHandler("seeds", [] { RunMeasureJob(1); });
        SetLinkTransport(nullptr);
        put("replies", QString("seed-readall-%1").arg(digital ? "la" : "nola"), rec.pieces);
    }
    Connected = LinkOpen = false;
}

// The USB replies of a wave fetch in the order the blocks fuzzer reads them.
void blocks() {
    sim::Instrument instrument;
    auto reply = [&instrument](const char* command) {
        const sim::Reply r = instrument.Process(command);
        if (r.kind == sim::Reply::Kind::Block) return bytesOf(sim::FrameBlock488(r.data));
        return bytesOf(r.data) + "\n";
    };
    QByteArray usb(1, '\0');
    usb += FuzzPieces::encode(reply(":SYSTEM:DATA?"));
    usb += FuzzPieces::encode(reply(":WAVEFORM:DATA? CHANNEL1"));
    usb += FuzzPieces::encode(reply(":WAVEFORM:DATA? DIGITAL"));
    usb += FuzzPieces::encode(reply(":CHANNEL1:SCALE?"));
    usb += FuzzPieces::encode(reply(":LCD:DATA?"));
    usb += FuzzPieces::encode(QByteArray());
    usb += FuzzPieces::encode("1.00V\n");
    usb += FuzzPieces::encode(
        bytesOf(sim::FrameBlockSerial(instrument.Process(":SYSTEM:DATA?").data)));
    put("blocks", "seed-usb", usb);
    put("blocks", "seed-asrl", QByteArray(1, '\1') + usb.mid(1));
}

void files() {
    const QString tmp = QDir::tempPath() + "/korvane-seed";
    sim::RecordFileContent record;
    record.frames = 3;
    std::string error;
    sim::WriteRecordFile((tmp + ".rcd").toStdString(), record, &error);
    put("record", "seed-3frames", fileBytes(tmp + ".rcd"));
    record.channel = 2;
    record.frames = 1;
    sim::WriteRecordFile((tmp + ".rcd").toStdString(), record, &error);
    put("record", "seed-ch2", fileBytes(tmp + ".rcd"));
    for (bool older : {false, true}) {
        sim::WaveformFileContent wave;
        wave.points = 240;
        wave.olderHead = older;
        sim::WriteWaveformFile((tmp + ".wfm").toStdString(), wave, &error);
        put("waveform", older ? "seed-older" : "seed-current", fileBytes(tmp + ".wfm"));
    }
    sim::WaveformFileContent alternate;
    alternate.points = 100;
    alternate.alternate = true;
    alternate.digital = false;
    sim::WriteWaveformFile((tmp + ".wfm").toStdString(), alternate, &error);
    put("waveform", "seed-alternate", fileBytes(tmp + ".wfm"));
    QFile::remove(tmp + ".rcd");
    QFile::remove(tmp + ".wfm");

    CtrlData = CtrlDataDefaults();
    WriteControlFile(tmp + ".ctl");
    put("ctrlfile", "seed-defaults", fileBytes(tmp + ".ctl"));
    QFile::remove(tmp + ".ctl");

    WriteSoftwareSetting(nullptr);
    put("settings", "seed-written", fileBytes(platform::SettingsFilePath("Korvane")));
    put("settings", "seed-hand-edited",
        "; by hand\n[IO Settings_NQ4000L]\nScopeIOType = 2\nBaudRate=\"38400\"\n"
        "[Recent%20Ctrl_NQ4000L]\nFile1=/tmp/a.ctl\n[Refresh]\nRefresh Interval=abc\n");
}

void sheet() {
    NewDataSheet();
    put("sheet", "seed-empty", SheetBytes());
    for (DocKind k :
         {DocKind::Wave, DocKind::Measure, DocKind::Data, DocKind::Record, DocKind::MemoryWave})
        AddDocument(k);
    WaveRecords[0].Loaded = WaveRecords[0].ShowCh1 = true;
    WaveRecords[0].PointCount = 300;
    MeasureRecords[0].Loaded = true;
    DataRecords[0].Loaded = true;
    DataRecords[0].RowCount = 2;
    DataRecords[0].VoltText = {"", "1.00E+00", "-5.00E-01"};
    DataRecords[0].TimeText = {"", "-6.00E-03", "-5.98E-03", "-5.96E-03"};
    put("sheet", "seed-five-kinds", SheetBytes());
}
} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_seeds <corpus folder>\n");
        return 2;
    }
    FuzzSetUp();
    g_root = QString::fromLocal8Bit(argv[1]);
    replies();
    blocks();
    files();
    sheet();
    return 0;
}
