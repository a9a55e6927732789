#include "link/UsbFunc.h"

// No VISA backend is wired yet: the search finds no device and there is
// nothing to open or close.
void OpenVisaRM() {}
void CloseVisaRM() {}
QStringList SearchUsbResources() {
    return {};
}
void VisaCloseInstr() {}
void VisaCloseAll() {}
