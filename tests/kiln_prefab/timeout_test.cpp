#include "kiln_prefab_fixture.h"

#include <build_paths.h>

namespace Kiln::PrefabToolTests {

namespace {

using testing::ElementsAre;

/// The worker that reads "stuck.prefab" never returns.
class Timeout : public KilnPrefabFixture {
protected:
    Timeout() {
        write("stuck.prefab", PrefabText().object(id(1), "Root").component("StuckComponent", 0));
        write("a.prefab", simplePrefab());
    }
};

TEST_F(Timeout, loadThatDoesNotEnd_isGivenUp) {
    const TestSupport::ProcessResult result = spawn({"--load", TEST_COMPONENTS, "--timeout", "0.05", "stuck.prefab"});
    EXPECT_EQ(result.errors, "kiln-prefab: stuck.prefab: not created: not loaded within 0.05 s\n");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(Timeout, loadsAfterOneThatDoesNotEnd_areReportedAsNotDone) {
    const std::vector<Json> instances = spawnJson(
        {"--load", TEST_COMPONENTS, "--timeout", "0.05", "--instances", "2", "a.prefab", "stuck.prefab", "a.prefab"});
    std::vector<std::size_t> objects;
    for (const Json& instance : instances) {
        objects.push_back(instance["objects"].size());
    }
    EXPECT_THAT(objects, ElementsAre(1, 1, 0, 0, 0, 0));
    EXPECT_THAT(lines(m_result.errors),
                ElementsAre("kiln-prefab: stuck.prefab: not created: not loaded within 0.05 s",
                            "kiln-prefab: stuck.prefab: not created: an earlier background load has not ended",
                            "kiln-prefab: a.prefab: not created: an earlier background load has not ended",
                            "kiln-prefab: a.prefab: not created: an earlier background load has not ended"));
    EXPECT_EQ(m_result.exitStatus, 1);
}

TEST_F(Timeout, poolsOfALoadThatDoesNotEnd_areDumped) {
    EXPECT_EQ(spawn({"--load", TEST_COMPONENTS, "--timeout", "0.05", "--dump-pools", "stuck.prefab"}).exitStatus, 1);
}

} // namespace

} // namespace Kiln::PrefabToolTests
