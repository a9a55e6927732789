// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// A decode on a worker thread: the window that starts it keeps painting and
// answering, hears the progress and the result on its own thread, and can
// stop it. Destroying the task stops the run and waits for the thread.
#include "decode/Decode.h"

#include <QObject>
#include <atomic>
#include <memory>
#include <thread>

namespace decode {

class DecodeTask : public QObject {
    Q_OBJECT
public:
    explicit DecodeTask(QObject* parent = nullptr);
    ~DecodeTask() override;
    // Starts a run; a run still going is stopped first.
    void start(const DecodeSetup& setup, DecodeInput input);
    void cancel();
    bool running() const { return running_; }

signals:
    void progress(int percent);
    void finished(const decode::DecodeResult& result);

private:
    void join();
    std::thread thread_;
    std::shared_ptr<std::atomic<bool>> stop_;
    bool running_ = false;
};

} // namespace decode
