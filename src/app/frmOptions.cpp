// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/frmOptions.h"

#include "link/LinkState.h"
#include "link/UsbFunc.h"
#include "platform/Faults.h"
#include "shared/ComPorts.h"
#include "shared/LoadLanguage.h"
#include "shared/SoftwareSetting.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace {
template <typename W> W* named(W* w, const char* key, QList<QWidget*>& list) {
    w->setObjectName(key);
    list << w;
    return w;
}
} // namespace

frmOptions::frmOptions(QWidget* parent) : QDialog(parent) {
    setObjectName("frmOptions");
    tbsOptions_ = new QTabWidget;
    tbsOptions_->setObjectName("tbsOptions");
    tbsOptions_->setUsesScrollButtons(false);

    // General
    auto* general = new QWidget;
    auto* io = named(new QGroupBox, "fraIO", captioned_);
    portUsb_ = named(new QRadioButton, "PortSelectOption0", captioned_);
    portRs232_ = named(new QRadioButton, "PortSelectOption2", captioned_);
    auto* ioLayout = new QHBoxLayout(io);
    ioLayout->addWidget(portUsb_);
    ioLayout->addWidget(portRs232_);
    auto* startup = named(new QGroupBox, "fraStartup", captioned_);
    ctrlStartLoad_ = named(new QCheckBox, "CtrlStartLoadChk", captioned_);
    sheetStartLoad_ = named(new QCheckBox, "SheetStartLoadChk", captioned_);
    hardwareCheck_ = named(new QCheckBox, "HardwareCheck", captioned_);
    auto* startupLayout = new QVBoxLayout(startup);
    startupLayout->addWidget(ctrlStartLoad_);
    startupLayout->addWidget(sheetStartLoad_);
    startupLayout->addWidget(hardwareCheck_);
    auto* curTitle = named(new QLabel, "labCurDeviceTitle", captioned_);
    labCurDevice_ = new QLabel;
    labCurDevice_->setObjectName("labCurDevice");
    auto* curRow = new QHBoxLayout;
    curRow->addWidget(curTitle);
    curRow->addWidget(labCurDevice_, 1);
    auto* generalLayout = new QVBoxLayout(general);
    generalLayout->addWidget(io);
    generalLayout->addWidget(startup);
    generalLayout->addLayout(curRow);
    generalLayout->addStretch();

    // Refresh
    auto* refresh = new QWidget;
    refreshSingle_ = named(new QRadioButton, "OptRefreshType0", captioned_);
    refreshAuto_ = named(new QRadioButton, "OptRefreshType1", captioned_);
    auto* time = named(new QGroupBox, "fraTime", captioned_);
    intervalCombo_ = new QComboBox;
    intervalCombo_->setObjectName("IntervalCombo");
    intervalCombo_->setEditable(true);
    intervalCombo_->addItems(kRefreshIntervals);
    auto* timeLayout = new QFormLayout(time);
    auto* intervalRow = new QHBoxLayout;
    intervalRow->addWidget(intervalCombo_);
    intervalRow->addWidget(named(new QLabel, "labSeconds", captioned_));
    timeLayout->addRow(named(new QLabel, "labInterval", captioned_), intervalRow);
    auto* refreshLayout = new QVBoxLayout(refresh);
    refreshLayout->addWidget(refreshSingle_);
    refreshLayout->addWidget(refreshAuto_);
    refreshLayout->addWidget(time);
    refreshLayout->addStretch();
    connect(refreshSingle_, &QRadioButton::toggled, this,
            [this] { intervalCombo_->setEnabled(refreshAuto_->isChecked()); });

    // Communication Setting
    auto* comm = new QWidget;
    auto* rs232 = named(new QGroupBox, "fraRS232", captioned_);
    portCombo_ = new QComboBox;
    portCombo_->setObjectName("PortCombo");
    for (int i = 1; i <= kComPortCount; ++i) {
        const QString device = ComPortDevice(i);
        portCombo_->addItem(device.isEmpty() ? QString("COM%1").arg(i)
                                             : QString("COM%1  (%2)").arg(i).arg(device));
    }
    portDevice_ = new QLineEdit;
    portDevice_->setObjectName("PortDevice");
    portDevice_->setPlaceholderText("/dev/ttyUSB0");
    baudCombo_ = new QComboBox;
    baudCombo_->setObjectName("BaudCombo");
    baudCombo_->addItems(kBaudRates);
    auto* rsLayout = new QFormLayout(rs232);
    rsLayout->addRow(named(new QLabel, "labPort", captioned_), portCombo_);
    rsLayout->addRow(named(new QLabel, "labPortDevice", captioned_), portDevice_);
    rsLayout->addRow(named(new QLabel, "labBaud", captioned_), baudCombo_);
    auto* usb = named(new QGroupBox, "fraUSB", captioned_);
    deviceCombo_ = new QComboBox;
    deviceCombo_->setObjectName("DeviceCombo");
    auto* usbLayout = new QFormLayout(usb);
    usbLayout->addRow(named(new QLabel, "labDevice", captioned_), deviceCombo_);
    auto* gpib = named(new QGroupBox, "fraGPIB", captioned_);
    gpibCombo_ = new QComboBox;
    gpibCombo_->setObjectName("GPIB_AddrCombo");
    for (int i = 0; i < kGpibAddressCount; ++i)
        gpibCombo_->addItem(QString::number(i));
    auto* gpibLayout = new QFormLayout(gpib);
    gpibLayout->addRow(named(new QLabel, "labAddress", captioned_), gpibCombo_);
    auto* commLayout = new QVBoxLayout(comm);
    commLayout->addWidget(rs232);
    commLayout->addWidget(usb);
    commLayout->addWidget(gpib);
    commLayout->addStretch();
    connect(portCombo_, &QComboBox::currentIndexChanged, this, &frmOptions::portChanged);

    tbsOptions_->addTab(general, QString());
    tbsOptions_->addTab(refresh, QString());
    tbsOptions_->addTab(comm, QString());

    auto* buttons = new QDialogButtonBox;
    auto* ok = named(buttons->addButton(QDialogButtonBox::Ok), "cmdOK", captioned_);
    auto* cancel = named(buttons->addButton(QDialogButtonBox::Cancel), "cmdCancel", captioned_);
    connect(ok, &QPushButton::clicked, this,
            [this] { platform::RunHandler("cmdOK_Click", [this] { cmdOK_Click(); }); });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tbsOptions_);
    layout->addWidget(buttons);

    applyCaptions();
    usbResources_ = SearchUsbResources();
    // Loading the dialog picks a device to show; Cancel puts the link's
    // choice back, so a connect after Cancel finds what it found before.
    chosenIndexBefore_ = VisaRsrcIndex;
    chosenNameBefore_ = VisaRsrcName;
    showState(OpenOptions(usbResources_));
}

void frmOptions::reject() {
    VisaRsrcIndex = chosenIndexBefore_;
    VisaRsrcName = chosenNameBefore_;
    QDialog::reject();
}

void frmOptions::applyCaptions() {
    setWindowTitle(FormText("frmOptions", "Caption"));
    tbsOptions_->setTabText(0, FormText("frmOptions", "tabGeneral"));
    tbsOptions_->setTabText(1, FormText("frmOptions", "tabRefresh"));
    tbsOptions_->setTabText(2, FormText("frmOptions", "tabCommunication"));
    for (QWidget* w : captioned_) {
        const QString text = FormText("frmOptions", w->objectName().toUtf8().constData());
        if (auto* box = qobject_cast<QGroupBox*>(w))
            box->setTitle(text);
        else if (auto* label = qobject_cast<QLabel*>(w))
            label->setText(text);
        else if (auto* button = qobject_cast<QAbstractButton*>(w))
            button->setText(text);
    }
}

void frmOptions::showState(const OptionsState& st) {
    portUsb_->setChecked(st.ioType != kIoTypeRs232);
    portRs232_->setChecked(st.ioType == kIoTypeRs232);
    ctrlStartLoad_->setChecked(st.ctrlStartLoad);
    sheetStartLoad_->setChecked(st.sheetStartLoad);
    hardwareCheck_->setChecked(st.hardwareCheck);
    portCombo_->setCurrentIndex(st.portIndex);
    portDevice_->setText(st.portDevice);
    // A stored rate that is not in the list (an edited file, an instrument set
    // to another rate) is shown and kept, not replaced by the first entry.
    int baud = baudCombo_->findText(st.baudText);
    if (baud < 0 && !st.baudText.trimmed().isEmpty()) {
        baudCombo_->addItem(st.baudText.trimmed());
        baud = baudCombo_->count() - 1;
    }
    if (baud >= 0) baudCombo_->setCurrentIndex(baud);
    deviceCombo_->clear();
    deviceCombo_->addItems(st.deviceItems);
    deviceCombo_->setCurrentIndex(st.deviceIndex);
    labCurDevice_->setText(VisaRsrcName.isEmpty() ? st.deviceItems.value(st.deviceIndex)
                                                  : VisaRsrcName);
    if (st.gpibIndex >= 0 && st.gpibIndex < kGpibAddressCount) {
        gpibCombo_->setCurrentIndex(st.gpibIndex);
    } else {
        gpibCombo_->addItem(QString::number(st.gpibIndex), st.gpibIndex); // kept as it was
        gpibCombo_->setCurrentIndex(gpibCombo_->count() - 1);
    }
    refreshAuto_->setChecked(st.refreshTypeIndex == 1);
    refreshSingle_->setChecked(st.refreshTypeIndex != 1);
    intervalCombo_->setEnabled(st.intervalEnabled());
    intervalCombo_->setEditText(st.intervalText);
}

void frmOptions::portChanged(int index) {
    portDevice_->setText(ComPortDevice(index + 1));
}

OptionsState frmOptions::state() const {
    OptionsState st;
    st.ioType = portRs232_->isChecked() ? kIoTypeRs232 : kIoTypeUsb;
    st.ctrlStartLoad = ctrlStartLoad_->isChecked();
    st.sheetStartLoad = sheetStartLoad_->isChecked();
    st.hardwareCheck = hardwareCheck_->isChecked();
    st.portIndex = portCombo_->currentIndex();
    st.portDevice = portDevice_->text();
    st.baudText = baudCombo_->currentText();
    for (int i = 0; i < deviceCombo_->count(); ++i)
        st.deviceItems << deviceCombo_->itemText(i);
    st.deviceIndex = deviceCombo_->currentIndex();
    st.gpibIndex = gpibCombo_->currentIndex() < kGpibAddressCount
                       ? gpibCombo_->currentIndex()
                       : gpibCombo_->currentData().toInt();
    st.refreshTypeIndex = refreshAuto_->isChecked() ? 1 : 0;
    st.intervalText = intervalCombo_->currentText();
    return st;
}

void frmOptions::cmdOK_Click() {
    AcceptOptions(state(), usbResources_);
    accept();
}

void frmOptions::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Tab && event->modifiers() == Qt::ControlModifier) {
        tbsOptions_->setCurrentIndex(NextTabIndex(tbsOptions_->currentIndex(), 3, false));
        return;
    }
    if (event->key() == Qt::Key_Backtab &&
        event->modifiers() == (Qt::ControlModifier | Qt::ShiftModifier)) {
        tbsOptions_->setCurrentIndex(NextTabIndex(tbsOptions_->currentIndex(), 3, true));
        return;
    }
    QDialog::keyPressEvent(event);
}
