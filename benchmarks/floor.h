#pragma once

#include "floor_pool.h"
#include "workload_files.h"

#include <common/matrix.h>
#include <common/uuid.h>
#include <core/non_copyable.h>
#include <object_framework/game_object.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/// A hand-written creation without documents, overrides, general links, queries or reactions that must yield the same
/// result: a UUID per object, both maps, object slots, components in block pools, names and activation. It represents
/// the minimum cost of creating the objects.
namespace Kiln::Benchmarks {

struct FloorHierarchy final : FloorPooled<FloorHierarchy> {
    explicit FloorHierarchy(Tessel::GameObject itsParent) : parent(itsParent) {}

    Tessel::GameObject parent;
};

struct FloorTransform final : FloorPooled<FloorTransform> {
    explicit FloorTransform(const Matrix& matrix) : local(matrix), world(matrix) {}

    Matrix local;
    Matrix world;
};

struct FloorCargo final : FloorPooled<FloorCargo> {
    FloorCargo(const std::string& itsLabel, float itsMass, float itsVolume)
        : label(itsLabel), mass(itsMass), volume(itsVolume) {}

    std::string label;
    float mass;
    float volume;
};

struct FloorReference final : FloorPooled<FloorReference> {
    FloorReference(const std::string& itsResource, const Uuid& itsInstance)
        : resource(itsResource), instance(itsInstance) {}

    std::string resource;
    Uuid instance;
};

struct FloorObject {
    static constexpr std::uint32_t NONE = 0xFFFFFFFF;

    void add(FloorComponent& component) { components[componentsCount++] = &component; }

    Uuid uuid;
    std::string name;
    std::uint32_t flags = 0;
    bool isActive = false;
    std::uint8_t componentsCount = 0;
    std::uint32_t parent = NONE;
    std::uint32_t firstChild = NONE;
    std::uint32_t lastChild = NONE;
    std::uint32_t nextSibling = NONE;
    std::array<FloorComponent*, 4> components{};
};

/// Object slots in chunks that never move.
class FloorObjects : NonCopyable {
public:
    FloorObject& create() {
        if (m_size == m_chunks.size() * CHUNK) {
            m_chunks.push_back(std::make_unique<FloorObject[]>(CHUNK));
        }
        return at(m_size++);
    }

    [[nodiscard]] FloorObject& at(std::size_t index) { return m_chunks[index / CHUNK][index % CHUNK]; }
    [[nodiscard]] std::size_t size() const { return m_size; }

private:
    static constexpr std::size_t CHUNK = 512;

    std::vector<std::unique_ptr<FloorObject[]>> m_chunks;
    std::size_t m_size = 0;
};

/// The objects and components of one world.
class FloorWorld : NonCopyable {
public:
    using Map = std::unordered_map<Uuid, Tessel::GameObject>;

    /// Creates the objects of a document in the plain way: one step after the other for each object. Returns the root,
    /// which names its file and instance.
    Tessel::GameObject createPlain(const Workload& workload, const Uuid& instanceUuid);

    /// The same in the fastest form: creates all map nodes in one pass, merges instead of copying, and finds parents by
    /// index.
    Tessel::GameObject createBest(const Workload& workload, const Uuid& instanceUuid);

    [[nodiscard]] FloorObjects& objects() { return m_objects; }

private:
    struct Item;

    [[nodiscard]] static std::vector<Item> gather(const Workload& workload, const Uuid& instanceUuid);
    [[nodiscard]] Tessel::GameObject createObject();
    void describe(FloorObject& object, const Uuid& uuid, const Item& item);
    void attach(std::uint32_t child, Tessel::GameObject parent);
    void addComponents(FloorObject& object, const Item& item);
    void nameFile(FloorObject& root, const Workload& workload, const Uuid& instanceUuid);
    void activate(std::uint32_t root);

    FloorObjects m_objects;
    FloorPool<FloorHierarchy> m_hierarchies;
    FloorPool<FloorTransform> m_transforms;
    FloorPool<FloorCargo> m_cargoes;
    FloorPool<FloorReference> m_references;
};

} // namespace Kiln::Benchmarks
