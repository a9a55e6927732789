// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/HoldRepeat.h"

#include "platform/Faults.h"
#include "platform/Pacing.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QTimer>

namespace platform {

HoldRepeat::HoldRepeat(QAbstractButton* button, int intervalMs, std::function<void()> onPress,
                       std::function<void()> onTick)
    : QObject(button), timer_(new QTimer(this)), intervalMs_(intervalMs) {
    connect(button, &QAbstractButton::pressed, this, [this, onPress] {
        RunHandler("button_MouseDown", onPress);
        // Only a mouse button holds: a key (Space) presses once.
        if (!(QGuiApplication::mouseButtons() & Qt::LeftButton)) return;
        timer_->start(ScaledMs(intervalMs_));
        QCoreApplication::instance()->installEventFilter(this);
    });
    // Whatever ends the press ends the repeat.
    connect(button, &QAbstractButton::released, this, [this] { stop(); });
    connect(timer_, &QTimer::timeout, this, [onTick] { RunHandler("Timer1_Timer", onTick); });
}

bool HoldRepeat::active() const {
    return timer_->isActive();
}

void HoldRepeat::stop() {
    timer_->stop();
    QCoreApplication::instance()->removeEventFilter(this);
}

bool HoldRepeat::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if ((type == QEvent::MouseButtonRelease &&
         static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) ||
        type == QEvent::KeyRelease || type == QEvent::FocusOut ||
        type == QEvent::ApplicationDeactivate)
        stop();
    return QObject::eventFilter(watched, event);
}

} // namespace platform
