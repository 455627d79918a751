#include <support/include_layers.h>

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace Kiln::TestSupport {
namespace {

const std::string MODULE = "tessel_asset_loading";

/// The layers of the module from the bottom up. A file includes headers of its own layer and of those below it.
const std::array<Layer, 6> LAYERS{{
    {"reporting", {"export.h", "reporting/"}},
    {"component",
     {"prefab_component.h", "prefab_post_load_manager.h", "object_loaded_callback.h", "prefab_component/component.cpp",
      "prefab_component/post_load_manager.cpp", "loading/object_loaded_callback.cpp"}},
    {"document", {"game_object_prefab.h", "prefab_limits.h", "unknown_components.h", "game_object_prefab/"}},
    {"service", {"prefab_service.h", "prefab_service_records.h", "prefab_component/service/"}},
    {"Loading",
     {"loading.h", "loading/loading.cpp", "loading/loaded_callback_impl.h", "loading/loaded_callback_impl.cpp",
      "loading/root_placing.h", "loading/root_placing.cpp"}},
    {"start-up", {"prefab_component/start_up.cpp"}},
}};

TEST(ModuleLayout, includes_goFromHigherToLowerLayers) {
    ASSERT_GT(sourcesOf(MODULE).size(), 30U);
    EXPECT_GT(expectIncludesGoDown(MODULE, LAYERS), 50U);
}

TEST(ModuleLayout, headersAtTheTop_includeNoInternalHeader) {
    expectPublicHeadersIncludeNoInternalOnes(MODULE);
}

} // namespace
} // namespace Kiln::TestSupport
