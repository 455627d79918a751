#include <core/safe_reference_count.h>

namespace Kiln {

SafeReferenceCount::~SafeReferenceCount() = default;

} // namespace Kiln
