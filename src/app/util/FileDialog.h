#pragma once

#include <QString>
#include <QStringList>

#include <functional>

class QWidget;

/// Open, save and folder dialogs, shown window-modal and answered through a
/// callback (an empty answer means the user cancelled).
///
/// Tests prepare the answer with setNextFileName(), setNextFileNames() or
/// setNextDirectory(): no dialog is shown, and the callback runs on the next
/// turn of the event loop. setNextCancel() answers the next dialog with Cancel.
class FileDialog
{
public:
    struct Options
    {
        QString title;
        QString directory;
        QString proposedName;     ///< save dialogs: the name filled in
        QStringList nameFilters;  ///< "PDF (*.pdf)"
        QString defaultSuffix;    ///< save dialogs: appended when the name has none
        bool acceptPackages = false; ///< open dialogs: a folder ending in .quillarc counts as a file
    };

    static void openFile(QWidget* parent, const Options& options, std::function<void(const QString&)> done);
    static void openFiles(QWidget* parent, const Options& options, std::function<void(const QStringList&)> done);
    static void saveFile(QWidget* parent, const Options& options, std::function<void(const QString&)> done);
    static void chooseDirectory(QWidget* parent, const Options& options, std::function<void(const QString&)> done);

    // Test seams.
    static void setNextFileName(const QString& path);
    static void setNextFileNames(const QStringList& paths);
    static void setNextDirectory(const QString& path);
    static void setNextCancel();
    /// The options of every dialog asked since the last call.
    static QList<Options> takeAskedDialogs();
};
