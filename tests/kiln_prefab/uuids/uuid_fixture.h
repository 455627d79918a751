#pragma once

#include <kiln_prefab/uuids/uuid_renaming.h>
#include <prefab_inspection/checking/checker.h>
#include <prefab_inspection/composition/composition.h>
#include <resource/file_system_utils.h>
#include <support/log_capture.h>
#include <support/prefab_text.h>
#include <support/temporary_directory.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabTool {

using PrefabInspection::Composition;
using PrefabInspection::PrefabFiles;
using TestSupport::cdata;
using TestSupport::element;
using TestSupport::id;
using TestSupport::OverridesText;
using TestSupport::PrefabText;

/// A directory for prefab files, which is the only resource root.
class UuidFixture : public testing::Test {
protected:
    /// The new UUID in the place of an old one is combine(this, old).
    static constexpr Uuid SEED{0xABCD, 0xEF01};

    UuidFixture() { FS::Utils::addResourceRoot(m_directory.path().string()); }
    ~UuidFixture() override { FS::Utils::clearResourceRoots(); }

    void write(const std::string& name, const PrefabText& prefab) const { m_directory.writeFile(name, prefab.text()); }
    void write(const std::string& name, std::string_view text) const { m_directory.writeFile(name, text); }

    [[nodiscard]] std::string read(const std::string& name) const {
        std::ifstream stream(m_directory.path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    [[nodiscard]] static Uuid renamed(const Uuid& old) { return Uuid::combine(SEED, old); }

    /// Renames the objects of a file and writes the changed files.
    UuidRenaming rename(const std::string& path, const std::vector<std::string>& others = {}) const {
        PrefabFiles files;
        UuidRenaming renaming = renameUuids(files, path, others, [](const Uuid& old) { return renamed(old); });
        for (const UuidRenaming::File& file : renaming.files) {
            m_directory.writeFile(file.path, file.text.text());
        }
        return renaming;
    }

    /// What an instance of a prefab is apart from UUIDs: a line for each object and value. Links are shown as the index
    /// of their target.
    [[nodiscard]] static std::vector<std::string> shapeOf(const std::string& path) {
        PrefabFiles files;
        const Composition composition(files, path, {id(100)});
        std::vector<std::string> shape;
        if (composition.failure()) {
            shape.push_back(composition.failure()->message);
        }
        for (std::size_t object = 0; object < composition.objects().size(); ++object) {
            shape.push_back(composition.path(object) + " below " +
                            std::to_string(composition.objects()[object].parent));
            for (const Composition::Component& component : composition.components(object)) {
                const std::string type = component.stored ? component.stored->pool->type : "added";
                for (const PrefabInspection::ComposedValue& value : composition.values(object, component)) {
                    addShape(composition, object, type + "." + value.name, value, shape);
                }
            }
        }
        return shape;
    }

    /// The codes of the findings of files, sorted.
    [[nodiscard]] static std::vector<std::string> findings(const std::vector<std::string>& paths) {
        std::vector<std::string> texts;
        for (const PrefabInspection::Finding& finding : PrefabInspection::checkPrefabs(paths).findings) {
            texts.push_back(finding.file + " " + std::to_string(static_cast<int>(finding.code)) + " at " +
                            std::to_string(finding.range.line));
        }
        return texts;
    }

    TestSupport::TemporaryDirectory m_directory;
    TestSupport::LogCapture m_log;

private:
    static void addShape(const Composition& composition, std::size_t object, const std::string& name,
                         const PrefabInspection::ComposedValue& value, std::vector<std::string>& shape) {
        for (std::size_t i = 0; i < value.children.size(); ++i) {
            addShape(composition, object, name + "/" + std::to_string(i), value.children[i], shape);
        }
        // The parent of an integration point and override data have UUIDs of other spaces; the objects show both.
        if (name == "HierarchyComponent.parent" || name == "PrefabComponent.overridesData") {
            return;
        }
        if (value.kind == mirra::ValueKind::LINK) {
            const Uuid link = Uuid::fromString(value.text).value_or(Uuid::ZERO);
            shape.push_back(name + " -> " + std::to_string(composition.resolveLink(object, link)));
        } else {
            shape.push_back(name + " = " + value.text);
        }
    }
};

} // namespace Kiln::PrefabTool
