#include "comparison_fixture.h"

#include <prefab_comparison/composed_comparison.h>
#include <resource/file_system_utils.h>
#include <support/temporary_directory.h>

namespace Kiln::PrefabComparisonTests {

namespace {

using PrefabInspection::Composition;
using PrefabInspection::PrefabFiles;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

/// Two resource roots, the files before and after a change.
class ComposedComparison : public testing::Test {
protected:
    ~ComposedComparison() override { FS::Utils::clearResourceRoots(); }

    [[nodiscard]] std::vector<std::string> changes(const std::string& nameAfter = "outer.prefab") const {
        PrefabFiles filesBefore;
        FS::Utils::clearResourceRoots();
        FS::Utils::addResourceRoot(m_before.path());
        const Composition before(filesBefore, "outer.prefab", {});
        PrefabFiles filesAfter;
        FS::Utils::clearResourceRoots();
        FS::Utils::addResourceRoot(m_after.path());
        const Composition after(filesAfter, nameAfter, {});
        EXPECT_FALSE(before.failure());
        EXPECT_FALSE(after.failure());
        std::vector<std::string> lines;
        for (const Change& change : PrefabComparison::compareCompositions(before, after)) {
            Change withoutUuid = change; // Live UUIDs are combinations.
            withoutUuid.uuid.clear();
            lines.push_back(lineOf(withoutUuid));
        }
        return lines;
    }

    void writeBoth(const std::string& name, const PrefabText& before, const PrefabText& after) const {
        m_before.writeFile(name, before.text());
        m_after.writeFile(name, after.text());
    }

    [[nodiscard]] static PrefabText outer(const std::string& overrides = {}) {
        return PrefabText()
            .object(id(1), "Outer")
            .object(id(2), "Point")
            .parent(1, id(1))
            .nest(1, "inner.prefab", overrides);
    }

    [[nodiscard]] static PrefabText inner(const std::string& properties, unsigned rootFlags = 0) {
        return PrefabText()
            .object(id(5), "Inner", rootFlags)
            .object(id(6), "Plate")
            .parent(1, id(5))
            .component("PlateComponent", 1, properties);
    }

    [[nodiscard]] static std::string override(const std::string& properties) {
        return TestSupport::OverridesText().record(id(6), "PlateComponent", properties).text();
    }

    TestSupport::TemporaryDirectory m_before;
    TestSupport::TemporaryDirectory m_after;
};

TEST_F(ComposedComparison, sameFiles_haveNoChange) {
    writeBoth("outer.prefab", outer(), outer());
    writeBoth("inner.prefab", inner(""), inner(element("width", "3")));
    EXPECT_THAT(changes(), IsEmpty()); // 3 is the default.
}

TEST_F(ComposedComparison, nameOfTheComparedFile_doesNotCount) {
    m_before.writeFile("outer.prefab", outer().text());
    m_after.writeFile("copy.prefab", outer().text());
    writeBoth("inner.prefab", inner(""), inner(""));
    EXPECT_THAT(changes("copy.prefab"), IsEmpty());
}

TEST_F(ComposedComparison, nameOfANestedFile_counts) {
    m_before.writeFile("outer.prefab", outer().text());
    PrefabText other;
    other.object(id(1), "Outer").object(id(2), "Point").parent(1, id(1)).nest(1, "other.prefab");
    m_after.writeFile("copy.prefab", other.text());
    writeBoth("inner.prefab", inner(""), inner(""));
    writeBoth("other.prefab", inner(""), inner(""));
    EXPECT_THAT(
        changes("copy.prefab"),
        ElementsAre("nested-prefab-changed Outer/Point PrefabComponent .resource: inner.prefab -> other.prefab"));
}

TEST_F(ComposedComparison, valueOfTheFile_isNotInherited) {
    PrefabText a;
    a.object(id(1), "Outer").component("PlateComponent", 0, element("width", "1"));
    PrefabText b;
    b.object(id(1), "Outer").component("PlateComponent", 0, element("width", "2"));
    writeBoth("outer.prefab", a, b);
    EXPECT_THAT(changes(), ElementsAre("value-changed Outer PlateComponent .width: 1 -> 2"));
}

TEST_F(ComposedComparison, spellingOfANumber_doesNotCount) {
    writeBoth("outer.prefab", outer(), outer());
    writeBoth("inner.prefab", inner(element("width", "7")), inner(element("width", "007")));
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(ComposedComparison, valueOfANestedFile_isInherited) {
    writeBoth("outer.prefab", outer(), outer());
    writeBoth("inner.prefab", inner(element("width", "1")), inner(element("width", "2")));
    EXPECT_THAT(changes(),
                ElementsAre("value-changed [nested inner.prefab] Outer/Point/Plate PlateComponent .width: 1 -> 2"));
}

TEST_F(ComposedComparison, valueThatAnOverrideHides_doesNotChange) {
    writeBoth("outer.prefab", outer(override(element("width", "9"))), outer(override(element("width", "9"))));
    writeBoth("inner.prefab", inner(element("width", "1")), inner(element("width", "2")));
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(ComposedComparison, override_isInherited) {
    writeBoth("outer.prefab", outer(), outer(override(element("width", "9"))));
    writeBoth("inner.prefab", inner(element("width", "1")), inner(element("width", "1")));
    EXPECT_THAT(changes(),
                Contains("value-changed [override outer.prefab] Outer/Point/Plate PlateComponent .width: 1 -> 9"));
}

TEST_F(ComposedComparison, objectOfANestedFile_isInherited) {
    writeBoth("outer.prefab", outer(), outer());
    writeBoth("inner.prefab", inner(""), inner("").object(id(7), "New").parent(2, id(6)));
    EXPECT_THAT(changes(), ElementsAre("object-added [nested inner.prefab] Outer/Point/Plate/New"));
}

TEST_F(ComposedComparison, nameOfANestedObject_isInherited) {
    writeBoth("outer.prefab", outer(), outer());
    writeBoth(
        "inner.prefab", inner(""),
        PrefabText().object(id(5), "Inner").object(id(6), "Sign").parent(1, id(5)).component("PlateComponent", 1));
    EXPECT_THAT(changes(), ElementsAre("object-renamed [nested inner.prefab] Outer/Point/Sign: Plate -> Sign"));
}

TEST_F(ComposedComparison, flagsOfANestedRoot_areInheritedByThePoint) {
    writeBoth("outer.prefab", outer(), outer());
    writeBoth("inner.prefab", inner("", 0), inner("", 1));
    EXPECT_THAT(changes(), ElementsAre("flags-changed [nested inner.prefab] Outer/Point: 0 -> 1"));
}

TEST_F(ComposedComparison, elementsOfAVector_haveTheirIndex) {
    const std::string row = element("value", element("colour", "red"));
    writeBoth("outer.prefab", outer(), outer());
    writeBoth("inner.prefab", inner(element("rows", row)), inner(element("rows", row + row)));
    EXPECT_THAT(changes(), ElementsAre("value-added [nested inner.prefab] Outer/Point/Plate PlateComponent .rows[1]: "
                                       "none -> {colour: red, size: }"));
}

TEST_F(ComposedComparison, otherNestedPrefab_changesEveryObjectOfIt) {
    writeBoth("outer.prefab", outer(),
              PrefabText().object(id(1), "Outer").object(id(2), "Point").parent(1, id(1)).nest(1, "other.prefab"));
    writeBoth("inner.prefab", inner(""), inner(""));
    writeBoth("other.prefab", PrefabText().object(id(8), "Other"), PrefabText().object(id(8), "Other"));
    EXPECT_THAT(changes(), Contains("object-removed [nested inner.prefab] Outer/Point/Plate"));
}

} // namespace

} // namespace Kiln::PrefabComparisonTests
