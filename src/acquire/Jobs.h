// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Acquisition jobs: every bulk transfer runs as one job inside frmPrgress.
// A requester sets the kind and the target, clears JobDone, shows the
// dialog and waits (processing events) until the job is done.
#include <QString>
#include <functional>

extern int JobKind;        // 1, 2 measure; 3..5 table; 6 wave; 22 upload; 23 download
extern int JobTargetIndex; // the requesting window's slot
extern bool JobDone;
extern bool JobRunning;
extern int ProgressCreep;
extern double ProgressTarget;
extern int PercentShown;

constexpr int kJobUpload = 22;
constexpr int kJobDownload = 23;

// What a job kind does; kinds without a body end at once.
using JobBody = std::function<void()>;
void SetJobBody(int kind, JobBody body);
// Runs the body of JobKind (the dispatch of frmPrgress's Timer1).
void PerformJob();

// How the last job ended. A window puts the job's results in place only when
// it succeeded (the body ran to its end without a fault and the link is still
// up); otherwise it keeps what it showed. A job that ran but found something
// wrong (a short block, a reply it could not read) leaves a warning for the
// window to show.
bool JobSucceeded();
extern QString JobWarning;
void AddJobWarning(const QString& warning);

// The progress bar of the running job: the step is 100 / steps.
void SetProgressSteps(int steps);
void AdvanceProgress(); // one step, repainted, events processed
double ProgressValue();
double ProgressStep(); // what one AdvanceProgress adds
// The bar's creep around a blocking read (frmPrgress's Timer2): it adds
// ProgressCreep every millisecond tick, and the wave job's percentage follows.
void StartProgressCreep();
void StopProgressCreep();
void SetCreepView(std::function<void(bool running)> view);
// The requesting window's percentage label (the wave job's PercentShown).
void SetPercentView(std::function<void(int percent)> view);
void ShowPercent();
// The dialog registers how to show the bar.
void SetProgressView(std::function<void(double value)> view);

// A job without its window (the command line): the same start delay, the
// same head query and the same pause at its end, in the same order.
void RunJobWithoutWindow(int kind, int targetIndex = 0);

// The requester's part: caption, kind, show frmPrgress, wait for JobDone.
// Refused (false) while a job runs.
bool RunJob(int kind, const QString& caption, int targetIndex = 0);
