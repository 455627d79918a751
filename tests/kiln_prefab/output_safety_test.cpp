// Texts from files and arguments neither control a terminal nor break JSON, whatever they contain.

#include "kiln_prefab_fixture.h"

#include <core/printable_text.h>

#include <algorithm>
#include <vector>

namespace Kiln::PrefabToolTests {

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Texts that must not be printed as they are; each can be part of an argument and of a text of a file.
[[nodiscard]] std::vector<std::string> unsafeTexts() {
    std::vector<std::string> texts{"\u061c", "\u200e", "\u200f", "\u2028",   "\u2029",       "\xff",
                                   "\xc3",   "\x9b",   "\x85",   "\xc0\x9b", "\xed\xa0\x80", "\xf4\x90\x80\x80"};
    for (char byte = 1; byte < 0x20; ++byte) {
        texts.emplace_back(1, byte);
    }
    for (const std::string prefix : {"\xe2\x80", "\xe2\x81"}) {
        const bool isEmbedding = prefix.back() == '\x80';
        for (int last = isEmbedding ? 0xaa : 0xa6; last <= (isEmbedding ? 0xae : 0xa9); ++last) {
            texts.push_back(prefix + static_cast<char>(last));
        }
    }
    texts.emplace_back("\x7f");
    for (int last = 0x80; last < 0xa0; ++last) {
        texts.push_back(std::string("\xc2") + static_cast<char>(last));
    }
    return texts;
}

/// Everything that is left to escape in a text of several lines.
[[nodiscard]] std::string unsafePart(std::string text) {
    std::erase(text, '\n');
    return printableText(text) == text ? "" : text;
}

/// Each of the texts in its own place, so that a failure names it.
[[nodiscard]] std::string allUnsafe() {
    std::string all;
    for (const std::string& text : unsafeTexts()) {
        all += text + "|";
    }
    return all;
}

using OutputSafety = KilnPrefabFixture;

TEST_F(OutputSafety, textsOfTheTest_areAllEscaped) {
    for (const std::string& text : unsafeTexts()) {
        EXPECT_THAT(printableText(text), Not(HasSubstr(text)));
    }
}

TEST_F(OutputSafety, names_areEscapedInText) {
    for (const std::string& text : unsafeTexts()) {
        write("a.prefab", PrefabText().object(id(1), "A" + text + "B"));
        const TestSupport::ProcessResult result = spawn({"a.prefab"});
        EXPECT_THAT(unsafePart(result.output + result.errors), IsEmpty());
        if (result.exitStatus == 0 && text != "\r") { // XML turns a carriage return into a line feed.
            EXPECT_THAT(result.output, HasSubstr("A" + printableText(text) + "B [PrefabComponent]"));
        }
    }
}

TEST_F(OutputSafety, pathsOfArguments_areEscapedInTextAndMessages) {
    const std::string path = "gone" + allUnsafe() + ".prefab";
    const TestSupport::ProcessResult result = spawn({path});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(unsafePart(result.output + result.errors), IsEmpty());
    EXPECT_THAT(result.errors, HasSubstr("kiln-prefab: " + printableText(path) + ": not created: "));
}

TEST_F(OutputSafety, nestedPaths_areEscapedInTextAndMessages) {
    write("a.prefab", PrefabText()
                          .object(id(1), "Root")
                          .object(id(2), "Point")
                          .parent(1, id(1))
                          .nest(1, "gone\u009b\u202e\xff.prefab"));
    const TestSupport::ProcessResult result = spawn({"--verbose", "a.prefab"});
    EXPECT_THAT(unsafePart(result.output + result.errors), IsEmpty());
    EXPECT_THAT(result.errors, HasSubstr("gone\\xc2\\x9b\\xe2\\x80\\xae\\xff.prefab"));
}

TEST_F(OutputSafety, valuesInMessages_areEscaped) {
    write("a.prefab",
          PrefabText().object(id(1), "A").component("TransformComponent", 0, "<local>\u009b31m\u2067\xff</local>"));
    const TestSupport::ProcessResult result = spawn({"a.prefab"});
    EXPECT_THAT(unsafePart(result.output + result.errors), IsEmpty());
    EXPECT_THAT(result.errors, HasSubstr("\\xc2\\x9b31m\\xe2\\x81\\xa7\\xff"));
}

TEST_F(OutputSafety, namesOfUnknownComponents_areEscaped) {
    write("a.prefab", PrefabText().object(id(1), "A").component("Un\u009bknown\xff", 0, ""));
    const TestSupport::ProcessResult result = spawn({"a.prefab"});
    EXPECT_THAT(unsafePart(result.output + result.errors), IsEmpty());
    EXPECT_THAT(result.errors, HasSubstr("Un\\xc2\\x9bknown\\xff"));
}

TEST_F(OutputSafety, argumentsInUsageErrors_areEscaped) {
    const std::string text = "x" + allUnsafe();
    const std::vector<std::vector<std::string>> commandLines{
        {text},
        {"spawn", "--" + text},
        {"spawn", "a.prefab", "--timeout", text},
        {"spawn", "a.prefab", "--instances", text},
        {"spawn", "a.prefab", "--instance-uuid", text},
        {"spawn", "a.prefab", "--root", text},
    };
    for (const std::vector<std::string>& commandLine : commandLines) {
        const TestSupport::ProcessResult result = run(commandLine);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_THAT(unsafePart(result.output + result.errors), IsEmpty());
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 3) << result.errors;
    }
}

TEST_F(OutputSafety, namesOfLibraries_areEscaped) {
    write("a.prefab", simplePrefab());
    const std::string library = "./gone" + allUnsafe() + ".so";
    const TestSupport::ProcessResult result = spawn({"--load", library, "a.prefab"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(unsafePart(result.output + result.errors), IsEmpty());
    EXPECT_THAT(result.errors, HasSubstr("kiln-prefab: --load " + printableText(library) + ": "));
}

TEST_F(OutputSafety, json_isValidAndPlainAsciiForEveryText) {
    for (const std::string& text : unsafeTexts()) {
        write("a.prefab", PrefabText().object(id(1), "A" + text + "B"));
        const std::vector<Json> instances = spawnJson({"a.prefab", "gone" + text + ".prefab"}); // Parses each line.
        ASSERT_EQ(instances.size(), 2U);
        EXPECT_TRUE(std::all_of(m_result.output.begin(), m_result.output.end(), [](char character) {
            return (character >= 0x20 && character < 0x7f) || character == '\n';
        })) << m_result.output;
    }
}

TEST_F(OutputSafety, json_keepsTextThatIsUtf8) {
    const std::string text = "A\u009b\u202e\u2028\x7f ü灯\U0001f6a2";
    write("a.prefab", PrefabText().object(id(1), text));
    const std::vector<Json> instances = spawnJson({"a.prefab", "gone-" + text});
    ASSERT_EQ(instances.size(), 2U);
    EXPECT_EQ(names(instances[0]), std::vector<std::string>{text});
    EXPECT_EQ(instances[1]["prefab"], "gone-" + text);
    EXPECT_THAT(logTexts(instances[1]), Contains(HasSubstr("gone-" + text)));
}

} // namespace

} // namespace Kiln::PrefabToolTests
