// Value types that others add: a specialisation of ValueTypeOf for every class that satisfies a constraint, as the
// object framework has for links.

#include <reflection/meta_object.h>

#include <concepts>
#include <vector>

#include <common/uuid.h>
#include <gtest/gtest.h>

namespace {

struct LinkBase {
    Kiln::Uuid target;
};
struct DoorLink : LinkBase {};

} // namespace

namespace mirra {

template <std::derived_from<LinkBase> T>
class LinkValueType final : public ValueType {
public:
    LinkValueType() : ValueType(ValueKind::LINK, typeid(T), "link") {}

    bool parse(std::string_view text, void* value) const override {
        return valueType<Kiln::Uuid>().parse(text, &static_cast<T*>(value)->target);
    }
    void format(const void* value, std::string& text) const override {
        valueType<Kiln::Uuid>().format(&static_cast<const T*>(value)->target, text);
    }
    bool isEqual(const void* a, const void* b) const override {
        return static_cast<const T*>(a)->target == static_cast<const T*>(b)->target;
    }
};

template <std::derived_from<LinkBase> T>
struct ValueTypeOf<T> {
    static const ValueType& get() {
        static const ValueType* const instance = new LinkValueType<T>;
        return *instance;
    }
};

namespace {

struct Plain {
    int number = 0;
};
struct Door {
    DoorLink link;
};
struct House {
    std::vector<std::vector<Door>> doors;
};
struct Tree {
    std::vector<Tree> children;
};
struct TreeOfDoors {
    std::vector<TreeOfDoors> children;
    std::vector<DoorLink> doors;
};
struct Chicken;
struct Egg {
    std::vector<Chicken> content;
};
struct Chicken {
    std::vector<Egg> eggs;
};
struct Waiting {
    int before = 0;
    struct Part {
        DoorLink link;
    } part;
};

} // namespace

TEST(LinkValueType, constrainedSpecialisation_isPreferred) {
    EXPECT_EQ(valueType<DoorLink>().kind(), ValueKind::LINK);
    EXPECT_EQ(valueType<LinkBase>().kind(), ValueKind::LINK);
    EXPECT_EQ(valueType<Plain>().kind(), ValueKind::STRUCTURE);
    EXPECT_EQ(valueType<std::vector<DoorLink>>().elementType(), &valueType<DoorLink>());
}

TEST(LinkValueType, property_isALink) {
    const BaseStaticMetaObject& metaObject =
        StaticMetaObjectBuilder<Door>("Door").addProperty<&Door::link>("link").finish();

    EXPECT_EQ(metaObject.properties()[0].type, &valueType<DoorLink>());
    EXPECT_TRUE(metaObject.containsLinks());
}

TEST(LinkValueType, containsLinks_vectorOfLinks) {
    EXPECT_TRUE(valueType<std::vector<std::vector<DoorLink>>>().containsLinks());
    EXPECT_FALSE(valueType<std::vector<int>>().containsLinks());
}

TEST(LinkValueType, containsLinks_noLinkAnywhere) {
    const BaseStaticMetaObject& metaObject =
        StaticMetaObjectBuilder<Plain>("Plain").addProperty<&Plain::number>("number").finish();

    EXPECT_FALSE(metaObject.containsLinks());
    EXPECT_FALSE(metaObject.containsLinks());
}

TEST(LinkValueType, containsLinks_atDepth) {
    StaticMetaObjectBuilder<Door>("Door").addProperty<&Door::link>("link").finish();
    const BaseStaticMetaObject& metaObject =
        StaticMetaObjectBuilder<House>("House").addProperty<&House::doors>("doors").finish();

    EXPECT_TRUE(metaObject.containsLinks());
    EXPECT_TRUE(valueType<House>().containsLinks());
    EXPECT_TRUE(valueType<std::vector<House>>().containsLinks());
}

TEST(LinkValueType, containsLinks_typeThatHoldsItself_terminates) {
    const BaseStaticMetaObject& tree =
        StaticMetaObjectBuilder<Tree>("Tree").addProperty<&Tree::children>("children").finish();
    const BaseStaticMetaObject& treeOfDoors = StaticMetaObjectBuilder<TreeOfDoors>("TreeOfDoors")
                                                  .addProperty<&TreeOfDoors::children>("children")
                                                  .addProperty<&TreeOfDoors::doors>("doors")
                                                  .finish();

    EXPECT_FALSE(tree.containsLinks());
    EXPECT_TRUE(treeOfDoors.containsLinks());
}

TEST(LinkValueType, containsLinks_typesThatHoldEachOther_terminates) {
    StaticMetaObjectBuilder<Egg>("Egg").addProperty<&Egg::content>("content").finish();
    StaticMetaObjectBuilder<Chicken>("Chicken").addProperty<&Chicken::eggs>("eggs").finish();

    EXPECT_FALSE(valueType<Egg>().containsLinks());
    EXPECT_FALSE(valueType<Chicken>().containsLinks());
}

TEST(LinkValueType, containsLinks_partDescribedLater_isNotMissed) {
    const BaseStaticMetaObject& metaObject = StaticMetaObjectBuilder<Waiting>("Waiting")
                                                 .addProperty<&Waiting::before>("before")
                                                 .addProperty<&Waiting::part>("part")
                                                 .finish();
    EXPECT_FALSE(metaObject.containsLinks());

    StaticMetaObjectBuilder<Waiting::Part>("Waiting::Part").addProperty<&Waiting::Part::link>("link").finish();
    EXPECT_TRUE(metaObject.containsLinks());
}

TEST(LinkValueType, containsLinks_propertyAddedLater_isNotMissed) {
    StaticMetaObject<Door> metaObject("Door");
    EXPECT_FALSE(metaObject.containsLinks());

    metaObject.addProperty<&Door::link>("link");
    EXPECT_TRUE(metaObject.containsLinks());
}

} // namespace mirra
