#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QList>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

/// Small helpers shared by the benchmarks: wall-clock timing, medians and
/// peak memory. Benchmarks print figures; they never pass or fail.
namespace bench {

inline double elapsedMs(const QElapsedTimer& timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
}

inline double median(QList<double> values)
{
    if (values.isEmpty())
        return 0;
    std::sort(values.begin(), values.end());
    const qsizetype n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

inline double worst(const QList<double>& values)
{
    return values.isEmpty() ? 0 : *std::max_element(values.begin(), values.end());
}

/// CPU seconds this process has used so far (user + system): a steadier
/// figure than wall time on a shared, busy machine.
inline double cpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

/// Wall and CPU milliseconds of one piece of work.
struct Timing
{
    double wallMs = 0;
    double cpuMs = 0;
};

template<typename Work> Timing measure(Work&& work)
{
    const double cpuStart = cpuSeconds();
    QElapsedTimer timer;
    timer.start();
    work();
    return { elapsedMs(timer), (cpuSeconds() - cpuStart) * 1000.0 };
}

/// Peak resident memory of this process so far, in MiB.
inline double peakRssMiB()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0;
}

/// Resident memory of this process now, in MiB.
inline double currentRssMiB()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? double(fields[1].toLongLong()) * double(sysconf(_SC_PAGESIZE)) / 1048576.0 : 0;
}

/// Wall-clock milliseconds of an external command (for reference figures such
/// as md5sum or grep measured in the same run); -1 when it could not run.
inline double timeCommandMs(const QString& program, const QStringList& arguments)
{
    QElapsedTimer timer;
    timer.start();
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.start(program, arguments);
    if (!process.waitForStarted() || !process.waitForFinished(-1))
        return -1;
    return elapsedMs(timer);
}

} // namespace bench
