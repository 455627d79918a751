#pragma once

#include "file_set.h"

#include <string>

namespace Kiln::AgreementTests {

/// A sound set of prefab files that nest each other, together with faulty ones in `donors/`, which none of them nests.
/// `harbour` is the sample; the others are the folders of base_files/.
[[nodiscard]] FileSet baseSet(const std::string& name);

} // namespace Kiln::AgreementTests
