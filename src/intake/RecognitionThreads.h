#pragma once

/// Keeps one text recognition from taking every core. The recogniser runs
/// parts of its line recogniser in OpenMP regions that ask for four threads
/// whatever the machine has; on a busy two-core machine those threads mostly
/// spin while waiting for each other, costing several times the CPU of one
/// thread and starving the window. Setting the thread count does not help
/// (an explicit count in a region wins over it), so the limit is set per
/// calling thread with the settings that do bound such regions: a limit of one
/// allows no active parallel level, so every region runs on the calling thread;
/// a larger limit turns on dynamic adjustment, which gives a region at most the
/// limit and fewer when the machine's load average says the cores are taken.
class RecognitionThreads
{
public:
    /// Most threads one recognition may use: one core is left to the rest of
    /// the program (at least 1, at most 4, the widest region the recogniser has).
    /// 0 leaves the OpenMP runtime's own choice, as the recogniser's own
    /// command-line program has it.
    static int limit();

    /// Sets the limit for recognitions started after the call: 0 leaves the
    /// runtime's own choice, a negative value goes back to the default. For
    /// benchmarks and tests that compare settings.
    static void setLimit(int threads);

    /// Applies the limit to the calling thread's OpenMP settings. Cheap; called
    /// before every recognition, so it follows the thread that recognises.
    /// Does nothing when the recogniser was built without OpenMP.
    static void applyToCallingThread();
};
