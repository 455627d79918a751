#include "kiln_prefab_fixture.h"

namespace Kiln::PrefabToolTests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Options : public KilnPrefabFixture {
protected:
    Options() { write("a.prefab", simplePrefab()); }

    void expectUsageError(const std::vector<std::string>& arguments, const std::string& reason) const {
        const TestSupport::ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_THAT(result.output, IsEmpty());
        EXPECT_THAT(result.errors, StartsWith("kiln-prefab: "));
        EXPECT_THAT(result.errors, HasSubstr(reason));
    }
};

TEST_F(Options, help_isPrintedToStdout) {
    const TestSupport::ProcessResult result = run({"--help"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.output, HasSubstr("spawn"));
    EXPECT_THAT(result.errors, IsEmpty());
}

TEST_F(Options, spawnHelp_namesEveryOption) {
    const TestSupport::ProcessResult result = spawn({"--help"});
    EXPECT_EQ(result.exitStatus, 0);
    for (const char* const option :
         {"--root", "--load", "--instances", "--instance-uuid", "--under-inactive-parent", "--dump-pools", "--timeout",
          "--trace", "--budget", "--progress", "--json", "--verbose"}) {
        EXPECT_THAT(result.output, HasSubstr(option));
    }
    EXPECT_THAT(result.errors, IsEmpty());
}

TEST_F(Options, noSubcommand_isAUsageError) {
    expectUsageError({}, "subcommand");
}
TEST_F(Options, unknownSubcommand_isAUsageError) {
    expectUsageError({"sprawn", "a.prefab"}, "sprawn");
}
TEST_F(Options, noPrefab_isAUsageError) {
    expectUsageError({"spawn"}, "PREFAB");
}
TEST_F(Options, emptyPrefabName_isAUsageError) {
    expectUsageError({"spawn", ""}, "PREFAB: the name is empty");
}
TEST_F(Options, unknownOption_isAUsageError) {
    expectUsageError({"spawn", "--colour", "a.prefab"}, "--colour");
}
TEST_F(Options, missingOptionValue_isAUsageError) {
    expectUsageError({"spawn", "a.prefab", "--root"}, "--root");
}

TEST_F(Options, malformedInstanceUuid_isAUsageError) {
    for (const char* const uuid : {"", "7", "00000000-0000-0000-0000-00000000000g",
                                   "{00000000-0000-0000-0000-000000000001}", "00000000000000000000000000000001"}) {
        expectUsageError({"spawn", "--instance-uuid", uuid, "a.prefab"}, "--instance-uuid");
    }
}

TEST_F(Options, badInstanceCount_isAUsageError) {
    for (const char* const count : {"0", "-1", "1.5", "many", "", "99999999999999999999"}) {
        expectUsageError({"spawn", std::string("--instances=") + count, "a.prefab"}, "--instances");
    }
}

TEST_F(Options, badTimeout_isAUsageError) {
    for (const char* const timeout : {"0", "-1", "0.0", "soon", "nan", "inf", "1e300", ""}) {
        expectUsageError({"spawn", std::string("--timeout=") + timeout, "a.prefab"}, "--timeout");
    }
}

TEST_F(Options, rootThatIsMissing_isAUsageError) {
    expectUsageError({"spawn", "--root", "nowhere", "a.prefab"}, "nowhere");
}

TEST_F(Options, rootThatIsAFile_isAUsageError) {
    expectUsageError({"spawn", "--root", "a.prefab", "a.prefab"}, "a.prefab");
}

TEST_F(Options, libraryThatIsMissing_isAUsageErrorWithTheLinkersText) {
    expectUsageError({"spawn", "--load", "./gone.so", "a.prefab"},
                     "./gone.so: cannot open shared object file: No such file or directory");
}

TEST_F(Options, libraryThatIsNone_isAUsageErrorWithTheLinkersText) {
    expectUsageError({"spawn", "--load", "a.prefab", "a.prefab"}, "a.prefab: ");
}

TEST_F(Options, withoutRoot_pathsAreRelativeToTheCurrentDirectory) {
    write("deep/b.prefab", simplePrefab());
    EXPECT_EQ(spawn({"deep/b.prefab"}).exitStatus, 0);
}

TEST_F(Options, root_isWherePathsAreLookedUp) {
    write("content/b.prefab", simplePrefab());
    EXPECT_EQ(spawn({"--root", "content", "b.prefab"}).exitStatus, 0);
    EXPECT_EQ(spawn({"--root", "content", "a.prefab"}).exitStatus, 1);
}

TEST_F(Options, root_isWhereNestedPrefabsAreLookedUp) {
    write("content/inner.prefab", simplePrefab());
    write("content/outer.prefab",
          PrefabText().object(id(1), "Outer").object(id(2), "Point").parent(1, id(1)).nest(1, "inner.prefab"));
    EXPECT_EQ(spawn({"--root", "content", "outer.prefab"}).exitStatus, 0);
}

TEST_F(Options, severalRoots_firstMatchWins) {
    write("one/a.prefab", PrefabText().object(id(1), "From one"));
    write("two/a.prefab", PrefabText().object(id(1), "From two"));
    write("two/b.prefab", PrefabText().object(id(1), "Only in two"));
    const std::vector<Json> instances = spawnJson({"--root", "one", "--root", "two", "a.prefab", "b.prefab"});
    ASSERT_EQ(instances.size(), 2U);
    EXPECT_EQ(instances[0]["objects"][0]["name"], "From one");
    EXPECT_EQ(instances[1]["objects"][0]["name"], "Only in two");
}

TEST_F(Options, absolutePathInARoot_isUsedUnchanged) {
    write("elsewhere/b.prefab", simplePrefab());
    EXPECT_EQ(spawn({m_directory.path("a.prefab")}).exitStatus, 0);
    EXPECT_EQ(spawn({"--root", "elsewhere", m_directory.path("elsewhere/b.prefab")}).exitStatus, 0);
    EXPECT_EQ(spawn({"--root", m_directory.path("elsewhere"), "elsewhere/b.prefab"}).exitStatus, 1);
}

TEST_F(Options, pathOutsideOfTheRoots_isNotReadAndTheOptionIsNamed) {
    write("inside/b.prefab", simplePrefab());
    for (const std::string& path : {std::string("../a.prefab"), m_directory.path("a.prefab")}) {
        const TestSupport::ProcessResult result = spawn({"--root", "inside", "--instances", "2", path, "b.prefab"});
        EXPECT_EQ(result.exitStatus, 1);
        const std::string refused = "Cannot read '" + path + "': is outside of the resource roots";
        const std::string notFound = "Prefab not found " + path;
        const std::string notCreated = "kiln-prefab: " + path + ": not created: ";
        EXPECT_THAT(lines(result.errors),
                    ElementsAre("error: " + refused, "error: " + notFound, notCreated + refused + "; " + notFound,
                                "note: only files beneath a resource root are read; --root DIR adds DIR, in which "
                                "relative paths are then looked up",
                                "error: " + refused, "error: " + notFound, notCreated + refused + "; " + notFound));
        EXPECT_THAT(result.output, HasSubstr("Root"));
    }
    EXPECT_EQ(spawn({"--root", "inside", "--root", ".", "b.prefab", m_directory.path("a.prefab")}).exitStatus, 0);
}

TEST_F(Options, nestedPathOutsideOfTheRoots_isNotReadAndTheOptionIsNamed) {
    write("inside/outer.prefab",
          PrefabText().object(id(1), "Outer").object(id(2), "Point").parent(1, id(1)).nest(1, "../a.prefab"));
    const TestSupport::ProcessResult result = spawn({"--root", "inside", "outer.prefab"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr("error: Cannot read '../a.prefab': is outside of the resource roots"));
    EXPECT_THAT(result.errors, HasSubstr("--root DIR adds DIR"));
}

TEST_F(Options, doubleDash_allowsNamesThatLookLikeOptions) {
    write("--a.prefab", simplePrefab());
    EXPECT_EQ(spawn({"--", "--a.prefab"}).exitStatus, 0);
}

TEST_F(Options, argumentThatIsTheNameOfACommand_isAnArgument) {
    write("help", simplePrefab());
    EXPECT_EQ(spawn({"help"}).exitStatus, 0);
}

TEST_F(Options, severalPrefabs_areLoadedInOrder) {
    write("b.prefab", PrefabText().object(id(1), "B"));
    const std::vector<Json> instances = spawnJson({"b.prefab", "a.prefab", "b.prefab"});
    ASSERT_EQ(instances.size(), 3U);
    EXPECT_EQ(instances[0]["prefab"], "b.prefab");
    EXPECT_EQ(instances[1]["prefab"], "a.prefab");
    EXPECT_EQ(instances[2]["prefab"], "b.prefab");
    EXPECT_EQ(m_result.exitStatus, 0);
}

TEST_F(Options, instances_areCreatedSoManyTimes) {
    write("b.prefab", PrefabText().object(id(1), "B"));
    const std::vector<Json> instances = spawnJson({"--instances", "3", "a.prefab", "b.prefab"});
    ASSERT_EQ(instances.size(), 6U);
    EXPECT_EQ(instances[2]["prefab"], "a.prefab");
    EXPECT_EQ(instances[3]["prefab"], "b.prefab");
    for (const Json& instance : instances) {
        EXPECT_EQ(instance["objects"].size(), 1U);
    }
}

TEST_F(Options, withoutInstanceUuid_eachInstanceHasItsOwn) {
    const std::vector<Json> instances = spawnJson({"--instances", "2", "a.prefab"});
    ASSERT_EQ(instances.size(), 2U);
    EXPECT_NE(instances[0]["instanceUuid"], instances[1]["instanceUuid"]);
    EXPECT_NE(instances[0]["objects"][0]["uuid"], instances[1]["objects"][0]["uuid"]);
}

TEST_F(Options, instanceUuid_isThatOfEveryInstance) {
    const std::string uuid = "5B0F1C2E-6A0D-4F43-9F6E-0D9A35B1C001";
    const std::vector<Json> instances = spawnJson({"--instance-uuid", uuid, "--instances", "2", "a.prefab"});
    ASSERT_EQ(instances.size(), 2U);
    const std::string objectUuid = Uuid::combine(*Uuid::fromString(uuid), id(1)).toString();
    for (const Json& instance : instances) {
        EXPECT_EQ(instance["instanceUuid"], "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001");
        EXPECT_EQ(instance["objects"][0]["uuid"], objectUuid);
    }
}

TEST_F(Options, fractionalTimeout_isTaken) {
    EXPECT_EQ(spawn({"--timeout", "12.5", "a.prefab"}).exitStatus, 0);
}

TEST_F(Options, underInactiveParent_leavesTheInstanceInactive) {
    write("b.prefab", PrefabText().object(id(1), "Root").object(id(2), "Child").parent(1, id(1)));
    const std::vector<Json> instances = spawnJson({"--under-inactive-parent", "--instances", "2", "b.prefab"});
    ASSERT_EQ(instances.size(), 2U);
    for (const Json& instance : instances) {
        ASSERT_EQ(names(instance), (std::vector<std::string>{"Root", "Child"}));
        EXPECT_EQ(instance["objects"][0]["active"], false);
        EXPECT_EQ(instance["objects"][0]["parent"], nullptr);
        EXPECT_EQ(instance["objects"][0]["components"], Json({"HierarchyComponent", "PrefabComponent"}));
        EXPECT_EQ(instance["objects"][1]["active"], false);
    }
    EXPECT_EQ(m_result.exitStatus, 0);
}

} // namespace

} // namespace Kiln::PrefabToolTests
