#include "agreement.h"

#include "outcome.h"

#include <build_paths.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace Kiln::AgreementTests {

void loadComponents() {
    static const bool isLoaded = dlopen(KILN_BUILD_LIB_DIR "/libharbour_components.so", RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(isLoaded) << dlerror();
}

Agreement expectAgreement(const std::string& path, const std::string& description) {
    const Outcome spawned = spawnOutcome(path);
    const Outcome checked = checkOutcome(path);
    const Agreement agreement{spawned.errors.empty() == checked.errors.empty(), !spawned.errors.empty()};
    EXPECT_TRUE(agreement.isReached) << description << "\nprefab: " << path << "\n" << comparison(spawned, checked);
    return agreement;
}

} // namespace Kiln::AgreementTests
