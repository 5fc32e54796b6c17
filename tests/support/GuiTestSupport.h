#pragma once

// Set-up the window tests share. Header-only, because only the window tests
// link the application library.

#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "app/core/AppInfo.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "app/window/ArchiveWindow.h"
#include "text/KVLocalizationDictionary.h"

#include <QSettings>

namespace GuiTest {

/// Shows the shared table's texts in @p language from now on.
inline void useLanguage(const QString& language)
{
    KVLocalizationDictionary& table = KVLocalizationDictionary::sharedLocalizationDictionary();
    table.setLanguage(language);
    table.reloadLocalizationDictionary();
}

/// Forgets the alerts and file dialogs asked so far, so a test sees only its own.
inline void forgetAskedDialogs()
{
    MessageBox::takeAskedAlerts();
    FileDialog::takeAskedDialogs();
}

/// An alert as the message box seam records it: the title's text, a line break, the message's.
inline QString alertText(const char* title, const char* message)
{
    return text(title) + QLatin1Char('\n') + text(message);
}

/// The application's settings, for tests whose main() does not name the application.
inline QSettings appSettings()
{
    return QSettings(AppInfo::organizationName(), AppInfo::applicationName());
}

/// "objectName (ClassName)", how findings name a widget.
inline QString describe(const QObject* object)
{
    const QString name = object->objectName().isEmpty() ? QStringLiteral("-") : object->objectName();
    return QStringLiteral("%1 (%2)").arg(name, QString::fromLatin1(object->metaObject()->className()));
}

/// The archive at @p path read as the application reads it, in its shown
/// window; nullptr when it does not open.
inline std::unique_ptr<ArchiveWindow> openArchiveWindow(const QString& path)
{
    auto* document = new Document;
    DocumentError error;
    if (document->readFromFileWrapper(path, QString::fromLatin1(Document::typeName), &error)
        != Document::ReadResult::Success) {
        delete document;
        return nullptr;
    }
    auto window = std::make_unique<ArchiveWindow>(document);
    window->windowControllerDidLoadNib();
    window->show();
    return window;
}

} // namespace GuiTest
