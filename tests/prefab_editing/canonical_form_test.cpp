#include <prefab_editing/canonical_form.h>

#include "random_document.h"

#include <build_paths.h>
#include <common/white_space.h>
#include <prefab_editing/markup_reader.h>
#include <prefab_editing/strict_markup.h>
#include <resource/data_section.h>
#include <resource/resource_limits.h>
#include <support/scoped_limits.h>

#include <charconv>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabEditingTests {

namespace {

namespace fs = std::filesystem;

using PrefabEditing::canonicalEdits;
using PrefabEditing::canonicalForm;
using PrefabEditing::EditedText;
using PrefabEditing::Markup;
using PrefabEditing::MarkupReader;

[[nodiscard]] std::string canonical(std::string_view text) {
    XmlProblem problem;
    const std::optional<std::string> result = canonicalForm(text, problem);
    EXPECT_TRUE(result) << problem.message("text") << '\n' << text;
    return result.value_or("");
}

[[nodiscard]] std::string problemOf(std::string_view text) {
    XmlProblem problem;
    EXPECT_FALSE(canonicalForm(text, problem)) << text;
    return problem.message("text");
}

/// Whether both texts are the same number or UUID.
[[nodiscard]] bool isSameValue(std::string_view left, std::string_view right) {
    const std::optional<Uuid> uuid = Uuid::fromString(trimWhiteSpace(left));
    if (uuid) {
        return Uuid::fromString(trimWhiteSpace(right)) == uuid;
    }
    const auto number = [](std::string_view text) -> std::optional<std::uint64_t> {
        text = trimWhiteSpace(text);
        std::uint64_t value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
    };
    return number(left) && number(left) == number(right);
}

/// Elements of the format whose texts may be spelled anew.
[[nodiscard]] bool isFormatValue(std::string_view name) {
    return name == "formatVersion" || name == "uuid" || name == "flags" || name == "version" || name == "options" ||
           name == "gameObject";
}

/// Elements of the format whose texts nobody reads, so that white space in them is nothing.
[[nodiscard]] bool isFormatList(std::string_view name) {
    return name == "prefab" || name == "root" || name == "gameObjects" || name == "gameObject" ||
           name == "components" || name == "pool" || name == "item" || name == "properties";
}

/// Expects that two documents have the same elements with the same texts.
void expectSameTree(DataNode left, DataNode right) {
    ASSERT_EQ(left.name(), right.name());
    if (left.text() != right.text()) {
        const bool isSpelling = isFormatValue(left.name()) && isSameValue(left.text(), right.text());
        const bool isSpace =
            isFormatList(left.name()) && trimWhiteSpace(left.text()).empty() && trimWhiteSpace(right.text()).empty();
        EXPECT_TRUE(isSpelling || isSpace) << left.name() << '\n' << left.text() << '\n' << right.text();
    }
    ASSERT_EQ(left.childrenCount(), right.childrenCount()) << left.name();
    DataNode other = right.firstChild();
    for (DataNode child = left.firstChild(); child; child = child.nextSibling()) {
        expectSameTree(child, other);
        other = other.nextSibling();
    }
}

void expectSameDocument(const std::string& left, const std::string& right) {
    const SmartPointer<DataSection> before = DataSection::fromText(left, "before");
    const SmartPointer<DataSection> after = DataSection::fromText(right, "after");
    ASSERT_TRUE(before && after);
    expectSameTree(before->node(), after->node());
}

/// Everything of a text that no parser passes on, in order: comments, instructions, CDATA sections and attributes.
[[nodiscard]] std::vector<std::string> notesOf(std::string_view text) {
    std::vector<std::string> notes;
    MarkupReader reader(text);
    for (Markup markup = reader.next(); markup.kind != Markup::Kind::END; markup = reader.next()) {
        const std::string piece(text.substr(markup.begin, markup.end - markup.begin));
        if (markup.kind == Markup::Kind::START_TAG || markup.kind == Markup::Kind::EMPTY_TAG) {
            for (std::size_t begin = piece.find_first_of("\"'"); begin != std::string::npos;) {
                const std::size_t end = piece.find(piece[begin], begin + 1);
                notes.push_back(piece.substr(begin, end - begin + 1));
                begin = piece.find_first_of("\"'", end + 1);
            }
        } else if (markup.kind != Markup::Kind::TEXT && markup.kind != Markup::Kind::END_TAG) {
            notes.push_back(piece);
        }
    }
    return notes;
}

[[nodiscard]] std::string readText(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(CanonicalForm, elements_haveLinesOfTheirOwn) {
    EXPECT_EQ(canonical("<a><b><c>1</c><c>2</c></b>\n\n<d/></a>"),
              "<a>\n\t<b>\n\t\t<c>1</c>\n\t\t<c>2</c>\n\t</b>\n\t<d></d>\n</a>\n");
}

TEST(CanonicalForm, valuesOfElementsWithoutChildren_stayByteForByte) {
    EXPECT_EQ(canonical("<a><b> x\n </b><b>\t</b><b>&#65;&quot;<![CDATA[ <c> ]]> <!-- d --></b></a>"),
              "<a>\n\t<b> x\n </b>\n\t<b>\t</b>\n\t<b>&#65;&quot;<![CDATA[ <c> ]]> <!-- d --></b>\n</a>\n");
}

TEST(CanonicalForm, textBesideElements_staysWhereItIs) {
    EXPECT_EQ(canonical("<a><b>one <c>2</c> three<d/><e/></b></a>"),
              "<a>\n\t<b>one <c>2</c> three<d></d>\n\t\t<e></e>\n\t</b>\n</a>\n");
}

TEST(CanonicalForm, comments_stayOnTheirLines) {
    EXPECT_EQ(
        canonical(
            "<!-- top --><a><!-- of a -->\n<b>1</b>   <!-- of b --><!-- more -->\n\n  <!-- alone --><c>2</c></a>"),
        "<!-- top -->\n<a> <!-- of a -->\n\t<b>1</b> <!-- of b --> <!-- more -->\n\t<!-- alone "
        "-->\n\t<c>2</c>\n</a>\n");
}

TEST(CanonicalForm, tags_haveSingleSpaces) {
    EXPECT_EQ(canonical("<a  b = '1 >'\n\tc=\"  2\" ><d  e='/' /></a >"),
              "<a b='1 >' c=\"  2\">\n\t<d e='/'></d>\n</a>\n");
}

TEST(CanonicalForm, numbersAndUuidsOfTheFormat_areSpelledAsThePlatformDoes) {
    EXPECT_EQ(canonical("<prefab><formatVersion> 01 </formatVersion><gameObjects><gameObject>"
                        "<uuid>5B0F1C2E-6A0D-4F43-9F6E-0D9A35B1C001\n</uuid><name> 01 </name><flags>+2</flags>"
                        "</gameObject></gameObjects></prefab>"),
              "<prefab>\n\t<formatVersion>1</formatVersion>\n\t<gameObjects>\n\t\t<gameObject>\n"
              "\t\t\t<uuid>5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001</uuid>\n\t\t\t<name> 01 </name>\n"
              "\t\t\t<flags>+2</flags>\n\t\t</gameObject>\n\t</gameObjects>\n</prefab>\n");
}

TEST(CanonicalForm, emptyListsOfTheFormat_areEmpty) {
    EXPECT_EQ(canonical("<prefab><gameObjects>\n </gameObjects><other>\n </other></prefab>"),
              "<prefab>\n\t<gameObjects></gameObjects>\n\t<other>\n </other>\n</prefab>\n");
}

TEST(CanonicalForm, byteOrderMarkAndLineEnds_stay) {
    EXPECT_EQ(canonical("\xEF\xBB\xBF<?xml version=\"1.0\"?>\r\n<a><b>x\ny</b></a>"),
              "\xEF\xBB\xBF<?xml version=\"1.0\"?>\r\n<a>\r\n\t<b>x\ny</b>\r\n</a>\r\n");
    EXPECT_EQ(canonical("<a><b>x\r\ny</b></a>"), "<a>\n\t<b>x\r\ny</b>\n</a>\n");
}

TEST(CanonicalForm, documentType_stays) {
    const std::string type = "<!DOCTYPE a [<!ENTITY b '>]'><!-- ]> --><![IGNORE[ <![x[ ]]> ]]> <?p ]>?>]>";
    EXPECT_EQ(canonical(type + "<a>&b;</a>"), type + "\n<a>&b;</a>\n");
}

TEST(CanonicalForm, deepElements_areIndentedUpToALimit) {
    std::string text;
    for (int depth = 0; depth < 900; ++depth) {
        text.insert(text.size() / 7 * 3, "<a></a>");
    }
    const std::string result = canonical(text);
    EXPECT_THAT(result, testing::HasSubstr("\n" + std::string(50, '\t') + "<"));
    EXPECT_THAT(result, testing::Not(testing::HasSubstr(std::string(51, '\t'))));
    EXPECT_EQ(canonical(result), result);
}

TEST(CanonicalForm, textThatTheLoaderRefuses_isRefusedWithItsPlace) {
    EXPECT_EQ(problemOf("<a>\n<b></a>"), "XML error in 'text' at line 2, column 6: Start-end tags mismatch");
    EXPECT_EQ(problemOf(std::string_view("<a>\0</a>", 8)),
              "XML error in 'text' at line 1, column 4: NUL byte, not a text file");
    EXPECT_EQ(problemOf(""), "XML error in 'text' at line 1, column 1: No root element");
    std::string deep;
    for (int depth = 0; depth < 1001; ++depth) {
        deep.insert(deep.size() / 7 * 3, "<a></a>");
    }
    EXPECT_EQ(problemOf(deep),
              "XML error in 'text' at line 1, column 3001: Elements are nested deeper than the limit of 1000");
}

TEST(CanonicalForm, formThatTheLoaderRefusesForItsSize_isRefused) {
    const TestSupport::ScopedLimits limits({.fileSize = 20});
    EXPECT_EQ(problemOf("<a><b/><c/><d/></a>"),
              "XML error in 'text' at line 0, column 0: The canonical form is larger than the limit of 20 bytes");
}

TEST(CanonicalForm, samples_areCanonical) {
    std::size_t count = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(fs::path(KILN_SOURCE_DIR) / "samples")) {
        if (entry.path().extension() == ".prefab") {
            const std::string text = readText(entry.path());
            EXPECT_EQ(canonical(text), text) << entry.path();
            ++count;
        }
    }
    EXPECT_GE(count, 10U);
}

TEST(CanonicalForm, textThatThePlatformWrites_isCanonical) {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(fs::path(KILN_SOURCE_DIR) / "samples")) {
        if (entry.path().extension() == ".prefab") {
            const std::string written = DataSection::fromText(readText(entry.path()), "sample")->toText();
            EXPECT_EQ(canonical(written), written) << entry.path();
        }
    }
}

constexpr int CASES_COUNT = 4000;

TEST(CanonicalForm, randomDocuments_areTheSameDocumentsAndStayCanonical) {
    std::mt19937 random(1);
    for (int number = 0; number < CASES_COUNT && !testing::Test::HasFailure(); ++number) {
        const std::vector<DocumentPart> document = RandomDocument(random).make();
        const bool hasMark = below(random, 4) == 0;
        RandomLayout layout(random, below(random, 2) == 0 ? "\n" : "\r\n");
        const std::string text = layout.write(document, hasMark);
        SCOPED_TRACE(testing::Message() << "case " << number << '\n' << text);
        const std::string result = canonical(text);
        EXPECT_EQ(canonical(result), result);
        expectSameDocument(text, result);
        EXPECT_EQ(notesOf(result), notesOf(text));
        EXPECT_EQ(result.starts_with("\xEF\xBB\xBF"), hasMark);
        // The same document in another layout has the same form.
        EXPECT_EQ(canonical(layout.write(document, hasMark)), result);
        // The edits have the same effect.
        XmlProblem problem;
        const auto edits = canonicalEdits(text, problem);
        EditedText edited(text);
        EXPECT_EQ(edited.apply(*edits), edits->size());
        EXPECT_EQ(edited.text(), result);
    }
}

/// Number of lines in which two texts of equally many lines differ; none if they have not equally many.
[[nodiscard]] std::optional<std::size_t> changedLinesCount(const std::string& left, const std::string& right) {
    std::istringstream leftStream(left);
    std::istringstream rightStream(right);
    std::string leftLine;
    std::string rightLine;
    std::size_t count = 0;
    while (true) {
        const bool hasLeft = static_cast<bool>(std::getline(leftStream, leftLine));
        const bool hasRight = static_cast<bool>(std::getline(rightStream, rightLine));
        if (hasLeft != hasRight) {
            return std::nullopt;
        }
        if (!hasLeft) {
            return count;
        }
        count += leftLine == rightLine ? 0 : 1;
    }
}

TEST(CanonicalForm, changeOfAValue_changesOneLine) {
    std::mt19937 random(2);
    int changesCount = 0;
    for (int number = 0; number < CASES_COUNT; ++number) {
        const std::vector<DocumentPart> document = RandomDocument(random).make();
        const std::string text = RandomLayout(random, "\n").write(document, false);
        const std::size_t value = text.find(">1.50<");
        if (value == std::string::npos) {
            continue;
        }
        std::string changed = text;
        changed.replace(value, 6, ">2<");
        EXPECT_EQ(changedLinesCount(canonical(text), canonical(changed)), 1U) << text;
        ++changesCount;
    }
    EXPECT_GT(changesCount, 50);
}

TEST(CanonicalForm, damagedDocuments_areRefusedOrKeepEverything) {
    std::mt19937 random(3);
    int acceptedCount = 0;
    for (int number = 0; number < CASES_COUNT && !testing::Test::HasFailure(); ++number) {
        std::string text = RandomLayout(random, "\n").write(RandomDocument(random).make(), false);
        for (std::size_t count = 1 + below(random, 3); count > 0; --count) {
            constexpr std::string_view BYTES("<>/!?-[]&;'\"= \n\0\xFF"
                                             "a",
                                             19);
            text[below(random, text.size())] = BYTES[below(random, BYTES.size())];
        }
        XmlProblem problem;
        const std::optional<std::string> result = canonicalForm(text, problem);
        const bool isDocument = static_cast<bool>(parseXml(FileContent::copyOf(text), "text", problem));
        ASSERT_EQ(result.has_value(), isDocument) << text;
        if (result) {
            SCOPED_TRACE(testing::Message() << "case " << number << '\n' << text);
            EXPECT_EQ(canonical(*result), *result);
            expectSameDocument(text, *result);
            EXPECT_EQ(notesOf(*result), notesOf(text));
            ++acceptedCount;
        }
    }
    EXPECT_GT(acceptedCount, CASES_COUNT / 20);
}

/// Texts that differ in few bytes from a document, with as much rare mark-up as fits.
TEST(StrictMarkup, acceptedTexts_areDocuments) {
    std::mt19937 random(4);
    const std::vector<std::string> pieces{"<a>",
                                          "</a>",
                                          "<a/>",
                                          "<a b='c'>",
                                          "<?x?>",
                                          "<?xml?>",
                                          "<!--",
                                          "-->",
                                          "<![CDATA[",
                                          "]]>",
                                          "<",
                                          ">",
                                          "/",
                                          "?",
                                          "!",
                                          "'",
                                          "=",
                                          " ",
                                          "\n",
                                          "a",
                                          "<a ",
                                          "</a ",
                                          "\xEF\xBB\xBF",
                                          ".",
                                          "-",
                                          "1",
                                          "&",
                                          ";",
                                          "<!DOCTYPE a>"};
    int acceptedCount = 0;
    for (int number = 0; number < 200'000; ++number) {
        std::string text = below(random, 2) == 0 ? "<a>" : "";
        for (std::size_t count = below(random, 7); count > 0; --count) {
            text += pieces[below(random, pieces.size())];
        }
        text += text.starts_with("<a>") ? "</a>" : "";
        if (PrefabEditing::isCertainlyAccepted(text, 3)) {
            const TestSupport::ScopedLimits limits({.elementDepth = 3});
            XmlProblem problem;
            ASSERT_TRUE(parseXml(FileContent::copyOf(text), "text", problem)) << problem.description << '\n' << text;
            ++acceptedCount;
        }
    }
    EXPECT_GT(acceptedCount, 5000);
}

TEST(StrictMarkup, usualDocuments_areAccepted) {
    EXPECT_TRUE(PrefabEditing::isCertainlyAccepted(
        "<?xml version='1.0'?><!-- a --><a b = 'c' ><b/>&amp;<![CDATA[&]]><?p q?></a >\n", 2));
    EXPECT_FALSE(PrefabEditing::isCertainlyAccepted("<a><b/></a>", 1));
    EXPECT_FALSE(PrefabEditing::isCertainlyAccepted("<a>&#65;</a>", 2));
}

} // namespace

} // namespace Kiln::PrefabEditingTests
