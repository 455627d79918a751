#pragma once

#include <build_paths.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Checks the direction of the includes in a library of shared_libs/ by reading its sources.
namespace Kiln::TestSupport {

struct Layer {
    std::string_view name;
    std::vector<std::string_view> paths; ///< Relative to the library: files, or folders with a slash at the end.
};

[[nodiscard]] inline std::filesystem::path libraryFolder(const std::string& library) {
    return std::filesystem::path(KILN_SOURCE_DIR) / "shared_libs" / library;
}

/// Index of the layer of a file; empty for a file that is in none.
[[nodiscard]] inline std::optional<std::size_t> layerOf(std::span<const Layer> layers, std::string_view file) {
    for (std::size_t layer = 0; layer < layers.size(); ++layer) {
        for (const std::string_view path : layers[layer].paths) {
            if (file == path || (path.ends_with('/') && file.starts_with(path))) {
                return layer;
            }
        }
    }
    return std::nullopt;
}

/// The headers of a library that a file includes, relative to the folder of the library.
[[nodiscard]] inline std::vector<std::string> includesOf(const std::filesystem::path& file,
                                                         const std::string& library) {
    std::vector<std::string> headers;
    std::ifstream stream(file);
    const std::string prefix = "#include <" + library + "/";
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with(prefix)) {
            headers.push_back(line.substr(prefix.size(), line.rfind('>') - prefix.size()));
        }
    }
    return headers;
}

/// Every source and header of a library, relative to its folder.
[[nodiscard]] inline std::vector<std::string> sourcesOf(const std::string& library) {
    const std::filesystem::path folder = libraryFolder(library);
    std::vector<std::string> files;
    for (const std::filesystem::directory_entry& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".h" || entry.path().extension() == ".cpp") {
            files.push_back(std::filesystem::relative(entry.path(), folder).generic_string());
        }
    }
    return files;
}

/// Expects that each file of a library is in a layer, and includes only headers of its own layer and of those below it,
/// which precede it in the list. Returns the number of includes.
inline std::size_t expectIncludesGoDown(const std::string& library, std::span<const Layer> layers) {
    std::size_t includes = 0;
    for (const std::string& file : sourcesOf(library)) {
        const std::optional<std::size_t> layer = layerOf(layers, file);
        EXPECT_TRUE(layer) << file << " is in no layer";
        for (const std::string& header : includesOf(libraryFolder(library) / file, library)) {
            const std::optional<std::size_t> included = layerOf(layers, header);
            EXPECT_TRUE(included) << header << " is in no layer";
            if (layer && included) {
                EXPECT_LE(*included, *layer) << file << " (" << layers[*layer].name << ") includes " << header << " ("
                                             << layers[*included].name << ")";
            }
            ++includes;
        }
    }
    return includes;
}

/// Expects that the headers at the top of a library, which are installed, include no header of a folder below.
inline void expectPublicHeadersIncludeNoInternalOnes(const std::string& library) {
    for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(libraryFolder(library))) {
        if (entry.path().extension() != ".h") {
            continue;
        }
        for (const std::string& header : includesOf(entry.path(), library)) {
            EXPECT_EQ(header.find('/'), std::string::npos) << entry.path().filename() << " includes " << header;
        }
    }
}

} // namespace Kiln::TestSupport
