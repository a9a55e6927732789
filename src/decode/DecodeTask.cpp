// SPDX-License-Identifier: GPL-3.0-or-later
#include "decode/DecodeTask.h"

#include <QMetaObject>

namespace decode {

DecodeTask::DecodeTask(QObject* parent) : QObject(parent) {
    qRegisterMetaType<decode::DecodeResult>("decode::DecodeResult");
}

DecodeTask::~DecodeTask() {
    cancel();
    join();
}

void DecodeTask::join() {
    if (thread_.joinable()) thread_.join();
}

void DecodeTask::cancel() {
    if (stop_) *stop_ = true;
}

void DecodeTask::start(const DecodeSetup& setup, DecodeInput input) {
    cancel();
    join();
    stop_ = std::make_shared<std::atomic<bool>>(false);
    running_ = true;
    auto stop = stop_;
    // The task outlives its thread (its end joins it), and Qt drops a queued
    // call whose context object is gone, so `this` is safe as the context.
    thread_ = std::thread([this, stop, setup, input = std::move(input)] {
        int last = -1;
        DecodeResult result = RunDecode(setup, input, [&](int percent) {
            if (percent != last)
                QMetaObject::invokeMethod(
                    this,
                    [this, stop, percent] {
                        if (stop_ == stop) emit progress(percent);
                    },
                    Qt::QueuedConnection);
            last = percent;
            return !stop->load();
        });
        if (stop->load()) result.cancelled = true;
        // Delivered on the task's own thread; a run replaced by a newer one is dropped.
        QMetaObject::invokeMethod(
            this,
            [this, stop, result = std::move(result)] {
                if (stop_ != stop) return;
                running_ = false;
                emit finished(result);
            },
            Qt::QueuedConnection);
    });
}

} // namespace decode
