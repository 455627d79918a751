#include <build_paths.h>
#include <support/prefab_text.h>
#include <support/process_runner.h>
#include <support/temporary_directory.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace Kiln::BoundaryTests {
namespace {

using TestSupport::element;
using TestSupport::id;
using TestSupport::ProcessResult;

/// Processes that end while prefabs are being loaded (exit_program.cpp).
class LoadingExit : public testing::TestWithParam<const char*> {
protected:
    LoadingExit() {
        for (int number = 0; number < 20; ++number) {
            TestSupport::PrefabText prefab;
            const std::size_t root = prefab.root(id(1), "Lantern");
            prefab.component("LanternComponent", root,
                             element("brightness", "3") + element("preloadMilliseconds", "5"));
            prefab.child(id(2), "Chain", id(1));
            prefab.nested(id(3), "Inner", id(1), "inner.prefab");
            directory.writeFile("lantern" + std::to_string(number) + ".prefab", prefab.text());
        }
        TestSupport::PrefabText inner;
        inner.root(id(1), "Inner root");
        directory.writeFile("inner.prefab", inner.text());
        TestSupport::PrefabText endless;
        endless.component("LanternComponent", endless.root(id(1), "Endless"),
                          element("brightness", "3") + element("preloadMilliseconds", "5"));
        for (std::size_t point = 0; point < 20; ++point) {
            endless.nested(id(2 + point), "Point", id(1), "endless.prefab");
        }
        directory.writeFile("endless.prefab", endless.text());
    }

    [[nodiscard]] ProcessResult run(const std::string& mode) const {
        return TestSupport::runProcess(KILN_BUILD_BIN_DIR "/boundary_exit_program",
                                       {KILN_BUILD_LIB_DIR, directory.path().string(), mode});
    }

    TestSupport::TemporaryDirectory directory;
};

TEST_P(LoadingExit, process_endsCleanly) {
    EXPECT_EQ(run(GetParam()), (ProcessResult{0, "finished\n", ""}));
}

INSTANTIATE_TEST_SUITE_P(Modes, LoadingExit,
                         testing::Values("leave-while-preloading", "exit-while-preloading", "leave-at-once",
                                         "leave-with-live-objects", "leave-with-destroyed-world",
                                         "leave-with-cleared-cache", "leave-with-sections",
                                         "leave-with-descriptor-requests", "leave-amid-everything",
                                         "exit-from-callback", "leave-during-a-long-walk", "leave-without-loads"),
                         [](const auto& instance) {
                             std::string name = instance.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

using LoadingExitProgram = LoadingExit;

TEST_F(LoadingExitProgram, unknownMode_fails) {
    EXPECT_EQ(run("no-such-mode"), (ProcessResult{3, "", "FAILED: unknown mode\n"}));
}

} // namespace
} // namespace Kiln::BoundaryTests
