#include "corpus.h"

#include <object_serialization/game_object_descriptor.h>
#include <resource/file_system_utils.h>
#include <support/log_capture.h>
#include <tessel_asset_loading/game_object_prefab.h>

#include <memory>
#include <utility>

#include <gmock/gmock.h>

namespace Kiln::CorpusTests {
namespace {

using Tessel::GameObjectPrefab;

/// The texts of all `value` elements of the items' property `values`, item by item.
[[nodiscard]] std::vector<std::vector<std::string>> valueTexts(const DataSection& document) {
    std::vector<std::vector<std::string>> texts;
    for (DataNode pool = document.node().child("components").firstChild(); pool; pool = pool.nextSibling()) {
        if (pool.child("type").text() != "NodeComponent") {
            continue;
        }
        for (DataNode item = pool.firstChild(); item; item = item.nextSibling()) {
            if (item.name() != "item") {
                continue;
            }
            std::vector<std::string>& itemTexts = texts.emplace_back();
            const DataNode values = item.child("properties").child("values");
            for (DataNode value = values.firstChild(); value; value = value.nextSibling()) {
                itemTexts.push_back(value.child("name").text());
                itemTexts.push_back(value.child("value").text());
            }
        }
    }
    return texts;
}

void expectSameComponents(const GameObjectDescriptor& before, const GameObjectDescriptor& after) {
    ASSERT_EQ(after.components().size(), before.components().size());
    for (const SmartPointer<IComponentDescriptor>& component : before.components()) {
        IComponentDescriptor* const copy = after.findComponent(component->name());
        ASSERT_NE(copy, nullptr) << component->name();
        EXPECT_EQ(copy->getInstanceOptions(), component->getInstanceOptions());
        const mirra::ReflectedObject configuration = component->viewConfiguration();
        EXPECT_TRUE(mirra::arePropertiesEqual(*configuration.metaObject(), configuration.object(),
                                              copy->viewConfiguration().object()))
            << component->name() << " of " << before.name();
    }
}

void expectSameNodes(const GameObjectPrefab& before, const GameObjectPrefab& after) {
    ASSERT_EQ(after.nodesCount(), before.nodesCount());
    EXPECT_FALSE(before.isEmpty());
    for (std::size_t id = 0; id < before.nodesCount(); ++id) {
        EXPECT_EQ(after.getGameObject(id)->uuid(), before.getGameObject(id)->uuid());
        EXPECT_EQ(after.getGameObject(id)->name(), before.getGameObject(id)->name());
        EXPECT_EQ(after.getGameObject(id)->flags(), before.getGameObject(id)->flags());
        expectSameComponents(*before.getGameObject(id), *after.getGameObject(id));
    }
}

[[nodiscard]] std::string write(const GameObjectPrefab& prefab) {
    const SmartPointer<DataSection> section = DataSection::create("prefab");
    prefab.serialize(section);
    return section->toText();
}

class CorpusRoundTrip : public CorpusFileFixture {};

TEST_P(CorpusRoundTrip, keepsNodesComponentsAndValues) {
    const TestSupport::LogCapture log;
    const SmartPointer<DataSection> original = FS::Utils::openXmlSection(path(), true);
    ASSERT_TRUE(original);
    const std::unique_ptr<GameObjectPrefab> first = GameObjectPrefab::loadHierarchy(original, nullptr);
    const std::string text = write(*first);
    const SmartPointer<DataSection> written = DataSection::fromText(text, "written");
    ASSERT_TRUE(written);
    const std::unique_ptr<GameObjectPrefab> second = GameObjectPrefab::loadHierarchy(written, nullptr);
    expectSameNodes(*first, *second);
    EXPECT_EQ(valueTexts(*written), valueTexts(*original));
    EXPECT_EQ(write(*second), text);
    EXPECT_THAT(log.texts(), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Corpus, CorpusRoundTrip, testing::ValuesIn(files()), testName);

} // namespace
} // namespace Kiln::CorpusTests
