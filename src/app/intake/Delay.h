#pragma once

#include <QObject>
#include <QTimer>

/// The fixed delays between the steps of the main view's flows (0.01, 0.18,
/// 0.36 and 0.72 seconds). They let a progress view appear before the work
/// starts and a sheet settle before the focus moves. Tests may scale them
/// (setFactor(0) runs every step at the next loop turn, in the same order).
namespace Delay {

constexpr int focusMs = 180;     ///< a sheet has appeared; move the focus
constexpr int stepMs = 360;      ///< progress shown / list settled; go on
constexpr int startupImportMs = 720;
constexpr int folderDropMs = 10;

/// The factor every delay is multiplied by (1 unless a test set another).
double factor();
void setFactor(double factor);
int scaled(int milliseconds);

/// Runs @p step after @p milliseconds (scaled) on the main thread, unless
/// @p context is gone by then.
template<typename Step> void after(int milliseconds, const QObject* context, Step step)
{
    QTimer::singleShot(scaled(milliseconds), context, std::move(step));
}

} // namespace Delay
