#include "panel/VirtualKeys.h"

#include "link/NQ4000Cmd.h"
#include "platform/Faults.h"
#include "platform/Pacing.h"
#include "shared/LoadLanguage.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

using K = KeyKind;
// The groups, in the panel's order.
const char* const kGroups[] = {"Run", "Vertical", "Horizontal", "Trigger", "Menu", "Function"};

const std::vector<VirtualKey> kKeys = {
    {"VK_Run", ":KEY:RUN", K::Release, "Run", "Run/Stop", "Run or stop the acquisition",
     "运行/停止"},
    {"VK_Auto", ":KEY:AUTO", K::Release, "Run", "Auto", "Auto set", "自动设置"},
    {"VK_Trig_Force", ":FORCETRIG", K::Release, "Run", "Force", "Force a trigger", "强制触发"},
    {"VK_Trig_50", ":KEY:TRIG%50", K::Release, "Run", "50%", "Trigger level to the middle",
     "触发电平居中"},
    {"VK_CH1", ":KEY:CHANNEL1", K::Release, "Vertical", "CH1", "Channel 1", "通道1"},
    {"VK_CH2", ":KEY:CHANNEL2", K::Release, "Vertical", "CH2", "Channel 2", "通道2"},
    {"VK_Math", ":KEY:MATH", K::Release, "Vertical", "Math", "Math", "数学运算"},
    {"VK_La", ":KEY:LA", K::Release, "Vertical", "LA", "Digital channels", "逻辑通道"},
    {"VK_Ref", ":KEY:REF", K::Release, "Vertical", "Ref", "Reference waveforms", "参考波形"},
    {"VK_CH_Off", ":KEY:OFF", K::Release, "Vertical", "Off", "Channel off", "关闭通道"},
    {"VK_V_Dec", ":KEY:V_SCALE_DEC", K::Click, "Vertical", "V/div -", "Volts per division down",
     "垂直档位减小"},
    {"VK_V_Inc", ":KEY:V_SCALE_INC", K::Click, "Vertical", "V/div +", "Volts per division up",
     "垂直档位增大"},
    {"VK_V_Pos_Dec", ":KEY:V_POS_DEC", K::Hold, "Vertical", "Pos ▼",
     "Vertical position down (hold)", "垂直位置下移（按住）"},
    {"VK_V_Pos_Inc", ":KEY:V_POS_INC", K::Hold, "Vertical", "Pos ▲", "Vertical position up (hold)",
     "垂直位置上移（按住）"},
    {"VK_P_V", ":KEY:PROMPT_V", K::Click, "Vertical", "V ?", "Show the volts per division",
     "提示垂直档位"},
    {"VK_P_V_P", ":KEY:PROMPT_V_POS", K::Click, "Vertical", "Pos ?", "Show the vertical position",
     "提示垂直位置"},
    {"VK_H_Dec", ":KEY:H_SCALE_DEC", K::Click, "Horizontal", "s/div -", "Time per division down",
     "水平时基减小"},
    {"VK_H_Inc", ":KEY:H_SCALE_INC", K::Click, "Horizontal", "s/div +", "Time per division up",
     "水平时基增大"},
    // The horizontal position keys are crossed: each sends the other's word.
    {"VK_H_Pos_Dec", ":KEY:H_POS_INC", K::Hold, "Horizontal", "◀ Pos",
     "Horizontal position left (hold)", "水平位置左移（按住）"},
    {"VK_H_Pos_Inc", ":KEY:H_POS_DEC", K::Hold, "Horizontal", "Pos ▶",
     "Horizontal position right (hold)", "水平位置右移（按住）"},
    {"VK_P_H", ":KEY:PROMPT_H", K::Click, "Horizontal", "s ?", "Show the time per division",
     "提示水平时基"},
    {"VK_P_H_P", ":KEY:PROMPT_H_POS", K::Click, "Horizontal", "Pos ?",
     "Show the horizontal position", "提示水平位置"},
    {"VK_TimeMenu", ":KEY:MNUTIME", K::Release, "Horizontal", "Menu", "Time base menu", "时基菜单"},
    {"VK_Trig_Lvl_Dec", ":KEY:TRIG_LVL_DEC", K::Hold, "Trigger", "Level -",
     "Trigger level down (hold)", "触发电平降低（按住）"},
    {"VK_Trig_Lvl_Inc", ":KEY:TRIG_LVL_INC", K::Hold, "Trigger", "Level +",
     "Trigger level up (hold)", "触发电平升高（按住）"},
    {"VK_P_L", ":KEY:PROMPT_TRIG_LVL", K::Click, "Trigger", "Level ?", "Show the trigger level",
     "提示触发电平"},
    {"VK_Trig_Menu", ":KEY:MNUTRIG", K::Release, "Trigger", "Menu", "Trigger menu", "触发菜单"},
    {"VK_Acquire", ":KEY:ACQUIRE", K::Release, "Menu", "Acquire", "Acquire menu", "采样菜单"},
    {"VK_Display", ":KEY:DISPLAY", K::Release, "Menu", "Display", "Display menu", "显示菜单"},
    {"VK_Cursor", ":KEY:CURSOR", K::Release, "Menu", "Cursor", "Cursor menu", "光标菜单"},
    {"VK_Measure", ":KEY:MEASURE", K::Release, "Menu", "Measure", "Measure menu", "测量菜单"},
    {"VK_Storage", ":KEY:STORAGE", K::Release, "Menu", "Storage", "Storage menu", "存储菜单"},
    {"VK_Utility", ":KEY:UTILITY", K::Release, "Menu", "Utility", "Utility menu", "辅助功能菜单"},
    {"VK_Menu_Off", ":KEY:MNUOFF", K::Release, "Menu", "Menu off", "Close the menu", "关闭菜单"},
    {"VK_F1", ":KEY:F1", K::Release, "Function", "F1", "Function key 1", "功能键1"},
    {"VK_F2", ":KEY:F2", K::Release, "Function", "F2", "Function key 2", "功能键2"},
    {"VK_F3", ":KEY:F3", K::Release, "Function", "F3", "Function key 3", "功能键3"},
    {"VK_F4", ":KEY:F4", K::Release, "Function", "F4", "Function key 4", "功能键4"},
    {"VK_F5", ":KEY:F5", K::Release, "Function", "F5", "Function key 5", "功能键5"},
    {"VK_F_DEC", ":KEY:-FUNCTION", K::Hold, "Function", "◀", "Function knob left (hold)",
     "功能旋钮左旋（按住）"},
    {"VK_F_F", ":KEY:FUNCTION", K::Click, "Function", "Select", "Function knob press",
     "功能旋钮按下"},
    {"VK_F_INC", ":KEY:+FUNCTION", K::Hold, "Function", "▶", "Function knob right (hold)",
     "功能旋钮右旋（按住）"},
};

const char* groupTitle(const char* group, bool chinese) {
    const QString g = group;
    if (g == "Run") return chinese ? "运行控制" : "Run control";
    if (g == "Vertical") return chinese ? "垂直" : "Vertical";
    if (g == "Horizontal") return chinese ? "水平" : "Horizontal";
    if (g == "Trigger") return chinese ? "触发" : "Trigger";
    if (g == "Menu") return chinese ? "菜单" : "Menus";
    return chinese ? "功能键" : "Function";
}

} // namespace

const std::vector<VirtualKey>& VirtualKeys() {
    return kKeys;
}

const VirtualKey* FindVirtualKey(const QString& control) {
    for (const VirtualKey& k : kKeys)
        if (control == QLatin1String(k.control)) return &k;
    return nullptr;
}

int HoldStep(int repeatCount) {
    if (repeatCount <= 5) return 0;
    if (repeatCount <= 10) return 2;
    if (repeatCount <= 15) return 5;
    if (repeatCount <= 20) return 10;
    if (repeatCount <= 50) return 20;
    return 50;
}

void KeyRepeater::Down(const QString& command) {
    RepeatKey = command;
    RepeatCount = 0;
    CmdSend(RepeatKey + " 0");
}

void KeyRepeater::Tick() {
    RepeatCount = std::min(60000, RepeatCount + 1);
    CmdSend(RepeatKey + " " + QString::number(HoldStep(RepeatCount)));
}

FrontPanel::FrontPanel(bool keyboardOnly, QWidget* parent)
    : QWidget(parent), keyboardOnly_(keyboardOnly), timer_(new QTimer(this)) {
    setObjectName("FrontPanel");
    timer_->setObjectName("ButtonPressTimer");
    timer_->setInterval(platform::ScaledMs(200));
    connect(timer_, &QTimer::timeout, this, [this] {
        platform::RunHandler("ButtonPressTimer_Timer", [this] { repeater_.Tick(); });
    });
    auto* layout = new QHBoxLayout(this);
    layout->setSpacing(6);
    for (const char* group : kGroups) {
        auto* box = new QGroupBox;
        box->setObjectName(QString("grp") + group);
        auto* grid = new QGridLayout(box);
        grid->setSpacing(3);
        int n = 0;
        for (const VirtualKey& k : kKeys) {
            if (QString(k.group) != group) continue;
            auto* b = new QToolButton;
            b->setObjectName(k.control);
            b->setText(QString::fromUtf8(k.label));
            b->setMinimumSize(54, 30);
            b->setAutoRaise(false);
            b->setCursor(Qt::PointingHandCursor);
            b->setAttribute(Qt::WA_Hover); // the style lights a key under the pointer
            const QString command = k.command;
            switch (k.kind) {
            case KeyKind::Release:
                connect(b, &QToolButton::released, this, [command] {
                    platform::RunHandler("VK_MouseUp", [&] { CmdSend(command); });
                });
                break;
            case KeyKind::Click:
                connect(b, &QToolButton::clicked, this,
                        [command] { platform::RunHandler("VK_Click", [&] { CmdSend(command); }); });
                break;
            case KeyKind::Hold:
                connect(b, &QToolButton::pressed, this, [this, command] {
                    platform::RunHandler("VK_MouseDown", [&] {
                        repeater_.Down(command);
                        timer_->start();
                    });
                });
                connect(b, &QToolButton::released, this, [this] { StopRepeat(); });
                if (keyboardOnly_ && QString(k.control) == "VK_V_Pos_Inc")
                    connect(b, &QToolButton::clicked, this, [command] {
                        platform::RunHandler("VK_V_Pos_Inc_Click", [&] { CmdSend(command); });
                    });
                break;
            }
            grid->addWidget(b, n / 2, n % 2);
            ++n;
        }
        layout->addWidget(box);
    }
    key("VK_La")->setVisible(true); // the digital channels are presented
    captionRoutine_ = AddCaptionRoutine([this](int index) { applyCaptions(index); });
    applyCaptions(CaptionLanguage());
}

FrontPanel::~FrontPanel() {
    RemoveCaptionRoutine(captionRoutine_);
}

QWidget* FrontPanel::key(const QString& control) const {
    return findChild<QWidget*>(control);
}

void FrontPanel::StopRepeat() {
    timer_->stop();
}

void FrontPanel::Press(const QString& control) {
    const VirtualKey* k = FindVirtualKey(control);
    if (!k) return;
    if (k->kind == KeyKind::Hold) {
        repeater_.Down(k->command);
        return;
    }
    CmdSend(k->command);
}

void FrontPanel::applyCaptions(int index) {
    if (index != kLanguageChinese && index != kLanguageEnglish) return;
    const bool zh = index == kLanguageChinese;
    for (const char* group : kGroups)
        if (auto* box = findChild<QGroupBox*>(QString("grp") + group))
            box->setTitle(QString::fromUtf8(groupTitle(group, zh)));
    for (const VirtualKey& k : kKeys)
        if (QWidget* b = key(k.control))
            b->setToolTip(QString::fromUtf8(zh ? k.tipChinese : k.tipEnglish) + "  (" +
                          QString(k.command) + ")");
}
