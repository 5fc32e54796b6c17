// Feeds arbitrary bytes to the decoders of what a drag carries between the
// archive's lists (the dragged row numbers and the dragged documents): data
// dropped from another process must never crash, hang or read out of bounds,
// and every row it yields is a row number, every document a document.
#include "model/QuillarcDocument.h"
#include "output/DragReordering.h"

#include <QByteArray>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    for (const qsizetype row : DragReordering::rowsFromArchive(bytes)) {
        if (row < 0)
            std::abort();
    }
    for (const DocumentPtr& document : DragReordering::documentsFromArchive(bytes)) {
        if (!document)
            std::abort();
        // What a drop reads of the copy before filing it.
        (void)document->uniqueID().size();
        (void)document->tags().size();
    }
    return 0;
}
