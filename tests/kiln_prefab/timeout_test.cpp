#include "kiln_prefab_fixture.h"

#include <sys/stat.h>

namespace Kiln::PrefabToolTests {

namespace {

using testing::ElementsAre;

/// A pipe without a writer blocks the worker that opens it forever.
class Timeout : public KilnPrefabFixture {
protected:
    Timeout() {
        EXPECT_EQ(mkfifo(m_directory.path("pipe.prefab").c_str(), 0600), 0);
        write("a.prefab", simplePrefab());
    }
};

TEST_F(Timeout, loadThatDoesNotEnd_isGivenUp) {
    const TestSupport::ProcessResult result = spawn({"--timeout", "0.05", "pipe.prefab"});
    EXPECT_EQ(result.errors, "kiln-prefab: pipe.prefab: not created: not loaded within 0.05 s\n");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(Timeout, loadsAfterOneThatDoesNotEnd_areReportedAsNotDone) {
    const std::vector<Json> instances =
        spawnJson({"--timeout", "0.05", "--instances", "2", "a.prefab", "pipe.prefab", "a.prefab"});
    std::vector<std::size_t> objects;
    for (const Json& instance : instances) {
        objects.push_back(instance["objects"].size());
    }
    EXPECT_THAT(objects, ElementsAre(1, 1, 0, 0, 0, 0));
    EXPECT_THAT(lines(m_result.errors),
                ElementsAre("kiln-prefab: pipe.prefab: not created: not loaded within 0.05 s",
                            "kiln-prefab: pipe.prefab: not created: an earlier background load has not ended",
                            "kiln-prefab: a.prefab: not created: an earlier background load has not ended",
                            "kiln-prefab: a.prefab: not created: an earlier background load has not ended"));
    EXPECT_EQ(m_result.exitStatus, 1);
}

TEST_F(Timeout, poolsOfALoadThatDoesNotEnd_areDumped) {
    EXPECT_EQ(spawn({"--timeout", "0.05", "--dump-pools", "pipe.prefab"}).exitStatus, 1);
}

} // namespace

} // namespace Kiln::PrefabToolTests
