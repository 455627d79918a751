#include "check_fixture.h"

namespace Kiln::PrefabToolTests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SettingsCommand : public CheckFixture {
protected:
    SettingsCommand() {
        write("unknown.prefab", withUnknownType(10));
        write("props/unknown.prefab", withUnknownType(20));
    }
};

TEST_F(SettingsCommand, settingsFile_holdsForItsFolder) {
    write("props/kiln-prefab.json", R"({"severity": {"KP0301": "error"}})");
    EXPECT_THAT(findings({"."}), ElementsAre("props/unknown.prefab KP0301 error", "unknown.prefab KP0301 warning"));
    EXPECT_EQ(m_result.exitStatus, 1);
    EXPECT_THAT(findings({"--no-config", "props"}), ElementsAre("props/unknown.prefab KP0301 warning"));
    EXPECT_EQ(m_result.exitStatus, 0);
}

TEST_F(SettingsCommand, strictFolder_failsOnWarningsOfItsFilesOnly) {
    write("props/kiln-prefab.json", R"({"strict": true})");
    EXPECT_EQ(check({"unknown.prefab"}).exitStatus, 0);
    EXPECT_EQ(check({"props"}).exitStatus, 1);
}

TEST_F(SettingsCommand, unusedPrefabs_areReportedWhereTheSettingIsOn) {
    write("props/kiln-prefab.json", R"({"unused": true, "ignore": ["unknown-component"]})");
    EXPECT_THAT(findings({"."}), ElementsAre("props/unknown.prefab KP0606 note", "unknown.prefab KP0301 warning"));
}

TEST_F(SettingsCommand, commandLine_overridesTheFiles) {
    write("kiln-prefab.json", R"({"ignore": ["KP0301"]})");
    EXPECT_THAT(findings({"."}), IsEmpty());
    EXPECT_THAT(findings({"--severity", "KP0301=note", "unknown.prefab"}), ElementsAre("unknown.prefab KP0301 note"));
}

TEST_F(SettingsCommand, namedFile_replacesThoseInFolders) {
    write("kiln-prefab.json", "no JSON");
    write("other.json", R"({"only": ["KP0106"]})");
    EXPECT_THAT(findings({"--config", "other.json", "."}), IsEmpty());
}

TEST_F(SettingsCommand, mistakeInAFile_hasStatus2) {
    write("props/kiln-prefab.json", "{\n  \"sevrity\": {}\n}\n");
    const TestSupport::ProcessResult result = check({"."});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors,
              "kiln-prefab: props/kiln-prefab.json:2: Unknown setting 'sevrity'; did you mean 'severity'?\n");
}

TEST_F(SettingsCommand, config_showsEachValueAndItsOrigin) {
    write("kiln-prefab.json", "{\n  \"baseline\": \"known.json\",\n  \"ignore\": [\n    \"KP0305\"\n  ]\n}\n");
    write("props/kiln-prefab.json", R"({"unused": true, "severity": {"KP0301": "note"}})");
    const TestSupport::ProcessResult result = run(
        {"config", "--severity", "KP0106=warning", "--strict", "--show", m_directory.path("props/not/there.prefab")});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output, "strict = true (command line)\n"
                             "unused = true (props/kiln-prefab.json:1)\n"
                             "only = all codes (default)\n"
                             "baseline = known.json (kiln-prefab.json:2)\n"
                             "severity of KP0106 = warning (command line)\n"
                             "severity of KP0301 = note (props/kiln-prefab.json:1)\n"
                             "severity of KP0305 = off (kiln-prefab.json:4)\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(SettingsCommand, configOfAFileOutside_isAnError) {
    const TestSupport::ProcessResult result = run({"config", "--root", "props", "--show", "unknown.prefab"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.output, "");
}

} // namespace

} // namespace Kiln::PrefabToolTests
