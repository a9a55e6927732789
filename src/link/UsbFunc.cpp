// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/UsbFunc.h"

#include "link/DlgResource.h"
#include "link/LinkState.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "shared/Picture.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"

#include <cstring>
#include <vector>

ViSession VisaRM = 0;
ViSession VisaInstr = 0;
platform::FixedArray<QString, 0, 64> VisaRsrcList;
int VisaBusType = 5;
platform::FixedArray<int, 0, 8192> BinaryData;
std::array<unsigned char, 116> SystemDataBlock{};

namespace {
bool mayTalk() {
    return Connected || Connecting;
}

void cantRead() {
    platform::MsgBox(MsgCantRead, platform::MsgButtons::Ok, platform::MsgIcon::None, QString());
    ResetLinkState();
}

void cantConnect() {
    platform::MsgBox(MsgCantConnect, platform::MsgButtons::Ok, platform::MsgIcon::None,
                     MsgDeviceInit);
}
} // namespace

void OpenVisaRM() {
    viOpenDefaultRM(&VisaRM);
}
void CloseVisaRM() {
    viClose(VisaRM);
}

bool VisaStatusFailed(ViStatus status) {
    return status != VI_SUCCESS && status != VI_SUCCESS_MAX_CNT;
}

void SetVisaBusType(const QString& name) {
    if (name.startsWith("USB"))
        VisaBusType = 1;
    else if (name.startsWith("ASRL"))
        VisaBusType = 0;
    else
        VisaBusType = 5;
}

void FindVisaDevice() {
    ViFindList list = 0;
    ViUInt32 count = 0;
    char name[VI_FIND_BUFLEN] = {};
    viFindRsrc(VisaRM, "(USB0|ASRL)?*INSTR", &list, &count, name);
    VisaRsrcList[0] = QString::fromLatin1(name);
    int j = 1;
    for (ViUInt32 i = 1; i <= count; ++i)
        if (viFindNext(list, name) == VI_SUCCESS) VisaRsrcList[j++] = QString::fromLatin1(name);
    viClose(list);

    if (count > 1) {
        QStringList names;
        for (int k = 0; k < j; ++k)
            names << VisaRsrcList[k];
        const std::optional<QString> chosen = ChooseResource(names);
        if (!chosen) {
            LinkOpen = false;
            return;
        }
        VisaRsrcName = *chosen;
    } else if (count == 1) {
        LinkOpen = true;
        // The device chosen in Options stays chosen, even when it has gone.
        if (VisaRsrcIndex == 0) {
            VisaRsrcIndex = 1;
            VisaRsrcName = VisaRsrcList[0];
        }
    } else {
        cantConnect();
        LinkOpen = false;
        return;
    }
    SetVisaBusType(VisaRsrcName);
    if (VisaStatusFailed(viOpen(VisaRM, VisaRsrcName.toLatin1().constData(), 0, 0, &VisaInstr))) {
        cantConnect();
        LinkOpen = false; // and configure the handle all the same
    }
    viClear(VisaInstr);
    viSetAttribute(VisaInstr, VI_ATTR_TMO_VALUE, 10000);
    viSetAttribute(VisaInstr, VI_ATTR_ASRL_BAUD,
                   static_cast<ViAttrState>(Val(SoftwareSetting.BaudRate)));
}

void VisaWrite(const QString& command) {
    if (!mayTalk()) return;
    const QByteArray text = command.toLatin1() + '\n';
    platform::Sleep(100);
    ViUInt32 written = 0;
    const ViStatus status = viWrite(VisaInstr, reinterpret_cast<const ViByte*>(text.constData()),
                                    static_cast<ViUInt32>(text.size()), &written);
    if (VisaStatusFailed(status)) {
        platform::MsgBox(MsgCantConnect, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation,
                         MsgDeviceSend);
        ResetLinkState();
    }
}

QString VisaReadText() {
    if (!mayTalk()) return QString();
    ViByte buffer[256];
    ViUInt32 returned = 0;
    if (VisaStatusFailed(viRead(VisaInstr, buffer, 256, &returned))) {
        cantRead();
        return QString();
    }
    return QString::fromLatin1(reinterpret_cast<const char*>(buffer),
                               static_cast<qsizetype>(returned));
}

ViStatus VisaReadAsrl(ViSession handle, ViByte* buffer, ViUInt32 count) {
    ViUInt32 returned = 0;
    ViStatus status = viRead(handle, buffer, count, &returned);
    if (status != VI_SUCCESS) return status; // VI_SUCCESS_MAX_CNT: the request was filled
    ViUInt32 asked = count, position = returned;
    while (returned < asked) {
        if (returned == 0) return VI_ERROR_TMO; // nothing more comes: no endless loop
        asked = count - position;
        status = viRead(handle, buffer + position, asked, &returned);
        if (status != VI_SUCCESS) return status;
        position += returned;
    }
    return VI_SUCCESS;
}

void VisaReadBlock(int& count, int requested) {
    if (!mayTalk()) return;
    platform::FixedArray<ViByte, 0, 10240> buffer;
    if (requested < 0 || requested > buffer.size())
        platform::ThrowBounds("block request", requested, 0, buffer.size());
    ViUInt32 returned = 0;
    ViStatus status;
    if (VisaBusType == 1) {
        status = viRead(VisaInstr, &buffer[0], static_cast<ViUInt32>(requested), &returned);
    } else {
        status = VisaReadAsrl(VisaInstr, &buffer[0], static_cast<ViUInt32>(requested));
        returned = static_cast<ViUInt32>(requested - 1);
    }
    if (VisaStatusFailed(status)) {
        cantRead();
        return;
    }
    if (static_cast<int>(returned) > requested - 10) {
        // The block carries its ten header bytes.
        count = static_cast<int>(returned) - 10;
        for (int i = 1; i <= count; ++i)
            BinaryData[i] = buffer[i + 9];
    } else {
        count = static_cast<int>(returned);
        for (int i = 1; i <= count; ++i)
            BinaryData[i] = buffer[i - 1];
    }
}

void ParaConv(const unsigned char* raw, std::array<unsigned char, 116>& block) {
    block.fill(0);
    std::memcpy(block.data(), raw, 113);
}

void VisaReadSystemData() {
    if (!mayTalk()) return;
    std::array<ViByte, 123> buffer{};
    ViUInt32 returned = 0;
    ViStatus status;
    std::size_t start = 10;
    if (VisaBusType == 1) {
        status = viRead(VisaInstr, buffer.data(), 123, &returned);
        if (!VisaStatusFailed(status)) start = returned > 113 ? 10 : 0;
    } else {
        status = VisaReadAsrl(VisaInstr, buffer.data(), 123);
    }
    if (VisaStatusFailed(status)) {
        cantRead();
        return;
    }
    ParaConv(buffer.data() + start, SystemDataBlock);
}

void VisaCloseInstr() {
    viClear(VisaInstr);
    viClose(VisaInstr);
}

void VisaCloseAll() {
    viClose(VisaInstr);
    viClose(VisaRM);
}

QStringList SearchUsbResources() {
    QStringList names;
    ViFindList list = 0;
    ViUInt32 count = 0;
    char name[VI_FIND_BUFLEN] = {};
    if (viFindRsrc(VisaRM, "USB?*INSTR", &list, &count, name) != VI_SUCCESS) return names;
    names << QString::fromLatin1(name);
    for (ViUInt32 i = 1; i < count; ++i)
        if (viFindNext(list, name) == VI_SUCCESS) names << QString::fromLatin1(name);
    viClose(list);
    return names;
}
