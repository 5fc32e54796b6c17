#pragma once

#include "intake/ExtractionOptions.h"

#include <QString>

/// The readable text of the file at path, chosen by its extension as stored in
/// the record (no dot, case as on disk, compared case-sensitively): the PDF
/// text layer (or recognition of the first page of a scanned PDF), recognised
/// text of images, and the word-processor, web and plain-text readers. Every
/// other extension and every failure gives "". The text is returned as read:
/// no trimming, no normalised line ends, no length limit.
QString contenStringFromURL(const QString& path, const QString& extension, const ExtractionOptions& options);
