// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Hold-to-repeat for a button: an action when it goes down, then a tick at
// a fixed interval (under the pacing scale) until the mouse button comes up,
// wherever the pointer is by then.
#include <QObject>
#include <functional>

class QAbstractButton;
class QTimer;

namespace platform {

class HoldRepeat : public QObject {
    Q_OBJECT
public:
    HoldRepeat(QAbstractButton* button, int intervalMs, std::function<void()> onPress,
               std::function<void()> onTick);
    bool active() const;
    QTimer* timer() const { return timer_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void stop();
    QTimer* timer_;
    int intervalMs_;
};

} // namespace platform
