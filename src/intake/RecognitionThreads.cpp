#include "intake/RecognitionThreads.h"

#include <QThread>
#include <atomic>
#include <dlfcn.h>

namespace {

constexpr int kRuntimeChoice = 0;
/// The widest OpenMP region the recogniser opens (its line recogniser's four gates).
constexpr int kWidestRegion = 4;

int defaultLimit()
{
    return qBound(1, QThread::idealThreadCount() - 1, kWidestRegion);
}

/// The limit set by setLimit(); -1 until then, standing for defaultLimit().
std::atomic<int> g_limit { -1 };

/// The OpenMP runtime's entry points, looked up at run time: they are the
/// runtime the recogniser was built with (GNU's for Debian's build). Linking
/// them would tie the program to one OpenMP runtime, and a build with another
/// compiler would set the wrong one's threads.
struct OpenMpRuntime
{
    using SetInt = void (*)(int);
    using GetInt = int (*)();
    SetInt setDynamic = nullptr;
    SetInt setNumThreads = nullptr;
    SetInt setMaxActiveLevels = nullptr;
    GetInt dynamic = nullptr;
    GetInt maxThreads = nullptr;
    GetInt maxActiveLevels = nullptr;

    OpenMpRuntime()
    {
        setDynamic = reinterpret_cast<SetInt>(dlsym(RTLD_DEFAULT, "omp_set_dynamic"));
        setNumThreads = reinterpret_cast<SetInt>(dlsym(RTLD_DEFAULT, "omp_set_num_threads"));
        setMaxActiveLevels = reinterpret_cast<SetInt>(dlsym(RTLD_DEFAULT, "omp_set_max_active_levels"));
        dynamic = reinterpret_cast<GetInt>(dlsym(RTLD_DEFAULT, "omp_get_dynamic"));
        maxThreads = reinterpret_cast<GetInt>(dlsym(RTLD_DEFAULT, "omp_get_max_threads"));
        maxActiveLevels = reinterpret_cast<GetInt>(dlsym(RTLD_DEFAULT, "omp_get_max_active_levels"));
    }
    bool isPresent() const
    {
        return setDynamic && setNumThreads && setMaxActiveLevels && dynamic && maxThreads && maxActiveLevels;
    }
};

const OpenMpRuntime& runtime()
{
    static const OpenMpRuntime instance;
    return instance;
}

} // namespace

int RecognitionThreads::limit()
{
    const int value = g_limit.load();
    return value < 0 ? defaultLimit() : value;
}

void RecognitionThreads::setLimit(int threads)
{
    g_limit.store(threads < 0 ? -1 : threads);
}

void RecognitionThreads::applyToCallingThread()
{
    const OpenMpRuntime& openMp = runtime();
    if (!openMp.isPresent())
        return;
    // The thread's own settings before the first change, so that the
    // runtime's choice can be given back.
    struct Original
    {
        bool known = false;
        int dynamic = 0;
        int threads = 1;
        int activeLevels = 1;
    };
    thread_local Original original;
    if (!original.known)
        original = { true, openMp.dynamic(), openMp.maxThreads(), openMp.maxActiveLevels() };

    const int threads = limit();
    if (threads == kRuntimeChoice) {
        openMp.setMaxActiveLevels(original.activeLevels);
        openMp.setDynamic(original.dynamic);
        openMp.setNumThreads(original.threads);
    } else if (threads == 1) {
        // No active parallel level at all: every region runs on this thread
        // alone and returns before the runtime reads the machine's load, which
        // dynamic adjustment would do for each of the many thousand regions
        // of a page.
        openMp.setMaxActiveLevels(0);
    } else {
        openMp.setMaxActiveLevels(original.activeLevels);
        openMp.setDynamic(1);
        openMp.setNumThreads(threads);
    }
}
