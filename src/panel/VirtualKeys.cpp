// SPDX-License-Identifier: GPL-3.0-or-later
#include "panel/VirtualKeys.h"

#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "platform/Faults.h"
#include "platform/Pacing.h"
#include "shared/LoadLanguage.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QShortcut>
#include <QStackedWidget>
#include <QTabBar>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <cmath>

namespace {

using K = KeyKind;
// The sections, in the panel's order.
const char* const kGroups[] = {"Run", "Vertical", "Horizontal", "Trigger", "Menu", "Function"};

// control, command, kind, section, English face, Chinese face, English tip, Chinese tip,
// keyboard shortcut. A knob's push is the key of its face; its turn sends the
// keys on either side of it.
const std::vector<VirtualKey> kKeys = {
    {"VK_Run", ":KEY:RUN", K::Release, "Run", "Run/Stop", "运行/停止",
     "Run or stop the acquisition", "运行或停止采集", "Space"},
    {"VK_Auto", ":KEY:AUTO", K::Release, "Run", "Auto", "自动", "Auto set", "自动设置", "A"},
    {"VK_Trig_Force", ":FORCETRIG", K::Release, "Trigger", "Force", "强制", "Force a trigger",
     "强制触发", "F"},
    {"VK_Trig_50", ":KEY:TRIG%50", K::Release, "Trigger", "50%", "50%",
     "Trigger level to the middle", "触发电平居中", "5"},
    {"VK_CH1", ":KEY:CHANNEL1", K::Release, "Vertical", "CH1", "CH1", "Channel 1", "通道1", "1"},
    {"VK_CH2", ":KEY:CHANNEL2", K::Release, "Vertical", "CH2", "CH2", "Channel 2", "通道2", "2"},
    {"VK_Math", ":KEY:MATH", K::Release, "Vertical", "Math", "数学", "Math", "数学运算", "M"},
    {"VK_La", ":KEY:LA", K::Release, "Vertical", "LA", "LA", "Digital channels", "逻辑通道", "L"},
    {"VK_Ref", ":KEY:REF", K::Release, "Vertical", "Ref", "参考", "Reference waveforms", "参考波形",
     "R"},
    {"VK_CH_Off", ":KEY:OFF", K::Release, "Vertical", "Off", "关闭", "Channel off", "关闭通道",
     "O"},
    {"VK_V_Dec", ":KEY:V_SCALE_DEC", K::Click, "Vertical", "−", "−", "Volts per division down",
     "垂直档位减小", "-"},
    {"VK_V_Inc", ":KEY:V_SCALE_INC", K::Click, "Vertical", "+", "+", "Volts per division up",
     "垂直档位增大", "+"},
    {"VK_V_Pos_Dec", ":KEY:V_POS_DEC", K::Hold, "Vertical", "▼", "▼",
     "Vertical position down (hold)", "垂直位置下移（按住）", "Down"},
    {"VK_V_Pos_Inc", ":KEY:V_POS_INC", K::Hold, "Vertical", "▲", "▲", "Vertical position up (hold)",
     "垂直位置上移（按住）", "Up"},
    {"VK_P_V", ":KEY:PROMPT_V", K::Click, "Vertical", "Volts/Div", "伏/格",
     "Volts per division: turn to change, press to show", "垂直档位：旋转改变，按下显示", ""},
    {"VK_P_V_P", ":KEY:PROMPT_V_POS", K::Click, "Vertical", "Position", "位置",
     "Vertical position: turn to move, press to show", "垂直位置：旋转移动，按下显示", ""},
    {"VK_H_Dec", ":KEY:H_SCALE_DEC", K::Click, "Horizontal", "−", "−", "Time per division down",
     "水平时基减小", "["},
    {"VK_H_Inc", ":KEY:H_SCALE_INC", K::Click, "Horizontal", "+", "+", "Time per division up",
     "水平时基增大", "]"},
    // The horizontal position keys are crossed: each sends the other's word.
    {"VK_H_Pos_Dec", ":KEY:H_POS_INC", K::Hold, "Horizontal", "◀", "◀",
     "Horizontal position left (hold)", "水平位置左移（按住）", "Left"},
    {"VK_H_Pos_Inc", ":KEY:H_POS_DEC", K::Hold, "Horizontal", "▶", "▶",
     "Horizontal position right (hold)", "水平位置右移（按住）", "Right"},
    {"VK_P_H", ":KEY:PROMPT_H", K::Click, "Horizontal", "Time/Div", "秒/格",
     "Time per division: turn to change, press to show", "水平时基：旋转改变，按下显示", ""},
    {"VK_P_H_P", ":KEY:PROMPT_H_POS", K::Click, "Horizontal", "Position", "位置",
     "Horizontal position: turn to move, press to show", "水平位置：旋转移动，按下显示", ""},
    {"VK_TimeMenu", ":KEY:MNUTIME", K::Release, "Horizontal", "Menu", "菜单", "Time base menu",
     "时基菜单", "H"},
    {"VK_Trig_Lvl_Dec", ":KEY:TRIG_LVL_DEC", K::Hold, "Trigger", "▼", "▼",
     "Trigger level down (hold)", "触发电平降低（按住）", "PgDown"},
    {"VK_Trig_Lvl_Inc", ":KEY:TRIG_LVL_INC", K::Hold, "Trigger", "▲", "▲",
     "Trigger level up (hold)", "触发电平升高（按住）", "PgUp"},
    {"VK_P_L", ":KEY:PROMPT_TRIG_LVL", K::Click, "Trigger", "Level", "电平",
     "Trigger level: turn to change, press to show", "触发电平：旋转改变，按下显示", ""},
    {"VK_Trig_Menu", ":KEY:MNUTRIG", K::Release, "Trigger", "Menu", "菜单", "Trigger menu",
     "触发菜单", "T"},
    {"VK_Acquire", ":KEY:ACQUIRE", K::Release, "Menu", "Acquire", "采样", "Acquire menu",
     "采样菜单", ""},
    {"VK_Display", ":KEY:DISPLAY", K::Release, "Menu", "Display", "显示", "Display menu",
     "显示菜单", "D"},
    {"VK_Cursor", ":KEY:CURSOR", K::Release, "Menu", "Cursor", "光标", "Cursor menu", "光标菜单",
     "C"},
    {"VK_Measure", ":KEY:MEASURE", K::Release, "Menu", "Measure", "测量", "Measure menu",
     "测量菜单", ""},
    {"VK_Storage", ":KEY:STORAGE", K::Release, "Menu", "Storage", "存储", "Storage menu",
     "存储菜单", "S"},
    {"VK_Utility", ":KEY:UTILITY", K::Release, "Menu", "Utility", "辅助", "Utility menu",
     "辅助功能菜单", "U"},
    {"VK_Menu_Off", ":KEY:MNUOFF", K::Release, "Menu", "Close", "关闭", "Close the menu",
     "关闭菜单", "X"},
    {"VK_F1", ":KEY:F1", K::Release, "Function", "F1", "F1", "Function key 1", "功能键1", "F1"},
    {"VK_F2", ":KEY:F2", K::Release, "Function", "F2", "F2", "Function key 2", "功能键2", "F2"},
    {"VK_F3", ":KEY:F3", K::Release, "Function", "F3", "F3", "Function key 3", "功能键3", "F3"},
    {"VK_F4", ":KEY:F4", K::Release, "Function", "F4", "F4", "Function key 4", "功能键4", "F4"},
    {"VK_F5", ":KEY:F5", K::Release, "Function", "F5", "F5", "Function key 5", "功能键5", "F5"},
    {"VK_F_DEC", ":KEY:-FUNCTION", K::Hold, "Function", "◀", "◀", "Function knob left (hold)",
     "功能旋钮左旋（按住）", ","},
    {"VK_F_F", ":KEY:FUNCTION", K::Click, "Function", "Select", "选择",
     "Function knob: turn to choose, press to select", "功能旋钮：旋转选择，按下确认", "Return"},
    {"VK_F_INC", ":KEY:+FUNCTION", K::Hold, "Function", "▶", "▶", "Function knob right (hold)",
     "功能旋钮右旋（按住）", "."},
};

// The knobs: the key pushed, and the keys turning it sends (down, up).
struct KnobKeys {
    const char* push;
    const char* down;
    const char* up;
};
const KnobKeys kKnobs[] = {
    {"VK_P_V_P", "VK_V_Pos_Dec", "VK_V_Pos_Inc"},     {"VK_P_V", "VK_V_Dec", "VK_V_Inc"},
    {"VK_P_H_P", "VK_H_Pos_Dec", "VK_H_Pos_Inc"},     {"VK_P_H", "VK_H_Dec", "VK_H_Inc"},
    {"VK_P_L", "VK_Trig_Lvl_Dec", "VK_Trig_Lvl_Inc"}, {"VK_F_F", "VK_F_DEC", "VK_F_INC"},
};

const char* groupTitle(const char* group, bool chinese) {
    const QString g = group;
    if (g == "Run") return chinese ? "运行控制" : "RUN CONTROL";
    if (g == "Vertical") return chinese ? "垂直" : "VERTICAL";
    if (g == "Horizontal") return chinese ? "水平" : "HORIZONTAL";
    if (g == "Trigger") return chinese ? "触发" : "TRIGGER";
    if (g == "Menu") return chinese ? "菜单" : "MENU";
    return chinese ? "功能" : "FUNCTION";
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

// ---- a knob ---------------------------------------------------------------------------

PanelKnob::PanelKnob(QWidget* parent) : QToolButton(parent) {
    setFixedSize(46, 46);
    setCursor(Qt::OpenHandCursor);
    setFocusPolicy(Qt::NoFocus);
}

QSize PanelKnob::sizeHint() const {
    return {46, 46};
}

void PanelKnob::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF r = QRectF(rect()).adjusted(3, 3, -3, -3);
    QRadialGradient body(r.center() - QPointF(6, 6), r.width() * 0.7);
    body.setColorAt(0, isDown() ? QColor(70, 74, 82) : QColor(110, 116, 128));
    body.setColorAt(1, QColor(34, 37, 42));
    p.setPen(QPen(QColor(15, 16, 18), 1.5));
    p.setBrush(body);
    p.drawEllipse(r);
    // Grip marks around the rim, and the pointer at the knob's turn.
    p.setPen(QPen(QColor(150, 156, 168), 1));
    for (int i = 0; i < 12; ++i) {
        p.save();
        p.translate(r.center());
        p.rotate(i * 30);
        p.drawLine(QPointF(0, -r.height() / 2 + 2), QPointF(0, -r.height() / 2 + 5));
        p.restore();
    }
    p.translate(r.center());
    p.rotate(angle_);
    p.setPen(QPen(QColor(250, 250, 250), 2.5, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(0, -r.height() / 2 + 6), QPointF(0, -r.height() / 6));
}

void PanelKnob::turn(int steps) {
    if (steps == 0) return;
    angle_ = std::fmod(angle_ + steps * 30.0, 360.0);
    update();
    emit turned(steps);
}

void PanelKnob::wheelEvent(QWheelEvent* event) {
    wheel_ += event->angleDelta().y() + event->angleDelta().x();
    const int steps = wheel_ / 120;
    wheel_ -= steps * 120;
    turn(steps);
    event->accept();
}

double PanelKnob::angleAt(QPointF at) const {
    const QPointF d = at - QRectF(rect()).center();
    return std::atan2(d.x(), -d.y()) * 180 / M_PI;
}

void PanelKnob::mousePressEvent(QMouseEvent* event) {
    dragged_ = false;
    dragAngle_ = angleAt(event->position());
    setCursor(Qt::ClosedHandCursor);
    QToolButton::mousePressEvent(event);
}

void PanelKnob::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & Qt::LeftButton)) return;
    double delta = angleAt(event->position()) - dragAngle_;
    if (delta > 180) delta -= 360;
    if (delta < -180) delta += 360;
    const int steps = static_cast<int>(delta / 30); // a detent every 30 degrees
    if (steps != 0) {
        dragged_ = true;
        dragAngle_ += steps * 30;
        turn(steps);
    }
}

void PanelKnob::mouseReleaseEvent(QMouseEvent* event) {
    setCursor(Qt::OpenHandCursor);
    if (dragged_) { // a turn, not a press
        setDown(false);
        dragged_ = false;
        return;
    }
    QToolButton::mouseReleaseEvent(event);
}

// ---- the panel ---------------------------------------------------------------------------

namespace {

QIcon lampIcon(const QColor& colour) {
    QPixmap pm(12, 12);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    QRadialGradient glow(4, 4, 8);
    glow.setColorAt(0, colour.lighter(170));
    glow.setColorAt(1, colour.darker(120));
    p.setPen(colour.darker(200));
    p.setBrush(glow);
    p.drawEllipse(QRectF(1, 1, 10, 10));
    return QIcon(pm);
}

const char* const kPanelStyle = R"(
#FrontPanel { background: #2b2f36; }
#FrontPanel QGroupBox { border: 1px solid #5a616d; border-radius: 6px; margin-top: 14px;
  padding: 6px 4px 4px 4px; color: #d8dce4; font-weight: bold; }
#FrontPanel QGroupBox::title { subcontrol-origin: margin; left: 10px; padding: 0 4px; }
#FrontPanel QToolButton { background: #424852; color: #f2f4f8; border: 1px solid #1c1f24;
  border-radius: 4px; padding: 3px 6px; min-height: 22px; }
#FrontPanel QToolButton[knobSide="true"] { padding: 3px 3px; }
#FrontPanel QToolButton:hover { background: #535b68; }
#FrontPanel QToolButton:pressed { background: #2a2e35; }
#FrontPanel QLabel { color: #c8cdd6; font-size: 11px; }
#FrontPanel QTabBar::tab { background: #353a42; color: #c8cdd6; border: 1px solid #1c1f24;
  border-bottom: none; border-top-left-radius: 4px; border-top-right-radius: 4px;
  padding: 4px 10px; margin-right: 2px; }
#FrontPanel QTabBar::tab:selected { background: #4c535e; color: #ffffff; }
)";

} // namespace

FrontPanel::FrontPanel(bool keyboardOnly, QWidget* parent)
    : QWidget(parent), keyboardOnly_(keyboardOnly), timer_(new QTimer(this)) {
    setObjectName("FrontPanel");
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(kPanelStyle);
    timer_->setObjectName("ButtonPressTimer");
    timer_->setInterval(platform::ScaledMs(200));
    connect(timer_, &QTimer::timeout, this, [this] {
        platform::RunHandler("ButtonPressTimer_Timer", [this] { repeater_.Tick(); });
    });
    for (const VirtualKey& k : kKeys)
        makeKey(k);
    buildSections();
    key("VK_La")->setVisible(true); // the digital channels are presented
    SetLamps(true, 0);
    captionRoutine_ = AddCaptionRoutine([this](int index) { applyCaptions(index); });
    applyCaptions(CaptionLanguage());
}

namespace {

// Where each section goes in either form, in kGroups' order: its cell in
// the columns (row, column, column span), the page holding it, and the
// direction of its keys in the columns and on a page.
struct SectionPlace {
    int row, column, span;
    int page;
    QBoxLayout::Direction inColumns, onPage;
};
const SectionPlace kPlaces[] = {
    {0, 0, 1, 0, QBoxLayout::LeftToRight, QBoxLayout::TopToBottom}, // Run
    {1, 0, 1, 1, QBoxLayout::TopToBottom, QBoxLayout::LeftToRight}, // Vertical
    {1, 1, 1, 2, QBoxLayout::TopToBottom, QBoxLayout::LeftToRight}, // Horizontal
    {1, 2, 1, 3, QBoxLayout::TopToBottom, QBoxLayout::LeftToRight}, // Trigger
    {0, 1, 2, 0, QBoxLayout::TopToBottom, QBoxLayout::TopToBottom}, // Menu
    {2, 0, 3, 4, QBoxLayout::LeftToRight, QBoxLayout::LeftToRight}, // Function
};
constexpr int kPages = 5;
const char* pageTitle(int page, bool chinese) {
    static const char* const english[kPages] = {"Run, Menu", "Vertical", "Horizontal", "Trigger",
                                                "Function"};
    static const char* const chineseTitles[kPages] = {"运行、菜单", "垂直", "水平", "触发", "功能"};
    return chinese ? chineseTitles[page] : english[page];
}

} // namespace

void FrontPanel::buildSections() {
    auto keysRow = [this](std::initializer_list<const char*> controls) {
        auto* row = new QHBoxLayout;
        row->setSpacing(3);
        for (const char* c : controls)
            row->addWidget(key(c));
        return row;
    };
    // Each section's keys in one box layout, whose direction the form turns.
    for (const char* group : kGroups) {
        auto* box = new QGroupBox;
        box->setObjectName(QString("grp") + group);
        auto* keys = new QBoxLayout(QBoxLayout::TopToBottom, box);
        keys->setContentsMargins(4, 2, 4, 2); // the box's padding is margin enough
        sections_.push_back(box);
        sectionRows_.push_back(keys);
        const QString g = group;
        if (g == "Run") {
            keys->addWidget(key("VK_Run"));
            keys->addWidget(key("VK_Auto"));
        } else if (g == "Vertical") {
            auto* channels = new QVBoxLayout;
            channels->addLayout(keysRow({"VK_CH1", "VK_CH2", "VK_Math"}));
            channels->addLayout(keysRow({"VK_La", "VK_Ref", "VK_CH_Off"}));
            keys->addLayout(channels);
            keys->addLayout(knobUnit(0));
            keys->addLayout(knobUnit(1));
        } else if (g == "Horizontal") {
            keys->addLayout(knobUnit(2));
            keys->addLayout(knobUnit(3));
            keys->addLayout(keysRow({"VK_TimeMenu"}));
            keys->addStretch(1);
        } else if (g == "Trigger") {
            keys->addLayout(knobUnit(4));
            auto* menuKeys = new QVBoxLayout;
            menuKeys->addLayout(keysRow({"VK_Trig_Menu"}));
            menuKeys->addLayout(keysRow({"VK_Trig_Force", "VK_Trig_50"}));
            keys->addLayout(menuKeys);
            keys->addStretch(1);
        } else if (g == "Menu") {
            keys->addLayout(keysRow({"VK_Acquire", "VK_Display", "VK_Cursor", "VK_Measure"}));
            keys->addLayout(keysRow({"VK_Storage", "VK_Utility", "VK_Menu_Off"}));
        } else {
            keys->addLayout(keysRow({"VK_F1", "VK_F2", "VK_F3", "VK_F4", "VK_F5"}));
            keys->addSpacing(12);
            keys->addLayout(knobUnit(5));
        }
    }
    columns_ = new QWidget;
    auto* grid = new QGridLayout(columns_);
    grid->setSpacing(6);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setRowStretch(3, 1);
    tabs_ = new QTabBar;
    tabs_->setObjectName("PanelPages");
    tabs_->setExpanding(false);
    tabs_->setDrawBase(false);
    tabs_->setFocusPolicy(Qt::NoFocus);
    pages_ = new QStackedWidget;
    for (int page = 0; page < kPages; ++page) {
        tabs_->addTab(QString());
        auto* holder = new QWidget;
        auto* row = new QHBoxLayout(holder);
        row->setContentsMargins(0, 0, 0, 0);
        row->setSpacing(6);
        row->addStretch(1); // a page's sections packed to its left
        pages_->addWidget(holder);
    }
    connect(tabs_, &QTabBar::currentChanged, pages_, &QStackedWidget::setCurrentIndex);
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(0);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addWidget(columns_);
    layout->addWidget(tabs_);
    layout->addWidget(pages_);
    layout->addStretch(1);
    form_ = PanelForm::Pages; // so that the first SetForm places the sections
    SetForm(PanelForm::Columns);
}

void FrontPanel::SetForm(PanelForm form) {
    if (form == form_) return;
    form_ = form;
    const bool columns = form == PanelForm::Columns;
    auto* grid = static_cast<QGridLayout*>(columns_->layout());
    for (size_t i = 0; i < sections_.size(); ++i) {
        const SectionPlace& place = kPlaces[i];
        sectionRows_[i]->setDirection(columns ? place.inColumns : place.onPage);
        if (columns)
            grid->addWidget(sections_[i], place.row, place.column, 1, place.span);
        else {
            auto* row = static_cast<QBoxLayout*>(pages_->widget(place.page)->layout());
            row->insertWidget(row->count() - 1, sections_[i], 0, Qt::AlignTop);
        }
    }
    columns_->setVisible(columns);
    tabs_->setVisible(!columns);
    pages_->setVisible(!columns);
    for (QLayout* l : findChildren<QLayout*>()) // the nested rows cache the old size
        l->invalidate();
    updateGeometry();
}

QSize FrontPanel::FormSize(PanelForm form) {
    QSize& size = formSize_[form == PanelForm::Columns ? 0 : 1];
    if (!size.isValid()) {
        const PanelForm was = form_;
        SetForm(form);
        size = layout()->sizeHint();
        SetForm(was);
    }
    return size;
}

QSize FrontPanel::minimumSizeHint() const {
    // The smallest form: a window too small for the columns turns to pages.
    const QSize pages = formSize_[1];
    return pages.isValid() ? pages : QWidget::minimumSizeHint();
}

void FrontPanel::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (!autoForm_) return;
    const QSize columns = FormSize(PanelForm::Columns);
    SetForm(width() >= columns.width() && height() >= columns.height() ? PanelForm::Columns
                                                                       : PanelForm::Pages);
}

void FrontPanel::ShowPageOf(const QString& control) {
    const VirtualKey* k = FindVirtualKey(control);
    if (!k) return;
    for (size_t i = 0; i < sections_.size(); ++i)
        if (QLatin1String(kGroups[i]) == QLatin1String(k->group))
            tabs_->setCurrentIndex(kPlaces[i].page);
}

QToolButton* FrontPanel::makeKey(const VirtualKey& k) {
    bool isKnob = false;
    for (const KnobKeys& knob : kKnobs)
        if (QLatin1String(knob.push) == QLatin1String(k.control)) isKnob = true;
    QToolButton* b = isKnob ? new PanelKnob(this) : new QToolButton(this);
    b->setObjectName(k.control);
    b->setText(QString::fromUtf8(k.label));
    b->setFocusPolicy(Qt::NoFocus); // Space is the run key, never a focused button's
    b->setAutoRaise(false);
    b->setCursor(isKnob ? Qt::OpenHandCursor : Qt::PointingHandCursor);
    b->setAttribute(Qt::WA_Hover); // the style lights a key under the pointer
    const QString command = k.command;
    switch (k.kind) {
    case KeyKind::Release:
        connect(b, &QToolButton::released, this,
                [command] { platform::RunHandler("VK_MouseUp", [&] { CmdSend(command); }); });
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
    if (auto* knob = qobject_cast<PanelKnob*>(b)) {
        for (const KnobKeys& keys : kKnobs) {
            if (QLatin1String(keys.push) != QLatin1String(k.control)) continue;
            const QString down = keys.down, up = keys.up;
            // A detent of the knob is one press of the key beside it.
            connect(knob, &PanelKnob::turned, this, [this, down, up](int steps) {
                platform::RunHandler("Knob_Turn", [&] {
                    for (int i = 0; i < std::abs(steps); ++i)
                        Step(steps > 0 ? up : down);
                });
            });
        }
    }
    if (*k.shortcut) {
        auto* shortcut = new QShortcut(QKeySequence(QString::fromLatin1(k.shortcut)), this);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        const QString control = k.control;
        connect(shortcut, &QShortcut::activated, this,
                [this, control] { platform::RunHandler("VK_Shortcut", [&] { Step(control); }); });
    }
    return b;
}

QLayout* FrontPanel::knobUnit(int index) {
    const KnobKeys& keys = kKnobs[index];
    auto* unit = new QVBoxLayout;
    unit->setSpacing(1);
    auto* caption = new QLabel;
    caption->setObjectName(QString("cap_") + keys.push);
    caption->setAlignment(Qt::AlignCenter);
    unit->addWidget(caption);
    auto* row = new QHBoxLayout;
    row->setSpacing(2);
    row->addStretch(1);
    for (const char* side : {keys.down, keys.up})
        key(side)->setProperty("knobSide", true); // narrow: an arrow or a sign
    row->addWidget(key(keys.down), 0, Qt::AlignVCenter);
    row->addWidget(key(keys.push));
    row->addWidget(key(keys.up), 0, Qt::AlignVCenter);
    row->addStretch(1);
    unit->addLayout(row);
    return unit;
}

void FrontPanel::Step(const QString& control) {
    const VirtualKey* k = FindVirtualKey(control);
    if (!k) return;
    CmdSend(StepCommand(*k));
}

QString StepCommand(const VirtualKey& key) {
    return key.kind == KeyKind::Hold ? QString(key.command) + " 0" : QString(key.command);
}

void PollPanelLamps(FrontPanel* panel) {
    if (!Connected) return;
    const QString status = CutAtLineFeed(CmdQuery(QueryCommand(cmd::TriggerStatus)));
    const QString active = CutAtLineFeed(CmdQuery(QueryCommand(cmd::Channel + cmd::Active)));
    if (status.isEmpty() && active.isEmpty()) return; // no answer: the lamps stay
    const int channel = active.endsWith('2') ? 2 : active.endsWith('1') ? 1 : 0;
    panel->SetLamps(status != QLatin1String("STOP"), channel);
}

void FrontPanel::SetLamps(bool running, int activeChannel) {
    static const QColor kRun(40, 200, 60), kStop(220, 50, 40), kOff(90, 94, 100);
    auto* run = qobject_cast<QToolButton*>(key("VK_Run"));
    run->setIcon(lampIcon(running ? kRun : kStop));
    run->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    const QColor channelColour[2] = {QColor(255, 230, 0), QColor(0, 230, 255)};
    for (int ch = 1; ch <= 2; ++ch) {
        auto* b = qobject_cast<QToolButton*>(key(ch == 1 ? "VK_CH1" : "VK_CH2"));
        b->setIcon(lampIcon(activeChannel == ch ? channelColour[ch - 1] : kOff));
        b->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    }
    running_ = running;
    activeChannel_ = activeChannel;
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
    for (int page = 0; page < kPages; ++page)
        tabs_->setTabText(page, QString::fromUtf8(pageTitle(page, zh)));
    formSize_[0] = formSize_[1] = QSize(); // the texts' widths changed
    for (const VirtualKey& k : kKeys) {
        QWidget* w = key(k.control);
        if (!w) continue;
        const QString face = QString::fromUtf8(zh ? k.labelChinese : k.label);
        if (auto* b = qobject_cast<QToolButton*>(w)) b->setText(face);
        if (auto* caption = findChild<QLabel*>(QString("cap_") + k.control)) caption->setText(face);
        QString tip = QString::fromUtf8(zh ? k.tipChinese : k.tipEnglish);
        if (*k.shortcut)
            tip +=
                "  [" +
                QKeySequence(QString::fromLatin1(k.shortcut)).toString(QKeySequence::NativeText) +
                "]";
        w->setToolTip(tip);
    }
}
