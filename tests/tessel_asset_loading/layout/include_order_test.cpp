#include <build_paths.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::TestSupport {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view MODULE = "tessel_asset_loading/";

struct Layer {
    std::string_view name;
    std::vector<std::string_view> paths; ///< Files, or folders with a slash at the end.
};

/// The layers of the module from the bottom up. A file includes headers of its own layer and of those below it.
const std::array<Layer, 6> LAYERS{{
    {"reporting", {"export.h", "reporting/"}},
    {"component",
     {"prefab_component.h", "prefab_post_load_manager.h", "object_loaded_callback.h", "prefab_component/component.cpp",
      "prefab_component/post_load_manager.cpp", "loading/object_loaded_callback.cpp"}},
    {"document", {"game_object_prefab.h", "game_object_prefab/"}},
    {"service", {"prefab_service.h", "prefab_service_records.h", "prefab_component/service/"}},
    {"Loading",
     {"loading.h", "loading/loading.cpp", "loading/loaded_callback_impl.h", "loading/loaded_callback_impl.cpp"}},
    {"start-up", {"prefab_component/start_up.cpp"}},
}};

/// Index of the layer of a file, whose path is relative to the module's folder; empty for a file that is in none.
[[nodiscard]] std::optional<std::size_t> layerOf(std::string_view file) {
    for (std::size_t layer = 0; layer < LAYERS.size(); ++layer) {
        for (const std::string_view path : LAYERS[layer].paths) {
            if (file == path || (path.ends_with('/') && file.starts_with(path))) {
                return layer;
            }
        }
    }
    return std::nullopt;
}

/// The headers of the module that a file includes, relative to the module's folder.
[[nodiscard]] std::vector<std::string> includesOf(const fs::path& file) {
    std::vector<std::string> headers;
    std::ifstream stream(file);
    const std::string prefix = "#include <" + std::string(MODULE);
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with(prefix)) {
            headers.push_back(line.substr(prefix.size(), line.rfind('>') - prefix.size()));
        }
    }
    return headers;
}

/// Every source and header of the module, relative to its folder.
[[nodiscard]] std::vector<std::string> filesOfModule(const fs::path& folder) {
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".h" || entry.path().extension() == ".cpp") {
            files.push_back(fs::relative(entry.path(), folder).generic_string());
        }
    }
    return files;
}

TEST(ModuleLayout, includes_goFromHigherToLowerLayers) {
    const fs::path folder = fs::path(KILN_SOURCE_DIR) / "shared_libs" / MODULE;
    const std::vector<std::string> files = filesOfModule(folder);
    ASSERT_GT(files.size(), 30U);
    std::size_t includes = 0;
    for (const std::string& file : files) {
        const std::optional<std::size_t> layer = layerOf(file);
        ASSERT_TRUE(layer) << file << " is in no layer";
        for (const std::string& header : includesOf(folder / file)) {
            const std::optional<std::size_t> included = layerOf(header);
            ASSERT_TRUE(included) << header << " is in no layer";
            EXPECT_LE(*included, *layer) << file << " (" << LAYERS[*layer].name << ") includes " << header << " ("
                                         << LAYERS[*included].name << ")";
            ++includes;
        }
    }
    EXPECT_GT(includes, 50U);
}

TEST(ModuleLayout, headersAtTheTop_includeNoInternalHeader) {
    const fs::path folder = fs::path(KILN_SOURCE_DIR) / "shared_libs" / MODULE;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() != ".h") {
            continue;
        }
        for (const std::string& header : includesOf(entry.path())) {
            EXPECT_EQ(header.find('/'), std::string::npos) << entry.path().filename() << " includes " << header;
        }
    }
}

} // namespace
} // namespace Kiln::TestSupport
