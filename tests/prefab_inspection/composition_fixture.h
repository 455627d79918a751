#pragma once

#include <prefab_inspection/composition/composition.h>
#include <resource/file_system_utils.h>
#include <support/log_capture.h>
#include <support/prefab_text.h>
#include <support/temporary_directory.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabInspection {

using TestSupport::element;
using TestSupport::id;
using TestSupport::OverridesText;
using TestSupport::PrefabText;

/// A directory for prefab files, which is the only resource root. Reading them must not log anything.
///
/// The tests use a "PlateComponent" with the properties text (string, default "plain"), width (int32, default 3), style
/// (structure of colour and size, strings), rows (vector of the same structure) and target (link).
class CompositionFixture : public testing::Test {
protected:
    CompositionFixture() { FS::Utils::addResourceRoot(m_directory.path().string()); }
    ~CompositionFixture() override {
        FS::Utils::clearResourceRoots();
        EXPECT_THAT(m_log.texts(), testing::IsEmpty());
    }

    void write(const std::string& name, const PrefabText& prefab) const { m_directory.writeFile(name, prefab.text()); }
    void write(const std::string& name, std::string_view text) const { m_directory.writeFile(name, text); }

    /// The composition of a file, with the instance UUID id(100).
    Composition& compose(const std::string& path, std::size_t objectsLimit = 1000) {
        m_composition.reset();
        m_files = std::make_unique<PrefabFiles>();
        m_composition = std::make_unique<Composition>(*m_files, path, Composition::Options{id(100), objectsLimit});
        return *m_composition;
    }

    [[nodiscard]] std::vector<std::string> paths() const {
        std::vector<std::string> result;
        for (std::size_t i = 0; i < m_composition->objects().size(); ++i) {
            result.push_back(m_composition->path(i));
        }
        return result;
    }

    [[nodiscard]] std::size_t find(const std::string& path) const {
        for (std::size_t i = 0; i < m_composition->objects().size(); ++i) {
            if (m_composition->path(i) == path) {
                return i;
            }
        }
        ADD_FAILURE() << "no object " << path;
        return 0;
    }

    [[nodiscard]] std::vector<std::string> componentTypes(const std::string& path) const {
        std::vector<std::string> types;
        for (const Composition::Component& component : m_composition->components(find(path))) {
            types.push_back(component.stored ? component.stored->pool->type : "added");
        }
        return types;
    }

    [[nodiscard]] std::vector<ComposedValue> values(const std::string& path, const std::string& type) const {
        for (const Composition::Component& component : m_composition->components(find(path))) {
            if (component.stored && component.stored->pool->type == type) {
                return m_composition->values(find(path), component);
            }
        }
        ADD_FAILURE() << path << " has no " << type;
        return {};
    }

    /// The text of a value; "?" if there is no such value.
    [[nodiscard]] std::string text(const std::string& path, const std::string& type,
                                   const std::string& property) const {
        const std::vector<ComposedValue> all = values(path, type);
        const ComposedValue* const value = findValue(all, property);
        return value ? value->text : "?";
    }

    /// The layers of a value, such as "override outer.prefab:7 = big, wins".
    [[nodiscard]] std::vector<std::string> layers(const std::string& path, const std::string& type,
                                                  const std::string& property) const {
        static constexpr const char* KINDS[] = {"default", "file", "loading", "override"};
        static constexpr const char* EFFECTS[] = {"wins", "overridden", "unreadable", "replaced"};
        std::vector<std::string> result;
        const std::vector<ComposedValue> all = values(path, type);
        const ComposedValue* const value = findValue(all, property);
        for (const ValueLayer& layer : value ? value->layers : std::vector<ValueLayer>()) {
            std::string line = KINDS[static_cast<std::size_t>(layer.kind)];
            if (layer.origin) {
                line += " " + *layer.origin.file + ":" + std::to_string(layer.origin.valueRange().line);
            }
            result.push_back(line + " = " + layer.text + ", " + EFFECTS[static_cast<std::size_t>(layer.effect)]);
        }
        return result;
    }

    [[nodiscard]] std::string failure() const {
        return m_composition->failure() ? m_composition->failure()->message : std::string();
    }

    [[nodiscard]] std::vector<std::string> problems() const { return texts(m_composition->problems()); }

    /// "file:line: text" of each place.
    [[nodiscard]] static std::vector<std::string> texts(const std::vector<Place>& places) {
        std::vector<std::string> result;
        for (const Place& place : places) {
            result.push_back(place.file + ":" + std::to_string(place.range.line) + ": " + place.text);
        }
        return result;
    }

    TestSupport::TemporaryDirectory m_directory;
    TestSupport::LogCapture m_log;
    std::unique_ptr<PrefabFiles> m_files;
    std::unique_ptr<Composition> m_composition; ///< Of the last compose().
};

} // namespace Kiln::PrefabInspection
