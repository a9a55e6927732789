// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/frmAbout.h"
#include "app/frmMain.h"
#include "platform/EndSignals.h"
#include "platform/MainWindow.h"
#include "shared/AppIdentity.h"
#include "shared/Icons.h"
#include "shared/LoadLanguage.h"

#include <QApplication>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace {

const char* const kUsage =
    "Usage: korvane [OPTION]... [FILE]...\n"
    "The desktop companion of the NQ4000L oscilloscopes.\n"
    "\n"
    "FILE is opened at start: a data sheet (.ult), a control file (.rmt),\n"
    "a frame record (.rcd) or a deep-memory waveform (.wfm).\n"
    "\n"
    "  -h, --help       show this help and exit\n"
    "  -V, --version    show the version and exit\n"
    "\n"
    "Scripts use korvane-cli(1); the simulated instrument is nq4000l-sim(1).\n";

// --help and --version answer before any window or display is needed.
bool answeredWithoutWindow(int argc, char** argv, int* status) {
    for (int i = 1; i < argc; ++i) {
        const char* a = argv[i];
        if (!std::strcmp(a, "--help") || !std::strcmp(a, "-h")) {
            std::fputs(kUsage, stdout);
            *status = 0;
            return true;
        }
        if (!std::strcmp(a, "--version") || !std::strcmp(a, "-V")) {
            std::printf("korvane %s\n", qPrintable(kPackageVersion));
            *status = 0;
            return true;
        }
        if (a[0] == '-' && a[1] != '\0') {
            std::fprintf(stderr, "korvane: unknown option %s (see korvane --help)\n", a);
            *status = 2;
            return true;
        }
    }
    return false;
}

} // namespace

void StartFrame() {
    LoadLanguageSetting(); // first, so the splash speaks the chosen language
    ApplyLanguage(LanguageIndex);
    auto* splash = new frmSplash;
    splash->show();
    splash->repaint();
    QApplication::processEvents();

    fMainForm = new frmMain;
    platform::SetMainWindow(fMainForm);
    fMainForm->Load();
    splash->close();
    delete splash;
    fMainForm->show();
}

int Main(int argc, char** argv) {
    int status = 0;
    if (answeredWithoutWindow(argc, argv, &status)) return status;
    QApplication app(argc, argv);
    QApplication::setApplicationName(kAppTitle);
    QApplication::setApplicationVersion(kVersionText);
    QApplication::setWindowIcon(OwnIcon("korvane"));
    QGuiApplication::setDesktopFileName("korvane");

    StartFrame();
    fMainForm->setAttribute(Qt::WA_DeleteOnClose);
    // Asked to end by a signal: the same end as File > Exit, without questions
    // (no one may be there to answer them): settings saved, keys unlocked,
    // link closed.
    QStringList files;
    for (int i = 1; i < argc; ++i)
        files << QString::fromLocal8Bit(argv[i]);
    fMainForm->OpenAtStart(files);
    int endSignal = 0;
    platform::InstallEndSignals([&endSignal](int signal) {
        endSignal = signal;
        if (fMainForm) fMainForm->EndWithoutQuestions();
        QApplication::exit(128 + signal);
    });
    const int result = QApplication::exec();
    platform::RemoveEndSignals();
    return endSignal ? 128 + endSignal : result;
}
