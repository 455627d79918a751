#include "stress_files.h"

#include <resource/file_system_utils.h>
#include <support/prefab_text.h>

#include <array>
#include <filesystem>
#include <system_error>

namespace Kiln::StreamingStress {

namespace {

using TestSupport::element;
using TestSupport::id;
using TestSupport::OverridesText;
using TestSupport::PrefabText;

constexpr int LEAVES = 3;
constexpr int BRANCHES = 4;
constexpr int TRUNKS = 4;
constexpr int LINKS_OF_CHAIN = 9; ///< More than the depth limit allows.

[[nodiscard]] std::string numbered(const char* name, int number) {
    return name + std::to_string(number) + ".prefab";
}

/// A root with the component, whose colour is the version.
[[nodiscard]] PrefabText rootOf(const char* name, unsigned version) {
    PrefabText prefab;
    const std::size_t root = prefab.root(id(1), name);
    prefab.component("StressComponent", root, element("colour", std::to_string(version)));
    return prefab;
}

[[nodiscard]] PrefabText leaf(unsigned version) {
    PrefabText prefab = rootOf("Leaf", version);
    for (unsigned child = 0; child < 1 + version % 3; ++child) {
        prefab.child(id(2 + child), "Vein", id(1));
    }
    return prefab;
}

/// A branch nests two leaves, one with an override.
[[nodiscard]] PrefabText branch(int number, unsigned version) {
    PrefabText prefab = rootOf("Branch", version);
    prefab.nested(id(2), "Plain leaf", id(1), numbered("leaf", number % LEAVES));
    prefab.nested(id(3), "Red leaf", id(1), numbered("leaf", (number + 1) % LEAVES),
                  OverridesText().record(id(1), "StressComponent", element("colour", "7")).text());
    return prefab;
}

/// A trunk nests two branches, and replaces a leaf in one of them by another leaf.
[[nodiscard]] PrefabText trunk(int number, unsigned version) {
    PrefabText prefab = rootOf("Trunk", version);
    prefab.nested(id(2), "Lower branch", id(1), numbered("branch", number % BRANCHES));
    const std::string replaced = numbered("leaf", static_cast<int>(version % LEAVES));
    prefab.nested(id(3), "Upper branch", id(1), numbered("branch", (number + 1) % BRANCHES),
                  OverridesText().record(id(2), "PrefabComponent", element("resource", replaced)).text());
    if (version % 2 == 1) {
        prefab.child(id(4), "Nest", id(1));
    }
    return prefab;
}

[[nodiscard]] PrefabText large(unsigned version) {
    PrefabText prefab = rootOf("Forest", version);
    for (std::size_t tree = 1; tree < StressFiles::LARGE_COUNT; ++tree) {
        const std::size_t index = prefab.child(id(tree + 1), "Tree", id(tree / 10 + 1));
        prefab.component("StressComponent", index, element("colour", std::to_string(version)));
    }
    return prefab;
}

/// A prefab that nests one other.
[[nodiscard]] PrefabText nesting(const std::string& path) {
    PrefabText prefab = rootOf("Ring", 0);
    prefab.nested(id(2), "Next", id(1), path);
    return prefab;
}

/// Which of the files that change is meant, by a number from 0.
struct Changing {
    std::string path;
    PrefabText (*make)(int number, unsigned version);
    int number;
};

[[nodiscard]] std::vector<Changing> changingFiles() {
    std::vector<Changing> files;
    for (int number = 0; number < LEAVES; ++number) {
        files.push_back({numbered("leaf", number), [](int, unsigned version) { return leaf(version); }, number});
    }
    for (int number = 0; number < BRANCHES; ++number) {
        files.push_back({numbered("branch", number), &branch, number});
    }
    for (int number = 0; number < TRUNKS; ++number) {
        files.push_back({numbered("trunk", number), &trunk, number});
    }
    files.push_back({"large.prefab", [](int, unsigned version) { return large(version); }, 0});
    return files;
}

} // namespace

StressFiles::StressFiles(const TestSupport::TemporaryDirectory& directory) : m_directory(directory) {
    FS::Utils::clearResourceRoots();
    FS::Utils::addResourceRoot(directory.path().string());
    restore();
    for (int copies = 0; copies < 3; ++copies) { // More often than the paths that cannot be loaded.
        for (const Changing& file : changingFiles()) {
            m_paths.push_back(file.path);
        }
    }
    m_paths.insert(m_paths.end(), {"missing.prefab", "ring0.prefab", "chain0.prefab", "../outside.prefab", ""});
}

const std::string& StressFiles::anyPath(std::mt19937& random) const {
    return m_paths[random() % m_paths.size()];
}

void StressFiles::change(std::mt19937& random) {
    static const std::vector<Changing> files = changingFiles();
    const Changing& file = files[random() % files.size()];
    const auto version = static_cast<unsigned>(random() % 100);
    const PrefabText sound = file.make(file.number, version);
    const std::string text = sound.text();
    const bool isAtOnce = random() % 2 == 0;
    switch (random() % 12) {
    case 0:
        write(file.path, text.substr(0, text.size() / 2), isAtOnce);
        break;
    case 1:
        write(file.path, "", isAtOnce);
        break;
    case 2:
        write(file.path, PrefabText(sound).formatVersion(99).text(), isAtOnce);
        break;
    case 3:
        write(file.path, PrefabText().text(), isAtOnce);
        break;
    case 4:
        write(file.path, PrefabText(sound).component("UnknownComponent", 0).text(), isAtOnce);
        break;
    case 5:
        write(file.path, nesting(file.path).text(), isAtOnce);
        break;
    case 6: {
        std::error_code ignored; // It may have been deleted before.
        std::filesystem::remove(m_directory.path(file.path), ignored);
        break;
    }
    default:
        write(file.path, text, isAtOnce);
    }
}

void StressFiles::restore() const {
    for (const Changing& file : changingFiles()) {
        write(file.path, file.make(file.number, 0).text(), true);
    }
    write("ring0.prefab", nesting("ring1.prefab").text(), true);
    write("ring1.prefab", nesting("ring0.prefab").text(), true);
    for (int link = 0; link < LINKS_OF_CHAIN; ++link) {
        write(numbered("chain", link), nesting(numbered("chain", link + 1)).text(), true);
    }
    write(numbered("chain", LINKS_OF_CHAIN), leaf(0).text(), true);
}

/// Replaces a file by renaming a complete one, or writes it in place, so that workers can see a part of it.
void StressFiles::write(const std::string& path, const std::string& text, bool isAtOnce) const {
    if (!isAtOnce) {
        m_directory.writeFile(path, text);
        return;
    }
    const std::filesystem::path complete = m_directory.writeFile("complete.part", text);
    std::filesystem::rename(complete, m_directory.path() / path);
}

} // namespace Kiln::StreamingStress
