// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/CtrlDialogAdjust.h"

#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "link/NQ4000Cmd.h"
#include "platform/Faults.h"
#include "platform/HoldRepeat.h"
#include "platform/Pacing.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/ValueText.h"

#include <QDialogButtonBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>
#include <QVBoxLayout>
#include <cmath>

int AdjustTarget = 0;
int AdjustModeCh1 = 0;
int AdjustModeCh2 = 0;
double AdjustOffsetCh1 = 0;
double AdjustOffsetCh2 = 0;

namespace {
const long kLadder[] = {2000,   5000,   10000,   20000,   50000,   100000,
                        200000, 500000, 1000000, 2000000, 5000000, 10000000};
} // namespace

int GetCHProbeNum(const QString& probeText) {
    static const QHash<QString, int> numbers = {{"1X", 1},     {"2X", 2},      {"5X", 5},
                                                {"10X", 10},   {"50X", 50},    {"100X", 100},
                                                {"500X", 500}, {"1000X", 1000}};
    return numbers.value(probeText, 1);
}

long StepVoltCoarse(long uv, int direction) {
    if (direction > 0) {
        for (long rung : kLadder)
            if (rung > uv) return rung;
        return kLadder[std::size(kLadder) - 1];
    }
    if (uv <= 5000) return 2000;
    long below = kLadder[0];
    for (long rung : kLadder)
        if (rung < uv) below = rung;
    return below;
}

long StepVoltFine(long uv, int direction) {
    struct Row {
        long low, high, step;
    };
    static const Row rows[] = {
        {2000, 5000, 50},          {5000, 10000, 100},         {10000, 20000, 200},
        {20000, 50000, 500},       {50000, 100000, 1000},      {100000, 200000, 2000},
        {200000, 500000, 5000},    {500000, 1000000, 10000},   {1000000, 2000000, 20000},
        {2000000, 5000000, 50000}, {5000000, 10000000, 100000}};
    for (const Row& r : rows) {
        // Up: at or above the low end, below the high end. Down: above the low end, at or below the
        // high end.
        if (direction > 0 && uv >= r.low && uv < r.high) return uv + r.step;
        if (direction < 0 && uv > r.low && uv <= r.high) return uv - r.step;
    }
    return uv;
}

double SetCHOffset(double limitVolts, double scale, double current, int direction) {
    double result = current + scale * 1000 * direction * 0.04 * 1000;
    const double limit = limitVolts * 1e6;
    return std::clamp(result, -limit, limit);
}

QString AdjustStep(const QString& text, const QString& probe, int mode, int direction) {
    const int probeNumber = GetCHProbeNum(probe);
    const double base = ParseVoltText(text) / probeNumber;
    const long uv = std::lround(base * 1e6);
    const long stepped = mode == 0 ? StepVoltCoarse(uv, direction) : StepVoltFine(uv, direction);
    return NormVolt(CStrNumber(stepped / 1e6 * probeNumber));
}

void AdjustOK(int target, const QString& text) {
    CtrlDataRecord& d = CtrlData;
    const int channel = target == 1 || target == 3 ? 2 : 1;
    const QString root = cmd::ChannelRoot(channel);
    if (target <= 1) {
        QString& voltDiv = channel == 2 ? d.Ch2VoltDiv : d.Ch1VoltDiv;
        const QString& probe = channel == 2 ? d.Ch2Probe : d.Ch1Probe;
        const double volts = ParseVoltText(text);
        voltDiv = ShownForm(text); // the tree's way, whichever way the text came
        CmdSend(SetCommand(root + cmd::Probe, probe.left(probe.size() - 1)));
        CmdSend(SetCommand(root + cmd::Scale, VoltToCmdText(volts / GetCHProbeNum(probe))));
        platform::Sleep(200);
        (channel == 2 ? d.Ch2Offset : d.Ch1Offset) =
            NormVolt(CutAtLineFeed(CmdQuery(QueryCommand(root + cmd::Offset))));
    } else {
        (channel == 2 ? d.Ch2Offset : d.Ch1Offset) = ShownForm(text);
        const double volts = ParseVoltText(text);
        CmdSend(SetCommand(root + cmd::Offset, CStrNumber(volts)));
        (channel == 2 ? AdjustOffsetCh2 : AdjustOffsetCh1) = volts * 1e6;
    }
    CtrlDirty = true;
    CtrlTreeChanged(CtrlTreeChange::Texts);
}

CtrlDialogAdjust::CtrlDialogAdjust(int target, QWidget* parent) : QDialog(parent), target_(target) {
    setObjectName("CtrlDialogAdjust");
    AdjustTarget = target;
    const int channel = target == 1 || target == 3 ? 2 : 1;
    const CtrlDataRecord& d = CtrlData;
    auto* frame = new QGroupBox(channel == 2 ? "CH2" : "CH1");
    txtDispValue_ = new QLineEdit(target <= 1 ? (channel == 2 ? d.Ch2VoltDiv : d.Ch1VoltDiv)
                                              : (channel == 2 ? d.Ch2Offset : d.Ch1Offset));
    txtDispValue_->setObjectName("txtDispValue");
    txtDispValue_->setReadOnly(true);
    txtDispValue_->setAlignment(Qt::AlignCenter);
    coarse_ = new QRadioButton(FormText("CtrlDialogAdjust", "optCoarse"));
    fine_ = new QRadioButton(FormText("CtrlDialogAdjust", "optFine"));
    ((channel == 2 ? AdjustModeCh2 : AdjustModeCh1) == 1 ? fine_ : coarse_)->setChecked(true);
    connect(coarse_, &QRadioButton::clicked, this, [this] { OptVoltDiv_Click(0); });
    connect(fine_, &QRadioButton::clicked, this, [this] { OptVoltDiv_Click(1); });
    DotAddRainBtn_ = new QPushButton("+");
    DotAddRainBtn_->setObjectName("DotAddRainBtn");
    DotSubRainBtn_ = new QPushButton("-");
    DotSubRainBtn_->setObjectName("DotSubRainBtn");
    // Hold to repeat: one step on press, then one every 200 ms until the mouse
    // button comes up, wherever the pointer is then.
    auto* add = new platform::HoldRepeat(
        DotAddRainBtn_, 200, [this] { step(1); }, [this] { step(1); });
    auto* sub = new platform::HoldRepeat(
        DotSubRainBtn_, 200, [this] { step(-1); }, [this] { step(-1); });
    repeaters_ = {add, sub};
    auto* steps = new QHBoxLayout;
    steps->addWidget(DotSubRainBtn_);
    steps->addWidget(txtDispValue_, 1);
    steps->addWidget(DotAddRainBtn_);
    auto* modes = new QHBoxLayout;
    modes->addWidget(coarse_);
    modes->addWidget(fine_);
    auto* frameLayout = new QVBoxLayout(frame);
    frameLayout->addLayout(steps);
    frameLayout->addLayout(modes);
    auto* buttons = new QDialogButtonBox;
    auto* ok =
        buttons->addButton(FormText("CtrlDialogAdjust", "cmdOK"), QDialogButtonBox::AcceptRole);
    ok->setObjectName("cmdAdjustOK");
    auto* cancel =
        buttons->addButton(FormText("CtrlDialogAdjust", "cmdCancel"), QDialogButtonBox::RejectRole);
    cancel->setObjectName("cmdCancelAdjust");
    connect(ok, &QPushButton::clicked, this, [this] {
        platform::RunHandler("cmdAdjustOK_Click",
                             [this] { AdjustOK(target_, txtDispValue_->text()); });
        accept();
    });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(frame);
    layout->addWidget(buttons);
}

bool CtrlDialogAdjust::repeating() const {
    for (const platform::HoldRepeat* r : repeaters_)
        if (r->active()) return true;
    return false;
}

void CtrlDialogAdjust::OptVoltDiv_Click(int index) {
    (target_ == 1 || target_ == 3 ? AdjustModeCh2 : AdjustModeCh1) = index;
}

void CtrlDialogAdjust::step(int direction) {
    platform::RunHandler("step", [this, direction] {
        const int channel = target_ == 1 || target_ == 3 ? 2 : 1;
        const CtrlDataRecord& d = CtrlData;
        if (target_ <= 1) {
            const int mode = channel == 2 ? AdjustModeCh2 : AdjustModeCh1;
            txtDispValue_->setText(AdjustStep(
                txtDispValue_->text(), channel == 2 ? d.Ch2Probe : d.Ch1Probe, mode, direction));
        } else {
            const double scale = ParseVoltText(channel == 2 ? d.Ch2VoltDiv : d.Ch1VoltDiv);
            const double uv =
                SetCHOffset(400000, scale, ParseVoltText(txtDispValue_->text()) * 1e6, direction);
            txtDispValue_->setText(NormVolt(CStrNumber(uv / 1e6)));
        }
    });
}
