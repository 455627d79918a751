#include <tessel_asset_loading/support/document_fixture.h>
#include <tessel_asset_loading/unknown_components.h>

#include <core/log.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace Kiln::TestSupport {

namespace {

using Tessel::GameObjectPrefab;
using Tessel::setUnknownComponentHandler;
using Tessel::UnknownComponents;
using testing::ElementsAre;
using testing::IsEmpty;

class UnknownComponentHandling : public DocumentFixture {
protected:
    ~UnknownComponentHandling() override { setUnknownComponentHandler(nullptr); }

    /// Writes a prefab whose root has a component of each type.
    void write(const std::string& path, const std::vector<std::string>& types) {
        PrefabText document;
        document.root(id(1), "Lamp");
        for (const std::string& type : types) {
            document.component(type, 0);
        }
        writePrefab(path, document);
    }

    void listen() {
        setUnknownComponentHandler([this](const UnknownComponents& components) { texts.push_back(components.text()); });
    }

    std::vector<std::string> texts;
};

TEST_F(UnknownComponentHandling, handler_hearsOfEachTypeOfAFile) {
    write("lamp.prefab", {"Glow", "TagComponent", "Flicker"});
    listen();
    const auto loaded = GameObjectPrefab::loadHierarchy("lamp.prefab", nullptr);
    EXPECT_THAT(texts,
                ElementsAre("lamp.prefab: no library has registered the component 'Glow'; its instances are left out",
                            "lamp.prefab: no library has registered the component 'Flicker'; its instances are left "
                            "out"));
    EXPECT_THAT(logged(), IsEmpty()) << "the module itself stays silent";
}

TEST_F(UnknownComponentHandling, handler_hearsOfATypeAndFileOnce) {
    write("lamp.prefab", {"Glow"});
    write("ship.prefab", {"Glow"});
    listen();
    for (const char* const path : {"lamp.prefab", "ship.prefab", "lamp.prefab", "ship.prefab"}) {
        const auto loaded = GameObjectPrefab::loadHierarchy(path, nullptr);
    }
    EXPECT_THAT(texts,
                ElementsAre("lamp.prefab: no library has registered the component 'Glow'; its instances are left out",
                            "ship.prefab: no library has registered the component 'Glow'; its instances are left "
                            "out"));
}

TEST_F(UnknownComponentHandling, newHandler_hearsOfAllAgain) {
    write("lamp.prefab", {"Glow"});
    listen();
    const auto first = GameObjectPrefab::loadHierarchy("lamp.prefab", nullptr);
    listen();
    const auto second = GameObjectPrefab::loadHierarchy("lamp.prefab", nullptr);
    EXPECT_EQ(texts.size(), 2U);
}

TEST_F(UnknownComponentHandling, handlerOfErrors_isCalledAsWithoutIt) {
    write("lamp.prefab", {"Glow"});
    listen();
    const auto loaded = GameObjectPrefab::loadHierarchy("lamp.prefab", &handler);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Cannot found component: Glow"));
    EXPECT_EQ(texts.size(), 1U);
}

TEST_F(UnknownComponentHandling, handlerThatThrows_doesNotChangeTheDocument) {
    write("lamp.prefab", {"Glow", "TagComponent"});
    setUnknownComponentHandler([](const UnknownComponents&) { throw std::runtime_error("full"); });
    const auto loaded = GameObjectPrefab::loadHierarchy("lamp.prefab", nullptr);
    ASSERT_NE(loaded, nullptr);
    EXPECT_NE(loaded->getGameObject(0)->findComponent("TagComponent"), nullptr);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(UnknownComponentHandling, handlerThatWasRemoved_isNotCalled) {
    write("lamp.prefab", {"Glow"});
    listen();
    setUnknownComponentHandler(nullptr);
    const auto loaded = GameObjectPrefab::loadHierarchy("lamp.prefab", nullptr);
    EXPECT_THAT(texts, IsEmpty());
}

TEST_F(UnknownComponentHandling, knownTypes_areNotReported) {
    write("lamp.prefab", {"TagComponent", "TransformComponent"});
    listen();
    const auto loaded = GameObjectPrefab::loadHierarchy("lamp.prefab", nullptr);
    EXPECT_THAT(texts, IsEmpty());
}

TEST_F(UnknownComponentHandling, severity_isThatOfAWarning) {
    EXPECT_EQ(UnknownComponents::SEVERITY, LogSeverity::WARNING);
}

} // namespace

} // namespace Kiln::TestSupport
