// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The job window: a progress bar that starts the job 100 ms after it shows,
// remembers its place, and cannot be closed while the job runs.
#include <QList>
#include <QRect>
#include <QWidget>
#include <optional>

class QProgressBar;
class QTimer;

class frmPrgress : public QWidget {
    Q_OBJECT
public:
    explicit frmPrgress(const QString& caption, QWidget* parent = nullptr);
    QProgressBar* bar() const { return ProgressBar1_; }

    // The place the window loads at: the stored one, corrected when it lies off the frame.
    // Where the window comes up: the remembered place when one is wholly on a
    // screen, else centred on the frame.
    static QPoint PlaceFor(std::optional<QPoint> stored, QRect frame, QSize dialog,
                           const QList<QRect>& screens);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void Timer1_Timer();
    void Timer2_Timer();
    QProgressBar* ProgressBar1_;
    QTimer* Timer1_;
    QTimer* Timer2_;
    QPoint stored_; // the place read at load
};
