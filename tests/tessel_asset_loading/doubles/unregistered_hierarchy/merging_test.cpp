#include "forgetful_library.h"

#include <tessel_asset_loading/support/creation_fixture.h>

namespace Kiln::TestSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// Integration points whose hierarchy component can't be recreated.
class MergingWithoutHierarchy : public CreationFixture {
protected:
    static constexpr const char* NOT_REGISTERED = "5: Component with provided type is not registered in the library";

    MergingWithoutHierarchy() {
        PrefabBuilder inner;
        inner.root(id(11), "inner root").with<HookComponent>({"inner"}).child(id(12), "inner child", id(11));
        cachePrefab("inner.prefab", inner);
    }

    /// The integration point is the only object, so that it can be the root without a hierarchy component.
    [[nodiscard]] static PrefabBuilder pointAlone() {
        PrefabBuilder builder;
        builder.nested(id(2), "Point", id(1), "inner.prefab").with<TagComponent>({"own", {}});
        return builder;
    }

    [[nodiscard]] static PrefabBuilder pointBelowARoot() {
        PrefabBuilder builder;
        builder.root(id(1), "Root").nested(id(2), "Point", id(1), "inner.prefab");
        return builder;
    }
};

TEST_F(MergingWithoutHierarchy, typeIsRegistered_nothingIsReported) {
    EXPECT_THAT(create(pointBelowARoot()), SizeIs(3));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(MergingWithoutHierarchy, typeIsNotRegistered_isReportedAndTheMergedNodeIsARoot) {
    const PrefabBuilder builder = pointAlone();
    const ForgetfulLibrary library(Forgotten::HIERARCHY_TYPE);
    EXPECT_THAT(createdNames(builder), ElementsAre("Point", "inner child"));
    EXPECT_THAT(logged(), ElementsAre(NOT_REGISTERED));
    EXPECT_FALSE(
        manager().hasComponent(object("Point"), Tessel::NativeComponent<Tessel::HierarchyComponent>::getType()));
}

TEST_F(MergingWithoutHierarchy, typeIsNotRegistered_everythingElseIsMerged) {
    const PrefabBuilder builder = pointAlone();
    const ForgetfulLibrary library(Forgotten::HIERARCHY_TYPE);
    create(builder);
    EXPECT_EQ(tagOf("Point"), "own");
    EXPECT_EQ(configOf<HookComponent>("Point").tag, "inner");
    EXPECT_EQ(uuidOf("Point"), Uuid::combine(Uuid::combine(INSTANCE, id(2)), id(11)));
    EXPECT_EQ(parentOf("inner child"), "Point");
}

TEST_F(MergingWithoutHierarchy, typeIsNotRegistered_isASecondRootBelowARoot) {
    const PrefabBuilder builder = pointBelowARoot();
    const ForgetfulLibrary library(Forgotten::HIERARCHY_TYPE);
    EXPECT_THAT(create(builder), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(NOT_REGISTERED, SECOND_ROOT, FAILED));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(MergingWithoutHierarchy, descriptorCannotBeMade_isSilentAndTheMergedNodeIsARoot) {
    const PrefabBuilder builder = pointAlone();
    const ForgetfulLibrary library(Forgotten::HIERARCHY_DESCRIPTOR);
    EXPECT_THAT(createdNames(builder), ElementsAre("Point", "inner child"));
    EXPECT_THAT(logged(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
