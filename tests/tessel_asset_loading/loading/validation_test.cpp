#include <tessel_asset_loading/support/world_fixture.h>

#include <gmock/gmock.h>

namespace Kiln::TestSupport {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* HANDLED_MISMATCH =
    "Checking. Format version mismatch. Current version: 1. Prefab version: 7. Content conversion is required.";

/// Loading::validateHierarchy.
class Validation : public WorldFixture {
protected:
    void validate(const SmartPointer<DataSection>& section) { Tessel::Loading::validateHierarchy(section, handler); }

    [[nodiscard]] static PrefabText brokenPrefab() {
        PrefabText prefab;
        prefab.root(id(1), "Root");
        prefab.formatVersion(7);
        return prefab;
    }

    [[nodiscard]] static SmartPointer<DataSection> instanceOf(const std::string& resource) {
        const SmartPointer<DataSection> section = DataSection::create("instance");
        section->writeString("resource", resource);
        return section;
    }

    std::vector<std::string> handled;
    Tessel::DeseriralizeErrorHandler handler{"Checking",
                                             [this](const std::string& message) { handled.push_back(message); }};
};

TEST_F(Validation, goodInlineDocument_isSilent) {
    PrefabText prefab;
    prefab.root(id(1), "Root");

    validate(prefab.section());

    EXPECT_THAT(handled, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Validation, inlineDocument_isReadItself) {
    validate(brokenPrefab().section());

    EXPECT_THAT(handled, ElementsAre(HANDLED_MISMATCH));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Validation, emptyResource_readsTheSectionItself) {
    const SmartPointer<DataSection> section = brokenPrefab().section();
    section->writeString("resource", "");

    validate(section);

    EXPECT_THAT(handled, ElementsAre(HANDLED_MISMATCH));
}

TEST_F(Validation, resource_readsTheFile) {
    writePrefab("broken.prefab", brokenPrefab());

    validate(instanceOf("broken.prefab"));

    EXPECT_THAT(handled, ElementsAre(HANDLED_MISMATCH));
}

TEST_F(Validation, resourceOfGoodFile_isSilentWithAnyOtherContentOfTheSection) {
    PrefabText good;
    good.root(id(1), "Root");
    writePrefab("good.prefab", good);
    const SmartPointer<DataSection> section = brokenPrefab().section();
    section->writeString("resource", "good.prefab");

    validate(section);

    EXPECT_THAT(handled, IsEmpty());
}

TEST_F(Validation, missingFile_isReportedToHandlerAndLog) {
    validate(instanceOf("none.prefab"));

    EXPECT_THAT(handled, ElementsAre("Checking. Prefab not found: none.prefab"));
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found none.prefab"));
}

TEST_F(Validation, referencedPrefabs_areNotFollowed) {
    PrefabText outer;
    outer.root(id(1), "Root");
    outer.nested(id(2), "Point", id(1), "none.prefab");

    validate(outer.section());

    EXPECT_THAT(handled, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Validation, unknownComponent_isReportedToHandler) {
    PrefabText prefab;
    prefab.component("NoSuchComponent", prefab.root(id(1), "Root"));

    validate(prefab.section());

    EXPECT_THAT(handled, ElementsAre("Checking. Cannot found component: NoSuchComponent"));
}

TEST_F(Validation, cache_isLeftAlone) {
    PrefabText prefab;
    prefab.root(id(1), "Old");
    writePrefab("lamp.prefab", prefab);
    validate(instanceOf("lamp.prefab"));
    PrefabText changed;
    changed.root(id(1), "New");
    writePrefab("lamp.prefab", changed);

    EXPECT_EQ(service().loadPrefabData("lamp.prefab")->getGameObject(0)->name(), "New");
}

TEST_F(Validation, nullSection_isReadAsNothing) {
    validate(nullptr);

    EXPECT_THAT(handled, ElementsAre("Checking. Format version mismatch. Current version: 1. Prefab version: 0. "
                                     "Content conversion is required."));
}

} // namespace
} // namespace Kiln::TestSupport
