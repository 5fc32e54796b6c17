#include "intake/TextReader.h"

std::unique_ptr<TextReader> textReaderForExtension(const QString&)
{
    return nullptr;
}
