#include "intake/HtmlReader.h"

#include "intake/TextDecoding.h"

#include <QStringDecoder>
#include <QTextDocument>

QString HtmlReader::decodeHtml(const QByteArray& bytes, const QByteArray& encodingName)
{
    QString html;
    if (!encodingName.isEmpty() && TextDecoding::decodeWithCodec(bytes, encodingName, &html))
        return html;
    QStringDecoder decoder = QStringDecoder::decoderForHtml(bytes);
    if (!decoder.isValid())
        decoder = QStringDecoder(QStringConverter::Utf8);
    html = decoder.decode(bytes);
    if (!decoder.hasError())
        return html;
    // Undeclared (or wrongly declared) legacy pages: let the detector choose before keeping replacement characters.
    QString detected;
    QString error;
    if (TextDecoding::decodeDetected(bytes, &detected, &error))
        return detected;
    return html;
}

QString HtmlReader::plainTextOfHtml(const QString& html)
{
    if (html.isEmpty())
        return {};
    QTextDocument document;
    document.setUndoRedoEnabled(false);
    document.setHtml(html);
    return document.toPlainText();
}

QString HtmlReader::extractFromData(const QByteArray& bytes, const QByteArray& encodingName)
{
    if (bytes.isEmpty() || bytes.size() > kMaximumFileSize)
        return {};
    return plainTextOfHtml(decodeHtml(bytes, encodingName));
}
