#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace Kiln::PrefabToolTests {

/// What in a document does not match a JSON Schema: one line for each problem, with the path of the value. Knows the
/// keywords type, const, enum, pattern, minimum, required, properties, additionalProperties (false), items, minItems
/// and $ref to #/$defs; another keyword, other than those without effect, is a problem, too.
[[nodiscard]] std::vector<std::string> schemaProblems(const nlohmann::ordered_json& schema,
                                                      const nlohmann::ordered_json& document);

} // namespace Kiln::PrefabToolTests
