#pragma once

#include <QObject>
#include <memory>

class FileCopy;
class MainView;

/// `createFileCopy:`: the selected record's file written where the user
/// chooses, under its copy name, with its tags and comment a moment later.
/// A missing or corrupted member is refused with its alert before the dialog.
class FileCopyFlow : public QObject
{
    Q_OBJECT

public:
    explicit FileCopyFlow(MainView* view);
    ~FileCopyFlow() override;

    void createFileCopy();
    FileCopy* fileCopy() const { return m_copy.get(); }

Q_SIGNALS:
    /// A copy was written to @p filePath (its attributes follow later).
    void copyWritten(const QString& filePath);

private:
    void showError(const QString& key);

    MainView* m_view;
    std::unique_ptr<FileCopy> m_copy;
};
