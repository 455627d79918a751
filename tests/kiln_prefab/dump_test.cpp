#include "kiln_prefab_fixture.h"

#include <map>

namespace Kiln::PrefabToolTests {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class DumpCommand : public KilnPrefabFixture {
protected:
    [[nodiscard]] TestSupport::ProcessResult dump(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "dump");
        return run(arguments);
    }

    [[nodiscard]] Json dumpJson(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--format", "json"});
        return Json::parse(dump(std::move(arguments)).output);
    }
};

TEST_F(DumpCommand, authored_isWhatTheFileContains) {
    write("a.prefab", PrefabText()
                          .object(id(1), "A", 5)
                          .object(id(2), "B")
                          .object(id(3), "C")
                          .parent(1, id(1))
                          .parent(2, id(77))
                          .component("NoteComponent", 0, element("text", "hello"))
                          .component("NoSuchComponent", 1,
                                     element("list", element("value", "x") + element("value", element("y", "1"))) +
                                         element("none", "")));
    const TestSupport::ProcessResult result = dump({"--load", TEST_COMPONENTS, "a.prefab"});
    EXPECT_EQ(result.output, "a.prefab\n"
                             "0 A (inactive, hidden)\n"
                             "    UUID 00000000-0000-0000-0000-000000000001\n"
                             "    NoteComponent from a.prefab:1\n"
                             "        text = hello\n"
                             "1 B\n"
                             "    UUID 00000000-0000-0000-0000-000000000002\n"
                             "    parent 0 A\n"
                             "    HierarchyComponent from a.prefab:1\n"
                             "        parent = 00000000-0000-0000-0000-000000000001\n"
                             "    NoSuchComponent (unknown) from a.prefab:1\n"
                             "        list[0] = x\n"
                             "        list[1].y = 1\n"
                             "        none = \n"
                             "2 C\n"
                             "    UUID 00000000-0000-0000-0000-000000000003\n"
                             "    parent 00000000-0000-0000-0000-00000000004d, not usable\n"
                             "    HierarchyComponent from a.prefab:1\n"
                             "        parent = 00000000-0000-0000-0000-00000000004d\n");
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(DumpCommand, composed_hasAllValuesOfAnInstance) {
    write("lamp.prefab", PrefabText().object(id(11), "Lamp").component("NoteComponent", 0, element("text", "file")));
    write("a.prefab",
          PrefabText()
              .object(id(1), "A")
              .object(id(2), "P")
              .parent(1, id(1))
              .nest(1, "lamp.prefab",
                    TestSupport::OverridesText().record(id(11), "NoteComponent", element("text", "override")).text()));
    const Json json = dumpJson({"--composed", "--load", TEST_COMPONENTS, "a.prefab"});
    EXPECT_EQ(json.at("composed"), true);
    EXPECT_EQ(json.at("formatVersion"), 1);
    const Json& components = json.at("objects")[1].at("components");
    ASSERT_EQ(components.size(), 3U);
    EXPECT_EQ(components[2].dump(),
              R"({"type":"NoteComponent","version":1,"options":35,"known":true,"read":true,"file":"lamp.prefab",)"
              R"("line":1,"properties":{"text":"override","severity":"3"}})");
}

TEST_F(DumpCommand, json_nestsStructuresAndVectorsInTheOrderOfTheFile) {
    write("a.prefab",
          PrefabText()
              .object(id(1), "A")
              .component("NoSuchComponent", 0,
                         element("z", element("value", element("b", "1") + element("a", "2")) + element("value", "")) +
                             element("text", " x &amp; y\n")));
    EXPECT_EQ(dumpJson({"a.prefab"}).at("objects")[0].at("components")[0].at("properties").dump(),
              R"({"z":[{"b":"1","a":"2"},""],"text":" x & y\n"})");
}

/// Writes the properties of a dumped component as elements.
[[nodiscard]] std::string elements(const Json& properties) {
    std::string text;
    for (const auto& [name, value] : properties.items()) {
        std::string content;
        if (value.is_string()) {
            for (const char character : value.get<std::string>()) {
                content += character == '<' ? "&lt;" : character == '&' ? "&amp;" : std::string(1, character);
            }
        } else if (value.is_object()) {
            content = elements(value);
        } else {
            for (const Json& child : value) {
                content += child.is_object() ? element("value", elements(child)) : elements(Json{{"value", child}});
            }
        }
        text += element(name, content);
    }
    return text;
}

/// The properties of an object's components. The order of the pools is not that of the file that was dumped.
[[nodiscard]] std::map<std::string, Json> propertiesByType(const Json& object) {
    std::map<std::string, Json> properties;
    for (const Json& component : object.at("components")) {
        properties[component.at("type")] = component.at("properties");
    }
    return properties;
}

TEST_F(DumpCommand, documentMadeFromADump_hasTheSameDump) {
    const std::string harbour = KILN_SOURCE_DIR "/samples";
    const std::string library = KILN_BUILD_LIB_DIR "/libharbour_components.so";
    const Json json = dumpJson({"--root", harbour, "--load", library, "harbour/harbour.prefab"});
    PrefabText copy;
    std::size_t index = 0;
    for (const Json& object : json.at("objects")) {
        unsigned flags = 0;
        for (const Json& flag : object.at("flags")) {
            flags |= flag == "inactive" ? 1U : flag == "static" ? 2U : 64U;
        }
        copy.object(*Uuid::fromString(object.at("uuid").get<std::string>()), object.at("name"), flags);
        for (const Json& component : object.at("components")) {
            copy.component(component.at("type"), index, elements(component.at("properties")));
        }
        ++index;
    }
    write("copy.prefab", copy);
    const Json copied = dumpJson({"--load", library, "copy.prefab"});
    ASSERT_EQ(copied.at("objects").size(), 13U);
    for (std::size_t i = 0; i < copied.at("objects").size(); ++i) {
        const Json& first = json.at("objects")[i];
        const Json& second = copied.at("objects")[i];
        EXPECT_EQ(first.at("uuid"), second.at("uuid"));
        EXPECT_EQ(first.at("flags"), second.at("flags"));
        EXPECT_EQ(propertiesByType(first), propertiesByType(second));
    }
}

TEST_F(DumpCommand, instanceThatCannotBeCreated_writesNothing) {
    write("a.prefab", PrefabText().object(id(1), "A").parent(0, id(2)));
    const TestSupport::ProcessResult result = dump({"--composed", "--format", "json", "a.prefab"});
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_EQ(result.errors, "kiln-prefab: a.prefab: the prefab cannot be created: The prefab has no root\n");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(DumpCommand, json_isAscii) {
    write("a.prefab", PrefabText().object(id(1), "\xC3\xA4\xFF\xC2\x9B"));
    EXPECT_THAT(dump({"--format", "json", "a.prefab"}).output, HasSubstr(R"("name":"\u00e4\ufffd\u009b")"));
}

} // namespace

} // namespace Kiln::PrefabToolTests
