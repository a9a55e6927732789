// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The VISA side of the link: the resource manager, the search and open, and
// the reads and writes of text lines, data blocks and the system data.
#include "platform/Faults.h"
#include "platform/Visa.h"

#include <QString>
#include <QStringList>
#include <array>

extern ViSession VisaRM;
extern ViSession VisaInstr;
extern platform::FixedArray<QString, 0, 64> VisaRsrcList; // the names found by the last search
extern int VisaBusType;                                   // 1 USB, 0 ASRL, 5 anything else
extern platform::FixedArray<int, 0, 8192> BinaryData;     // a block, from index 1
extern std::array<unsigned char, 116> SystemDataBlock;    // the decoded system data

void OpenVisaRM();
void CloseVisaRM();
void FindVisaDevice(); // search, choose and open; sets LinkOpen
void VisaWrite(const QString& command);
QString VisaReadText(); // up to 256 bytes, the line end kept
void VisaReadBlock(int& count, int requested);
void VisaReadSystemData();
ViStatus VisaReadAsrl(ViSession handle, ViByte* buffer, ViUInt32 count);
void VisaCloseInstr(); // on disconnection
void VisaCloseAll();   // at program end
bool VisaStatusFailed(ViStatus status);
void SetVisaBusType(const QString& name);

// The names of the USB instruments present, for the Options list.
QStringList SearchUsbResources();

// Rewrites the 113 raw bytes of the system data reply as the 116-byte block.
void ParaConv(const unsigned char* raw, std::array<unsigned char, 116>& block);
