#include <kiln_prefab/kiln_prefab_fixture.h>
#include <support/prefab_text.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {

namespace {

namespace fs = std::filesystem;
using TestSupport::ProcessResult;

const std::string ROOT =
    "<prefab>\n\t<formatVersion>1</formatVersion>\n\t<gameObjects>\n\t\t<gameObject>\n\t\t\t<uuid>"
    "00000000-0000-0000-0000-000000000001</uuid>\n\t\t\t<name>Lamp</name>\n\t\t\t<flags>0</flags>\n"
    "\t\t</gameObject>\n\t</gameObjects>\n</prefab>\n";

class PackCommand : public KilnPrefabFixture {
protected:
    PackCommand() {
        write("a.prefab", ROOT);
        write("props/b.prefab", "<!-- A comment. -->\n" + ROOT);
        write("props/pattern.xml", "<pattern><on>1.50</on></pattern>");
        write("props/notes.txt", "no document");
    }

    [[nodiscard]] std::string read(const std::string& name) const {
        std::ifstream stream(m_directory.path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    [[nodiscard]] std::string sizeOf(const std::string& name) const {
        return std::to_string(fs::file_size(m_directory.path(name)));
    }

    /// Packs everything into game.kilnpack.
    void pack() const {
        const ProcessResult result = run({"pack", ".", "--output", "game.kilnpack"});
        EXPECT_EQ(result, (ProcessResult{0, "", "note: packed 3 files, " + sizeOf("game.kilnpack") + " bytes\n"}));
    }
};

TEST_F(PackCommand, folder_isPackedListedAndVerified) {
    pack();
    const ProcessResult list = run({"pack", "--list", "game.kilnpack"});
    EXPECT_EQ(list.exitStatus, 0);
    EXPECT_THAT(list.output, testing::MatchesRegex("tree\t[0-9]+\t[0-9]+\ta.prefab\n"
                                                   "tree\t[0-9]+\t[0-9]+\tprops/b.prefab\n"
                                                   "tree\t[0-9]+\t[0-9]+\tprops/pattern.xml\n"));
    EXPECT_EQ(list.errors, "note: 3 documents, " + sizeOf("game.kilnpack") + " bytes\n");
    EXPECT_EQ(run({"pack", "--verify", "game.kilnpack"}), (ProcessResult{0, "", "note: verified 3 documents\n"}));
}

TEST_F(PackCommand, nestedFileThatIsNotPacked_isNoted) {
    write("street.prefab", TestSupport::PrefabText()
                               .object(TestSupport::id(1), "Street")
                               .object(TestSupport::id(2), "Lamp")
                               .parent(1, TestSupport::id(1))
                               .nest(1, "props/b.prefab")
                               .text());
    const std::string note = "note: 'props/b.prefab' is nested in a packed prefab, but is not packed itself\n";
    const ProcessResult result = run({"pack", "street.prefab", "--output", "street.kilnpack"});
    EXPECT_EQ(result, (ProcessResult{0, "", note + "note: packed 1 file, " + sizeOf("street.kilnpack") + " bytes\n"}));
    const ProcessResult both = run({"pack", "street.prefab", "props/b.prefab", "--output", "street.kilnpack"});
    EXPECT_EQ(both, (ProcessResult{0, "", "note: packed 2 files, " + sizeOf("street.kilnpack") + " bytes\n"}));
}

TEST_F(PackCommand, unpack_writesWhatRewriteDoes) {
    pack();
    EXPECT_EQ(run({"unpack", "game.kilnpack", "--output", "out/deeper"}),
              (ProcessResult{0, "", "note: unpacked 3 documents\n"}));
    for (const std::string path : {"a.prefab", "props/b.prefab", "props/pattern.xml"}) {
        EXPECT_EQ(read("out/deeper/" + path), run({"rewrite", path}).output);
    }
}

TEST_F(PackCommand, unpack_replacesFilesOnlyIfForced) {
    pack();
    write("out/a.prefab", "old");
    const std::string problem = "kiln-prefab: 'out/a.prefab' exists already; --force replaces it\n";
    EXPECT_EQ(run({"unpack", "game.kilnpack", "a.prefab", "--output", "out"}), (ProcessResult{2, "", problem}));
    EXPECT_EQ(read("out/a.prefab"), "old");
    EXPECT_EQ(run({"unpack", "game.kilnpack", "a.prefab", "--output", "out", "--force", "--quiet"}),
              (ProcessResult{0, "", ""}));
    EXPECT_EQ(read("out/a.prefab"), ROOT);
}

TEST_F(PackCommand, unpack_printsOneDocument) {
    pack();
    EXPECT_EQ(run({"unpack", "game.kilnpack", "a.prefab", "--stdout"}), (ProcessResult{0, ROOT, ""}));
    EXPECT_EQ(run({"unpack", "game.kilnpack", "--stdout"}),
              (ProcessResult{2, "", "kiln-prefab: --stdout takes one document\n"}));
    EXPECT_EQ(run({"unpack", "game.kilnpack", "gone.prefab", "--stdout"}),
              (ProcessResult{2, "", "kiln-prefab: 'gone.prefab' is not in the pack\n"}));
    EXPECT_EQ(run({"unpack", "game.kilnpack"}), (ProcessResult{2, "", "kiln-prefab: --output DIR is required\n"}));
}

TEST_F(PackCommand, options_changeTheStorageOnly) {
    pack();
    EXPECT_EQ(run({"pack", ".", "-o", "other.kilnpack", "--zstd", "--positions", "--jobs", "2"}).exitStatus, 0);
    EXPECT_EQ(run({"pack", "--diff", "game.kilnpack", "other.kilnpack"}), (ProcessResult{0, "", ""}));
    EXPECT_THAT(run({"pack", "--list", "other.kilnpack"}).output, testing::StartsWith("zstd\t"));
}

TEST_F(PackCommand, diff_namesWhatHasChanged) {
    pack();
    write("a.prefab", "<prefab><formatVersion>2</formatVersion></prefab>");
    write("c.prefab", ROOT);
    fs::remove(m_directory.path("props/pattern.xml"));
    EXPECT_EQ(run({"pack", ".", "-o", "new.kilnpack", "--force"}).exitStatus, 0);
    EXPECT_EQ(run({"pack", "--diff", "game.kilnpack", "new.kilnpack"}),
              (ProcessResult{1, "changed: a.prefab\nadded:   c.prefab\nremoved: props/pattern.xml\n", ""}));
}

TEST_F(PackCommand, update_encodesOnlyWhatHasChanged) {
    pack();
    write("a.prefab", "<!-- changed -->\n" + ROOT);
    const ProcessResult result = run({"pack", ".", "-o", "game.kilnpack", "--update"});
    EXPECT_EQ(
        result,
        (ProcessResult{0, "", "note: packed 3 files, 2 of them unchanged, " + sizeOf("game.kilnpack") + " bytes\n"}));
    const std::string updated = read("game.kilnpack");
    EXPECT_EQ(run({"pack", ".", "-o", "game.kilnpack"}).exitStatus, 0);
    EXPECT_EQ(read("game.kilnpack"), updated);
}

TEST_F(PackCommand, errors_areReportedAndNothingIsWrittenUnlessForced) {
    write("broken.prefab", "<prefab>");
    const ProcessResult refused = run({"pack", ".", "--output", "game.kilnpack"});
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_THAT(refused.errors, testing::StartsWith("kiln-prefab: broken.prefab:1: "));
    EXPECT_THAT(refused.errors, testing::EndsWith("kiln-prefab: no pack was written because of 1 error; --force packs "
                                                  "the files nevertheless\n"));
    EXPECT_FALSE(fs::exists(m_directory.path("game.kilnpack")));
    EXPECT_EQ(run({"pack", ".", "--output", "game.kilnpack", "--force", "--quiet"}), (ProcessResult{0, "", ""}));
    EXPECT_THAT(run({"pack", "--list", "game.kilnpack"}).output, testing::HasSubstr("text\t8\t8\tbroken.prefab\n"));
    EXPECT_EQ(run({"unpack", "game.kilnpack", "broken.prefab", "--stdout"}).output, "<prefab>");
}

TEST_F(PackCommand, malformedFile_isReportedAndNothingIsWrittenUnlessForced) {
    write("broken.xml", "<a><b>");
    const std::string errors = "kiln-prefab: XML error in 'broken.xml' at line 1, column 6: Start-end tags mismatch\n"
                               "kiln-prefab: no pack was written because of 1 error; --force packs the files "
                               "nevertheless\n";
    EXPECT_EQ(run({"pack", ".", "--output", "game.kilnpack"}), (ProcessResult{1, "", errors}));
    EXPECT_FALSE(fs::exists(m_directory.path("game.kilnpack")));
    EXPECT_EQ(run({"pack", ".", "--output", "game.kilnpack", "--force", "--quiet"}), (ProcessResult{0, "", ""}));
    EXPECT_THAT(run({"pack", "--list", "game.kilnpack"}).output, testing::HasSubstr("text\t6\t6\tbroken.xml\n"));
}

TEST_F(PackCommand, inputAsOutput_isRefused) {
    write("document", ROOT);
    const std::string problem = "kiln-prefab: the output './document' is one of the files that are packed\n";
    EXPECT_EQ(run({"pack", "document", "--output", "./document"}), (ProcessResult{2, "", problem}));
    EXPECT_EQ(read("document"), ROOT);
}

TEST_F(PackCommand, unpack_takesADocumentThatIsNamedTwiceOnce) {
    pack();
    EXPECT_EQ(run({"unpack", "game.kilnpack", "a.prefab", "a.prefab", "--output", "out"}),
              (ProcessResult{0, "", "note: unpacked 1 document\n"}));
}

TEST_F(PackCommand, damagedPack_isReported) {
    pack();
    {
        std::fstream file(m_directory.path("game.kilnpack"), std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(-1, std::ios::end);
        file.put('x');
    }
    const std::string problem =
        "kiln-prefab: Cannot read 'props/pattern.xml': the pack 'game.kilnpack' is damaged: the "
        "checksum of the document is wrong\n";
    EXPECT_EQ(run({"pack", "--verify", "game.kilnpack"}), (ProcessResult{1, "", problem}));
    EXPECT_EQ(run({"unpack", "game.kilnpack", "props/pattern.xml", "--stdout"}), (ProcessResult{2, "", problem}));
    EXPECT_EQ(run({"pack", "--diff", "game.kilnpack", "game.kilnpack"}), (ProcessResult{2, "", problem + problem}));
    EXPECT_EQ(run({"pack", "--list", "a.prefab"}),
              (ProcessResult{2, "", "kiln-prefab: Cannot open the pack 'a.prefab': it is not a pack\n"}));
}

TEST_F(PackCommand, wrongArguments_areNamed) {
    EXPECT_EQ(run({"pack", "."}), (ProcessResult{2, "", "kiln-prefab: --output FILE is required\n"}));
    EXPECT_EQ(run({"pack", "--list", "a", "b"}),
              (ProcessResult{2, "", "kiln-prefab: --list and --verify take one pack\n"}));
    EXPECT_EQ(run({"pack", "--diff", "a"}), (ProcessResult{2, "", "kiln-prefab: --diff takes two packs\n"}));
    EXPECT_EQ(
        run({"pack", ".", "--output", "all.prefab"}),
        (ProcessResult{2, "", "kiln-prefab: --output must not end in .prefab, as the files that are packed do\n"}));
    const ProcessResult unused = run({"pack", "--list", "a", "--zstd"});
    EXPECT_EQ(unused.exitStatus, 2);
    EXPECT_THAT(unused.errors, testing::HasSubstr("--zstd"));
}

} // namespace

} // namespace Kiln::PrefabToolTests
