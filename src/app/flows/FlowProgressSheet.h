#pragma once

#include "app/sheet/Sheet.h"

class KVTessaryProgress;
class QLabel;

/// A sheet on an archive window that shows the progress of long work done
/// off the main thread (a large export): a title, the progress view with
/// the item being worked on, and Cancel. The window keeps painting while it
/// shows; the sheet only keeps the user from starting the same work twice.
class FlowProgressSheet : public Sheet
{
    Q_OBJECT

public:
    /// @p titleKey: the localization key of the sheet's heading.
    FlowProgressSheet(QWidget* window, const QString& titleKey);

    KVTessaryProgress* progressView() const { return m_progress; }
    /// Shows item @p index (from 0) of @p count, named @p text.
    void showItem(qint64 index, qint64 count, const QString& text);
    /// The work has ended: the sheet goes.
    void finish();

Q_SIGNALS:
    /// The user asked to stop (Cancel or Escape).
    void cancelRequested();

protected:
    void reject() override;

private:
    QLabel* m_title;
    KVTessaryProgress* m_progress;
    bool m_finished = false;
};
