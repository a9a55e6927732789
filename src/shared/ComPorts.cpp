// SPDX-License-Identifier: GPL-3.0-or-later
#include "shared/ComPorts.h"

#include "platform/Settings.h"
#include "platform/Visa.h"
#include "shared/AppIdentity.h"
#include "shared/SoftwareSetting.h"

#include <QCollator>
#include <QSerialPortInfo>
#include <algorithm>
#include <array>

namespace {
const QString kSection = "Serial Ports_NQ4000L";
std::array<QString, kComPortCount + 1> g_overrides; // index 1..16

bool validPort(int comPort) {
    return comPort >= 1 && comPort <= kComPortCount;
}
} // namespace

QStringList SystemSerialDevices() {
    QStringList devices;
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts())
        devices << info.systemLocation();
    QCollator natural;
    natural.setNumericMode(true);
    std::sort(devices.begin(), devices.end(),
              [&natural](const QString& a, const QString& b) { return natural.compare(a, b) < 0; });
    return devices;
}

QString ComPortOverride(int comPort) {
    return validPort(comPort) ? g_overrides[comPort] : QString();
}

void SetComPortOverride(int comPort, const QString& path) {
    if (validPort(comPort)) g_overrides[comPort] = path.trimmed();
}

QString ComPortDevice(int comPort) {
    if (!validPort(comPort)) return QString();
    if (!g_overrides[comPort].isEmpty()) return g_overrides[comPort];
    const QStringList system = SystemSerialDevices();
    return comPort <= system.size() ? system[comPort - 1] : QString();
}

void LoadComPortMap() {
    for (int i = 1; i <= kComPortCount; ++i)
        g_overrides[i] = platform::GetSetting(kAppTitle, kSection, "COM" + QString::number(i));
}

void SaveComPortMap() {
    for (int i = 1; i <= kComPortCount; ++i)
        platform::SaveSetting(kAppTitle, kSection, "COM" + QString::number(i), g_overrides[i]);
}

void OfferComPortsToVisa() {
    platform::SetAsrlPortProvider([] {
        QList<QPair<int, QString>> ports;
        for (int i = 1; i <= kComPortCount; ++i)
            if (!g_overrides[i].isEmpty()) ports.append({i, g_overrides[i]});
        return ports;
    });
}
