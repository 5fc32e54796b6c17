#pragma once

#include <QObject>

class MainView;

/// Deleting the selected document or group: locks refuse with a critical
/// alert; otherwise a warning asks (a document) or informs (a group, whose
/// alert cannot be declined), and the engine deletes and logs.
class DeletionFlow : public QObject
{
    Q_OBJECT

public:
    explicit DeletionFlow(MainView* view);

    /// `deleteDocument:`.
    void deleteDocument();
    /// `deleteGroup:`.
    void deleteGroup();

Q_SIGNALS:
    /// A deletion was carried out (after its alert was answered).
    void deleted();

private:
    MainView* m_view;
};
