#pragma once

#include <string>
#include <vector>

namespace Kiln::AgreementTests {

/// The problems with a prefab, as one side sees them.
struct Outcome {
    std::vector<std::string> errors; ///< Empty for a sound prefab.
    std::vector<std::string> others; ///< Warnings, for the reader of a failed test.
};

/// What `kiln-prefab spawn` says: whether an instance is created, and the errors that it reports, without the messages
/// about the depth limit of the walks.
[[nodiscard]] Outcome spawnOutcome(const std::string& path);

/// What `kiln-prefab check` says: its findings.
[[nodiscard]] Outcome checkOutcome(const std::string& path);

/// A description of both outcomes.
[[nodiscard]] std::string comparison(const Outcome& spawned, const Outcome& checked);

} // namespace Kiln::AgreementTests
