#include <build_paths.h>
#include <prefab_editing/canonical_form.h>
#include <prefab_inspection/composition/composition.h>
#include <resource/file_system_utils.h>
#include <support/temporary_directory.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Kiln::PrefabEditingTests {

namespace {

namespace fs = std::filesystem;

using PrefabInspection::ComposedValue;
using PrefabInspection::Composition;
using PrefabInspection::PrefabFiles;

void describeValues(const std::vector<ComposedValue>& values, const std::string& indentation, std::string& text) {
    for (const ComposedValue& value : values) {
        text += indentation + value.name + " = " + value.text + " (" + std::to_string(value.layers.size()) + ")\n";
        describeValues(value.children, indentation + "  ", text);
    }
}

/// Everything that the loader makes of a file: objects in the order of their creation, with all values.
[[nodiscard]] std::string describe(const std::string& path) {
    PrefabFiles files;
    const Composition composition(files, path, {Uuid(1, 2)});
    std::string text = composition.failure() ? composition.failure()->message + "\n" : "";
    for (const PrefabInspection::Place& problem : composition.problems()) {
        text += problem.file + ": " + problem.text + "\n";
    }
    for (std::size_t i = 0; i < composition.objects().size(); ++i) {
        const Composition::Object& object = composition.objects()[i];
        text += object.uuid.toString() + " " + composition.path(i) + " " + std::to_string(object.flags) + " " +
                std::to_string(object.parent) + "\n";
        for (const Composition::Component& component : composition.components(i)) {
            text += "  " + (component.stored ? component.stored->pool->type : std::string("added")) + "\n";
            describeValues(composition.values(i, component), "    ", text);
        }
    }
    return text;
}

/// Copies of the prefabs of a folder, which is the only resource root.
class KeptComposition : public testing::Test {
protected:
    void copy(const std::string& folder) {
        fs::copy(fs::path(KILN_SOURCE_DIR) / folder, m_directory.path(), fs::copy_options::recursive);
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(m_directory.path())) {
            if (entry.path().extension() == ".prefab" && entry.is_regular_file()) {
                m_paths.push_back(entry.path().lexically_relative(m_directory.path()).string());
            }
        }
        FS::Utils::addResourceRoot(m_directory.path().string());
    }

    ~KeptComposition() override { FS::Utils::clearResourceRoots(); }

    [[nodiscard]] std::string read(const std::string& path) const {
        std::ifstream stream(m_directory.path(path), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// Rewrites all files and expects that no composition has changed.
    void expectKept(std::size_t minimumCount) {
        std::vector<std::string> before;
        std::vector<std::string> forms;
        for (const std::string& path : m_paths) {
            before.push_back(describe(path));
        }
        std::size_t rewrittenCount = 0;
        for (const std::string& path : m_paths) {
            XmlProblem problem;
            if (const std::optional<std::string> form = PrefabEditing::canonicalForm(read(path), problem)) {
                m_directory.writeFile(path, *form);
                ++rewrittenCount;
            }
        }
        EXPECT_GE(rewrittenCount, minimumCount);
        for (std::size_t number = 0; number < m_paths.size(); ++number) {
            EXPECT_EQ(describe(m_paths[number]), before[number]) << m_paths[number];
        }
    }

    TestSupport::TemporaryDirectory m_directory;
    std::vector<std::string> m_paths;
};

TEST_F(KeptComposition, ofTheSamples) {
    copy("samples/harbour");
    expectKept(10);
}

TEST_F(KeptComposition, ofFilesWithFindings) {
    copy("tests/kiln_prefab/findings");
    expectKept(130);
}

TEST_F(KeptComposition, ofFilesWithMistakes) {
    copy("tests/kiln_prefab/mistakes");
    expectKept(20);
}

} // namespace

} // namespace Kiln::PrefabEditingTests
