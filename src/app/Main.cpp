#include "app/AppIdentity.h"
#include "app/LoadLanguage.h"
#include "app/frmAbout.h"
#include "app/frmMain.h"

#include <QApplication>

int Main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(kAppTitle);
    QApplication::setApplicationVersion(kVersionText);

    LoadLanguageSetting(); // first, so the splash speaks the chosen language
    ApplyLanguage(LanguageIndex);
    auto* splash = new frmSplash;
    splash->show();
    splash->repaint();
    QApplication::processEvents();

    fMainForm = new frmMain;
    fMainForm->setAttribute(Qt::WA_DeleteOnClose);
    fMainForm->Load();
    splash->close();
    delete splash;
    fMainForm->show();
    return QApplication::exec();
}
