// White space in values is kept and white space between elements is not, wherever comments, CDATA sections and
// processing instructions are: random documents against the texts that they were made from.

#include <resource/data_section.h>

#include <array>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln {

namespace {

class DocumentGenerator {
public:
    explicit DocumentGenerator(unsigned seed) : m_random(seed) {}

    /// Makes a document and remembers the text of each element without children, in document order.
    std::string document() {
        std::string xml = space() + mark() + space();
        appendParent(xml, 3);
        return xml + space() + mark() + space();
    }

    [[nodiscard]] const std::vector<std::string>& values() const { return m_values; }

private:
    int number(int below) { return std::uniform_int_distribution<int>(0, below - 1)(m_random); }

    template <std::size_t COUNT>
    std::string oneOf(const std::array<std::string_view, COUNT>& texts) {
        return std::string(texts[static_cast<std::size_t>(number(COUNT))]);
    }

    std::string space() { return oneOf<4>({"", " ", "\n\t", "\r\n  "}); }

    std::string mark() {
        return oneOf<8>(
            {"", "", "<!-- c -->", "<!-- </a --><!-- <a> -->", "<?pi?>", "<?pi </a?>", "<!---->", "<!--/-->"});
    }

    void appendParent(std::string& xml, int depth) {
        xml += oneOf<3>({"<p>", "<p x=\"/\">", "<p x='a>b' >"});
        const int children = 1 + number(3);
        for (int i = 0; i < children; ++i) {
            xml += space() + mark() + space() + mark() + space();
            if (depth > 1 && number(2) == 0) {
                appendParent(xml, depth - 1);
            } else {
                appendLeaf(xml);
            }
        }
        xml += space() + mark() + space() + mark() + space() + "</p>";
    }

    void appendLeaf(std::string& xml) {
        if (number(4) == 0) {
            xml += "<v/>";
            m_values.emplace_back();
            return;
        }
        std::string value;
        xml += "<v>";
        for (int piece = number(5); piece > 0; --piece) {
            if (number(3) == 0) {
                const std::string text = oneOf<4>({"", " ", "b", "</v> <!-- "});
                xml += "<![CDATA[" + text + "]]>";
                value += text;
            } else if (number(2) == 0) {
                xml += mark();
            } else {
                const std::string text = number(2) == 0 ? space() : oneOf<5>({"x", " x ", "x/>", "> ", "!?"});
                xml += text;
                value += text;
            }
        }
        xml += "</v>";
        m_values.push_back(value);
    }

    std::mt19937 m_random;
    std::vector<std::string> m_values;
};

/// Texts of the elements without children, in document order; those of the others must be empty.
void collectValues(DataNode node, std::vector<std::string>& values) {
    if (node.name() == "v") {
        values.push_back(node.text());
        return;
    }
    EXPECT_EQ(node.text(), "");
    for (DataNode child = node.firstChild(); child; child = child.nextSibling()) {
        collectValues(child, values);
    }
}

} // namespace

TEST(WhiteSpace, randomDocuments_haveTheTextsTheyWereMadeFrom) {
    for (unsigned seed = 0; seed < 5'000; ++seed) {
        DocumentGenerator generator(seed);
        const std::string xml = generator.document();
        SCOPED_TRACE(xml);
        const auto root = DataSection::fromText(xml, "test");
        ASSERT_TRUE(root);
        std::vector<std::string> values;
        collectValues(root->node(), values);

        ASSERT_THAT(values, testing::ElementsAreArray(generator.values()));
    }
}

TEST(WhiteSpace, randomDocuments_readBackWhatWasWritten) {
    for (unsigned seed = 0; seed < 1'000; ++seed) {
        DocumentGenerator generator(seed);
        const std::string xml = generator.document();
        SCOPED_TRACE(xml);
        const auto root = DataSection::fromText(xml, "test");
        ASSERT_TRUE(root);
        const std::string written = root->toText();
        const auto again = DataSection::fromText(written, "test");
        ASSERT_TRUE(again);
        std::vector<std::string> values;
        collectValues(again->node(), values);

        ASSERT_THAT(values, testing::ElementsAreArray(generator.values()));
        ASSERT_EQ(again->toText(), written);
    }
}

} // namespace Kiln
