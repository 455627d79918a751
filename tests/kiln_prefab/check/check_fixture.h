#pragma once

#include "../kiln_prefab_fixture.h"

#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::PrefabToolTests {

/// Runs `kiln-prefab check` in a directory with prefab files.
class CheckFixture : public KilnPrefabFixture {
protected:
    [[nodiscard]] TestSupport::ProcessResult check(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "check");
        return run(arguments);
    }

    /// The findings of a check as "FILE CODE SEVERITY", in order. m_result has the rest.
    [[nodiscard]] std::vector<std::string> findings(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--format", "json"});
        m_result = check(std::move(arguments));
        std::vector<std::string> findings;
        if (m_result.output.empty()) {
            ADD_FAILURE() << m_result;
            return findings;
        }
        const Json report = Json::parse(m_result.output);
        for (const Json& finding : report.at("findings")) {
            findings.push_back(finding.at("file").get<std::string>() + " " + finding.at("code").get<std::string>() +
                               " " + finding.at("severity").get<std::string>());
        }
        return findings;
    }

    [[nodiscard]] std::string read(const std::string& name) const {
        std::ifstream stream(m_directory.path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// A prefab without findings. `number` distinguishes its UUIDs from those of other prefabs, here and below.
    [[nodiscard]] static PrefabText sound(std::uint64_t number, const std::string& name = "Root") {
        return PrefabText().object(id(2 * number), name).raw("<components></components>");
    }

    /// A prefab that nests another one, without a mistake of its own.
    [[nodiscard]] static PrefabText nesting(std::uint64_t number, const std::string& resource) {
        PrefabText prefab;
        prefab.root(id(2 * number), "Root");
        prefab.nested(id(2 * number + 1), "Point", id(2 * number), resource);
        return prefab;
    }

    /// A prefab with a warning: it has a component of an unknown type.
    [[nodiscard]] static PrefabText withUnknownType(std::uint64_t number, const std::string& type = "NoSuchComponent") {
        PrefabText prefab;
        prefab.root(id(2 * number), "Root");
        prefab.component(type, 0);
        return prefab;
    }
};

} // namespace Kiln::PrefabToolTests
