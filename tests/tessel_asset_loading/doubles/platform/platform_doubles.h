#pragma once

#include <core/non_copyable.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Kiln {
class ComponentLibrary;
}

namespace Kiln::TestSupport {

/// Platform operations that this program defines itself, to cause failures that files cannot. The dynamic linker
/// prefers a program's own definitions to those of its libraries, so the module calls these. They follow the object
/// that is alive at the time, and without one they call the library's operations. Main thread.
class PlatformDoubles : NonCopyable {
public:
    PlatformDoubles();
    ~PlatformDoubles();

    /// What was called, in order: "componentMeta <name>", "openXmlSection <path> <flag>" and, of the calls of these
    /// operations, just "addComponent null" and "openSection <name> created".
    std::vector<std::string> calls;

    /// Called with the type's id before a record is given out; may throw.
    std::function<void(std::size_t id)> onComponentMeta;

    /// Whether the next stored game object, of a document with that source, has no descriptor.
    std::function<bool(const std::string& source)> isGameObjectNull;

    /// Replaces the component library where it is looked up as a service. Not owned.
    ComponentLibrary* libraryService = nullptr;
};

} // namespace Kiln::TestSupport
