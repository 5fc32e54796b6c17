#pragma once

/// The archive preferences that steer text extraction and recognition. Callers
/// fill it from the archive's preferences; `useOCR` is deliberately absent
/// because image files are always recognised.
struct ExtractionOptions
{
    /// 0 = the recogniser's own default, 1 = English, 2 = German.
    int ocrLanguageKind = 0;
    /// true: the most accurate setting; false: a faster, coarser one.
    bool ocrPrioritiseAccuracy = true;
};
