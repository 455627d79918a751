#include "json_schema.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <regex>
#include <string_view>

namespace Kiln::PrefabToolTests {

namespace {

using Json = nlohmann::ordered_json;

[[nodiscard]] bool hasType(const Json& value, const std::string& type) {
    return type == "object"    ? value.is_object()
           : type == "array"   ? value.is_array()
           : type == "string"  ? value.is_string()
           : type == "integer" ? value.is_number_integer()
           : type == "boolean" ? value.is_boolean()
           : type == "null"    ? value.is_null()
                               : false;
}

class Validator {
public:
    explicit Validator(const Json& root) : m_root(root) {}

    void check(const Json& schema, const Json& value, const std::string& path) {
        for (const auto& [keyword, argument] : schema.items()) {
            const auto found = m_keywords.find(keyword);
            if (found == m_keywords.end()) {
                m_problems.push_back(path + ": the schema has the unknown keyword " + keyword);
            } else {
                found->second(schema, argument, value, path);
            }
        }
    }

    [[nodiscard]] std::vector<std::string> takeProblems() { return std::move(m_problems); }

private:
    using Check = std::function<void(const Json& schema, const Json& argument, const Json& value, const std::string&)>;

    void require(bool isRight, const std::string& path, const std::string& problem) {
        if (!isRight) {
            m_problems.push_back(path + ": " + problem);
        }
    }

    void checkType(const Json& argument, const Json& value, const std::string& path) {
        const std::vector<std::string> types =
            argument.is_array() ? argument.get<std::vector<std::string>>() : std::vector<std::string>{argument};
        const bool isRight =
            std::any_of(types.begin(), types.end(), [&value](const std::string& type) { return hasType(value, type); });
        require(isRight, path, "has another type than " + argument.dump());
    }

    void checkProperties(const Json& argument, const Json& value, const std::string& path) {
        for (const auto& [name, schema] : argument.items()) {
            if (value.is_object() && value.contains(name)) {
                check(schema, value.at(name), path + "/" + name);
            }
        }
    }

    void checkAdditional(const Json& schema, const Json& value, const std::string& path) {
        if (value.is_object()) {
            for (const auto& member : value.items()) {
                require(schema.at("properties").contains(member.key()), path, "has the property " + member.key());
            }
        }
    }

    void checkItems(const Json& argument, const Json& value, const std::string& path) {
        if (value.is_array()) {
            for (std::size_t i = 0; i < value.size(); ++i) {
                check(argument, value.at(i), path + "/" + std::to_string(i));
            }
        }
    }

    void checkRequired(const Json& argument, const Json& value, const std::string& path) {
        if (value.is_object()) {
            for (const std::string name : argument) {
                require(value.contains(name), path, "lacks the property " + name);
            }
        }
    }

    static void ignore(const Json& /*schema*/, const Json& /*argument*/, const Json& /*value*/,
                       const std::string& /*path*/) {}

    const Json& m_root;
    std::vector<std::string> m_problems;
    const std::map<std::string, Check, std::less<>> m_keywords{
        {"$schema", ignore},
        {"$defs", ignore},
        {"title", ignore},
        {"description", ignore},
        {"$ref",
         [this](const Json&, const Json& argument, const Json& value, const std::string& path) {
             check(m_root.at(Json::json_pointer(argument.get<std::string>().substr(1))), value, path);
         }},
        {"type", [this](const Json&, const Json& argument, const Json& value,
                        const std::string& path) { checkType(argument, value, path); }},
        {"const", [this](const Json&, const Json& argument, const Json& value,
                         const std::string& path) { require(value == argument, path, "is not " + argument.dump()); }},
        {"enum",
         [this](const Json&, const Json& argument, const Json& value, const std::string& path) {
             require(std::find(argument.begin(), argument.end(), value) != argument.end(), path,
                     "is none of " + argument.dump());
         }},
        {"pattern",
         [this](const Json&, const Json& argument, const Json& value, const std::string& path) {
             require(!value.is_string() ||
                         std::regex_search(value.get<std::string>(), std::regex(argument.get<std::string>())),
                     path, "does not match " + argument.dump());
         }},
        {"minimum",
         [this](const Json&, const Json& argument, const Json& value, const std::string& path) {
             require(!value.is_number() || value >= argument, path, "is less than " + argument.dump());
         }},
        {"minItems",
         [this](const Json&, const Json& argument, const Json& value, const std::string& path) {
             require(!value.is_array() || value.size() >= argument, path, "has fewer items than " + argument.dump());
         }},
        {"required", [this](const Json&, const Json& argument, const Json& value,
                            const std::string& path) { checkRequired(argument, value, path); }},
        {"properties", [this](const Json&, const Json& argument, const Json& value,
                              const std::string& path) { checkProperties(argument, value, path); }},
        {"additionalProperties", [this](const Json& schema, const Json&, const Json& value,
                                        const std::string& path) { checkAdditional(schema, value, path); }},
        {"items", [this](const Json&, const Json& argument, const Json& value,
                         const std::string& path) { checkItems(argument, value, path); }},
    };
};

} // namespace

std::vector<std::string> schemaProblems(const Json& schema, const Json& document) {
    Validator validator(schema);
    validator.check(schema, document, "");
    return validator.takeProblems();
}

} // namespace Kiln::PrefabToolTests
