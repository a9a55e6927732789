// Data sheet files (.ult): the records they fill are the program's own.
#include "FuzzSupport.h"

#include "sheet/SheetFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzSetUp();
    QString error;
    ParseSheet(
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)),
        &error);
    return 0;
}
