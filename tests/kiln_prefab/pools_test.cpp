#include "kiln_prefab_fixture.h"

namespace Kiln::PrefabToolTests {

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Pools : public KilnPrefabFixture {
protected:
    Pools() { write("a.prefab", PrefabText().object(id(1), "Root").object(id(2), "Child").parent(1, id(1))); }

    [[nodiscard]] static std::vector<std::string> titles(const std::string& text) {
        std::vector<std::string> result;
        for (const std::string& line : lines(text)) {
            if (line.starts_with("Pool of ")) {
                result.push_back(line);
            }
        }
        return result;
    }

    [[nodiscard]] static std::size_t count(const std::string& text, const std::string& part) {
        std::size_t found = 0;
        for (std::size_t position = text.find(part); position != std::string::npos;
             position = text.find(part, position + 1)) {
            ++found;
        }
        return found;
    }
};

TEST_F(Pools, withoutTheOption_areNotDumped) {
    EXPECT_THAT(titles(spawn({"a.prefab"}).output), IsEmpty());
}

TEST_F(Pools, eachComponentType_hasItsTitleAndDump) {
    const TestSupport::ProcessResult result = spawn({"--dump-pools", "a.prefab"});
    EXPECT_THAT(titles(result.output),
                testing::UnorderedElementsAre("Pool of HierarchyComponent", "Pool of PrefabComponent"));
    EXPECT_EQ(count(result.output, "\nBlock size: "), 2U);
    EXPECT_EQ(count(result.output, "Is pool empty: no\n"), 2U);
    EXPECT_EQ(count(result.output, "| ACTIVE           | "), 2U);
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(Pools, areDumpedOnceAfterAllInstancesOfAPrefab) {
    const std::string output = spawn({"--dump-pools", "--instances", "3", "a.prefab"}).output;
    EXPECT_EQ(titles(output).size(), 2U);
    EXPECT_EQ(count(output, "| ACTIVE           | "), 6U);
    EXPECT_GT(output.find("Pool of "), output.rfind("a.prefab, instance "));
}

TEST_F(Pools, ofEachPrefab_areThoseOfItsOwnWorld) {
    const std::string output = spawn({"--dump-pools", "a.prefab", "a.prefab"}).output;
    EXPECT_EQ(titles(output).size(), 4U);
    EXPECT_EQ(count(output, "| ACTIVE           | "), 4U);
}

TEST_F(Pools, underInactiveParent_holdInactiveComponents) {
    const std::string output = spawn({"--dump-pools", "--under-inactive-parent", "a.prefab"}).output;
    EXPECT_EQ(count(output, "| ACTIVE           | "), 0U);
    EXPECT_EQ(count(output, "| INACTIVE         | "), 3U);
}

TEST_F(Pools, withJson_goToStderr) {
    const std::vector<Json> instances = spawnJson({"--dump-pools", "a.prefab"});
    EXPECT_EQ(instances.size(), 1U);
    EXPECT_EQ(lines(m_result.output).size(), 1U);
    EXPECT_THAT(m_result.errors, AllOf(HasSubstr("Pool of HierarchyComponent\n"), Not(HasSubstr("error: "))));
}

} // namespace

} // namespace Kiln::PrefabToolTests
