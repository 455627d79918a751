#include <build_paths.h>
#include <support/prefab_text.h>
#include <support/process_runner.h>
#include <support/temporary_directory.h>

#include <gtest/gtest.h>

namespace Kiln::BoundaryTests {
namespace {

using TestSupport::ProcessResult;
using TestSupport::runProcess;

constexpr const char* LATE_HOST = KILN_BUILD_BIN_DIR "/boundary_late_host";

// The steps are in late_host.cpp; they depend on one another and on a process of their own.
TEST(LateHost, moduleLoadedAtRunTime_isRegisteredWithOneIdentityAndEndsCleanly) {
    const TestSupport::TemporaryDirectory directory;
    TestSupport::PrefabText prefab;
    prefab.component("LanternComponent", prefab.root(TestSupport::id(1), "Lantern"),
                     TestSupport::element("brightness", "3"));
    directory.writeFile("lantern.prefab", prefab.text());

    const ProcessResult end = runProcess(LATE_HOST, {KILN_BUILD_LIB_DIR, directory.path().string()});

    EXPECT_EQ(end, (ProcessResult{0, "finished\n", ""}));
}

TEST(LateHost, withoutArguments_fails) {
    const ProcessResult end = runProcess(LATE_HOST, {});

    EXPECT_EQ(end, (ProcessResult{3, "", "FAILED: usage: boundary_late_host <libraries> <resource root>\n"}));
}

} // namespace
} // namespace Kiln::BoundaryTests
