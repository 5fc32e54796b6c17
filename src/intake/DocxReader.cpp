#include "intake/DocxReader.h"

#include <QXmlStreamReader>
#include <memory>
#include <zip.h>

namespace {

const QString kMainPart = QStringLiteral("word/document.xml");

struct ArchiveCloser
{
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct FileCloser
{
    void operator()(zip_file_t* file) const { zip_fclose(file); }
};
using Archive = std::unique_ptr<zip_t, ArchiveCloser>;

// Inflates one entry, refusing it when either the declared or the actual size passes the cap.
bool readEntry(zip_t* archive, const QString& name, QByteArray* out)
{
    const QByteArray utf8 = name.toUtf8();
    const zip_int64_t index = zip_name_locate(archive, utf8.constData(), 0);
    if (index < 0)
        return false;
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_stat_index(archive, zip_uint64_t(index), 0, &stat) != 0)
        return false;
    if ((stat.valid & ZIP_STAT_SIZE) && stat.size > zip_uint64_t(DocxReader::kMaximumPartSize))
        return false;
    std::unique_ptr<zip_file_t, FileCloser> file(zip_fopen_index(archive, zip_uint64_t(index), 0));
    if (!file)
        return false;
    out->clear();
    char buffer[64 * 1024];
    for (;;) {
        const zip_int64_t got = zip_fread(file.get(), buffer, sizeof buffer);
        if (got < 0)
            return false;
        if (got == 0)
            return true;
        if (out->size() + got > DocxReader::kMaximumPartSize)
            return false;
        out->append(buffer, qsizetype(got));
    }
}

// Where the package's relationships say the main document lives, for files that do not use the usual name.
QString mainPartFromRelationships(zip_t* archive)
{
    QByteArray rels;
    if (!readEntry(archive, QStringLiteral("_rels/.rels"), &rels))
        return {};
    QXmlStreamReader xml(rels);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement || xml.name() != QLatin1String("Relationship"))
            continue;
        if (!xml.attributes().value(QLatin1String("Type")).endsWith(QLatin1String("/officeDocument")))
            continue;
        QString target = xml.attributes().value(QLatin1String("Target")).toString();
        while (target.startsWith(QLatin1Char('/')))
            target.remove(0, 1);
        return target;
    }
    return {};
}

bool isWordElement(const QXmlStreamReader& xml, QLatin1String localName)
{
    return xml.name() == localName && xml.namespaceUri().contains(QLatin1String("wordprocessingml"));
}

} // namespace

QString DocxReader::extractFromData(const QByteArray& bytes)
{
    if (bytes.isEmpty())
        return {};
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_buffer_create(bytes.constData(), zip_uint64_t(bytes.size()), 0, &error);
    if (!source) {
        zip_error_fini(&error);
        return {};
    }
    Archive archive(zip_open_from_source(source, ZIP_RDONLY, &error));
    zip_error_fini(&error);
    if (!archive) {
        zip_source_free(source);
        return {};
    }
    QByteArray xml;
    if (!readEntry(archive.get(), kMainPart, &xml)) {
        const QString other = mainPartFromRelationships(archive.get());
        if (other.isEmpty() || other == kMainPart || !readEntry(archive.get(), other, &xml))
            return {};
    }
    return textFromDocumentXml(xml);
}

QString DocxReader::textFromDocumentXml(const QByteArray& bytes)
{
    QXmlStreamReader xml(bytes);
    QString text;
    int tabStops = 0; // w:tab inside w:tabs is a tab-stop definition, not a character
    // Deleted revisions and field instructions are inside w:delText / w:instrText and not taken.
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            if (isWordElement(xml, QLatin1String("t"))) {
                text += xml.readElementText(QXmlStreamReader::IncludeChildElements);
            } else if (isWordElement(xml, QLatin1String("tabs"))) {
                ++tabStops;
            } else if (isWordElement(xml, QLatin1String("tab")) && tabStops == 0) {
                text += QLatin1Char('\t');
            } else if (isWordElement(xml, QLatin1String("br")) || isWordElement(xml, QLatin1String("cr"))) {
                text += QLatin1Char('\n');
            } else if (isWordElement(xml, QLatin1String("noBreakHyphen"))) {
                text += QChar(0x2011);
            }
        } else if (token == QXmlStreamReader::EndElement) {
            if (isWordElement(xml, QLatin1String("p")))
                text += QLatin1Char('\n');
            else if (isWordElement(xml, QLatin1String("tabs")) && tabStops > 0)
                --tabStops;
            else if (isWordElement(xml, QLatin1String("tc")) && text.endsWith(QLatin1Char('\n')))
                text.back() = QLatin1Char('\t'); // a cell's last paragraph ends the cell, not a line
            else if (isWordElement(xml, QLatin1String("tr")))
                text += QLatin1Char('\n');
        }
    }
    if (xml.hasError())
        return {};
    return text;
}
