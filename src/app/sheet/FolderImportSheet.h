#pragma once

#include "app/sheet/Sheet.h"

class QLabel;
class QProgressBar;

/// The modal sheet shown while the monitored folders are scanned: a busy
/// indicator and one line of status text (the folder, then each file).
/// It cannot be dismissed; the scan closes it when it ends.
class FolderImportSheet : public Sheet
{
    Q_OBJECT

public:
    explicit FolderImportSheet(QWidget* window);

    void setFolderImportString(const QString& text);
    QString folderImportString() const;

protected:
    void reject() override {}

private:
    QProgressBar* m_indicator;
    QLabel* m_status;
};
