#pragma once

#include "store/Document.h"

#include <memory>

/// Opening an archive from the command line: read-only for commands that only
/// look (the open mark is left alone), read-write with the open mark for
/// commands that change it. An archive marked open by someone else is only
/// taken over with --force.
class CliArchive
{
public:
    /// Opens the archive at path; on failure prints the reason and returns
    /// nullptr. `result` tells a refusal (marked open elsewhere) from an error.
    static std::unique_ptr<Document> open(const char* command, const QString& path, Document::OpenMode mode, bool force = false,
        Document::ReadResult* result = nullptr);
    /// The group files are taken into: the one titled @p title (made when
    /// missing), else the one stored as selected, else a new one. It is
    /// saved as the selected group, as the window would leave it.
    static GroupPtr intakeGroup(Document& archive, const QString& title);
    /// Clears the open mark and saves, as closing the archive's window does.
    static bool close(const char* command, Document& archive);
};
