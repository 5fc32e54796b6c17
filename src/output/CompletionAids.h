#pragma once

#include "model/ModelPointers.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <memory>

/// Completion while tags and titles are typed: the tag token field and the
/// autocompleting combo box.
class CompletionAids
{
public:
    /// Every distinct tag of the documents of @p groups (exact duplicates
    /// dropped, so "Tax" and "tax" are both kept), sorted ignoring case; tags
    /// equal but for case follow in plain order, so the result is stable.
    static QStringList allTags(const QList<GroupPtr>& groups);

    /// The tags of @p allTags that begin with @p substring (case-sensitive),
    /// without @p substring itself, in allTags order.
    static QStringList tokenFieldCompletions(const QStringList& allTags, const QString& substring);

    /// The combo box's list for the typed @p text: the values that begin with
    /// it ignoring case, shortest first (equal lengths keep their order); all
    /// values for an empty text.
    static QStringList filteredItems(const QStringList& values, const QString& text);

    /// The completion of @p text: of the values in canonical composed form,
    /// the shortest that begins with @p text ignoring case and diacritics; a
    /// null string for a null @p text or when none fits.
    static QString completedString(const QStringList& values, const QString& text);
};
