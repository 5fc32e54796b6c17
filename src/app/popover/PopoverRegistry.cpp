#include "app/popover/PopoverRegistry.h"

#include "app/popover/PopoverController.h"

QHash<QString, PopoverRegistry::Factory>& PopoverRegistry::factories()
{
    static QHash<QString, Factory> registry;
    return registry;
}

void PopoverRegistry::registerFactory(const QString& className, Factory factory)
{
    factories().insert(className, std::move(factory));
}

PopoverController* PopoverRegistry::create(const QString& className)
{
    const Factory factory = factories().value(className);
    return factory ? factory() : nullptr;
}

bool PopoverRegistry::contains(const QString& className)
{
    return factories().contains(className);
}
