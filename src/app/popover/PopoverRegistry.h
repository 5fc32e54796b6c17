#pragma once

#include <QHash>
#include <QString>

#include <functional>

class PopoverController;

/// Popover screens by class name, so an archive window can show any of them
/// by name ("Search_Popover", "SortOrder_Popover", "DocumentInfo_Popover").
class PopoverRegistry
{
public:
    using Factory = std::function<PopoverController*()>;

    static void registerFactory(const QString& className, Factory factory);
    /// A new screen of that class, or nullptr for a name nobody registered.
    static PopoverController* create(const QString& className);
    static bool contains(const QString& className);

    /// Registers every popover screen of the application (BuiltInPopovers.cpp);
    /// called once when the application starts and by window tests.
    static void registerBuiltIns();

private:
    static QHash<QString, Factory>& factories();
};
