#pragma once

#include "model/ModelPointers.h"

#include <QMimeData>
#include <memory>

/// What a drag from one of the archive's lists carries besides its clipboard
/// types: the list it started in and, for a document, the record itself, so
/// that a drop in the same window can tell the lists apart and remove the
/// original once its copy has moved.
class ListMimeData : public QMimeData
{
    Q_OBJECT

public:
    ListMimeData(const void* sourceList, const DocumentPtr& document = nullptr);

    const void* sourceList() const { return m_sourceList; }
    DocumentPtr document() const { return m_document.lock(); }

    /// True when @p data comes from the list @p sourceList.
    static bool isFrom(const QMimeData* data, const void* sourceList);
    /// The dragged document of a drag from a documents list, or nullptr.
    static DocumentPtr draggedDocument(const QMimeData* data);
    /// The local folder @p data names (the first of its URLs), or "".
    static QString localFolder(const QMimeData* data);
    /// Every local file path @p data names, in order.
    static QStringList localPaths(const QMimeData* data);

private:
    const void* m_sourceList;
    std::weak_ptr<QuillarcDocument> m_document;
};
