#include "app/translation/KVLocalizerModel.h"

#include "app/i18n/Localizer.h"
#include "output/TextFolding.h"
#include "text/KVLocalizationDictionary.h"

#include <QFont>

namespace {

/// One line for a table cell: line breaks shown as a return sign, long texts cut.
QString oneLine(const QString& text)
{
    QString line = text.left(KVLocalizerModel::displayLength);
    line.replace(QLatin1Char('\n'), QStringLiteral(" \u23CE ")).replace(QLatin1Char('\t'), QLatin1Char(' '));
    if (text.size() > KVLocalizerModel::displayLength)
        line += QChar(0x2026);
    return line;
}

} // namespace

KVLocalizerModel::KVLocalizerModel(QObject* parent)
    : QAbstractTableModel(parent)
{
    // Column titles are names in the user's language; a re-localization renames them.
    connect(Localizer::instance(), &Localizer::relocalized, this,
        [this] { Q_EMIT headerDataChanged(Qt::Horizontal, 0, columnCount() - 1); });
}

void KVLocalizerModel::setTable(const KVLocalizationTable& table)
{
    beginResetModel();
    m_table = table;
    m_searchTexts = QList<QString>(m_table.count());
    m_edited.clear();
    endResetModel();
}

int KVLocalizerModel::columnOfLanguage(const QString& language) const
{
    const int index = int(m_table.languages().indexOf(language));
    return index < 0 ? -1 : index + 1;
}

QString KVLocalizerModel::languageOfColumn(int column) const
{
    return column >= 1 && column <= m_table.languages().size() ? m_table.languages().at(column - 1) : QString();
}

KVLocalizationTable::AddLanguageResult KVLocalizerModel::addLanguage(const QString& code)
{
    if (!KVLocalizationTable::isLanguageCode(code) || m_table.languages().contains(code))
        return m_table.addLanguage(code);
    const int column = columnCount();
    beginInsertColumns(QModelIndex(), column, column);
    const KVLocalizationTable::AddLanguageResult result = m_table.addLanguage(code);
    endInsertColumns();
    return result;
}

void KVLocalizerModel::markSaved()
{
    if (m_edited.isEmpty())
        return;
    m_edited.clear();
    Q_EMIT dataChanged(index(0, 1), index(rowCount() - 1, columnCount() - 1), { Qt::FontRole });
}

QString KVLocalizerModel::languageTitle(const QString& code)
{
    const QString name = KVLocalizationDictionary::fullLanguageForLanguage(code);
    // For a few names the mapping runs backwards and gives a code; only real names are shown.
    if (name == QLatin1String("Unknown") || KVLocalizationTable::isLanguageCode(name))
        return code;
    return QStringLiteral("%1 (%2)").arg(localizedString(QStringLiteral("LOCALIZER_LANGUAGE_") + name), code);
}

int KVLocalizerModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_table.count();
}

int KVLocalizerModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_table.languages().size()) + 1;
}

QVariant KVLocalizerModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const int row = index.row();
    const QString language = languageOfColumn(index.column());
    switch (role) {
    case Qt::DisplayRole:
        return language.isEmpty() ? m_table.items().at(row).base : oneLine(m_table.text(row, language));
    case Qt::EditRole:
        return language.isEmpty() ? m_table.items().at(row).base : m_table.text(row, language);
    case Qt::ToolTipRole:
        // Long texts in full (up to a screenful) where the cell has to cut them.
        return language.isEmpty() ? QVariant() : QVariant(m_table.text(row, language).left(2000));
    case Qt::FontRole:
        if (m_edited.contains({ row, language })) {
            QFont bold;
            bold.setBold(true);
            return bold;
        }
        return {};
    case SearchTextRole:
        return searchText(row);
    case LanguageRole:
        return language;
    default:
        return {};
    }
}

bool KVLocalizerModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role != Qt::EditRole || !checkIndex(index, CheckIndexOption::IndexIsValid) || index.column() == 0)
        return false;
    const QString language = languageOfColumn(index.column());
    if (!m_table.setText(index.row(), language, value.toString()))
        return false;
    m_searchTexts[index.row()] = QString();
    m_edited.insert({ index.row(), language });
    Q_EMIT dataChanged(index, index, { Qt::DisplayRole, Qt::EditRole, Qt::FontRole, SearchTextRole });
    Q_EMIT textEdited();
    return true;
}

Qt::ItemFlags KVLocalizerModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    const Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    return index.column() == 0 ? flags : flags | Qt::ItemIsEditable;
}

QVariant KVLocalizerModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return {};
    if (role == Qt::DisplayRole)
        return section == 0 ? localizedString(QStringLiteral("LOCALIZER_COLUMN_KEY"))
                            : languageTitle(languageOfColumn(section));
    if (role == LanguageRole)
        return languageOfColumn(section);
    return {};
}

QString KVLocalizerModel::searchText(int row) const
{
    QString& cached = m_searchTexts[row];
    if (cached.isEmpty()) {
        // Fields are joined by a separator no typed filter contains, so a match never spans two texts.
        const KVLocalizationTable::Item& item = m_table.items().at(row);
        QString joined = item.base;
        for (const QString& language : m_table.languages())
            joined += QChar(0x1F) + item.texts.value(language);
        cached = TextFolding::fold(joined);
    }
    return cached;
}
