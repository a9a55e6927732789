// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The exchange of all settings: write-all (towards the instrument) and
// read-all (towards the program), each one sequence of commands.
#include <functional>

// The sequences themselves; progress(step) is called after each group.
void WriteAllSettings(const std::function<void()>& progress = {});
// Reads every setting into a copy of CtrlData that replaces it when the read
// ends with the link up. Three empty replies in a row are a lost link.
void ReadAllSettings(const std::function<void()>& progress = {});
bool LastReadAllComplete(); // the last read-all came in whole and was put in place
// The steps of each sequence for the progress bar: with and without LA.
int WriteAllSteps(bool modelHasLa);
int ReadAllSteps(bool modelHasLa);

// The two buttons of the controller window (also the pop-up's entries).
void UploadToDSO();
void DownloadfromDSO();
void cmdUpload_Click();
void cmdDownload_Click();
// Registers kinds 22 and 23 with the job dispatch.
void RegisterSettingsJobs();
