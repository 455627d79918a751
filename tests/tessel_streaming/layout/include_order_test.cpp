#include <support/include_layers.h>

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace Kiln::TestSupport {
namespace {

const std::string LIBRARY = "tessel_streaming";

/// The layers of the library from the bottom up. A file includes headers of its own layer and of those below it.
const std::array<Layer, 7> LAYERS{{
    {"interface",
     {"export.h", "load_handle.h", "load_options.h", "load_result.h", "load_result.cpp", "statistics.h", "streaming.h",
      "tracing.h", "updates.h"}},
    {"tracing and budget", {"tracing/", "budget/"}},
    {"documents", {"documents/"}},
    {"instances", {"instances/"}},
    {"updates", {"updates/"}},
    {"requests", {"requests/", "service/", "load_handle.cpp"}},
    {"functions and start-up", {"streaming.cpp", "start_up.cpp"}},
}};

TEST(StreamingLayout, includes_goFromHigherToLowerLayers) {
    ASSERT_GT(sourcesOf(LIBRARY).size(), 15U);
    EXPECT_GT(expectIncludesGoDown(LIBRARY, LAYERS), 15U);
}

TEST(StreamingLayout, headersAtTheTop_includeNoInternalHeader) {
    expectPublicHeadersIncludeNoInternalOnes(LIBRARY);
}

/// The module works without the layer above it.
TEST(StreamingLayout, otherLibraries_includeNoHeaderOfIt) {
    for (const std::string library : {"tessel_foundation", "tessel_asset_loading"}) {
        for (const std::string& file : sourcesOf(library)) {
            EXPECT_TRUE(includesOf(libraryFolder(library) / file, LIBRARY).empty()) << library << "/" << file;
        }
    }
}

} // namespace
} // namespace Kiln::TestSupport
