#pragma once

#include <core/non_copyable.h>

namespace Kiln::TestSupport {

/// What the component library denies while a ForgetfulLibrary exists; one at a time, main thread.
enum class Forgotten {
    HIERARCHY_TYPE,       ///< HierarchyComponent is not registered.
    HIERARCHY_DESCRIPTOR, ///< It is registered, but no descriptor of it can be made.
};

/// Types cannot be removed from the component library; this makes it deny one.
class ForgetfulLibrary : NonCopyable {
public:
    explicit ForgetfulLibrary(Forgotten what);
    ~ForgetfulLibrary();
};

} // namespace Kiln::TestSupport
