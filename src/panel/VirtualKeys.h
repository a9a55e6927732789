// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The front panel's keys: what each sends, how (on release, on click, or
// repeating while held), and the drawing of the panel that both key windows
// carry.
#include <QString>
#include <QToolButton>
#include <QWidget>
#include <functional>
#include <vector>

class QBoxLayout;
class QGroupBox;
class QLayout;
class QStackedWidget;
class QTabBar;
class QTimer;

enum class KeyKind { Release, Click, Hold };

struct VirtualKey {
    const char* control; // VK_...
    const char* command; // what goes out
    KeyKind kind;
    const char* group; // the panel section
    const char* label; // the key's face, English
    const char* labelChinese;
    const char* tipEnglish;
    const char* tipChinese;
    const char* shortcut; // a key of the PC keyboard ("" none), as QKeySequence reads it
};
const std::vector<VirtualKey>& VirtualKeys();
const VirtualKey* FindVirtualKey(const QString& control);
// What one press of a key sends: a held key's first step, without its repeat.
QString StepCommand(const VirtualKey& key);

class FrontPanel;
// The lamps read from the instrument: its run state and active channel.
void PollPanelLamps(FrontPanel* panel);

// The step a held knob sends after a number of 200 ms ticks.
int HoldStep(int repeatCount);

// A held knob: down sends the command with 0, each tick with the step of the
// count so far (capped at 60000), up stops.
class KeyRepeater {
public:
    QString RepeatKey;
    int RepeatCount = 0;
    void Down(const QString& command);
    void Tick();
};

// A rotary knob: the wheel or a drag turns it a detent at a time (turned),
// a press without a turn is its push (clicked, as a key's).
class PanelKnob : public QToolButton {
    Q_OBJECT
public:
    explicit PanelKnob(QWidget* parent = nullptr);
    QSize sizeHint() const override;
    void turn(int steps); // as the wheel does: steps > 0 clockwise

signals:
    void turned(int steps);

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    double angleAt(QPointF at) const;
    double angle_ = 0;
    double dragAngle_ = 0;
    int wheel_ = 0;
    bool dragged_ = false;
};

// How the front panel lays out its sections: all of them in the instrument's
// columns, or one page at a time (chosen by tabs), each section in a row, for
// a window too small for the columns.
enum class PanelForm { Columns, Pages };

// The drawn front panel: the keys and knobs in the instrument's sections,
// with hover feedback, lamps, keyboard shortcuts and tool tips in the
// caption language.
class FrontPanel : public QWidget {
    Q_OBJECT
public:
    // keyboardOnly: the window without the screen (its V_POS_INC also sends
    // on click).
    explicit FrontPanel(bool keyboardOnly, QWidget* parent = nullptr);
    ~FrontPanel() override;
    QWidget* key(const QString& control) const;
    // What a key does, callable from code (and tests): the sends of a click.
    void Press(const QString& control);
    // One press of a key, a held key's first send without its repeat: a
    // knob's detent and a keyboard shortcut.
    void Step(const QString& control);
    KeyRepeater& repeater() { return repeater_; }
    QTimer* ButtonPressTimer() const { return timer_; }
    void StopRepeat();
    // The lamps: Run/Stop green or red, the active channel's key lit.
    void SetLamps(bool running, int activeChannel);
    bool runLamp() const { return running_; }
    int channelLamp() const { return activeChannel_; }

    PanelForm form() const { return form_; }
    void SetForm(PanelForm form);
    // The size the panel asks for in a form (measured once per language).
    QSize FormSize(PanelForm form);
    // Whether the panel picks its form from its own size (the keys window);
    // the screen window picks it for the panel instead.
    void SetAutoForm(bool on) { autoForm_ = on; }
    QTabBar* pageTabs() const { return tabs_; }
    // Shows the page holding a key's section (in the pages form).
    void ShowPageOf(const QString& control);
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildSections();
    void applyCaptions(int index);
    QToolButton* makeKey(const VirtualKey& k);
    QLayout* knobUnit(int index); // caption, down key, knob, up key
    bool keyboardOnly_;
    KeyRepeater repeater_;
    QTimer* timer_;
    int captionRoutine_ = 0;
    bool running_ = true;
    int activeChannel_ = 0;
    PanelForm form_ = PanelForm::Columns;
    bool autoForm_ = false;
    QSize formSize_[2]; // Columns, Pages; empty until measured
    QWidget* columns_ = nullptr;
    QTabBar* tabs_ = nullptr;
    QStackedWidget* pages_ = nullptr;
    std::vector<QGroupBox*> sections_;     // in kGroups' order
    std::vector<QBoxLayout*> sectionRows_; // each section's keys, turned by the form
};
