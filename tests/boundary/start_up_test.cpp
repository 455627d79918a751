#include <build_paths.h>
#include <support/process_runner.h>

#include <gtest/gtest.h>

namespace Kiln::BoundaryTests {
namespace {

using TestSupport::ProcessResult;
using TestSupport::runProcess;

// The steps are in start_up_host.cpp. The last registration is visible once the module is loaded and not before; the
// manager's options are set after those of the worlds.
TEST(StartUp, moduleLoadedAtRunTime_announcesItselfInOrder) {
    const std::string query = "[5] Query with these arguments already exists! Try this one: (anonymous "
                              "namespace)::EarlierQuery*: types 1, record 1, managers 1, meta objects 0, service 0\n";

    const ProcessResult end = runProcess(KILN_BUILD_BIN_DIR "/boundary_start_up_host", {KILN_BUILD_LIB_DIR});

    EXPECT_EQ(end,
              (ProcessResult{0,
                             "before: types 0, record 0, managers 0, meta objects 0, service 0\n"
                             "begin Engine|Tessel|registerComponent: types 0, record 0, managers 0, meta objects 0, "
                             "service 0\n"
                             "end Engine|Tessel|registerComponent: types 1, record 0, managers 0, meta objects 0, "
                             "service 0\n" +
                                 query + query +
                                 "after: types 1, record 1, managers 1, meta objects 2, service 1\n"
                                 "options of the manager: 35\n",
                             ""}));
}

TEST(StartUp, fullTypesLibrary_moduleLoadsAndEachComponentIsReported) {
    const std::string tooMany = "[6] '' shared_libs/tessel_foundation/component Too Many IComponent types!\n";

    const ProcessResult end = runProcess(KILN_BUILD_BIN_DIR "/boundary_full_registry_host", {KILN_BUILD_LIB_DIR});

    EXPECT_EQ(end, (ProcessResult{0, "loaded\n" + tooMany + tooMany + tooMany, ""}));
}

TEST(StartUp, hostsWithoutArguments_fail) {
    EXPECT_EQ(runProcess(KILN_BUILD_BIN_DIR "/boundary_start_up_host", {}),
              (ProcessResult{3, "", "FAILED: usage: boundary_start_up_host <libraries>\n"}));
    EXPECT_EQ(runProcess(KILN_BUILD_BIN_DIR "/boundary_full_registry_host", {}),
              (ProcessResult{3, "", "FAILED: usage: boundary_full_registry_host <libraries>\n"}));
}

} // namespace
} // namespace Kiln::BoundaryTests
