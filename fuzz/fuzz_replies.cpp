// SPDX-License-Identifier: GPL-3.0-or-later
// Replies of an instrument that answers anything: a whole download, the
// logic pattern's levels, a measurement, and every value-text reader on
// each reply.
#include "FuzzSupport.h"

#include "acquire/MeasureJob.h"
#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "controller/PatternLevels.h"
#include "controller/SettingsExchange.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "platform/Faults.h"
#include "shared/ValueText.h"

namespace {
class ScriptedInstrument : public LinkTransport {
public:
    explicit ScriptedInstrument(FuzzPieces& pieces) : pieces_(pieces) {}
    void Send(const QString&) override {}
    QString Query(const QString&) override {
        const QString reply = QString::fromLatin1(pieces_.next());
        readValueTexts(reply);
        return reply;
    }

private:
    static void readValueTexts(const QString& r) {
        NormVolt(r), NormTime3(r), NormTime4(r), NormTime5(r), NormFreq(r), NormDB(r),
            NormPercent(r);
        SplitVoltToUnit(ParseVoltText(r)), SplitFreqToUnit(ParseFreqText(r)),
            SplitTimeToUnit(ParseTimeText(r)), SplitPercentToText(ParsePercentText(r));
        TimeTextToExpText(r), TimeToCmdText(ParseTimeText(r)), VoltToCmdText(ParseVoltTextWide(r));
    }
    FuzzPieces& pieces_;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzSetUp();
    FuzzResetJobState();
    static bool registered = false;
    if (!registered) {
        RegisterSettingsJobs();
        registered = true;
    }
    FuzzPieces pieces(data, size);
    ScriptedInstrument instrument(pieces);
    SetLinkTransport(&instrument);
    Connected = LinkOpen = true;
    IsDigitalModel = 1;
    CtrlData = CtrlDataDefaults();
    ReadAllSettings();
    Connected = LinkOpen = true;
    platform::RunHandler("fuzz", [] { SendPatternLevels(); });
    platform::RunHandler("fuzz", [] { RunMeasureJob(1); });
    SetLinkTransport(nullptr);
    Connected = LinkOpen = false;
    return 0;
}
