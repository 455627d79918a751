#pragma once

#include <string>

namespace Kiln::AgreementTests {

/// Registers the components of the harbour, once per process. The components of the fuzz targets, which have a property
/// of every type, are part of the program.
void loadComponents();

struct Agreement {
    bool isReached = false;
    bool isFaulty = false; ///< Whether loading the prefab fails or reports errors.
};

/// Loads and checks the prefab, and expects that both find errors or that none does.
Agreement expectAgreement(const std::string& path, const std::string& description);

} // namespace Kiln::AgreementTests
