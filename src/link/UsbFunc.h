#pragma once
// The VISA side of the link as the frame and Options see it: the resource
// manager's life and the search for USB instruments.
#include <QStringList>

void OpenVisaRM();
void CloseVisaRM();
// The names of the USB instruments present ("USB0::0xVVVV::0xPPPP::SERIAL::INSTR").
QStringList SearchUsbResources();
void VisaCloseInstr(); // on disconnection
void VisaCloseAll();   // at program end
