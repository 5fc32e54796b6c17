#include "app/util/FileDialog.h"

#include <QApplication>
#include <QFileDialog>
#include <QQueue>
#include <QTimer>

namespace {
struct PreparedAnswer
{
    QStringList paths;
};

QQueue<PreparedAnswer>& prepared()
{
    static QQueue<PreparedAnswer> answers;
    return answers;
}

QList<FileDialog::Options>& asked()
{
    static QList<FileDialog::Options> options;
    return options;
}

/// Answers from a prepared answer when a test set one; true when it did.
bool answerPrepared(const FileDialog::Options& options, const std::function<void(const QStringList&)>& done)
{
    asked().append(options);
    if (prepared().isEmpty())
        return false;
    const QStringList paths = prepared().dequeue().paths;
    QTimer::singleShot(0, qApp, [done, paths] { done(paths); });
    return true;
}

QFileDialog* makeDialog(QWidget* parent, const FileDialog::Options& options, QFileDialog::AcceptMode mode,
    QFileDialog::FileMode fileMode)
{
    auto* dialog = new QFileDialog(parent, options.title, options.directory);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(mode);
    dialog->setFileMode(fileMode);
    if (!options.nameFilters.isEmpty())
        dialog->setNameFilters(options.nameFilters);
    if (!options.defaultSuffix.isEmpty())
        dialog->setDefaultSuffix(options.defaultSuffix);
    if (!options.proposedName.isEmpty())
        dialog->selectFile(options.proposedName);
    if (parent)
        dialog->setWindowModality(Qt::WindowModal);
    return dialog;
}

void show(QFileDialog* dialog, std::function<void(const QStringList&)> done)
{
    QObject::connect(dialog, &QFileDialog::finished, dialog, [dialog, done](int result) {
        done(result == QDialog::Accepted ? dialog->selectedFiles() : QStringList());
    });
    dialog->open();
}

std::function<void(const QStringList&)> firstOf(std::function<void(const QString&)> done)
{
    return [done](const QStringList& paths) { done(paths.isEmpty() ? QString() : paths.first()); };
}
} // namespace

void FileDialog::openFile(QWidget* parent, const Options& options, std::function<void(const QString&)> done)
{
    const auto answer = firstOf(std::move(done));
    if (answerPrepared(options, answer))
        return;
    // A package is a folder: let the dialog pick folders too when it may be one.
    QFileDialog* dialog = makeDialog(parent, options, QFileDialog::AcceptOpen,
        options.acceptPackages ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    show(dialog, answer);
}

void FileDialog::openFiles(QWidget* parent, const Options& options, std::function<void(const QStringList&)> done)
{
    if (answerPrepared(options, done))
        return;
    show(makeDialog(parent, options, QFileDialog::AcceptOpen, QFileDialog::ExistingFiles), std::move(done));
}

void FileDialog::saveFile(QWidget* parent, const Options& options, std::function<void(const QString&)> done)
{
    const auto answer = firstOf(std::move(done));
    if (answerPrepared(options, answer))
        return;
    show(makeDialog(parent, options, QFileDialog::AcceptSave, QFileDialog::AnyFile), answer);
}

void FileDialog::chooseDirectory(QWidget* parent, const Options& options, std::function<void(const QString&)> done)
{
    const auto answer = firstOf(std::move(done));
    if (answerPrepared(options, answer))
        return;
    QFileDialog* dialog = makeDialog(parent, options, QFileDialog::AcceptOpen, QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    show(dialog, answer);
}

void FileDialog::setNextFileName(const QString& path)
{
    prepared().enqueue({ { path } });
}

void FileDialog::setNextFileNames(const QStringList& paths)
{
    prepared().enqueue({ paths });
}

void FileDialog::setNextDirectory(const QString& path)
{
    prepared().enqueue({ { path } });
}

void FileDialog::setNextCancel()
{
    prepared().enqueue({});
}

QList<FileDialog::Options> FileDialog::takeAskedDialogs()
{
    return std::exchange(asked(), {});
}
