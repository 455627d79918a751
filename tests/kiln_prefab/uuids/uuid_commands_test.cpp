#include "../quay_fixture.h"

#include <fstream>
#include <iterator>
#include <set>

#include <sys/stat.h>

namespace Kiln::PrefabToolTests {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using TestSupport::ProcessResult;

class UuidCommands : public QuayFixture {
protected:
    [[nodiscard]] std::string read(const std::string& name) const {
        std::ifstream stream(m_directory.path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
};

TEST_F(UuidCommands, combine_combinesAnyNumberFromTheOutermost) {
    const Uuid expected = Uuid::combine(Uuid::combine(id(1), id(2)), id(3));
    const ProcessResult result = run({"uuid", "combine", id(1).toString(), id(2).toString(), id(3).toString()});
    EXPECT_EQ(result.output, expected.toString() + "\n");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(run({"uuid", "combine", id(1).toString(), id(2).toString()}).output,
              "40ca53f6-7cb9-e334-6c14-a91fb35746cb\n");
}

TEST_F(UuidCommands, combine_refusesWrongArguments) {
    ProcessResult result = run({"uuid", "combine", id(1).toString(), "12"});
    EXPECT_EQ(result.errors, "kiln-prefab: '12' is not a UUID (8-4-4-4-12 hexadecimal digits)\n");
    EXPECT_EQ(result.exitStatus, 2);
    result = run({"uuid", "combine", id(1).toString()});
    EXPECT_EQ(result.errors, "kiln-prefab: uuid combine needs two or more UUIDs\n");
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(UuidCommands, new_makesDifferentRandomUuids) {
    const std::vector<std::string> made = lines(run({"uuid", "new", "--count", "50"}).output);
    EXPECT_EQ(std::set<std::string>(made.begin(), made.end()).size(), 50U);
    for (const std::string& uuid : made) {
        EXPECT_TRUE(Uuid::fromString(uuid)) << uuid;
        EXPECT_EQ(uuid[14], '4');
    }
    EXPECT_EQ(lines(run({"uuid", "new"}).output).size(), 1U);
    EXPECT_EQ(run({"uuid", "new", "3"}).errors, "kiln-prefab: uuid new takes no argument; --count N makes N UUIDs\n");
}

TEST_F(UuidCommands, path_showsTheUuidsInFileAndInstance) {
    const Uuid bulb = Uuid::combine(Uuid::combine(id(7), id(3)), id(12));
    EXPECT_EQ(run({"uuid", "path", "quay.prefab", "Quay/South lamp/Bulb", "--instance-uuid", id(7).toString()}).output,
              "Quay/South lamp/Bulb\n"
              "    file UUID  00000000-0000-0000-0000-00000000000c  lamp.prefab:1\n"
              "    live UUID  " +
                  bulb.toString() + "\n");
}

TEST_F(UuidCommands, pathOfAnIntegrationPoint_hasBothFileUuids) {
    const Uuid lamp = Uuid::combine(Uuid::combine(Uuid::ZERO, id(2)), id(11));
    EXPECT_EQ(run({"uuid", "path", "quay.prefab", "North lamp"}).output,
              "Quay/North lamp\n"
              "    file UUID  00000000-0000-0000-0000-000000000002  quay.prefab:1\n"
              "    file UUID  00000000-0000-0000-0000-00000000000b  lamp.prefab:1\n"
              "    live UUID  " +
                  lamp.toString() + "\n");
}

TEST_F(UuidCommands, path_refusesAmbiguousAndUnknownNames) {
    EXPECT_THAT(run({"uuid", "path", "quay.prefab", "Bulb"}).errors, StartsWith("kiln-prefab: 'Bulb' means 2 objects"));
    const ProcessResult result = run({"uuid", "path", "quay.prefab", "Blub"});
    EXPECT_EQ(result.errors, "kiln-prefab: No object is named 'Blub'; did you mean 'Bulb'?\n");
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(run({"uuid", "path", "quay.prefab"}).errors, "kiln-prefab: uuid path needs a prefab and an object\n");
}

TEST_F(UuidCommands, findUuid_printsFileAndLiveObjects) {
    ProcessResult result = run({"find-uuid", id(12).toString(), "."});
    EXPECT_EQ(result.output, "lamp.prefab:1: file UUID of 'Bulb'\n");
    EXPECT_EQ(result.exitStatus, 0);
    const Uuid bulb = Uuid::combine(Uuid::combine(Uuid::ZERO, id(2)), id(12));
    result = run({"find-uuid", bulb.toString(), "."});
    EXPECT_EQ(result.output, "quay.prefab: live UUID of 'Quay/North lamp/Bulb' from lamp.prefab:1\n");
}

TEST_F(UuidCommands, findUuid_fails_withStatus1_whenNothingIsFound) {
    const ProcessResult result = run({"find-uuid", id(99).toString(), "."});
    EXPECT_EQ(result, (ProcessResult{1, "", ""}));
}

TEST_F(UuidCommands, findUuid_fails_withStatus2_whenAFileCannotBeRead) {
    write("broken.prefab", "<prefab></wrong>");
    const ProcessResult result = run({"find-uuid", id(12).toString(), "."});
    EXPECT_EQ(result.output, "lamp.prefab:1: file UUID of 'Bulb'\n");
    EXPECT_THAT(result.errors, StartsWith("kiln-prefab: broken.prefab: the file is not well formed: "));
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(UuidCommands, findUuidJson_hasTheSameAndAVersion) {
    const Json json = Json::parse(run({"find-uuid", "--format", "json", id(12).toString(), "."}).output);
    EXPECT_EQ(json, Json::parse(R"({"schemaVersion": 1, "uuid": "00000000-0000-0000-0000-00000000000c",
                                    "instanceUuid": "00000000-0000-0000-0000-000000000000",
                                    "found": [{"kind": "file", "prefab": "lamp.prefab", "object": "Bulb",
                                               "file": "lamp.prefab", "line": 1}]})"));
}

TEST_F(UuidCommands, newUuids_changesTheFileAndKeepsItsPermissions) {
    const std::string name = m_directory.path("lamp.prefab");
    ASSERT_EQ(::chmod(name.c_str(), 0640), 0);
    const std::string before = read("lamp.prefab");
    const ProcessResult result = run({"new-uuids", "lamp.prefab"});
    EXPECT_EQ(result, (ProcessResult{0, "2 new UUIDs and 1 changed reference in 1 file\n", ""}));
    const std::string after = read("lamp.prefab");
    EXPECT_EQ(after.size(), before.size());
    EXPECT_THAT(after, Not(HasSubstr(id(11).toString())));
    EXPECT_THAT(after, Not(HasSubstr(id(12).toString())));
    EXPECT_EQ(run({"check", "lamp.prefab"}).exitStatus, 0);
    struct stat status {};
    ASSERT_EQ(::stat(name.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST_F(UuidCommands, newUuidsWithSeed_areReproducible) {
    const std::string before = read("lamp.prefab");
    EXPECT_EQ(run({"new-uuids", "lamp.prefab", "--seed", id(5).toString()}).exitStatus, 0);
    const std::string first = read("lamp.prefab");
    EXPECT_THAT(first, HasSubstr(Uuid::combine(id(5), id(11)).toString()));
    write("lamp.prefab", before);
    EXPECT_EQ(run({"new-uuids", "lamp.prefab", "--seed", id(5).toString()}).exitStatus, 0);
    EXPECT_EQ(read("lamp.prefab"), first);
}

TEST_F(UuidCommands, newUuidsDryRun_printsAPatchAndChangesNothing) {
    write("quay.prefab",
          PrefabText()
              .object(id(1), "Quay")
              .object(id(2), "Lamp")
              .parent(1, id(1))
              .nest(1, "lamp.prefab",
                    "\n" + TestSupport::OverridesText().record(id(12), "NoteComponent", "").text() + "\n"));
    const std::string lamp = read("lamp.prefab");
    const std::string quay = read("quay.prefab");
    const ProcessResult result =
        run({"new-uuids", "--folder", ".", "--dry-run", "--seed", id(5).toString(), "lamp.prefab"});
    EXPECT_THAT(result.output,
                StartsWith("diff --git a/lamp.prefab b/lamp.prefab\n--- a/lamp.prefab\n+++ b/lamp.prefab\n"));
    EXPECT_THAT(result.output, HasSubstr("--- a/quay.prefab\n+++ b/quay.prefab\n"));
    EXPECT_THAT(result.output, HasSubstr("\n+<overrides><gameObject><uuid>" + Uuid::combine(id(5), id(12)).toString()));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(read("lamp.prefab"), lamp);
    EXPECT_EQ(read("quay.prefab"), quay);
}

TEST_F(UuidCommands, newUuidsWithFolder_rewritesTheFilesThatNestTheFile) {
    write("quay.prefab",
          PrefabText()
              .object(id(1), "Quay")
              .object(id(2), "Lamp")
              .parent(1, id(1))
              .nest(1, "lamp.prefab", TestSupport::OverridesText().record(id(12), "NoteComponent", "").text()));
    const ProcessResult result = run({"new-uuids", "--folder", ".", "--seed", id(5).toString(), "lamp.prefab"});
    EXPECT_EQ(result.output, "2 new UUIDs and 2 changed references in 2 files\n");
    EXPECT_THAT(read("quay.prefab"), HasSubstr(Uuid::combine(id(5), id(12)).toString()));
}

TEST_F(UuidCommands, newUuids_notesValuesThatMayBeLinks) {
    write("lamp.prefab",
          PrefabText().object(id(11), "Lamp").component("SailComponent", 0, element("mast", id(11).toString())));
    EXPECT_EQ(
        run({"new-uuids", "lamp.prefab"}).errors,
        "note: changed 1 value of components of the unknown type 'SailComponent' that had UUIDs of the objects\n");
}

TEST_F(UuidCommands, newUuidsOfAMissingFile_isRefused) {
    const ProcessResult result = run({"new-uuids", "gone.prefab"});
    EXPECT_EQ(result, (ProcessResult{2, "", "kiln-prefab: gone.prefab: the file is missing\n"}));
}

} // namespace
} // namespace Kiln::PrefabToolTests
