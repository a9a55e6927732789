// SPDX-License-Identifier: GPL-3.0-or-later
// The link's block readers: a USB (or serial VISA) instrument whose reads
// deliver the input piece by piece, through a whole wave fetch, the system
// data, a trace block, the screen image and a text line; then the serial
// port's receive of text and length-prefixed blocks.
#include "FuzzSupport.h"

#include "acquire/WaveJob.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "link/RS232Func.h"
#include "link/UsbFunc.h"
#include "panel/LcdImage.h"
#include "platform/Faults.h"
#include "platform/Visa.h"
#include "shared/SoftwareSetting.h"

#include <cstring>

namespace {
FuzzPieces* g_pieces = nullptr;

class PieceDevice : public platform::VisaDevice {
public:
    ViStatus write(const ViByte*, ViUInt32 count, ViUInt32* written) override {
        *written = count;
        return VI_SUCCESS;
    }
    ViStatus read(ViByte* data, ViUInt32 count, ViUInt32* got) override {
        *got = 0;
        if (!g_pieces || g_pieces->atEnd()) return VI_ERROR_TMO;
        const QByteArray piece = g_pieces->next(static_cast<int>(count));
        std::memcpy(data, piece.constData(), static_cast<std::size_t>(piece.size()));
        *got = static_cast<ViUInt32>(piece.size());
        return *got == count ? VI_SUCCESS_MAX_CNT : VI_SUCCESS;
    }
    ViStatus clear() override { return VI_SUCCESS; }
    ViStatus setTimeout(ViUInt32) override { return VI_SUCCESS; }
};

class PieceBackend : public platform::VisaBackend {
public:
    QStringList find() override { return {usbName, asrlName}; }
    std::unique_ptr<platform::VisaDevice> open(const QString&, ViStatus* status) override {
        *status = VI_SUCCESS;
        return std::make_unique<PieceDevice>();
    }
    static inline const QString usbName = "USB0::0xF022::0x0001::FUZZ::INSTR";
    static inline const QString asrlName = "ASRL9::INSTR";
};

void openDevice(const QString& name) {
    static bool added = false;
    if (!added) {
        platform::AddVisaBackend(std::make_unique<PieceBackend>());
        OpenVisaRM();
        added = true;
    }
    if (VisaInstr) viClose(VisaInstr);
    VisaInstr = 0;
    viOpen(VisaRM, name.toLatin1().constData(), 0, 0, &VisaInstr);
    SetVisaBusType(name);
}

void feedSerial(FuzzPieces& pieces, bool binary) {
    RxBinaryMode = binary;
    RxStarted = false;
    RxBusy = true;
    RxText.clear();
    for (int n = 0; n < 8 && !pieces.atEnd(); ++n) {
        const QByteArray chunk = pieces.next();
        if (chunk.isEmpty()) continue;
        platform::RunHandler("fuzz",
                             [&] { binary ? Rs232RecvBinary(chunk) : Rs232RecvText(chunk); });
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzSetUp();
    FuzzResetJobState();
    if (size == 0) return 0;
    FuzzPieces pieces(data + 1, size - 1);
    g_pieces = &pieces;
    SoftwareSetting.ScopeIOType = kIoTypeUsb;
    openDevice(data[0] & 1 ? PieceBackend::asrlName : PieceBackend::usbName);
    auto step = [](auto body) {
        Connected = LinkOpen = true;
        platform::RunHandler("fuzz", body);
    };
    step([] { ReadSystemData(); });
    step([] { ReadTraceBlock(kTraceRequest); });
    step([] { ReadTraceBlock(kDigitalRequest); });
    step([] { VisaReadText(); });
    step([] {
        std::vector<std::uint8_t> image(kLcdReply + 16);
        GetLcdData(image);
    });
    step([] { RunWaveJob(1); });
    feedSerial(pieces, false);
    feedSerial(pieces, true);
    g_pieces = nullptr;
    Connected = LinkOpen = false;
    return 0;
}
