#include "app/frmAbout.h"
#include "app/frmMain.h"
#include "platform/EndSignals.h"
#include "platform/MainWindow.h"
#include "shared/AppIdentity.h"
#include "shared/Icons.h"
#include "shared/LoadLanguage.h"

#include <QApplication>

int Main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(kAppTitle);
    QApplication::setApplicationVersion(kVersionText);
    QApplication::setWindowIcon(OwnIcon("korvane"));
    QGuiApplication::setDesktopFileName("korvane");

    LoadLanguageSetting(); // first, so the splash speaks the chosen language
    ApplyLanguage(LanguageIndex);
    auto* splash = new frmSplash;
    splash->show();
    splash->repaint();
    QApplication::processEvents();

    fMainForm = new frmMain;
    platform::SetMainWindow(fMainForm);
    fMainForm->setAttribute(Qt::WA_DeleteOnClose);
    fMainForm->Load();
    splash->close();
    delete splash;
    fMainForm->show();
    // Asked to end by a signal: the same end as File > Exit, without questions
    // (no one may be there to answer them): settings saved, keys unlocked,
    // link closed.
    platform::InstallEndSignals([](int) {
        if (fMainForm) fMainForm->EndWithoutQuestions();
        QApplication::quit();
    });
    const int result = QApplication::exec();
    platform::RemoveEndSignals();
    return result;
}
