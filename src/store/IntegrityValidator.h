#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

class Document;

/// Proves that nothing in an archive was changed, replaced or removed since
/// it was written: the database bytes read at opening against their stored
/// fingerprint, then every archived member against its document's. This is
/// the engine behind the archive's information popover; the command line
/// drives it the same way.
///
/// The checks run on the shared serial background queue; every state change
/// (and the archive's integrityString) is applied on the main thread. On
/// failure the findings are written to the integrity log file, which a later
/// success leaves in place.
class IntegrityValidator : public QObject
{
    Q_OBJECT

public:
    explicit IntegrityValidator(Document* archive, QObject* parent = nullptr);

    /// Validates the given database bytes (the archive's clientData) and
    /// every document. An archive never reopened since it was made cannot be
    /// validated yet and only says so.
    void validateIntegrety(const QByteArray& databaseBytes);

    bool isValidating() const { return m_isValidating; }
    bool isDataInteger() const { return m_isDataInteger; }
    QString integrityString() const { return m_integrityString; }
    /// The findings of the last failed run ("" after a success).
    QString logText() const { return m_logText; }

    /// "~/Documents/Quillarc_Integrity_Log.txt".
    static QString integrityLogPath();

    /// One document's verdict: missing member, undecodable member, or changed bytes.
    enum class MemberState { Intact, Missing, Undecodable, Changed };
    static MemberState checkMember(const QString& packagePath, const QString& relativePath, const QString& storedFingerprint,
        const QString& salt);

Q_SIGNALS:
    void stateChanged();
    /// The run has ended; `intact` is false when anything failed. Not emitted
    /// for an archive that cannot be validated yet.
    void finished(bool intact);

private:
    void setIntegrityString(const QString& text);
    void finish(bool intact, const QString& logText);

    Document* m_archive;
    bool m_isValidating = false;
    bool m_isDataInteger = false;
    QString m_integrityString;
    QString m_logText;
};
