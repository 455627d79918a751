// Options that make spawn load in steps: the instances and their report.

#include "../quay_fixture.h"

namespace Kiln::PrefabToolTests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

class SpawnInSteps : public QuayFixture {
protected:
    SpawnInSteps() {
        write("lamp.prefab", PrefabText()
                                 .object(id(11), "Lamp")
                                 .object(id(12), "Bulb")
                                 .parent(1, id(11))
                                 .component("TransformComponent", 0));
    }

    /// Nests two prefabs: one that is missing and one whose text ends too early.
    void writeBrokenPrefab() const {
        write("broken.prefab", PrefabText()
                                   .object(id(1), "Broken")
                                   .object(id(2), "First")
                                   .object(id(3), "Second")
                                   .parent(1, id(1))
                                   .parent(2, id(1))
                                   .nest(1, "gone.prefab")
                                   .nest(2, "cut.prefab"));
        write("cut.prefab", "<root>\n<gameObjects>\n");
    }
};

const std::vector<std::string> FIXED_UUID{"--instance-uuid", "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001"};

[[nodiscard]] std::vector<std::string> with(const std::vector<std::string>& options,
                                            const std::vector<std::string>& others) {
    std::vector<std::string> all = options;
    all.insert(all.end(), others.begin(), others.end());
    return all;
}

TEST_F(SpawnInSteps, jsonOutput_isThatOfALoadAtOnceWithoutFailures) {
    for (const std::vector<std::string>& option :
         std::vector<std::vector<std::string>>{{"--budget", "1000"}, {"--trace", "trace.json"}, {"--progress"}}) {
        std::vector<Json> atOnce = spawnJson(with(FIXED_UUID, {"quay.prefab"}));
        std::vector<Json> inSteps = spawnJson(with(option, with(FIXED_UUID, {"quay.prefab"})));
        ASSERT_EQ(inSteps.size(), 1U) << option.front();
        EXPECT_EQ(inSteps[0].at("failures"), Json::array()) << option.front();
        EXPECT_EQ(inSteps[0].at("log"), Json::array()) << "also no messages about the depth limit";
        EXPECT_FALSE(atOnce[0].contains("failures"));
        for (const char* const key : {"prefab", "instanceUuid", "objects", "problem", "skippedComponents"}) {
            EXPECT_EQ(inSteps[0].at(key), atOnce[0].at(key)) << option.front() << ": " << key;
        }
        EXPECT_EQ(m_result.exitStatus, 0);
    }
}

TEST_F(SpawnInSteps, textOutput_isThatOfALoadAtOnceExceptForFramesAndTime) {
    std::vector<std::string> atOnce = lines(spawn(with(FIXED_UUID, {"quay.prefab"})).output);
    const TestSupport::ProcessResult result = spawn(with(FIXED_UUID, {"--budget", "2000", "quay.prefab"}));
    std::vector<std::string> inSteps = lines(result.output);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.errors, IsEmpty());
    ASSERT_FALSE(inSteps.empty());
    EXPECT_THAT(inSteps.back(), MatchesRegex("5 objects, 2 prefab files, [0-9]+ frames?, [0-9]+\\.[0-9] ms"));
    inSteps.pop_back();
    atOnce.pop_back();
    EXPECT_EQ(inSteps, atOnce);
}

TEST_F(SpawnInSteps, budgetOfZero_loadsStepByStep) {
    const std::vector<Json> instances = spawnJson({"--budget", "0", "quay.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(instances[0].at("objects").size(), 5U);
    EXPECT_GE(instances[0].at("frames"), 5);
    EXPECT_EQ(m_result.exitStatus, 0);
}

TEST_F(SpawnInSteps, badBudget_isAUsageError) {
    for (const char* const budget : {"-1", "1.5", "much", "", "1000000001", "99999999999999999999"}) {
        const TestSupport::ProcessResult result = spawn({std::string("--budget=") + budget, "lamp.prefab"});
        EXPECT_EQ(result.exitStatus, 2) << budget;
        EXPECT_THAT(result.output, IsEmpty());
        EXPECT_THAT(result.errors, StartsWith("kiln-prefab: "));
        EXPECT_THAT(result.errors, HasSubstr("--budget"));
        EXPECT_THAT(result.errors, HasSubstr("Run kiln-prefab spawn --help for usage.\n"));
    }
}

TEST_F(SpawnInSteps, severalInstances_areCreatedOneAfterTheOther) {
    const std::vector<Json> instances =
        spawnJson({"--budget", "1000", "--instances", "3", "quay.prefab", "lamp.prefab"});
    std::vector<std::size_t> objects;
    for (const Json& instance : instances) {
        objects.push_back(instance.at("objects").size());
    }
    EXPECT_THAT(objects, ElementsAre(5, 5, 5, 2, 2, 2));
    EXPECT_EQ(m_result.exitStatus, 0);
}

TEST_F(SpawnInSteps, underInactiveParent_staysInactive) {
    const std::vector<Json> atOnce = spawnJson(with(FIXED_UUID, {"--under-inactive-parent", "quay.prefab"}));
    const std::vector<Json> inSteps =
        spawnJson(with(FIXED_UUID, {"--budget", "1000", "--under-inactive-parent", "quay.prefab"}));
    ASSERT_EQ(inSteps.size(), 1U);
    EXPECT_EQ(inSteps[0].at("objects"), atOnce.at(0).at("objects"));
    EXPECT_EQ(inSteps[0].at("objects")[0].at("active"), false);
}

TEST_F(SpawnInSteps, componentsOfTheLibrary_areCreated) {
    write("note.prefab", PrefabText().object(id(1), "A").component("NoteComponent", 0, element("text", "hello")));
    const std::vector<Json> instances = spawnJson({"--load", TEST_COMPONENTS, "--budget", "1000", "note.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_THAT(logTexts(instances[0]), ElementsAre("hello"));
}

TEST_F(SpawnInSteps, unknownComponents_areNoted) {
    write("b.prefab", PrefabText().object(id(1), "A").component("NodeComponent", 0));
    const TestSupport::ProcessResult result = spawn({"--budget", "1000", "b.prefab"});
    EXPECT_EQ(result.errors, "note: skipped 1 component of unknown type 'NodeComponent'\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(SpawnInSteps, missingFile_isReportedWithItsCode) {
    const TestSupport::ProcessResult result = spawn({"--budget", "1000", "gone.prefab"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(lines(result.errors),
                ElementsAre(MatchesRegex("error: gone\\.prefab: .* \\(MISSING_FILE\\)"),
                            MatchesRegex("kiln-prefab: gone\\.prefab: not created: gone\\.prefab: .* "
                                         "\\(MISSING_FILE\\)")));
}

TEST_F(SpawnInSteps, everyFailure_isReportedWithFileLineAndChain) {
    writeBrokenPrefab();
    const TestSupport::ProcessResult result = spawn({"--budget", "1000", "broken.prefab"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(
        lines(result.errors),
        ElementsAre(
            MatchesRegex("error: gone\\.prefab: .* \\(MISSING_FILE; broken\\.prefab > gone\\.prefab\\)"),
            MatchesRegex("error: cut\\.prefab:[0-9]+: .* \\(MALFORMED_FILE; broken\\.prefab > cut\\.prefab\\)"),
            MatchesRegex("kiln-prefab: broken\\.prefab: not created: gone\\.prefab: .*; cut\\.prefab:[0-9]+: .*")));
}

TEST_F(SpawnInSteps, failuresInJson_haveCodeFileLineChainAndMessage) {
    writeBrokenPrefab();
    const std::vector<Json> instances = spawnJson({"--budget", "1000", "broken.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(instances[0].at("objects"), Json::array());
    EXPECT_EQ(instances[0].at("problem"), nullptr);
    const Json& failures = instances[0].at("failures");
    ASSERT_EQ(failures.size(), 2U);
    EXPECT_EQ(failures[0].at("code"), "MISSING_FILE");
    EXPECT_EQ(failures[0].at("file"), "gone.prefab");
    EXPECT_EQ(failures[0].at("line"), nullptr);
    EXPECT_EQ(failures[0].at("chain"), Json::parse(R"(["broken.prefab", "gone.prefab"])"));
    EXPECT_NE(failures[0].at("message"), "");
    EXPECT_EQ(failures[1].at("code"), "MALFORMED_FILE");
    EXPECT_EQ(failures[1].at("file"), "cut.prefab");
    EXPECT_GE(failures[1].at("line"), 1);
}

TEST_F(SpawnInSteps, prefabAfterOneThatFailed_isCreated) {
    writeBrokenPrefab();
    const std::vector<Json> instances = spawnJson({"--budget", "1000", "broken.prefab", "quay.prefab"});
    ASSERT_EQ(instances.size(), 2U);
    EXPECT_EQ(instances[0].at("objects").size(), 0U);
    EXPECT_EQ(instances[1].at("objects").size(), 5U);
    EXPECT_EQ(m_result.exitStatus, 1);
}

TEST_F(SpawnInSteps, pathOutsideOfTheRoots_isReportedAndTheOptionIsNamed) {
    write("inside/b.prefab", simplePrefab());
    const TestSupport::ProcessResult result =
        spawn({"--budget", "1000", "--root", "inside", "../lamp.prefab", "b.prefab"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(lines(result.errors),
                ElementsAre(MatchesRegex("error: \\.\\./lamp\\.prefab: .* \\(OUTSIDE_OF_ROOTS\\)"),
                            StartsWith("kiln-prefab: ../lamp.prefab: not created: "),
                            "note: only files beneath a resource root are read; --root DIR adds DIR, in which "
                            "relative paths are then looked up"));
    EXPECT_THAT(result.output, HasSubstr("Root"));
}

TEST_F(SpawnInSteps, controlCharactersInFailures_areShownAsCodes) {
    const TestSupport::ProcessResult result = spawn({"--budget", "1000", "a\x1B[31m.prefab"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr("error: a\\x1b[31m.prefab: "));
    EXPECT_THAT(result.errors, testing::Not(HasSubstr("\x1B")));
}

TEST_F(SpawnInSteps, componentThatThrows_isReported) {
    write("throwing.prefab", PrefabText().object(id(1), "A").component("ThrowingComponent", 0));
    const TestSupport::ProcessResult result = spawn({"--load", TEST_COMPONENTS, "--budget", "1000", "throwing.prefab"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr("a component threw"));
    EXPECT_THAT(result.errors, HasSubstr("(COMPONENT_THREW)"));
}

TEST_F(SpawnInSteps, loadThatDoesNotEnd_isGivenUp) {
    write("stuck.prefab", PrefabText().object(id(1), "Root").component("StuckComponent", 0));
    const TestSupport::ProcessResult result =
        spawn({"--load", TEST_COMPONENTS, "--budget", "1000", "--timeout", "0.5", "stuck.prefab", "lamp.prefab"});
    EXPECT_THAT(lines(result.errors),
                ElementsAre("kiln-prefab: stuck.prefab: not created: not loaded within 0.5 s",
                            "kiln-prefab: lamp.prefab: not created: an earlier background load has not ended"));
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(SpawnInSteps, verbose_notesTheTimesOfFrames) {
    const TestSupport::ProcessResult result = spawn({"--budget", "1500", "--verbose", "quay.prefab"});
    EXPECT_THAT(result.errors,
                MatchesRegex("note: frames took [0-9]+ us \\(median\\), [0-9]+ us \\(99th percentile\\), "
                             "[0-9]+ us \\(maximum\\); [0-9]+ overruns? of the budget of 1500 us\n"));
}

TEST_F(SpawnInSteps, dumpPools_listsTheComponents) {
    const std::string output = spawn({"--budget", "1000", "--dump-pools", "quay.prefab"}).output;
    EXPECT_THAT(output, HasSubstr("Pool of PrefabComponent\n"));
}

} // namespace

} // namespace Kiln::PrefabToolTests
