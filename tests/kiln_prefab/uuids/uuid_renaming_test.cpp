#include "uuid_fixture.h"

#include <common/uuid_division.h>
#include <kiln_prefab/check/command_error.h>
#include <tessel_asset_loading/game_object_prefab.h>

#include <random>
#include <set>

namespace Kiln::PrefabTool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

[[nodiscard]] std::string ropeTo(const Uuid& end) {
    return element("end", end.toString());
}

/// The text with one UUID in the place of another one.
[[nodiscard]] std::string replaced(std::string text, const Uuid& old, const Uuid& by) {
    const std::string wanted = old.toString();
    for (std::size_t found = text.find(wanted); found != std::string::npos; found = text.find(wanted, found + 1)) {
        text.replace(found, wanted.size(), by.toString());
    }
    return text;
}

class UuidRenamingTest : public UuidFixture {
protected:
    /// A mast with a lamp; the lamp's UUIDs are 11 and 12, the mast's 1 to 3.
    void writeMast() const {
        write("lamp.prefab", PrefabText().object(id(11), "Lamp").object(id(12), "Bulb").parent(1, id(11)));
        write("mast.prefab", PrefabText()
                                 .object(id(1), "Mast")
                                 .object(id(2), "Top lamp")
                                 .object(id(3), "Flag")
                                 .parent(1, id(1))
                                 .parent(2, id(1))
                                 .nest(1, "lamp.prefab"));
    }
};

TEST_F(UuidRenamingTest, objectsAndParents_getTheNewUuidsAndNothingElseChanges) {
    const std::string text = "\xEF\xBB\xBF<?xml version=\"1.0\"?>\r\n<!-- id " + id(1).toString() + " -->\r\n" +
                             PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1)).text() + "\r\n\t";
    write("a.prefab", text);
    const UuidRenaming renaming = rename("a.prefab");
    std::string expected = replaced(replaced(text, id(1), renamed(id(1))), id(2), renamed(id(2)));
    expected.replace(expected.find(renamed(id(1)).toString()), 36, id(1).toString()); // The comment stays.
    EXPECT_EQ(read("a.prefab"), expected);
    EXPECT_EQ(renaming.objectsCount, 2U);
    EXPECT_EQ(renaming.linksCount, 1U);
    EXPECT_EQ(renaming.files.size(), 1U);
}

TEST_F(UuidRenamingTest, linksOfEveryForm_areRewritten) {
    const std::string link = id(1).toString();
    write("a.prefab", PrefabText()
                          .object(id(1), "A")
                          .object(id(2), "B")
                          .parent(1, id(1))
                          .component("RopeComponent", 1,
                                     ropeTo(id(1)) + element("posts", element("value", link) + element("value", link)) +
                                         element("knot", element("post", link)) +
                                         element("knots", element("value", element("post", " " + link + "\n")))));
    const std::vector<std::string> before = shapeOf("a.prefab");
    EXPECT_EQ(rename("a.prefab").linksCount, 6U);
    EXPECT_THAT(read("a.prefab"), Not(HasSubstr(link)));
    EXPECT_EQ(shapeOf("a.prefab"), before);
}

TEST_F(UuidRenamingTest, linksThatLeaveTheFileOrLeadNowhere_stay) {
    write("a.prefab",
          PrefabText()
              .object(id(1), "A")
              .component("RopeComponent", 0, ropeTo(id(77)) + element("knot", element("post", Uuid().toString()))));
    rename("a.prefab");
    EXPECT_THAT(read("a.prefab"), HasSubstr(ropeTo(id(77))));
    EXPECT_THAT(read("a.prefab"), HasSubstr(element("post", Uuid().toString())));
}

TEST_F(UuidRenamingTest, linksThroughNestedPrefabs_areRewritten) {
    writeMast();
    write("crane.prefab", PrefabText()
                              .object(id(21), "Crane")
                              .object(id(22), "Mast of the crane")
                              .object(id(23), "Hook")
                              .parent(1, id(21))
                              .parent(2, Uuid::combine(id(22), Uuid::combine(id(2), id(12))))
                              .nest(1, "mast.prefab")
                              .component("RopeComponent", 2, ropeTo(Uuid::combine(id(22), id(3)))));
    const std::vector<std::string> before = shapeOf("crane.prefab");
    rename("crane.prefab");
    EXPECT_THAT(read("crane.prefab"), HasSubstr(ropeTo(Uuid::combine(renamed(id(22)), id(3)))));
    EXPECT_EQ(shapeOf("crane.prefab"), before);
    EXPECT_THAT(findings({"crane.prefab"}), IsEmpty());
}

TEST_F(UuidRenamingTest, outerFiles_followWithOverridesOfEveryDepthAndLinks) {
    writeMast();
    const std::string inner = OverridesText().record(id(12), "RopeComponent", ropeTo(id(11))).escapedText();
    write("crane.prefab",
          PrefabText()
              .object(id(21), "Crane")
              .object(id(22), "Mast of the crane")
              .object(id(23), "Hook")
              .parent(1, id(21))
              .parent(2, Uuid::combine(id(22), id(2)))
              .nest(1, "mast.prefab",
                    OverridesText()
                        .record(id(3), "RopeComponent", ropeTo(Uuid::combine(id(2), id(12))))
                        .record(id(2), "PrefabComponent", element("overridesData", inner))
                        .text())
              .component("RopeComponent", 2, ropeTo(Uuid::combine(id(22), Uuid::combine(id(2), id(12)))))
              .component("RopeComponent", 1, ropeTo(id(3))));
    write("unrelated.prefab", PrefabText().object(id(1), "One"));
    const std::string unrelated = read("unrelated.prefab");
    const std::vector<std::string> before = shapeOf("crane.prefab");
    const std::vector<std::string> known = findings({"crane.prefab"});
    const UuidRenaming renaming = rename("mast.prefab", {"crane.prefab", "lamp.prefab", "unrelated.prefab"});
    EXPECT_EQ(renaming.files.size(), 2U);
    EXPECT_THAT(renaming.problems, IsEmpty());
    EXPECT_EQ(shapeOf("crane.prefab"), before);
    EXPECT_EQ(findings({"crane.prefab"}), known);
    EXPECT_EQ(read("unrelated.prefab"), unrelated);
    EXPECT_THAT(read("crane.prefab"), HasSubstr(element("uuid", renamed(id(3)).toString())));
    EXPECT_THAT(read("crane.prefab"), HasSubstr(ropeTo(Uuid::combine(renamed(id(2)), id(12)))));
    EXPECT_THAT(read("crane.prefab"), HasSubstr(inner));

    const std::string ofMast = read("mast.prefab");
    rename("lamp.prefab", {"crane.prefab", "mast.prefab"});
    EXPECT_EQ(shapeOf("crane.prefab"), before);
    EXPECT_EQ(read("mast.prefab"), ofMast);
    EXPECT_THAT(read("crane.prefab"), HasSubstr(renamed(id(12)).toString()));
}

TEST_F(UuidRenamingTest, copiedFile_isTheOnlyOneOfTheTwoWhoseOverridesFollow) {
    writeMast();
    write("copy.prefab", read("lamp.prefab"));
    const std::string overrides = OverridesText().record(id(12), "RopeComponent", ropeTo(id(11))).text();
    write("pair.prefab", PrefabText()
                             .object(id(31), "Pair")
                             .object(id(32), "Lamp")
                             .object(id(33), "Copy")
                             .parent(1, id(31))
                             .parent(2, id(31))
                             .nest(1, "lamp.prefab", overrides)
                             .nest(2, "copy.prefab", overrides));
    const std::string before = read("pair.prefab");
    rename("copy.prefab", {"pair.prefab"});
    std::string expected = before;
    const std::size_t second = expected.rfind("<overrides>");
    expected = expected.substr(0, second) +
               replaced(replaced(expected.substr(second), id(12), renamed(id(12))), id(11), renamed(id(11)));
    EXPECT_EQ(read("pair.prefab"), expected);
}

TEST_F(UuidRenamingTest, objectsWithTheSameUuid_getTheSameNewOne) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(1), "B").parent(1, id(1)));
    rename("a.prefab");
    PrefabFiles files;
    const PrefabInspection::PrefabFile& file = files.get("a.prefab");
    EXPECT_EQ(file.document->objects[0].uuid, renamed(id(1)));
    EXPECT_EQ(file.document->objects[1].uuid, renamed(id(1)));
}

TEST_F(UuidRenamingTest, missingAndUnreadableUuids_areWritten) {
    write("a.prefab", "<prefab><formatVersion>1</formatVersion><gameObjects>\n"
                      "\t<gameObject>\n\t\t<name>A</name>\n\t</gameObject>\n"
                      "\t<gameObject><uuid/><name>B</name></gameObject>\n"
                      "\t<gameObject><uuid>x &amp; y</uuid></gameObject>\n"
                      "</gameObjects></prefab>");
    std::uint64_t count = 0;
    PrefabFiles files;
    const UuidRenaming renaming =
        renameUuids(files, "a.prefab", {}, [&count](const Uuid& /*old*/) { return id(++count); });
    EXPECT_EQ(renaming.files.front().text.text(), "<prefab><formatVersion>1</formatVersion><gameObjects>\n"
                                                  "\t<gameObject>\n\t\t<uuid>" +
                                                      id(1).toString() +
                                                      "</uuid>\n\t\t<name>A</name>\n\t</gameObject>\n"
                                                      "\t<gameObject><uuid>" +
                                                      id(2).toString() +
                                                      "</uuid><name>B</name></gameObject>\n"
                                                      "\t<gameObject><uuid>" +
                                                      id(3).toString() +
                                                      "</uuid></gameObject>\n"
                                                      "</gameObjects></prefab>");
}

TEST_F(UuidRenamingTest, uuidInSeveralPieces_isRefused) {
    const std::string uuid = id(1).toString();
    write("a.prefab", replaced(PrefabText().object(id(1), "A").text(), id(9), id(9)));
    std::string text = read("a.prefab");
    text.replace(text.find(uuid), 36, uuid.substr(0, 9) + cdata(uuid.substr(9)));
    write("a.prefab", text);
    try {
        rename("a.prefab");
        ADD_FAILURE() << "the file was changed";
    } catch (const CommandError& error) {
        EXPECT_STREQ(error.what(), "a.prefab:1: the UUID of 'A' is written in several pieces and cannot be replaced");
    }
    EXPECT_EQ(read("a.prefab"), text);
}

TEST_F(UuidRenamingTest, linkWrittenWithReferences_isReportedAndTheRestIsRewritten) {
    std::string link = id(1).toString();
    link.replace(8, 1, "&#45;");
    write("a.prefab", PrefabText()
                          .object(id(1), "A")
                          .object(id(2), "B")
                          .parent(1, id(1))
                          .component("RopeComponent", 1, element("end", link)));
    const UuidRenaming renaming = rename("a.prefab");
    ASSERT_EQ(renaming.problems.size(), 1U);
    EXPECT_EQ(renaming.problems[0].text,
              "a UUID is written in several pieces or with references and cannot be replaced");
    EXPECT_THAT(read("a.prefab"), HasSubstr(element("end", link)));
    EXPECT_THAT(read("a.prefab"), HasSubstr(element("parent", renamed(id(1)).toString())));
}

TEST_F(UuidRenamingTest, uuidThatIsNoLink_staysAndIsNamed) {
    write("a.prefab",
          PrefabText().object(id(1), "A").component("RopeComponent", 0, element("serial", id(1).toString())));
    const UuidRenaming renaming = rename("a.prefab");
    ASSERT_EQ(renaming.otherValues.size(), 1U);
    EXPECT_EQ(renaming.otherValues[0].text, "RopeComponent.serial");
    EXPECT_THAT(read("a.prefab"), HasSubstr(element("serial", id(1).toString())));
}

TEST_F(UuidRenamingTest, unknownComponent_hasItsUuidsOfTheObjectsRewritten) {
    write("a.prefab",
          PrefabText()
              .object(id(1), "A")
              .component("SailComponent", 0, element("rig", element("mast", id(1).toString())) + ropeTo(id(5))));
    const UuidRenaming renaming = rename("a.prefab");
    EXPECT_THAT(renaming.unknownComponents, ElementsAre(testing::Pair("SailComponent", 1U)));
    EXPECT_THAT(read("a.prefab"), HasSubstr(element("mast", renamed(id(1)).toString())));
    EXPECT_THAT(read("a.prefab"), HasSubstr(ropeTo(id(5))));
}

TEST_F(UuidRenamingTest, prefabThatNestsItself_isReportedBecauseItsLinksCannotBeFollowed) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1)).nest(1, "a.prefab"));
    const UuidRenaming renaming = rename("a.prefab");
    ASSERT_EQ(renaming.problems.size(), 1U);
    EXPECT_EQ(renaming.problems[0].text,
              "links to objects of nested prefabs are not followed, because the prefab cannot be created: The prefab "
              "nests itself: 'a.prefab' is nested deeper than the limit of 5");
    EXPECT_THAT(read("a.prefab"), HasSubstr(element("parent", renamed(id(1)).toString())));
}

TEST_F(UuidRenamingTest, malformedOverridesOfTheFile_areReported) {
    writeMast();
    write("pole.prefab", PrefabText()
                             .object(id(41), "Pole")
                             .object(id(42), "Lamp")
                             .parent(1, id(41))
                             .nest(1, "lamp.prefab", "<overrides><gameObject>"));
    const UuidRenaming renaming = rename("lamp.prefab", {"pole.prefab"});
    ASSERT_EQ(renaming.problems.size(), 1U);
    EXPECT_EQ(renaming.problems[0].file, "pole.prefab");
    EXPECT_THAT(renaming.problems[0].text, HasSubstr("the override data is not well formed"));
}

/// The index of the node that has a UUID, as a text; the UUID if no node has it.
[[nodiscard]] std::string nodeText(const Tessel::GameObjectPrefab& prefab, const Uuid& uuid) {
    for (std::size_t i = 0; i < prefab.nodesCount(); ++i) {
        if (prefab.getGameObject(i)->uuid() == uuid) {
            return "node " + std::to_string(i);
        }
    }
    return uuid.toString();
}

/// The stored document of a prefab, with the indices of nodes in the place of their UUIDs.
[[nodiscard]] std::vector<std::string> documentOf(const Tessel::GameObjectPrefab& prefab) {
    const SmartPointer<DataSection> section = DataSection::create("prefab");
    prefab.serialize(section);
    std::vector<std::string> lines;
    std::vector<DataNode> pending{section->node()};
    while (!pending.empty()) {
        const DataNode node = pending.back();
        pending.pop_back();
        const std::optional<Uuid> uuid = Uuid::fromString(node.text());
        lines.push_back(std::string(node.name()) + " = " + (uuid ? nodeText(prefab, *uuid) : node.text()));
        for (DataNode child = node.firstChild(); child; child = child.nextSibling()) {
            pending.push_back(child);
        }
    }
    return lines;
}

TEST_F(UuidRenamingTest, result_isThatOfTheModulesRegeneration) {
    write("a.prefab", PrefabText()
                          .object(id(1), "A")
                          .object(id(2), "B")
                          .object(id(3), "C")
                          .parent(1, id(1))
                          .parent(2, id(2))
                          .component("RopeComponent", 1,
                                     ropeTo(id(3)) + element("knot", element("post", id(1).toString())) +
                                         element("serial", id(8).toString()))
                          .component("RopeComponent", 2, ropeTo(id(9))));
    const auto regenerated = Tessel::GameObjectPrefab::loadHierarchy("a.prefab", nullptr);
    regenerated->regenerateHierarchyUuids(SEED);
    rename("a.prefab");
    const auto renamedPrefab = Tessel::GameObjectPrefab::loadHierarchy("a.prefab", nullptr);
    EXPECT_EQ(documentOf(*renamedPrefab), documentOf(*regenerated));
}

/// Random prefabs that nest each other, with links from everywhere to everywhere.
class RandomPrefabs {
public:
    explicit RandomPrefabs(std::uint32_t seed) : m_random(seed) {}

    /// A prefab of the level, whose UUIDs begin at (level + 1) * 100. It nests prefabs of lower levels.
    [[nodiscard]] PrefabText prefab(std::size_t level) {
        PrefabText text;
        text.root(objectId(level, 0), "Root");
        const std::size_t count = 2 + pick(4);
        for (std::size_t i = 1; i <= count; ++i) {
            const Uuid uuid = objectId(level, i);
            const Uuid parent = objectId(level, pick(i));
            const std::size_t node = text.child(uuid, "O" + std::to_string(i), parent);
            if (level > 0 && pick(2) == 0) {
                const std::size_t nested = pick(level);
                text.nest(node, name(nested), pick(2) == 0 ? overrides(nested) : std::string());
            }
            if (pick(2) == 0) {
                text.component("RopeComponent", node, rope(level));
            }
        }
        return text;
    }

    [[nodiscard]] static std::string name(std::size_t level) { return "level" + std::to_string(level) + ".prefab"; }

private:
    [[nodiscard]] static Uuid objectId(std::size_t level, std::size_t object) { return id((level + 1) * 100 + object); }

    [[nodiscard]] std::size_t pick(std::size_t count) { return m_random() % count; }

    /// The UUID of an object of a prefab, or one of a path through nested prefabs, which may lead nowhere.
    [[nodiscard]] Uuid link(std::size_t level) {
        const Uuid own = objectId(level, pick(6));
        return level > 0 && pick(2) == 0 ? Uuid::combine(own, link(pick(level))) : own;
    }

    [[nodiscard]] std::string rope(std::size_t level) {
        return ropeTo(link(level)) + element("posts", element("value", link(level).toString())) +
               element("knot", element("post", link(level).toString()));
    }

    /// Override data of a prefab, down to the prefabs that it may nest.
    [[nodiscard]] std::string overrides(std::size_t level) {
        OverridesText text;
        for (std::size_t i = 0; i < 3; ++i) {
            text.record(objectId(level, pick(6)), "RopeComponent", rope(level));
        }
        if (level > 0) {
            OverridesText inner;
            inner.record(objectId(level - 1, pick(6)), "RopeComponent", rope(level - 1));
            text.record(objectId(level, 1 + pick(5)), "PrefabComponent", element("overridesData", inner.escapedText()));
        }
        return text.text();
    }

    std::mt19937 m_random;
};

TEST_F(UuidRenamingTest, randomPrefabs_keepTheirInstancesAndFindings) {
    constexpr std::size_t LEVELS = 4;
    std::vector<std::string> paths;
    for (std::size_t level = 0; level < LEVELS; ++level) {
        paths.push_back(RandomPrefabs::name(level));
    }
    std::size_t changedCount = 0;
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
        RandomPrefabs random(seed);
        std::vector<std::vector<std::string>> shapes;
        for (std::size_t level = 0; level < LEVELS; ++level) {
            write(paths[level], random.prefab(level));
        }
        std::transform(paths.begin(), paths.end(), std::back_inserter(shapes), shapeOf);
        const std::vector<std::string> known = findings(paths);
        const UuidRenaming renaming = rename(paths[seed % LEVELS], paths);
        changedCount += renaming.files.size() - 1;
        EXPECT_THAT(renaming.problems, IsEmpty());
        for (std::size_t level = 0; level < LEVELS; ++level) {
            ASSERT_EQ(shapeOf(paths[level]), shapes[level]) << "seed " << seed << ", " << paths[level];
        }
        ASSERT_EQ(findings(paths), known) << "seed " << seed;
    }
    EXPECT_GT(changedCount, 100U);
}

} // namespace
} // namespace Kiln::PrefabTool
