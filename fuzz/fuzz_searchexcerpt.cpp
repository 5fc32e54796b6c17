// The excerpt of a search hit from any field text and any search text. The
// first byte gives the search text's length in UTF-16 units; the search text
// and then the field text follow as UTF-16, so lone surrogates, marks and
// ligatures all reach the folding that keeps positions.
#include "model/QuillarcDocument.h"
#include "output/SearchExcerpt.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data) + 1, qsizetype(size - 1));
    const qsizetype split = qMin(bytes.size(), qsizetype(data[0]) * 2);
    const QByteArray first = bytes.left(split);
    const QByteArray second = bytes.mid(split);
    const QString search = QString(reinterpret_cast<const QChar*>(first.constData()), first.size() / 2);
    const QString text = QString(reinterpret_cast<const QChar*>(second.constData()), second.size() / 2);

    static const std::shared_ptr<QuillarcDocument> document = QuillarcDocument::create();
    document->setField(QuillarcDocument::ContentString, Value::string(text));
    document->setField(QuillarcDocument::Title, Value::string(search.left(40)));
    const SearchExcerpt::Match match = SearchExcerpt::match(*document, search, 40);
    for (const SearchExcerpt::Mark& mark : match.marks) {
        if (mark.start < 0 || mark.length <= 0 || mark.start + mark.length > match.excerpt.size())
            std::abort();
    }
    for (const SearchExcerpt::Mark& mark : SearchExcerpt::occurrences(text, { search })) {
        if (mark.start < 0 || mark.length <= 0 || mark.start + mark.length > text.size())
            std::abort();
    }
    return 0;
}
