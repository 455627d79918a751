#include <build_paths.h>
#include <object_serialization/component_library.h>
#include <object_serialization/game_object_descriptor.h>
#include <resource/data_section.h>
#include <support/log_capture.h>
#include <tessel_asset_loading/game_object_prefab.h>

#include <string>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::CorpusTests {
namespace {

constexpr const char* DOCUMENT = R"(<prefab>
	<formatVersion>1</formatVersion>
	<gameObjects>
		<gameObject><uuid>00000000-0000-0000-0000-000000000001</uuid><name>Root</name></gameObject>
	</gameObjects>
	<components>
		<pool>
			<type>NodeComponent</type>
			<version>1</version>
			<item>
				<gameObject>0</gameObject>
				<properties>
					<kind>Sprite</kind>
					<groups><value>enemies</value><value> b </value></groups>
					<script>enemy.script</script>
					<values><value><name>text</name><value> "a[0]"
&lt;b&gt; </value></value></values>
				</properties>
			</item>
		</pool>
	</components>
</prefab>)";

/// The root's descriptor of the node component; null when it has none.
[[nodiscard]] SmartPointer<IComponentDescriptor> readNodeComponent() {
    const auto prefab =
        Tessel::GameObjectPrefab::loadHierarchy(DataSection::fromText(DOCUMENT, "test.prefab"), nullptr);
    EXPECT_EQ(prefab->nodesCount(), 1U);
    return SmartPointer<IComponentDescriptor>::share(prefab->getGameObject(0)->findComponent("NodeComponent"));
}

[[nodiscard]] std::string textOf(const mirra::BoundProperty& property) {
    std::string text;
    property.type().format(property.value(), text);
    return text;
}

TEST(CorpusPlugin, nodeComponent_isSkippedBeforeThePluginIsLoadedAndReadAfterwards) {
    const TestSupport::LogCapture log;
    EXPECT_EQ(ComponentLibrary::instance().findComponent("NodeComponent"), ComponentLibrary::INVALID_ID);
    EXPECT_FALSE(readNodeComponent());

    ASSERT_NE(dlopen(KILN_BUILD_LIB_DIR "/libcorpus_components.so", RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();

    const SmartPointer<IComponentDescriptor> component = readNodeComponent();
    ASSERT_TRUE(component);
    const mirra::ReflectedObject configuration = component->viewConfiguration();
    ASSERT_EQ(configuration.properties(), 4U);
    EXPECT_EQ(configuration.propertyAt(0).name(), "kind");
    EXPECT_EQ(textOf(configuration.propertyAt(0)), "Sprite");
    EXPECT_EQ(configuration.propertyAt(1).name(), "groups");
    const mirra::ReflectedObject groups(configuration.propertyAt(1));
    ASSERT_EQ(groups.properties(), 2U);
    EXPECT_EQ(textOf(groups.propertyAt(0)), "enemies");
    EXPECT_EQ(textOf(groups.propertyAt(1)), " b ");
    EXPECT_EQ(configuration.propertyAt(2).name(), "script");
    EXPECT_EQ(textOf(configuration.propertyAt(2)), "enemy.script");
    EXPECT_EQ(configuration.propertyAt(3).name(), "values");
    const mirra::ReflectedObject values(configuration.propertyAt(3));
    ASSERT_EQ(values.properties(), 1U);
    const mirra::ReflectedObject value(values.propertyAt(0));
    ASSERT_EQ(value.properties(), 2U);
    EXPECT_EQ(value.propertyAt(0).name(), "name");
    EXPECT_EQ(textOf(value.propertyAt(0)), "text");
    EXPECT_EQ(value.propertyAt(1).name(), "value");
    EXPECT_EQ(textOf(value.propertyAt(1)), " \"a[0]\"\n<b> ");
    EXPECT_FALSE(component->hasLinks());
    EXPECT_THAT(log.texts(), testing::IsEmpty());
}

} // namespace
} // namespace Kiln::CorpusTests
