#include "document_fixture.h"

#include <object_framework/entry_point.h>

#include <atomic>
#include <stdexcept>
#include <thread>

namespace Kiln::SerializationTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct FirstType {};
struct SecondType {};

/// Each test has its own library, because all tests share that of the process.
class Library : public DocumentFixture {
protected:
    [[nodiscard]] static ComponentRecord record(Tessel::ComponentTypeId typeId, std::string name,
                                                const std::type_info& type = typeid(FirstType)) {
        ComponentRecord record;
        record.typeId = typeId;
        record.type = type;
        record.name = std::move(name);
        return record;
    }

    [[nodiscard]] static Message refusal(const std::string& name) {
        return {LogSeverity::ERROR, "", "Component '" + name + "' is registered twice; the first registration stays",
                "object_serialization/component_library"};
    }

    ComponentLibrary library;
};

TEST_F(Library, empty_knowsNothing) {
    EXPECT_EQ(library.componentsCount(), 0U);
    EXPECT_EQ(library.componentName(0), "");
    EXPECT_EQ(library.findComponent("A"), ComponentLibrary::INVALID_ID);
    EXPECT_EQ(library.findComponent(typeid(FirstType)), ComponentLibrary::INVALID_ID);
    EXPECT_FALSE(library.createDescriptor(0));
    EXPECT_EQ(library.creationListener(), nullptr);
}

TEST_F(Library, append_isFoundByIdNameAndType) {
    library.append(record(3, "A"));
    EXPECT_EQ(library.componentsCount(), 4U);
    EXPECT_EQ(library.componentName(3), "A");
    EXPECT_EQ(library.findComponent("A"), 3U);
    EXPECT_EQ(library.findComponent(typeid(FirstType)), 3U);
    EXPECT_EQ(library.componentMeta(3).name, "A");
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Library, idsBetween_haveNoRecord) {
    library.append(record(3, "A"));
    library.append(record(1, "B", typeid(SecondType)));
    EXPECT_EQ(library.componentsCount(), 4U);
    EXPECT_EQ(library.componentName(2), "");
    EXPECT_EQ(library.componentName(1), "B");
    EXPECT_FALSE(library.createDescriptor(2));
}

TEST_F(Library, append_sameTypeIdTwice_keepsTheFirstWithAnError) {
    library.append(record(3, "A"));
    library.append(record(3, "B", typeid(SecondType)));
    EXPECT_EQ(library.componentName(3), "A");
    EXPECT_EQ(library.findComponent("B"), ComponentLibrary::INVALID_ID);
    EXPECT_EQ(library.findComponent(typeid(SecondType)), ComponentLibrary::INVALID_ID);
    EXPECT_THAT(log.messages(), ElementsAre(refusal("B")));
}

TEST_F(Library, append_secondTypeThatDoesNotFitIntoTheRegistry_isRefusedWithTheReason) {
    library.append(record(Tessel::IComponent::MAX_TYPES, "A"));
    library.append(record(Tessel::IComponent::MAX_TYPES, "B", typeid(SecondType)));
    EXPECT_EQ(library.componentName(Tessel::IComponent::MAX_TYPES), "A");
    EXPECT_EQ(library.findComponent("B"), ComponentLibrary::INVALID_ID);
    EXPECT_THAT(log.texts(),
                ElementsAre("Component 'B' is refused: the registry of component types is full, and component 'A', "
                            "which does not fit into it either, is registered"));
}

TEST_F(Library, append_refused_doesNotCount) {
    library.append(record(3, "A"));
    library.append(record(70, "A", typeid(SecondType)));
    EXPECT_EQ(library.componentsCount(), 4U);
    EXPECT_EQ(library.componentName(70), "");
    EXPECT_THAT(log.messages(), ElementsAre(refusal("A")));
}

TEST_F(Library, append_sameNameTwice_keepsTheFirstWithAnError) {
    library.append(record(3, "A"));
    library.append(record(4, "A", typeid(SecondType)));
    EXPECT_EQ(library.findComponent("A"), 3U);
    EXPECT_EQ(library.componentName(4), "");
    EXPECT_THAT(log.messages(), ElementsAre(refusal("A")));
}

TEST_F(Library, componentMeta_idWithoutRecord_throws) {
    library.append(record(1, "A"));
    for (const std::size_t id : {std::size_t{0}, std::size_t{2}, ComponentLibrary::INVALID_ID}) {
        EXPECT_THROW((void)library.componentMeta(id), std::runtime_error);
    }
    try {
        (void)library.componentMeta(7);
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "there is no record of component type 7");
    }
}

TEST_F(Library, componentMeta_staysWhereItIsWhenOthersAreAdded) {
    library.append(record(0, "A"));
    const ComponentRecord& meta = library.componentMeta(0);
    for (Tessel::ComponentTypeId id = 1; id < 200; ++id) {
        library.append(record(id, "A" + std::to_string(id)));
    }
    EXPECT_EQ(&library.componentMeta(0), &meta);
    EXPECT_EQ(meta.name, "A");
}

TEST_F(Library, record_defaults) {
    const ComponentRecord fresh;
    EXPECT_EQ(fresh.options.bits(), 35U);
    EXPECT_TRUE(fresh.isUserAddable);
    EXPECT_TRUE(fresh.isStorable);
    EXPECT_EQ(fresh.version, 0U);
    EXPECT_EQ(fresh.extraData, nullptr);
}

TEST_F(Library, createDescriptor_isMadeByTheFactory) {
    ComponentRecord made = record(0, "Made");
    made.factory = []() -> SmartPointer<IComponentDescriptor> {
        return makeSmart<ComponentDescriptor<TextComponent>>("Made", "Category");
    };
    library.append(made);
    const SmartPointer<IComponentDescriptor> first = library.createDescriptor(0);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->name(), "Made");
    EXPECT_EQ(first->category(), "Category");
    EXPECT_NE(library.createDescriptor(0).get(), first.get());
}

TEST_F(Library, createDescriptor_withoutFactoryOrWithNullFromIt_isNull) {
    library.append(record(0, "No factory"));
    ComponentRecord none = record(1, "None", typeid(SecondType));
    none.factory = [] { return SmartPointer<IComponentDescriptor>(); };
    library.append(none);
    EXPECT_FALSE(library.createDescriptor(0));
    EXPECT_FALSE(library.createDescriptor(1));
}

class Listener final : public ICreationListener {
public:
    bool acceptsPrefab(const Tessel::GameObjectPrefab& /*prefab*/) override { return false; }
    bool processInstance(int /*worldId*/, CreatedInstance /*instance*/) override { return true; }
};

TEST_F(Library, creationListener_isWhatWasSet) {
    Listener listener;
    library.setCreationListener(&listener);
    EXPECT_EQ(library.creationListener(), &listener);
    library.setCreationListener(nullptr);
    EXPECT_EQ(library.creationListener(), nullptr);
}

TEST_F(Library, lookUpsWhileTypesAreAdded_findWhatIsThere) {
    library.append(record(0, "A"));
    std::atomic<bool> isDone = false;
    std::atomic<int> misses = 0;
    std::thread reader([&] {
        do {
            const std::size_t id = library.findComponent("A");
            if (id != 0 || library.componentName(id) != "A" || library.componentMeta(id).typeId != 0) {
                ++misses;
            }
        } while (!isDone);
    });
    for (Tessel::ComponentTypeId id = 1; id < 500; ++id) {
        library.append(record(id, "A" + std::to_string(id)));
    }
    isDone = true;
    reader.join();
    EXPECT_EQ(misses, 0);
    EXPECT_EQ(library.componentsCount(), 500U);
}

TEST(ProcessLibrary, isAServiceOfTheEntryPoint) {
    EXPECT_EQ(&ComponentLibrary::instance(), &ComponentLibrary::instance());
    EXPECT_EQ(Tessel::EntryPoint::instance().getService(typeid(ComponentLibrary)), &ComponentLibrary::instance());
}

} // namespace
} // namespace Kiln::SerializationTests
