#pragma once

#include <core/non_copyable.h>
#include <prefab_inspection/checking/file_facts.h>
#include <prefab_inspection/checking/override_layers.h>
#include <prefab_inspection/checking/pending_finding.h>

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace Kiln::PrefabInspection {

/// The files of a check, by path.
using FileTable = std::map<std::string, FileFacts>;

/// A prefab that another one nests.
struct NestingEdge {
    std::string from;
    Anchor anchor; ///< The value that names the nested prefab.
    std::string to;
    std::uint32_t object = PendingFinding::NO_OBJECT; ///< The game object in `from` that has the value.
};

/// One prefab of a chain. The edge that leads to the next one may be in the override data of another file.
struct CycleStep {
    std::string prefab;
    NestingEdge edge;
};

/// A prefab with the overrides that reach it. All instances of a prefab that get the same overrides are one of these.
struct PrefabInstance {
    /// An integration point. Its prefab may be missing; then the loader leaves the point out.
    struct Point {
        std::uint32_t object;
        PrefabInstance* nested = nullptr;
        NestingEdge edge;
    };

    enum class State { NEW, ACTIVE, DONE };

    std::string path;
    const FileFacts* facts = nullptr;
    std::vector<const OverrideLayer*> layers; ///< In the order in which they apply.

    /// The integration point that the instance stands at; null and NO_OBJECT for a prefab that is loaded by itself.
    const FileFacts* outer = nullptr;
    std::uint32_t outerObject = PendingFinding::NO_OBJECT;

    /// Whether its root is the first object that the loader creates, to which the zero UUID in overrides refers.
    bool isFirst = false;

    std::vector<Point> points; ///< In the order of the file.

    State state = State::NEW;
    bool isEndless = false;         ///< Its nesting leads back to a prefab that nests it.
    int height = 0;                 ///< Levels of nested prefabs below it.
    std::uint64_t objectsCount = 0; ///< Without roots, with all nested prefabs.
    std::uint64_t overrideBytes = 0;

    [[nodiscard]] bool isTop() const noexcept { return !outer; }
    [[nodiscard]] const Point* findPoint(std::uint32_t object) const;

    /// Whether the loader makes an object of this one's own: not of a second root of a nested prefab.
    [[nodiscard]] bool isCreated(std::uint32_t object) const {
        return isTop() || !facts->objects[object].isRoot() || object == facts->root;
    }
};

/// All instances that some prefabs consist of, found without creating them. Owns them.
class PrefabInstances : NonCopyable {
public:
    explicit PrefabInstances(const FileTable& files) : m_files(files) {}

    /// Adds a prefab that is loaded by itself, which must be LOADED, and everything that is nested in it.
    const PrefabInstance& add(const std::string& path);

    [[nodiscard]] const std::vector<std::unique_ptr<PrefabInstance>>& all() const noexcept { return m_all; }

    /// The override texts that apply somewhere, or that the loader parses at least.
    [[nodiscard]] const std::vector<const OverrideLayer*>& usedLayers() const noexcept { return m_usedLayers; }

    /// Chains of nested prefabs that end where they begin.
    [[nodiscard]] const std::vector<std::vector<CycleStep>>& cycles() const noexcept { return m_cycles; }

private:
    using Key = std::tuple<std::string, std::vector<const OverrideLayer*>, const FileFacts*, std::uint32_t, bool>;
    struct Frame {
        PrefabInstance* instance;
        std::size_t nextPoint = 0;
    };

    [[nodiscard]] PrefabInstance* get(const std::string& path, std::vector<const OverrideLayer*> layers,
                                      const PrefabInstance* outer, std::uint32_t outerObject);
    void visit(PrefabInstance& top);
    void enter(PrefabInstance& instance);
    void enterPoint(PrefabInstance& instance, const NestingFacts& nesting);
    static void complete(PrefabInstance& instance);
    void addCycle(const std::vector<Frame>& frames, const PrefabInstance* first);

    const FileTable& m_files;
    OverrideLayers m_layers;
    std::map<Key, PrefabInstance*> m_byKey;
    std::vector<std::unique_ptr<PrefabInstance>> m_all;
    std::vector<const OverrideLayer*> m_usedLayers;
    std::vector<std::vector<CycleStep>> m_cycles;
};

} // namespace Kiln::PrefabInspection
