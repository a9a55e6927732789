// SPDX-License-Identifier: GPL-3.0-or-later
// Data sheet files (.ult): the records they fill are the program's own.
#include "FuzzSupport.h"

#include "sheet/DataSheet.h"
#include "sheet/SheetFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzSetUp();
    QString error;
    ParseSheet(
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)),
        &error);
    // A file cannot make more documents of a kind than the sheet holds.
    for (int k = 0; k < kDocKindCount; ++k)
        FuzzRequire(DocCount(static_cast<DocKind>(k)) <= KindInfo(static_cast<DocKind>(k)).maxDocs,
                    "more documents than the kind allows");
    return 0;
}
