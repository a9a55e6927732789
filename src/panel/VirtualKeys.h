#pragma once
// The front panel's keys: what each sends, how (on release, on click, or
// repeating while held), and the drawing of the panel that both key windows
// carry.
#include <QString>
#include <QWidget>
#include <functional>
#include <vector>

class QTimer;

enum class KeyKind { Release, Click, Hold };

struct VirtualKey {
    const char* control; // VK_...
    const char* command; // what goes out
    KeyKind kind;
    const char* group; // the panel section
    const char* label; // the key's face
    const char* tipEnglish;
    const char* tipChinese;
};
const std::vector<VirtualKey>& VirtualKeys();
const VirtualKey* FindVirtualKey(const QString& control);

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

// The drawn front panel: the keys grouped as on the instrument, with hover
// feedback and tool tips in the caption language.
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
    KeyRepeater& repeater() { return repeater_; }
    QTimer* ButtonPressTimer() const { return timer_; }
    void StopRepeat();

private:
    void applyCaptions(int index);
    bool keyboardOnly_;
    KeyRepeater repeater_;
    QTimer* timer_;
    int captionRoutine_ = 0;
};
