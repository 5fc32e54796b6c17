#pragma once

#include "model/QuillarcDatabaseObject.h"

class QuillarcGroup;

/// One archived file and its metadata.
class QuillarcDocument : public QuillarcDatabaseObject
{
public:
    enum Field {
        UniqueID, CreationDate, FileDate, ModificationDate, String, Path, IconPath, Name, Title, Extension,
        FileKind, FileType, SlipNumber, ContentString, FileSize, Comment, Note, DateAdded, DocumentColorTag,
        IsLocked, Tags, FileID, Properties
    };

    QuillarcDocument();
    static const ClassInfo& staticClassInfo();
    static std::shared_ptr<QuillarcDocument> create();

    QString uniqueID() const { return field(UniqueID).toString(); }
    QString string() const { return field(String).toString(); }
    QString path() const { return field(Path).toString(); }
    QString iconPath() const { return field(IconPath).toString(); }
    QString name() const { return field(Name).toString(); }
    QString title() const { return field(Title).toString(); }
    QString extension() const { return field(Extension).toString(); }
    QString fileKind() const { return field(FileKind).toString(); }
    QString slipNumber() const { return field(SlipNumber).toString(); }
    QString contentString() const { return field(ContentString).toString(); }
    QString comment() const { return field(Comment).toString(); }
    QString note() const { return field(Note).toString(); }
    QString fileID() const { return field(FileID).toString(); }
    ReferenceTime fileDate() const { return field(FileDate).toDate(); }
    QStringList tags() const;
    bool isLocked() const { return field(IsLocked).toBool(); }

    QuillarcGroup* group() const;
    /// Locked by itself or through its group.
    bool isFileLocked() const;
    QString tagsAsString() const { return tags().join(QLatin1Char(',')); }
    /// The extension upper-cased; long extensions are shortened with the localized ellipsis.
    QString extensionUppercase() const;
    QString parentID() const;
    /// fileDate in the short date style of the current locale, without time.
    QString shortFileDate() const;

    /// The name of a copy handed out (file copy, export): "(label) slip_name"
    /// with the slip number reduced to path-safe characters, or "(label)
    /// name" without one, then the extension.
    QString fileCopyName() const;

    /// The document's current-state block for the audit log: its state line
    /// says corrupted or valid as told (logTextNew always says valid).
    QString currentStateBlock(bool corrupted) const;
    QString logTextNew() const { return currentStateBlock(false); }

    Value valueForKey(const QString& key) const override;

};

/// Image name of a colour tag: 0 "redDot" ... 6 "grayDot", anything else "noDot".
QString colorTagImageName(const Value& colorTag);
