#include <build_paths.h>
#include <support/temporary_directory.h>
#include <tessel_asset_loading/support/prefab_builder.h>
#include <tessel_asset_loading/support/prefab_text.h>

#include "program_run.h"

#include <gtest/gtest.h>

namespace Kiln::BoundaryTests {
namespace {

// The steps are in late_host.cpp; they depend on one another and on a process of their own.
TEST(LateHostTest, moduleLoadedAtRunTime_isRegisteredWithOneIdentityAndEndsCleanly) {
    const TestSupport::TemporaryDirectory directory;
    TestSupport::PrefabText prefab;
    prefab.component("LanternComponent", prefab.root(TestSupport::id(1), "Lantern"),
                     TestSupport::element("brightness", "3"));
    directory.writeFile("lantern.prefab", prefab.text());

    const ProgramEnd end = runProgram("boundary_late_host", {KILN_BUILD_LIB_DIR, directory.path().string()});

    EXPECT_EQ(end.output, "finished\n");
    EXPECT_EQ(end.status, 0);
}

TEST(LateHostTest, withoutArguments_fails) {
    const ProgramEnd end = runProgram("boundary_late_host", {});

    EXPECT_EQ(end.output, "FAILED: usage: boundary_late_host <libraries> <resource root>\n");
    EXPECT_EQ(end.status, 3);
}

} // namespace
} // namespace Kiln::BoundaryTests
