// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/frmAbout.h"

#include "platform/Desktop.h"
#include "platform/Faults.h"
#include "platform/MsgBox.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

namespace {
// Desktop tools that show the machine's hardware and system, best first.
const QStringList kSystemInfoTools = {
    "hardinfo2",        "hardinfo", "kinfocenter", "gnome-system-monitor", "plasma-systemmonitor",
    "xfce4-taskmanager"};

QLabel* titleLabel(const QString& text, int pointSize) {
    auto* label = new QLabel(text);
    QFont f = label->font();
    f.setPointSize(pointSize);
    f.setBold(true);
    label->setFont(f);
    return label;
}
} // namespace

bool StartSystemInfo() {
    const QString tool = platform::FindProgram(kSystemInfoTools);
    if (!tool.isEmpty() && platform::StartDetached(tool).isEmpty()) return true;
    platform::MsgBox(MsgSysInfoUnavailable, platform::MsgButtons::Ok,
                     platform::MsgIcon::Exclamation, FormText("frmAbout", "Caption"));
    return false;
}

frmAbout::frmAbout(QWidget* parent) : QDialog(parent) {
    setObjectName("frmAbout");
    setWindowTitle(FormText("frmAbout", "Caption"));
    labVersion_ = new QLabel(FormText("frmAbout", "labVersion") + kVersionText);
    labVersion_->setObjectName("labVersion");
    auto* ok = new QPushButton(FormText("frmAbout", "cmdOK"));
    ok->setObjectName("cmdOK");
    ok->setDefault(true);
    auto* sysInfo = new QPushButton(FormText("frmAbout", "cmdSysInfo"));
    sysInfo->setObjectName("cmdSysInfo");
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(sysInfo, &QPushButton::clicked, this,
            [] { platform::RunHandler("cmdSysInfo_Click", [] { StartSystemInfo(); }); });

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(sysInfo);
    buttons->addWidget(ok);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(titleLabel(kAppTitle, 16));
    layout->addWidget(new QLabel(ProductName.isEmpty() ? QString("NQ4000L") : ProductName));
    layout->addWidget(labVersion_);
    layout->addWidget(new QLabel(MakerName));
    layout->addSpacing(12);
    layout->addLayout(buttons);
}

frmSplash::frmSplash() : QWidget(nullptr, Qt::SplashScreen | Qt::FramelessWindowHint) {
    setObjectName("frmSplash");
    labVersion_ = new QLabel(FormText("frmSplash", "labVersion") + kVersionText);
    labVersion_->setObjectName("labVersion");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(32, 24, 32, 24);
    layout->addWidget(titleLabel(kAppTitle, 22));
    layout->addWidget(new QLabel("NQ4000L"));
    layout->addWidget(labVersion_);
    layout->addWidget(new QLabel("Vexor Technologies,Inc."));
    setStyleSheet("frmSplash { background: #1d2b3a; } QLabel { color: #e8eef5; }");
    adjustSize();
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        move(screen->geometry().center() - rect().center());
}
