#include "kiln_prefab_fixture.h"

#include <filesystem>
#include <utility>

#include <sys/stat.h>

namespace Kiln::PrefabToolTests {

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

/// Each bad prefab is passed between two good ones, which must be created nevertheless.
class BadInput : public KilnPrefabFixture {
protected:
    BadInput() { write("good.prefab", simplePrefab()); }

    /// Loads "bad.prefab"; the instance of it.
    [[nodiscard]] Json spawnBad(const std::vector<std::string>& options = {}) {
        std::vector<std::string> arguments = options;
        arguments.insert(arguments.end(), {"good.prefab", "bad.prefab", "good.prefab"});
        const std::vector<Json> instances = spawnJson(std::move(arguments));
        EXPECT_EQ(m_result.exitStatus, 1);
        EXPECT_EQ(instances.size(), 3U);
        if (instances.size() != 3) {
            return {};
        }
        EXPECT_EQ(names(instances[0]), std::vector<std::string>{"Root"});
        EXPECT_EQ(names(instances[2]), std::vector<std::string>{"Root"});
        EXPECT_EQ(logTexts(instances[2]), std::vector<std::string>());
        return instances[1];
    }

    void expectNotCreated(const std::string& reason) {
        const Json instance = spawnBad();
        EXPECT_EQ(instance["objects"], Json::array());
        EXPECT_THAT(m_result.errors, HasSubstr("kiln-prefab: bad.prefab: not created: " + reason));
    }

    void expectCreatedWithErrors(const std::vector<std::string>& objects, const std::string& reason) {
        const Json instance = spawnBad();
        EXPECT_EQ(names(instance), objects);
        EXPECT_THAT(lines(m_result.errors),
                    ElementsAre(testing::StartsWith("error: " + reason),
                                testing::StartsWith("kiln-prefab: bad.prefab: errors while loading: " + reason)));
    }
};

TEST_F(BadInput, missingFile_isNotCreated) {
    expectNotCreated("Prefab not found bad.prefab\n");
}

TEST_F(BadInput, truncatedXml_isNotCreated) {
    const std::string text = simplePrefab();
    write("bad.prefab", text.substr(0, text.size() / 2));
    expectNotCreated("XML error in 'bad.prefab' at line 1, ");
}

TEST_F(BadInput, xmlThatIsNotWellFormed_isNotCreated) {
    write("bad.prefab", "<prefab>\n<formatVersion>1</wrong>\n</prefab>");
    expectNotCreated("XML error in 'bad.prefab' at line 2, ");
}

TEST_F(BadInput, emptyFile_isNotCreated) {
    write("bad.prefab", "");
    expectNotCreated("XML error in 'bad.prefab' at line 1, column 1: No root element; Prefab not found bad.prefab\n");
}

TEST_F(BadInput, directory_isNotCreated) {
    std::filesystem::create_directory(m_directory.path() / "bad.prefab");
    expectNotCreated("Cannot read '");
    EXPECT_THAT(m_result.errors, HasSubstr("bad.prefab': is a directory"));
}

TEST_F(BadInput, pipe_isNotCreated) {
    ASSERT_EQ(mkfifo(m_directory.path("bad.prefab").c_str(), 0600), 0);
    expectNotCreated("Cannot read 'bad.prefab': is not a regular file; Prefab not found bad.prefab\n");
}

TEST_F(BadInput, sparseFileOf20Gigabytes_isNotCreated) {
    write("bad.prefab", "");
    std::filesystem::resize_file(m_directory.path("bad.prefab"), 20'000'000'000);
    expectNotCreated("Cannot read 'bad.prefab': is larger than the limit of 536870912 bytes; Prefab not found "
                     "bad.prefab\n");
}

TEST_F(BadInput, nestedPipeOrDevice_isAnErrorAndBlocksNothing) {
    ASSERT_EQ(mkfifo(m_directory.path("pipe.prefab").c_str(), 0600), 0);
    const std::vector<std::pair<std::string, std::string>> problems{{"pipe.prefab", "is not a regular file"},
                                                                    {"/dev/zero", "is outside of the resource roots"}};
    for (const auto& [path, problem] : problems) {
        write("bad.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1)).nest(1, path));
        EXPECT_EQ(names(spawnBad({"--timeout", "10"})), std::vector<std::string>{"A"});
        EXPECT_THAT(m_result.errors, HasSubstr("kiln-prefab: bad.prefab: errors while loading: Cannot read '" + path +
                                               "': " + problem + "; Prefab not found " + path + "\n"));
    }
}

TEST_F(BadInput, nulInANameOrPath_isNotCreated) {
    write("bad.prefab", "<prefab>\n<name>abc&#0;def</name>\n</prefab>");
    expectNotCreated("XML error in 'bad.prefab' at line 2, column 10: Character reference that XML does not allow; "
                     "Prefab not found bad.prefab\n");
}

TEST_F(BadInput, binaryFile_isNotCreated) {
    write("bad.prefab", std::string("\x7F"
                                    "ELF\x02\x01\x01\0\0\0\xFF\xFE<prefab>",
                                    20));
    expectNotCreated("XML error in 'bad.prefab' at line 1, column 8: NUL byte, not a text file");
}

TEST_F(BadInput, deepGarbage_isNotCreated) {
    std::string text;
    for (int level = 0; level < 300; ++level) {
        text += "<level>";
    }
    write("bad.prefab", text);
    expectNotCreated("XML error in 'bad.prefab' at line 1, ");
}

TEST_F(BadInput, wrongVersion_isNotCreated) {
    write("bad.prefab", PrefabText().formatVersion(2).object(id(1), "Root"));
    expectNotCreated("Failed to deserialize prefab. Format version mismatch. Current version: 1. Prefab version: 2. "
                     "Content conversion is required.\n");
}

TEST_F(BadInput, otherDocument_isNotCreated) {
    write("bad.prefab", "<level/>");
    expectNotCreated("Failed to deserialize prefab. Format version mismatch. Current version: 1. Prefab version: 0. "
                     "Content conversion is required.\n");
}

TEST_F(BadInput, noGameObjects_isNotCreated) {
    write("bad.prefab", "<prefab><formatVersion>1</formatVersion></prefab>");
    const Json instance = spawnBad();
    EXPECT_EQ(instance["objects"], Json::array());
    EXPECT_THAT(m_result.errors, AllOf(HasSubstr("kiln-prefab: bad.prefab: not created: "),
                                       HasSubstr("Prefab doesn't contain game objects.")));
}

TEST_F(BadInput, emptyListOfGameObjects_isNotCreated) {
    write("bad.prefab", PrefabText());
    expectNotCreated("the prefab has no game objects\n");
}

TEST_F(BadInput, twoRoots_isNotCreated) {
    write("bad.prefab", PrefabText().object(id(1), "A").object(id(2), "B"));
    expectNotCreated("Game Objects hierarchy has more than one root.; Failed to create prefab instance.\n");
}

TEST_F(BadInput, noRoot_isNotCreated) {
    write("bad.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(0, id(2)).parent(1, id(1)));
    expectNotCreated("Game Objects hierarchy doesn't have root.; Failed to create prefab instance.\n");
}

TEST_F(BadInput, duplicateUuids_isNotCreated) {
    write("bad.prefab",
          PrefabText().object(id(1), "Root").object(id(2), "A").object(id(2), "B").parent(1, id(1)).parent(2, id(1)));
    expectNotCreated("UUID conflict detected. Trying to generate new instance UUID.; Failed to workaround UUID "
                     "conflict. Check content for Game Objects with duplicate UUIDs.; Failed to create prefab "
                     "instance.\n");
}

TEST_F(BadInput, prefabThatNestsItself_isNotCreated) {
    write("bad.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1)).nest(1, "bad.prefab"));
    expectNotCreated(DEPTH_MESSAGE + "; Failed to create prefab instance.\n");
}

TEST_F(BadInput, cycleOfTwoPrefabs_isNotCreated) {
    write("bad.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1)).nest(1, "other.prefab"));
    write("other.prefab", PrefabText().object(id(3), "C").object(id(4), "D").parent(1, id(3)).nest(1, "bad.prefab"));
    expectNotCreated(DEPTH_MESSAGE + "; Failed to create prefab instance.\n");
}

TEST_F(BadInput, nestingBelowTheLimit_isNotCreated) {
    for (int level = 0; level < 6; ++level) {
        const std::string name = level == 0 ? "bad" : std::to_string(level);
        write(name + ".prefab", PrefabText()
                                    .object(id(1), name)
                                    .object(id(2), "Point")
                                    .parent(1, id(1))
                                    .nest(1, std::to_string(level + 1) + ".prefab"));
    }
    write("6.prefab", simplePrefab());
    expectNotCreated(DEPTH_MESSAGE + "; Failed to create prefab instance.\n");
}

TEST_F(BadInput, failedPrefab_leavesNoObjects) {
    write("bad.prefab", PrefabText().object(id(1), "A").object(id(2), "B"));
    const TestSupport::ProcessResult result = spawn({"--dump-pools", "bad.prefab"});
    EXPECT_THAT(result.output, testing::Not(HasSubstr("Is pool empty: no")));
}

TEST_F(BadInput, deepUnknownElements_areSkipped) {
    std::string nested;
    for (int level = 0; level < 300; ++level) {
        nested = element("unknown", nested);
    }
    write("deep.prefab", PrefabText().object(id(1), "Root").raw(nested));
    const std::vector<Json> instances = spawnJson({"deep.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(names(instances[0]), std::vector<std::string>{"Root"});
    EXPECT_EQ(m_result.exitStatus, 0);
    EXPECT_EQ(m_result.errors, "");
}

TEST_F(BadInput, valueThatDoesNotParse_isAnError) {
    write("bad.prefab", PrefabText().object(id(1), "A").component("TransformComponent", 0, "<local>rubbish</local>"));
    expectCreatedWithErrors({"A"}, "Component 'TransformComponent': property 'local' can't be read as Matrix from "
                                   "'rubbish'");
}

TEST_F(BadInput, gameObjectIndexOutOfRange_isAnError) {
    write("bad.prefab", PrefabText().object(id(1), "A").component("TransformComponent", 18446744073709551615U));
    expectCreatedWithErrors({"A"}, "Error deserializing component 'TransformComponent'. Game Object index out of "
                                   "range.");
}

TEST_F(BadInput, missingNestedFile_isAnError) {
    write("bad.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1)).nest(1, "gone.prefab"));
    expectCreatedWithErrors({"A"}, "Prefab not found gone.prefab");
}

TEST_F(BadInput, parentCycle_isAnError) {
    write("bad.prefab",
          PrefabText().object(id(1), "Root").object(id(2), "A").object(id(3), "B").parent(1, id(3)).parent(2, id(2)));
    expectCreatedWithErrors({"Root", "A", "B"}, "Parent of game object 'B' is refused: 'A' is the object itself or "
                                                "one of its descendants");
}

TEST_F(BadInput, malformedUuid_isAnError) {
    write("bad.prefab", "<prefab><formatVersion>1</formatVersion><gameObjects><gameObject><uuid>7</uuid><name>A</name>"
                        "</gameObject></gameObjects></prefab>");
    expectCreatedWithErrors({"A"}, "A game object's UUID can't be read from '7' (bad.prefab, line 1)");
}

TEST_F(BadInput, errorInASharedNestedFile_isReportedForEachPrefab) {
    write("bad.prefab", PrefabText().object(id(1), "A").component("TransformComponent", 0, "<local>rubbish</local>"));
    write("outer.prefab", PrefabText().object(id(1), "O").object(id(2), "P").parent(1, id(1)).nest(1, "bad.prefab"));
    const TestSupport::ProcessResult result = spawn({"bad.prefab", "outer.prefab", "bad.prefab"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(lines(result.errors), testing::Contains(HasSubstr("kiln-prefab: outer.prefab: errors")).Times(1));
    EXPECT_THAT(lines(result.errors), testing::Contains(HasSubstr("kiln-prefab: bad.prefab: errors")).Times(2));
}

} // namespace

} // namespace Kiln::PrefabToolTests
