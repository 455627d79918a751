#include "kiln_prefab_fixture.h"

namespace Kiln::PrefabToolTests {

namespace {

using testing::IsEmpty;

using JsonOutput = KilnPrefabFixture;

const std::string INSTANCE = "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001";

[[nodiscard]] std::string liveUuid(std::uint64_t number) {
    return Uuid::combine(*Uuid::fromString(INSTANCE), id(number)).toString();
}

/// The messages that the caching walks log for one file that is loaded by path.
[[nodiscard]] std::string walkLog() {
    return R"({"severity":5,"text":")" + DEPTH_MESSAGE + R"(","count":7})";
}

TEST_F(JsonOutput, createdInstance_isExactlyThisLine) {
    write("a.prefab", PrefabText().object(id(1), "Root").object(id(2), "Child", 1).parent(1, id(1)));
    const std::vector<Json> instances = spawnJson({"--instance-uuid", INSTANCE, "a.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(m_result.output,
              R"({"prefab":"a.prefab","instanceUuid":")" + INSTANCE + R"(","frames":)" + instances[0]["frames"].dump() +
                  R"(,"objects":[{"name":"Root","uuid":")" + liveUuid(1) +
                  R"(","parent":null,"active":true,"components":["PrefabComponent"]},{"name":"Child","uuid":")" +
                  liveUuid(2) + R"(","parent":0,"active":false,"components":["HierarchyComponent"]}],"log":[)" +
                  walkLog() + R"(],"problem":null,"skippedComponents":{}})" + "\n");
    EXPECT_GE(instances[0]["frames"].get<int>(), 1);
    EXPECT_THAT(m_result.errors, IsEmpty());
    EXPECT_EQ(m_result.exitStatus, 0);
}

TEST_F(JsonOutput, failedInstance_isALineWithoutObjects) {
    const std::vector<Json> instances = spawnJson({"--instance-uuid", INSTANCE, "gone.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(m_result.output, R"({"prefab":"gone.prefab","instanceUuid":")" + INSTANCE + R"(","frames":)" +
                                   instances[0]["frames"].dump() +
                                   R"(,"objects":[],"log":[{"severity":5,"text":"Prefab not found gone.prefab"}],)" +
                                   R"("problem":null,"skippedComponents":{}})" + "\n");
    EXPECT_EQ(m_result.exitStatus, 1);
}

TEST_F(JsonOutput, failedInstances_haveALineEach) {
    const std::vector<Json> instances = spawnJson({"--instances", "2", "gone.prefab"});
    ASSERT_EQ(instances.size(), 2U);
    for (const Json& instance : instances) {
        EXPECT_EQ(logTexts(instance), (std::vector<std::string>{"Prefab not found gone.prefab"}));
    }
}

TEST_F(JsonOutput, root_isFirstEvenWhenItIsNotStoredFirst) {
    write("a.prefab", PrefabText()
                          .object(id(1), "Child")
                          .object(id(2), "Root")
                          .object(id(3), "Other")
                          .parent(0, id(2))
                          .parent(2, id(1)));
    const std::vector<Json> instances = spawnJson({"a.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(names(instances[0]), (std::vector<std::string>{"Root", "Child", "Other"}));
    EXPECT_EQ(instances[0]["objects"][1]["parent"], 0);
    EXPECT_EQ(instances[0]["objects"][2]["parent"], 1);
}

TEST_F(JsonOutput, secondInstance_hasOnlyItsOwnObjectsAndLog) {
    write("a.prefab", PrefabText().object(id(1), "Root").object(id(2), "Child").parent(1, id(1)));
    const std::vector<Json> instances = spawnJson({"--instances", "2", "a.prefab"});
    ASSERT_EQ(instances.size(), 2U);
    EXPECT_EQ(names(instances[1]), (std::vector<std::string>{"Root", "Child"}));
    EXPECT_EQ(instances[1]["objects"][1]["parent"], 0);
    EXPECT_EQ(instances[1]["log"], Json::array());
}

TEST_F(JsonOutput, invalidUtf8_isReplaced) {
    write("a.prefab", PrefabText().object(id(1), "Ro\xFFot"));
    const std::vector<Json> instances = spawnJson({"a.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(names(instances[0]), std::vector<std::string>{"Ro\xEF\xBF\xBDot"});
}

TEST_F(JsonOutput, fileNameThatIsNotUtf8_isReplaced) {
    write("\xFF.prefab", simplePrefab());
    const std::vector<Json> instances = spawnJson({"\xFF.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(instances[0]["prefab"], "\xEF\xBF\xBD.prefab");
    EXPECT_EQ(instances[0]["objects"].size(), 1U);
}

TEST_F(JsonOutput, specialCharacters_areEscaped) {
    write("a.prefab", PrefabText().object(id(1), "\"Quoted\"\n&lt;lamp&gt; \xC3\xBC"));
    const std::vector<Json> instances = spawnJson({"a.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(names(instances[0]), std::vector<std::string>{"\"Quoted\"\n<lamp> \xC3\xBC"});
}

TEST_F(JsonOutput, messages_keepTheirTextAndSeverity) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "B"));
    const std::vector<Json> instances = spawnJson({"a.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    const Json& log = instances[0]["log"];
    EXPECT_THAT(log, testing::Contains(Json{{"severity", 5}, {"text", "Failed to create prefab instance.\n"}}));
}

TEST_F(JsonOutput, problemThatIsNotLogged_isNamed) {
    write("a.prefab", PrefabText());
    const std::vector<Json> instances = spawnJson({"a.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(instances[0]["problem"], "the prefab has no game objects");
    EXPECT_EQ(m_result.exitStatus, 1);
}

TEST_F(JsonOutput, componentsOfUnknownTypes_areCounted) {
    write("a.prefab", PrefabText()
                          .object(id(1), "A")
                          .component("NodeComponent", 0)
                          .component("NodeComponent", 0)
                          .component("BuoyComponent", 0));
    const std::vector<Json> instances = spawnJson({"--instances", "2", "a.prefab"});
    ASSERT_EQ(instances.size(), 2U);
    for (const Json& instance : instances) {
        EXPECT_EQ(instance["skippedComponents"].dump(), R"({"BuoyComponent":1,"NodeComponent":2})");
    }
}

TEST_F(JsonOutput, depthMessageOfTheCreation_isNotFoldedWithThoseOfTheWalks) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "Point").parent(1, id(1)).nest(1, "a.prefab"));
    const std::vector<Json> instances = spawnJson({"a.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    std::size_t foldedEntries = 0;
    std::size_t otherEntries = 0;
    std::size_t attempts = 0; // One in each frame.
    for (const Json& message : instances[0]["log"]) {
        EXPECT_NE(message["text"], BACKGROUND_DEPTH_MESSAGE);
        if (message["text"] == DEPTH_MESSAGE) {
            ++(message.contains("count") ? foldedEntries : otherEntries);
        }
        attempts += message["text"] == "Failed to create prefab instance.\n" ? 1 : 0;
    }
    EXPECT_EQ(foldedEntries, 1U);
    EXPECT_GE(attempts, 1U);
    EXPECT_EQ(otherEntries, attempts);
    EXPECT_EQ(m_result.exitStatus, 1);
}

TEST_F(JsonOutput, format_isTheSameAsTheFlag) {
    std::vector<Json> instances = spawnJson({"--instance-uuid", INSTANCE, "gone.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    Json withFormat = Json::parse(spawn({"--format", "json", "--instance-uuid", INSTANCE, "gone.prefab"}).output);
    for (Json* const instance : {&instances[0], &withFormat}) {
        instance->erase("frames"); // Depends on the worker.
    }
    EXPECT_EQ(withFormat, instances[0]);
}

TEST_F(JsonOutput, warnings_areInTheLog) {
    write("a.prefab", PrefabText().object(id(1), "A").component("TransformComponent", 0, "<colour>red</colour>"));
    const std::vector<Json> instances = spawnJson({"a.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    ASSERT_EQ(logTexts(instances[0]).size(), 1U);
    EXPECT_EQ(instances[0]["log"][0]["severity"], 4);
    EXPECT_EQ(m_result.exitStatus, 0);
}

} // namespace

} // namespace Kiln::PrefabToolTests
