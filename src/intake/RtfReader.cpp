#include "intake/RtfReader.h"

#include "intake/TextDecoding.h"

#include <QHash>
#include <QStringDecoder>
#include <vector>

namespace {

enum class Destination : quint8
{
    Text,
    Skip,
    FontTable
};

struct GroupState
{
    Destination destination = Destination::Text;
    int unicodeSkip = 1; // \ucN: bytes of fallback that follow each \uN
    int codePage = 0; // of the current font; 0 means the document's
};

// Destinations whose contents are never body text.
bool isSkippedDestination(QByteArrayView word)
{
    static const QByteArrayView skipped[] = {
        "colortbl",
        "stylesheet",
        "info",
        "pict",
        "object",
        "header",
        "headerl",
        "headerr",
        "headerf",
        "footer",
        "footerl",
        "footerr",
        "footerf",
        "footnote",
        "annotation",
        "atnid",
        "atnauthor",
        "listtable",
        "listoverridetable",
        "revtbl",
        "rsidtbl",
        "generator",
        "xmlnstbl",
        "themedata",
        "colorschememapping",
        "datastore",
        "latentstyles",
        "pgdsctbl",
        "fldinst",
        "filetbl",
        "bkmkstart",
        "bkmkend",
        "private",
        "mmathPr",
        "docvar",
        "template",
        "userprops",
        "nonshppict",
        "shpinst",
        "sp",
        "sn",
        "sv",
        "xe",
        "tc",
        "txe",
        "objdata",
    };
    for (QByteArrayView name : skipped) {
        if (word == name)
            return true;
    }
    return false;
}

// Characters named by a control word.
char16_t namedCharacter(QByteArrayView word)
{
    struct Named
    {
        QByteArrayView word;
        char16_t character;
    };
    static const Named named[] = {
        { "par", '\n' },
        { "line", '\n' },
        { "sect", '\n' },
        { "page", '\n' },
        { "row", '\n' },
        { "nestrow", '\n' },
        { "tab", '\t' },
        { "cell", '\t' },
        { "nestcell", '\t' },
        { "emdash", 0x2014 },
        { "endash", 0x2013 },
        { "emspace", 0x2003 },
        { "enspace", 0x2002 },
        { "qmspace", 0x2005 },
        { "bullet", 0x2022 },
        { "lquote", 0x2018 },
        { "rquote", 0x2019 },
        { "ldblquote", 0x201C },
        { "rdblquote", 0x201D },
        { "zwj", 0x200D },
        { "zwnj", 0x200C },
        { "ltrmark", 0x200E },
        { "rtlmark", 0x200F },
        { "zwbo", 0x200B },
    };
    for (const Named& n : named) {
        if (word == n.word)
            return n.character;
    }
    return 0;
}

int codePageForCharset(int charset)
{
    switch (charset) {
    case 77:
        return 10000;
    case 128:
        return 932;
    case 129:
        return 949;
    case 134:
        return 936;
    case 136:
        return 950;
    case 161:
        return 1253;
    case 162:
        return 1254;
    case 163:
        return 1258;
    case 177:
        return 1255;
    case 178:
        return 1256;
    case 186:
        return 1257;
    case 204:
        return 1251;
    case 222:
        return 874;
    case 238:
        return 1250;
    case 254:
        return 437;
    case 255:
        return 850;
    default:
        return 0; // ANSI, default and symbol charsets follow the document
    }
}

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

class RtfParser
{
public:
    explicit RtfParser(const QByteArray& bytes)
        : m_data(bytes.constData())
        , m_size(bytes.size())
    {
    }

    bool parse(QString* out);

private:
    void controlWord(QByteArrayView word, bool hasParameter, qint64 parameter);
    void controlSymbol(char symbol);
    void literalByte(char byte);
    void appendText(char16_t c);
    void flushBytes();
    bool skippingFallback();

    GroupState& state() { return m_stack.back(); }
    bool inText() const { return m_stack.back().destination == Destination::Text; }

    const char* m_data;
    qsizetype m_size;
    qsizetype m_pos = 0;
    std::vector<GroupState> m_stack;
    int m_documentCodePage = 1252;
    QHash<int, int> m_fontCodePages;
    int m_definedFont = -1;
    int m_fallbackLeft = 0;
    QByteArray m_pendingBytes;
    int m_pendingCodePage = 1252;
    QHash<int, QStringDecoder*> m_decoders;
    std::vector<std::unique_ptr<QStringDecoder>> m_decoderStore;
    QString m_text;
};

bool RtfParser::skippingFallback()
{
    if (m_fallbackLeft <= 0)
        return false;
    --m_fallbackLeft;
    return true;
}

void RtfParser::appendText(char16_t c)
{
    flushBytes();
    m_text.append(QChar(c));
}

void RtfParser::literalByte(char byte)
{
    if (skippingFallback() || !inText())
        return;
    const int codePage = state().codePage ? state().codePage : m_documentCodePage;
    if (!m_pendingBytes.isEmpty() && codePage != m_pendingCodePage)
        flushBytes();
    m_pendingCodePage = codePage;
    m_pendingBytes.append(byte);
}

// Bytes are collected and decoded together, so the lead and trail bytes of
// multi-byte code pages meet in one call.
void RtfParser::flushBytes()
{
    if (m_pendingBytes.isEmpty())
        return;
    if (m_pendingCodePage == 1252) {
        m_text += TextDecoding::decodeWindows1252(m_pendingBytes.constData(), m_pendingBytes.size());
    } else {
        QStringDecoder* decoder = m_decoders.value(m_pendingCodePage);
        if (!decoder) {
            const QByteArray name = TextDecoding::codecNameForCodePage(m_pendingCodePage);
            auto created = std::make_unique<QStringDecoder>(
                name.isEmpty() ? "windows-1252" : name.constData(), QStringConverter::Flag::Stateless);
            if (!created->isValid())
                created = std::make_unique<QStringDecoder>("windows-1252", QStringConverter::Flag::Stateless);
            decoder = created.get();
            m_decoderStore.push_back(std::move(created));
            m_decoders.insert(m_pendingCodePage, decoder);
        }
        if (decoder->isValid())
            m_text += decoder->decode(m_pendingBytes);
        else
            m_text += TextDecoding::decodeWindows1252(m_pendingBytes.constData(), m_pendingBytes.size());
    }
    m_pendingBytes.clear();
}

void RtfParser::controlSymbol(char symbol)
{
    switch (symbol) {
    case '\\':
    case '{':
    case '}':
        literalByte(symbol);
        return;
    case '*':
        // Ignorable destination: nothing in it is body text this reader knows.
        state().destination = Destination::Skip;
        return;
    default:
        break;
    }
    if (skippingFallback() || !inText())
        return;
    switch (symbol) {
    case '~':
        appendText(0x00A0);
        break;
    case '_':
        appendText(0x2011);
        break;
    case '\n':
    case '\r':
        appendText('\n');
        break;
    case '\t':
        appendText('\t');
        break;
    default: // \- optional hyphen, \: index subentry, \| formula
        break;
    }
}

void RtfParser::controlWord(QByteArrayView word, bool hasParameter, qint64 parameter)
{
    if (word == "bin") {
        // Raw binary data follows; it is never text and may hold any byte.
        const qint64 length = hasParameter ? std::max<qint64>(parameter, 0) : 0;
        m_pos = qsizetype(std::min<qint64>(m_size, m_pos + length));
        return;
    }
    if (word == "u" && hasParameter) {
        if (!inText()) {
            m_fallbackLeft = state().unicodeSkip;
            return;
        }
        const qint64 value = parameter < 0 ? parameter + 65536 : parameter;
        appendText(char16_t(value & 0xFFFF));
        m_fallbackLeft = state().unicodeSkip;
        return;
    }
    if (word == "uc") {
        state().unicodeSkip = int(std::clamp<qint64>(hasParameter ? parameter : 1, 0, 1000));
        return;
    }
    if (state().destination == Destination::FontTable) {
        if (word == "f" && hasParameter)
            m_definedFont = int(parameter);
        else if (word == "fcharset" && hasParameter && m_definedFont >= 0)
            m_fontCodePages.insert(m_definedFont, codePageForCharset(int(parameter)));
        else if (word == "cpg" && hasParameter && m_definedFont >= 0)
            m_fontCodePages.insert(m_definedFont, int(parameter));
        return;
    }
    if (skippingFallback())
        return;
    if (word == "fonttbl") {
        state().destination = Destination::FontTable;
        return;
    }
    if (isSkippedDestination(word)) {
        state().destination = Destination::Skip;
        return;
    }
    if (word == "ansicpg" && hasParameter) {
        m_documentCodePage = TextDecoding::codecNameForCodePage(int(parameter)).isEmpty() ? 1252 : int(parameter);
        return;
    }
    if (word == "mac" || word == "pc" || word == "pca") {
        m_documentCodePage = word == "mac" ? 10000 : (word == "pc" ? 437 : 850);
        return;
    }
    if (word == "f" && hasParameter) {
        state().codePage = m_fontCodePages.value(int(parameter), 0);
        return;
    }
    if (!inText())
        return;
    if (const char16_t c = namedCharacter(word))
        appendText(c);
}

bool RtfParser::parse(QString* out)
{
    // Leading white space is tolerated, anything else means the bytes are no RTF.
    while (m_pos < m_size
        && (m_data[m_pos] == ' ' || m_data[m_pos] == '\r' || m_data[m_pos] == '\n' || m_data[m_pos] == '\t'))
        ++m_pos;
    if (QByteArrayView(m_data + m_pos, m_size - m_pos).first(std::min<qsizetype>(5, m_size - m_pos)) != "{\\rtf")
        return false;
    m_stack.reserve(64);
    m_stack.push_back(GroupState());
    ++m_pos; // the outermost group is the bottom entry

    while (m_pos < m_size) {
        const char c = m_data[m_pos++];
        if (c == '{') {
            flushBytes();
            if (m_stack.size() >= size_t(RtfReader::kMaximumDepth))
                return false;
            m_stack.push_back(m_stack.back());
            m_fallbackLeft = 0;
        } else if (c == '}') {
            flushBytes();
            m_fallbackLeft = 0;
            if (m_stack.back().destination == Destination::FontTable)
                m_definedFont = -1;
            m_stack.pop_back();
            if (m_stack.empty())
                break;
        } else if (c == '\\') {
            if (m_pos >= m_size)
                break;
            const char next = m_data[m_pos];
            if (isLetter(next)) {
                const qsizetype start = m_pos;
                while (m_pos < m_size && isLetter(m_data[m_pos]) && m_pos - start < 32)
                    ++m_pos;
                const QByteArrayView word(m_data + start, m_pos - start);
                bool hasParameter = false;
                bool negative = false;
                qint64 parameter = 0;
                if (m_pos < m_size && m_data[m_pos] == '-' && m_pos + 1 < m_size && isDigit(m_data[m_pos + 1])) {
                    negative = true;
                    ++m_pos;
                }
                for (int digits = 0; m_pos < m_size && isDigit(m_data[m_pos]); ++digits, ++m_pos) {
                    if (digits < 10)
                        parameter = parameter * 10 + (m_data[m_pos] - '0');
                    hasParameter = true;
                }
                if (negative)
                    parameter = -parameter;
                if (m_pos < m_size && m_data[m_pos] == ' ')
                    ++m_pos;
                controlWord(word, hasParameter, parameter);
            } else if (next == '\'') {
                m_pos += 1;
                const int high = m_pos < m_size ? hexValue(m_data[m_pos]) : -1;
                const int low = m_pos + 1 < m_size ? hexValue(m_data[m_pos + 1]) : -1;
                if (high < 0 || low < 0) {
                    m_pos += high >= 0 ? 1 : 0; // a broken escape is dropped with what there is of it
                    continue;
                }
                m_pos += 2;
                literalByte(char(high * 16 + low));
            } else {
                ++m_pos;
                controlSymbol(next);
            }
        } else if (c == '\r' || c == '\n') {
            continue; // line ends in the source are layout of the file, not text
        } else if (c == '\t') {
            if (!skippingFallback() && inText())
                appendText('\t');
        } else {
            literalByte(c);
        }
    }
    flushBytes();
    *out = std::move(m_text);
    return true;
}

} // namespace

QString RtfReader::extractFromData(const QByteArray& bytes)
{
    RtfParser parser(bytes);
    QString text;
    if (!parser.parse(&text))
        return {};
    return text;
}
