#pragma once

#include <QString>

class QuillarcContainer;

/// Checks the shape of the record tree read from an archive before anything
/// walks it. The container owns its groups, so each group is listed once; a
/// group listed over and over would make every walk over the groups and their
/// documents (linking parents, listing all documents) grow with the product
/// of the listings rather than with the archive's size.
class RecordTree
{
public:
    /// True when no group is listed twice; otherwise false with the reason in `error`.
    static bool check(const QuillarcContainer& container, QString* error);
};
