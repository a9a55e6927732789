// Frame record files (.rcd).
#include "FuzzSupport.h"

#include "replay/RecordFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzSetUp();
    static RecordRecord rec;
    rec = RecordRecord();
    LoadRecordBytes(
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)),
        rec);
    return 0;
}
