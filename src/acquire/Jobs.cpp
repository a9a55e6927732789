// SPDX-License-Identifier: GPL-3.0-or-later
#include "acquire/Jobs.h"

#include "acquire/frmPrgress.h"
#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "platform/Faults.h"
#include "platform/Pacing.h"

#include <QThread>
#include <algorithm>
#include <map>

int JobKind = 0;
int JobTargetIndex = 0;
bool JobDone = true;
bool JobRunning = false;
int ProgressCreep = 1;
double ProgressTarget = 0;
int PercentShown = 0;
QString JobWarning;

namespace {
std::map<int, JobBody>& bodies() {
    static std::map<int, JobBody> b;
    return b;
}
double g_step = 0;
double g_value = 0;
std::function<void(double)> g_view;
std::function<void(bool)> g_creepView;
std::function<void(int)> g_percentView;
} // namespace

void SetJobBody(int kind, JobBody body) {
    bodies()[kind] = std::move(body);
}

namespace {
bool g_jobFaulted = false;
}

void PerformJob() {
    g_jobFaulted = false;
    JobWarning.clear();
    const auto it = bodies().find(JobKind);
    if (it != bodies().end() && it->second) g_jobFaulted = !platform::RunHandler("job", it->second);
}

bool JobSucceeded() {
    return !g_jobFaulted && Connected;
}

void AddJobWarning(const QString& warning) {
    if (JobWarning.contains(warning)) return;
    if (!JobWarning.isEmpty()) JobWarning += QLatin1Char(' ');
    JobWarning += warning;
}

void SetProgressSteps(int steps) {
    g_step = steps > 0 ? 100.0 / steps : 0;
    g_value = 0;
    if (g_view) g_view(0);
}

void AdvanceProgress() {
    g_value = std::min(100.0, g_value + g_step);
    if (g_view) g_view(g_value);
    platform::DoEvents();
}

double ProgressValue() {
    return g_value;
}

double ProgressStep() {
    return g_step;
}

void StartProgressCreep() {
    if (g_creepView) g_creepView(true);
}

void StopProgressCreep() {
    if (g_creepView) g_creepView(false);
}

void SetCreepView(std::function<void(bool)> view) {
    g_creepView = std::move(view);
}

void SetPercentView(std::function<void(int)> view) {
    g_percentView = std::move(view);
}

void ShowPercent() {
    if (g_percentView) g_percentView(PercentShown);
}

void SetProgressView(std::function<void(double)> view) {
    g_view = std::move(view);
}

void RunJobWithoutWindow(int kind, int targetIndex) {
    JobKind = kind;
    JobTargetIndex = targetIndex;
    JobDone = false;
    JobRunning = true;
    platform::Sleep(100); // the window's first timer
    (void)CutAtLineFeed(CmdQuery(QueryCommand(cmd::TriggerStatus)));
    PerformJob();
    platform::Sleep(200);
    JobDone = true;
    JobRunning = false;
}

bool RunJob(int kind, const QString& caption, int targetIndex) {
    if (JobRunning) return false;
    JobKind = kind;
    JobTargetIndex = targetIndex;
    JobDone = false;
    auto* dialog = new frmPrgress(caption);
    dialog->show();
    while (!JobDone) {
        platform::DoEvents();
        if (!JobDone) QThread::usleep(500);
    }
    return true;
}
