#include <prefab_inspection/checking/checker.h>
#include <prefab_inspection/findings/finding_rules.h>
#include <resource/file_system_utils.h>
#include <support/log_capture.h>
#include <support/prefab_text.h>
#include <support/temporary_directory.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabInspection {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::id;
using TestSupport::PrefabText;

class CheckerTest : public testing::Test {
protected:
    CheckerTest() { FS::Utils::addResourceRoot(m_directory.path().string()); }
    ~CheckerTest() override { FS::Utils::clearResourceRoots(); }

    void write(const std::string& name, const std::string& text) const { m_directory.writeFile(name, text); }

    /// "error KP0101 3:5" for each finding.
    [[nodiscard]] static std::vector<std::string> texts(const CheckResult& result) {
        std::vector<std::string> texts;
        for (const Finding& finding : result.findings) {
            texts.push_back(std::string(severityText(finding.severity)) + " " + codeText(finding.code) + " " +
                            finding.file);
        }
        return texts;
    }

    TestSupport::TemporaryDirectory m_directory;
    TestSupport::LogCapture m_log;
};

/// A root with a child that has a child.
[[nodiscard]] PrefabText chain() {
    return PrefabText()
        .object(id(1), "Root")
        .object(id(2), "Child")
        .object(id(3), "Leaf")
        .parent(1, id(1))
        .parent(2, id(2));
}

/// A prefab that nests "chain.prefab" with overrides of the parent of its child.
[[nodiscard]] std::string nestingWithParent(const Uuid& parent) {
    const std::string overrides = "<overrides><gameObject><uuid>" + id(2).toString() +
                                  "</uuid><component><type>HierarchyComponent</type><properties><parent>" +
                                  parent.toString() + "</parent></properties></component></gameObject></overrides>";
    return PrefabText()
        .object(id(8), "Top")
        .object(id(9), "Point")
        .parent(1, id(8))
        .nest(1, "chain.prefab", overrides)
        .text();
}

TEST_F(CheckerTest, soundPrefab_hasNoFindingsAndLogsNothing) {
    write("chain.prefab", chain().text());
    const CheckResult result = checkPrefabs({"chain.prefab"});
    EXPECT_THAT(texts(result), IsEmpty());
    EXPECT_EQ(result.files.size(), 1U);
    EXPECT_THAT(m_log.texts(), IsEmpty());
}

TEST_F(CheckerTest, buffer_replacesTheFile) {
    CheckOptions options;
    options.buffers["unsaved.prefab"] = "<prefab>";
    EXPECT_THAT(texts(checkPrefabs({"unsaved.prefab"}, options)), ElementsAre("error KP0101 unsaved.prefab"));
}

TEST_F(CheckerTest, anyNumberOfThreadsAndOrderOfTargets_giveTheSameFindings) {
    std::vector<std::string> targets;
    for (int i = 0; i < 40; ++i) {
        targets.push_back("p" + std::to_string(i) + ".prefab");
        write(targets.back(), PrefabText()
                                  .object(id(1), "Root")
                                  .object(id(2), "Point")
                                  .parent(1, id(1))
                                  .nest(1, "missing" + std::to_string(i % 3) + ".prefab")
                                  .text());
    }
    CheckOptions options;
    options.threads = 1;
    const std::vector<std::string> expected = texts(checkPrefabs(targets, options));
    EXPECT_FALSE(expected.empty());
    std::reverse(targets.begin(), targets.end());
    options.threads = 7;
    EXPECT_EQ(texts(checkPrefabs(targets, options)), expected);
}

TEST_F(CheckerTest, overrideThatMakesACycleOfParents_isAnError) {
    write("chain.prefab", chain().text());
    write("top.prefab", nestingWithParent(id(3)));
    EXPECT_THAT(texts(checkPrefabs({"top.prefab"})), ElementsAre("error KP0409 chain.prefab"));
}

TEST_F(CheckerTest, overrideThatBreaksACycleOfParents_isSound) {
    write("chain.prefab", PrefabText()
                              .object(id(1), "Root")
                              .object(id(2), "Child")
                              .object(id(3), "Leaf")
                              .parent(1, id(3))
                              .parent(2, id(2))
                              .text());
    write("top.prefab", nestingWithParent(id(1)));
    EXPECT_THAT(texts(checkPrefabs({"top.prefab"})), IsEmpty());
}

TEST_F(CheckerTest, overrideDataThatIsNotEscaped_isAFinding) {
    std::string text = nestingWithParent(id(1));
    const std::size_t begin = text.find("<![CDATA[");
    ASSERT_NE(begin, std::string::npos);
    const std::size_t end = text.find("</overridesData>", begin);
    text.replace(begin, end - begin, "<overrides></overrides>");
    write("chain.prefab", chain().text());
    write("top.prefab", text);
    EXPECT_THAT(texts(checkPrefabs({"top.prefab"})), ElementsAre("warning KP0203 top.prefab"));
}

TEST_F(CheckerTest, repeatedProperty_isAFinding) {
    std::string text = chain().text();
    const std::string parent = "<parent>" + id(1).toString() + "</parent>";
    ASSERT_NE(text.find(parent), std::string::npos);
    text.replace(text.find(parent), parent.size(), parent + parent);
    write("chain.prefab", text);
    EXPECT_THAT(texts(checkPrefabs({"chain.prefab"})), ElementsAre("warning KP0204 chain.prefab"));
}

TEST_F(CheckerTest, overriddenReferenceWithoutEffect_isNotFollowed) {
    const std::string overrides = "<overrides><gameObject><uuid>" + id(77).toString() +
                                  "</uuid><component><type>PrefabComponent</type><properties><resource>gone.prefab"
                                  "</resource></properties></component></gameObject></overrides>";
    write("chain.prefab", chain().text());
    write("top.prefab", PrefabText()
                            .object(id(8), "Top")
                            .object(id(9), "Point")
                            .parent(1, id(8))
                            .nest(1, "chain.prefab", overrides)
                            .text());
    EXPECT_THAT(texts(checkPrefabs({"top.prefab"})), ElementsAre("warning KP0702 top.prefab"));
}

} // namespace

} // namespace Kiln::PrefabInspection
