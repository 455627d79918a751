#include "corpus.h"

#include <build_paths.h>
#include <resource/file_system_utils.h>
#include <tessel_asset_loading/loading.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include <dlfcn.h>
#include <nlohmann/json.hpp>

namespace Kiln::CorpusTests {

namespace {

namespace fs = std::filesystem;

constexpr const char* EXPECTED_FILE = "expected.json";

[[nodiscard]] fs::path findDirectory() {
    const char* const given = std::getenv("KILN_CORPUS_DIR");
    const fs::path start = given ? fs::path(given) : fs::path(KILN_SOURCE_DIR).parent_path() / "shared" / "corpus";
    std::error_code error;
    if (fs::exists(start / EXPECTED_FILE, error)) {
        return start;
    }
    std::vector<fs::path> folders;
    for (const fs::directory_entry& entry : fs::directory_iterator(start, error)) {
        if (fs::exists(entry.path() / EXPECTED_FILE, error)) {
            folders.push_back(entry.path());
        }
    }
    return folders.empty() ? fs::path() : *std::min_element(folders.begin(), folders.end());
}

[[nodiscard]] ExpectedObject readObject(const nlohmann::json& json) {
    ExpectedObject object;
    object.path = json.at("path").get<std::string>();
    if (!json.at("parent").is_null()) {
        object.parent = json.at("parent").get<std::size_t>();
    }
    object.components = json.at("components").get<std::vector<std::string>>();
    object.uuid = json.at("uuid").get<std::string>();
    return object;
}

[[nodiscard]] std::map<std::string, ExpectedFile> readExpectedFiles() {
    std::map<std::string, ExpectedFile> files;
    const nlohmann::json expected = nlohmann::json::parse(std::ifstream(directory() / EXPECTED_FILE));
    for (const auto& [path, entry] : expected.items()) {
        ExpectedFile& file = files[path];
        file.nodes = entry.at("nodes").get<std::size_t>();
        file.fails = entry.at("fails").get<bool>();
        file.nested = entry.at("nested").get<std::vector<std::string>>();
        for (const nlohmann::json& object : entry.at("objects")) {
            file.objects.push_back(readObject(object));
        }
    }
    return files;
}

[[nodiscard]] std::vector<std::string> listFiles() {
    if (directory().empty()) {
        return {""};
    }
    std::vector<std::string> paths;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory())) {
        if (entry.path().extension() == ".prefab") {
            paths.push_back(entry.path().lexically_relative(directory()).generic_string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

} // namespace

void PrintTo(const ExpectedObject& object, std::ostream* stream) {
    *stream << object.path << " " << object.uuid << " parent ";
    *stream << (object.parent ? std::to_string(*object.parent) : "none");
    for (const std::string& component : object.components) {
        *stream << " " << component;
    }
}

const fs::path& directory() {
    static const fs::path found = findDirectory();
    return found;
}

const std::vector<std::string>& files() {
    static const std::vector<std::string> listed = listFiles();
    return listed;
}

const std::map<std::string, ExpectedFile>& expectedFiles() {
    static const std::map<std::string, ExpectedFile> read = readExpectedFiles();
    return read;
}

std::string testName(const testing::TestParamInfo<std::string>& info) {
    if (info.param.empty()) {
        return "absent";
    }
    std::string name = fs::path(info.param).replace_extension().string();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; }, '_');
    return name;
}

void CorpusFixture::SetUp() {
    if (directory().empty()) {
        GTEST_SKIP() << "There is no corpus; KILN_CORPUS_DIR can name its directory";
    }
    ASSERT_NE(dlopen(KILN_BUILD_LIB_DIR "/libcorpus_components.so", RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();
    addResources(directory());
}

void CorpusFixture::TearDown() {
    FS::Utils::clearResourceRoots();
    FS::Utils::clearResourcePacks();
    Tessel::Loading::fullyClearCache();
}

} // namespace Kiln::CorpusTests
