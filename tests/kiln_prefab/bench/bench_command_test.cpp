#include "../quay_fixture.h"

namespace Kiln::PrefabToolTests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using TestSupport::ProcessResult;

constexpr const char* BENCH_LIBRARY = KILN_BUILD_LIB_DIR "/libkiln_prefab_test_components.so";

class BenchCommandTest : public QuayFixture {
protected:
    [[nodiscard]] ProcessResult bench(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"bench", "--load", BENCH_LIBRARY});
        return run(arguments);
    }
};

TEST_F(BenchCommandTest, json_hasEveryStepWithItsFigures) {
    const ProcessResult result = bench({"--format", "json", "--repeat", "5", "quay.prefab"});
    ASSERT_EQ(result.exitStatus, 0) << result;
    EXPECT_THAT(result.errors, IsEmpty());
    const Json json = Json::parse(result.output);
    EXPECT_EQ(json.at("schemaVersion"), 1);
    EXPECT_EQ(json.at("prefab"), "quay.prefab");
    EXPECT_EQ(json.at("files"), 2);
    EXPECT_EQ(json.at("objectsInFiles"), 5);
    EXPECT_EQ(json.at("objects"), 5);
    EXPECT_EQ(json.at("repeat"), 5);
    const auto size = [this](const char* name) { return std::filesystem::file_size(m_directory.path(name)); };
    EXPECT_EQ(json.at("bytes"), size("quay.prefab") + size("lamp.prefab"));
    std::vector<std::string> names;
    for (const Json& step : json.at("steps")) {
        names.push_back(step.at("name"));
        EXPECT_GT(step.at("medianNanoseconds"), 0);
        EXPECT_GE(step.at("percentile99Nanoseconds"), step.at("medianNanoseconds"));
        EXPECT_GT(step.at("objectsPerSecond"), 0);
        EXPECT_EQ(step.at("bytesPerSecond").is_number(), step.at("name") == "load, cold");
    }
    EXPECT_THAT(names, ElementsAre("load, cold", "load, warm", "expand", "create", "activate", "remove"));
    EXPECT_TRUE(json.at("memory").at("fileBytes").is_number_integer());
    EXPECT_TRUE(json.at("memory").at("instanceBytes").is_number_integer());
    EXPECT_GT(json.at("memory").at("peakResidentBytes"), 1'000'000);
}

TEST_F(BenchCommandTest, text_hasALineForEachStep) {
    const ProcessResult result = bench({"--repeat", "3", "quay.prefab"});
    ASSERT_EQ(result.exitStatus, 0) << result;
    const std::vector<std::string> text = lines(result.output);
    ASSERT_EQ(text.size(), 9U) << result.output;
    EXPECT_THAT(text[0], StartsWith("quay.prefab: 5 objects of 2 files with "));
    EXPECT_THAT(text[0], testing::EndsWith("B, measured 3 times"));
    EXPECT_EQ(text[1], "                 median       99 %      objects/s      bytes/s");
    EXPECT_THAT(text[2], StartsWith("load, cold "));
    EXPECT_THAT(text[7], StartsWith("remove "));
    EXPECT_THAT(text[8], StartsWith("memory: "));
}

TEST_F(BenchCommandTest, missingFile_isRefused) {
    EXPECT_EQ(bench({"gone.prefab"}), (ProcessResult{2, "", "kiln-prefab: gone.prefab: the file is missing\n"}));
}

TEST_F(BenchCommandTest, prefabThatCannotBeCreated_isRefusedWithTheReason) {
    write("two.prefab", PrefabText().object(id(1), "One").object(id(2), "Two"));
    const ProcessResult result = bench({"two.prefab"});
    EXPECT_THAT(result.errors, HasSubstr("kiln-prefab: two.prefab: the prefab cannot be created\n"));
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(BenchCommandTest, throwingComponent_isRefusedWithItsMessage) {
    write("throw.prefab", PrefabText().object(id(1), "One").component("ThrowingComponent", 0));
    const ProcessResult result = bench({"throw.prefab"});
    EXPECT_THAT(result.errors,
                HasSubstr("kiln-prefab: throw.prefab: a component cannot be created: a component threw\n"));
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(BenchCommandTest, errorsOfComponents_areReportedWithStatus1) {
    write("note.prefab", PrefabText().object(id(1), "One").component("FarewellComponent", 0));
    const ProcessResult result = bench({"--repeat", "2", "note.prefab"});
    EXPECT_THAT(result.output, StartsWith("note.prefab: 1 object of 1 file with "));
    EXPECT_EQ(result.errors, "error: farewell (5 times)\nkiln-prefab: note.prefab: farewell\n");
    EXPECT_EQ(result.exitStatus, 1);
}

} // namespace
} // namespace Kiln::PrefabToolTests
