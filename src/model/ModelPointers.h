#pragma once

#include <memory>

/// The archive's object classes and the shared pointers they are handed
/// around in; headers that only pass objects along include this instead of
/// the classes themselves.
class QuillarcDatabaseObject;
class QuillarcContainer;
class QuillarcDocument;
class QuillarcGroup;
class QuillarcLogObject;
class QuillarcPreferences;

using ObjectPtr = std::shared_ptr<QuillarcDatabaseObject>;
using ContainerPtr = std::shared_ptr<QuillarcContainer>;
using DocumentPtr = std::shared_ptr<QuillarcDocument>;
using GroupPtr = std::shared_ptr<QuillarcGroup>;
using LogObjectPtr = std::shared_ptr<QuillarcLogObject>;
using PreferencesPtr = std::shared_ptr<QuillarcPreferences>;
