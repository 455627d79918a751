#pragma once

#include <build_paths.h>
#include <common/uuid.h>
#include <support/prefab_text.h>
#include <support/process_runner.h>
#include <support/temporary_directory.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace Kiln::PrefabToolTests {

using Json = nlohmann::ordered_json;
using TestSupport::element;
using TestSupport::id;
using TestSupport::PrefabText;
using TestSupport::simplePrefab;

/// The component library of these tests, for --load.
inline constexpr const char* TEST_COMPONENTS = KILN_BUILD_LIB_DIR "/libkiln_prefab_test_components.so";

inline const std::string DEPTH_MESSAGE =
    "Nested prefabs depth has exceeded limit. It can be result of recursive references.";
inline const std::string BACKGROUND_DEPTH_MESSAGE = DEPTH_MESSAGE + " (backgroundLoad)";

/// A directory for prefab files; the program runs in it.
class KilnPrefabFixture : public testing::Test {
protected:
    void write(const std::string& name, std::string_view text) const { m_directory.writeFile(name, text); }
    void write(const std::string& name, const PrefabText& prefab) const { write(name, prefab.text()); }

    [[nodiscard]] TestSupport::ProcessResult run(const std::vector<std::string>& arguments,
                                                 const TestSupport::OutputTarget& target = {}) const {
        return TestSupport::runProcess(KILN_BUILD_BIN_DIR "/kiln-prefab", arguments, m_directory.path(), target);
    }

    [[nodiscard]] TestSupport::ProcessResult spawn(std::vector<std::string> arguments,
                                                   const TestSupport::OutputTarget& target = {}) const {
        arguments.insert(arguments.begin(), "spawn");
        return run(arguments, target);
    }

    /// Runs spawn --json and reads each line of its output.
    [[nodiscard]] std::vector<Json> spawnJson(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "--json");
        m_result = spawn(std::move(arguments));
        std::vector<Json> instances;
        for (const std::string& line : lines(m_result.output)) {
            instances.push_back(Json::parse(line));
        }
        return instances;
    }

    [[nodiscard]] static std::vector<std::string> lines(const std::string& text) {
        std::vector<std::string> result;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            result.push_back(line);
        }
        return result;
    }

    /// The value of "name" of each object, in order.
    [[nodiscard]] static std::vector<std::string> names(const Json& instance) {
        std::vector<std::string> result;
        for (const Json& object : instance.at("objects")) {
            result.push_back(object.at("name"));
        }
        return result;
    }

    /// The texts of the log, in order, without the depth messages of the caching walk.
    [[nodiscard]] static std::vector<std::string> logTexts(const Json& instance) {
        std::vector<std::string> result;
        for (const Json& message : instance.at("log")) {
            const std::string text = message.at("text");
            if (text != DEPTH_MESSAGE && text != BACKGROUND_DEPTH_MESSAGE) {
                result.push_back(text);
            }
        }
        return result;
    }

    TestSupport::TemporaryDirectory m_directory;
    TestSupport::ProcessResult m_result; ///< Of the last spawnJson().
};

} // namespace Kiln::PrefabToolTests
