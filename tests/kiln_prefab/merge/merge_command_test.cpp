#include "../kiln_prefab_fixture.h"
#include "../reports/json_schema.h"

#include <build_paths.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {
namespace {

using TestSupport::ProcessResult;

constexpr int FAILURE = 129;

/// A root whose child has a tag and a name.
[[nodiscard]] std::string tagged(const std::string& tag, const std::string& name = "Lamp") {
    PrefabText prefab;
    prefab.root(id(1), "Pier");
    prefab.component("TagComponent", prefab.child(id(2), name, id(1)), element("tag", tag));
    return prefab.text();
}

class MergeCommandTest : public KilnPrefabFixture {
protected:
    void writeSides(const std::string& base, const std::string& ours, const std::string& theirs) const {
        write("base.prefab", base);
        write("ours.prefab", ours);
        write("theirs.prefab", theirs);
    }

    [[nodiscard]] ProcessResult merge(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> arguments{"merge",         "base.prefab", "ours.prefab",
                                           "theirs.prefab", "-o",          "merged.prefab"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(arguments);
    }

    [[nodiscard]] std::string read(const std::string& name) const {
        std::ifstream stream(m_directory.path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
};

TEST_F(MergeCommandTest, withoutConflict_writesTheMergedFileAndEndsWithZero) {
    writeSides(tagged("a"), tagged("b"), tagged("a", "Lantern"));
    EXPECT_EQ(merge(), (ProcessResult{0, "", ""}));
    EXPECT_EQ(read("merged.prefab"), tagged("b", "Lantern"));
}

TEST_F(MergeCommandTest, mayWriteToOneOfTheThreeFiles) {
    writeSides(tagged("a"), tagged("b"), tagged("a", "Lantern"));
    EXPECT_EQ(run({"merge", "base.prefab", "ours.prefab", "theirs.prefab", "-o", "ours.prefab"}),
              (ProcessResult{0, "", ""}));
    EXPECT_EQ(read("ours.prefab"), tagged("b", "Lantern"));
    EXPECT_EQ(read("theirs.prefab"), tagged("a", "Lantern"));
}

TEST_F(MergeCommandTest, withConflicts_listsThemAndEndsWithOne) {
    writeSides(tagged("a"), tagged("b"), tagged("c"));
    const ProcessResult result = merge({"--path", "pier.prefab"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output, "pier.prefab:1: conflict: TagComponent.tag of 00000000-0000-0000-0000-000000000002: both "
                             "sides have changed it\n"
                             "    base    a\n"
                             "    ours    b\n"
                             "    theirs  c\n");
    EXPECT_EQ(result.errors, "note: pier.prefab holds 1 conflict; 'kiln-prefab resolve' lists and decides them\n");
}

TEST_F(MergeCommandTest, resultWithConflicts_loadsWithOursAndFailsTheCheck) {
    writeSides(tagged("a"), tagged("b"), tagged("c"));
    EXPECT_EQ(merge().exitStatus, 1);
    const ProcessResult tree = run({"tree", "--values", "merged.prefab"});
    EXPECT_EQ(tree.exitStatus, 0) << tree;
    const ProcessResult check = run({"check", "merged.prefab"});
    EXPECT_EQ(check.exitStatus, 1);
    EXPECT_THAT(check.output, testing::HasSubstr("A conflict of a merge is not resolved. [KP0110]"));
}

TEST_F(MergeCommandTest, jsonOutput_matchesItsSchema) {
    writeSides(tagged("a"), tagged("b"), tagged("c", "Lantern"));
    const ProcessResult result = merge({"--format", "json"});
    const Json report = Json::parse(result.output);
    std::ifstream stream(KILN_SOURCE_DIR "/docs/conflicts.schema.json");
    EXPECT_THAT(schemaProblems(Json::parse(stream), report), testing::IsEmpty());
    EXPECT_EQ(report.at("schemaVersion"), 1);
    EXPECT_EQ(report.at("file"), "merged.prefab");
    EXPECT_EQ(report.at("mergedChanges"), 1);
    ASSERT_EQ(report.at("conflicts").size(), 1U);
    EXPECT_EQ(report.at("conflicts")[0].at("theirs"), "<tag>c</tag>");
    EXPECT_EQ(report.at("conflicts")[0].at("place").at("kind"), "property");
}

TEST_F(MergeCommandTest, preferringASide_decidesTheConflicts) {
    writeSides(tagged("a"), tagged("b"), tagged("c", "Lantern"));
    EXPECT_EQ(merge({"--prefer", "theirs"}),
              (ProcessResult{0, "", "note: 1 conflict of merged.prefab decided for theirs\n"}));
    EXPECT_EQ(read("merged.prefab"), tagged("c", "Lantern"));
    EXPECT_EQ(merge({"--prefer", "ours"}).exitStatus, 0);
    EXPECT_EQ(read("merged.prefab"), tagged("b", "Lantern"));
}

TEST_F(MergeCommandTest, aConflictThatOursHeldBefore_isCountedAndEndsWithOne) {
    writeSides(tagged("a"), tagged("b"), tagged("c"));
    EXPECT_EQ(merge().exitStatus, 1);
    writeSides(tagged("a"), read("merged.prefab"), tagged("a", "Lantern"));
    const ProcessResult result = merge();
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, "note: merged.prefab holds 1 conflict; 'kiln-prefab resolve' lists and decides them\n");
}

TEST_F(MergeCommandTest, aMissingFile_isAFailureAboveTheStatusesOfConflicts) {
    write("base.prefab", tagged("a"));
    write("ours.prefab", tagged("b"));
    EXPECT_EQ(merge(), (ProcessResult{FAILURE, "", "kiln-prefab: Cannot read 'theirs.prefab': it does not exist\n"}));
    EXPECT_EQ(read("merged.prefab"), "");
}

TEST_F(MergeCommandTest, aWrongCommandLine_isAFailureAboveTheStatusesOfConflicts) {
    EXPECT_EQ(run({"merge", "base.prefab", "--unknown"}).exitStatus, FAILURE);
    EXPECT_EQ(run({"merge", "base.prefab"}).exitStatus, FAILURE);
}

TEST_F(MergeCommandTest, anOutputThatCannotBeWritten_isAFailure) {
    writeSides(tagged("a"), tagged("b"), tagged("c"));
    const ProcessResult result =
        run({"merge", "base.prefab", "ours.prefab", "theirs.prefab", "-o", "missing/merged.prefab"});
    EXPECT_EQ(result.exitStatus, FAILURE);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, testing::HasSubstr("missing/merged.prefab"));
}

TEST_F(MergeCommandTest, anOverrideThatTheMergeWouldMakeDangling_isAConflict) {
    PrefabText lamp;
    lamp.root(id(7), "Lamp");
    lamp.child(id(8), "Bulb", id(7));
    write("lamp.prefab", lamp);
    PrefabText mast;
    mast.root(id(7), "Mast");
    write("mast.prefab", mast);
    const auto pier = [](const std::string& resource, std::uint64_t overridden) {
        PrefabText prefab;
        prefab.root(id(1), "Pier");
        const std::string record =
            TestSupport::OverridesText().record(id(overridden), "TransformComponent", element("local", "")).text();
        prefab.nested(id(2), "Lamp", id(1), resource, overridden == 0 ? std::string() : record);
        return prefab.text();
    };
    writeSides(pier("lamp.prefab", 0), pier("mast.prefab", 0), pier("lamp.prefab", 8));
    const ProcessResult result = merge();
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.output, testing::HasSubstr("one side has changed the nested prefab, the other its overrides"));
}

} // namespace
} // namespace Kiln::PrefabToolTests
