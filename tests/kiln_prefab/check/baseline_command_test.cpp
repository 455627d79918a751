#include "check_fixture.h"

#include <filesystem>

namespace Kiln::PrefabToolTests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BaselineCommand : public CheckFixture {
protected:
    BaselineCommand() {
        write("a.prefab", withUnknownType(10));
        write("b.prefab", nesting(20, "none.prefab"));
    }

    [[nodiscard]] std::string accept() const { return check({"--baseline", "known.json", "--accept", "."}).errors; }
};

TEST_F(BaselineCommand, acceptedFindings_areNotShownAgain) {
    EXPECT_EQ(accept(), "note: accepted 2 findings, removed 0 stale\n");
    EXPECT_EQ(read("known.json"), "{\n\"version\": 1,\n\"findings\": [\n"
                                  R"({"file":"a.prefab","code":"KP0301","subject":"NoSuchComponent","occurrence":1},)"
                                  "\n"
                                  R"({"file":"b.prefab","code":"KP0106","subject":"none.prefab","occurrence":1})"
                                  "\n]\n}\n");
    EXPECT_THAT(findings({"--baseline", "known.json", "--strict", "."}), IsEmpty());
    EXPECT_EQ(m_result.exitStatus, 0);
    EXPECT_EQ(m_result.errors, "note: 2 findings not shown because of the baseline\n");
}

TEST_F(BaselineCommand, movedLines_changeNothing) {
    EXPECT_EQ(accept(), "note: accepted 2 findings, removed 0 stale\n");
    write("a.prefab", "<!-- a\nb -->\n" + withUnknownType(10).text());
    EXPECT_THAT(findings({"--baseline", "known.json", "."}), IsEmpty());
}

TEST_F(BaselineCommand, newFinding_isShown) {
    EXPECT_EQ(accept(), "note: accepted 2 findings, removed 0 stale\n");
    PrefabText prefab = withUnknownType(10);
    prefab.newPool("NoSuchComponent").component("NoSuchComponent", 0);
    write("a.prefab", prefab);
    EXPECT_THAT(findings({"--baseline", "known.json", "."}), ElementsAre("a.prefab KP0301 warning"));
}

TEST_F(BaselineCommand, staleEntry_isReportedAndFailsIfStrict) {
    EXPECT_EQ(accept(), "note: accepted 2 findings, removed 0 stale\n");
    write("a.prefab", sound(10));
    const TestSupport::ProcessResult result = check({"--baseline", "known.json", "."});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.errors, "note: 1 finding not shown because of the baseline\n"
                             "note: stale entry of the baseline 'known.json': a.prefab no longer has KP0301 for "
                             "'NoSuchComponent'\n");
    EXPECT_EQ(check({"--baseline", "known.json", "--strict", "."}).exitStatus, 1);
    EXPECT_EQ(accept(), "note: accepted 0 findings, removed 1 stale\n");
    EXPECT_EQ(check({"--baseline", "known.json", "--strict", "."}).exitStatus, 0);
}

TEST_F(BaselineCommand, entryOfADeletedFile_isStale) {
    EXPECT_EQ(accept(), "note: accepted 2 findings, removed 0 stale\n");
    std::filesystem::remove(m_directory.path("a.prefab"));
    EXPECT_EQ(check({"--baseline", "known.json", "b.prefab"}).errors,
              "note: 1 finding not shown because of the baseline\n"
              "note: stale entry of the baseline 'known.json': a.prefab no longer has KP0301 for 'NoSuchComponent'\n");
}

TEST_F(BaselineCommand, entryThatTheCheckCannotFind_isNotStale) {
    write("c.prefab", withUnknownType(10));
    EXPECT_EQ(accept(), "note: accepted 4 findings, removed 0 stale\n"); // The copied file, too.
    const std::string known = read("known.json");
    EXPECT_EQ(check({"--baseline", "known.json", "--strict", "c.prefab"}).exitStatus, 0);
    EXPECT_EQ(check({"--baseline", "known.json", "--strict", "--ignore", "KP0301", "."}).exitStatus, 0);
    EXPECT_EQ(check({"--baseline", "known.json", "--accept", "b.prefab"}).exitStatus, 0);
    EXPECT_EQ(read("known.json"), known);
}

TEST_F(BaselineCommand, baselineOfASettingsFile_isBesideIt) {
    write("kiln-prefab.json", R"({"baseline": "known/all.json"})");
    std::filesystem::create_directory(m_directory.path("known"));
    EXPECT_EQ(check({"--accept", "."}).errors, "note: accepted 2 findings, removed 0 stale\n");
    EXPECT_NE(read("known/all.json"), "");
    EXPECT_THAT(findings({"."}), IsEmpty());
}

TEST_F(BaselineCommand, missingBaseline_isAnError) {
    const TestSupport::ProcessResult result = check({"--baseline", "known.json", "."});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.errors, "kiln-prefab: The baseline 'known.json' does not exist; --accept writes it\n");
    EXPECT_EQ(check({"--accept", "."}).errors,
              "kiln-prefab: --accept needs a baseline: --baseline FILE, or \"baseline\" in a file kiln-prefab.json\n");
}

} // namespace

} // namespace Kiln::PrefabToolTests
