#include <object_framework/world.h>

#include <object_framework/entry_point.h>
#include <object_framework/query.h>

#include <algorithm>
#include <stdexcept>
#include <unordered_set>

namespace Kiln::Tessel {

World::World(int id) : m_manager(id) {}

World::~World() {
    fini();
}

void World::addStorage(ComponentTypeId type, std::unique_ptr<GenericComponentStorage> storage) {
    if (type >= m_storages.size()) {
        m_storages.resize(type + std::size_t{1});
    }
    if (!m_storages[type]) {
        m_storages[type] = std::move(storage);
    }
}

void World::refuseStorage(const std::type_info& component) {
    throw std::length_error("Components of type '" + readableTypeName(component) +
                            "' can't be stored: the registry of component types is full, and another type that does "
                            "not fit into it is stored already");
}

std::vector<GenericComponentStorage*> World::storages() const {
    std::vector<GenericComponentStorage*> storages;
    for (const std::unique_ptr<GenericComponentStorage>& storage : m_storages) {
        if (storage) {
            storages.push_back(storage.get());
        }
    }
    return storages;
}

void World::createReactiveManager(int managerId) {
    const ReactiveManagerRecord* const record = EntryPoint::instance().findReactiveManagerRecord(managerId);
    if (!record || findReactiveManager(managerId) || !record->options.hasAny(processRoles())) {
        return;
    }
    IReactiveManager& manager = *m_reactiveManagers.emplace_back(managerId, record->factory(nullptr)).second;
    manager.init(*this);
}

IReactiveManager* World::findReactiveManager(int managerId) const {
    for (const auto& [id, manager] : m_reactiveManagers) {
        if (id == managerId) {
            return manager.get();
        }
    }
    return nullptr;
}

int World::addTickReaction(std::string group, std::string name, std::function<void()> reaction) {
    return m_reactions.add(ReactionKind::TICK, std::move(group), std::move(name), std::move(reaction));
}

void World::removeTickReaction(int id) {
    if (ReactionId::kind(id) == ReactionKind::TICK) {
        m_reactions.remove(id);
    }
}

int World::addTriggerReaction(std::string group, std::string name, QueryBase& query,
                              std::function<void(GameObject object)> reaction) {
    const auto added = std::make_shared<std::vector<GameObject>>();
    const int listenerId = query.addAddedListener([added](GameObject object) { added->push_back(object); });
    const int id = m_reactions.add(ReactionKind::TRIGGER, std::move(group), std::move(name),
                                   [added, &query, reaction = std::move(reaction)] {
                                       std::unordered_set<GameObject> done; // An object may have left and re-entered.
                                       for (const GameObject object : std::exchange(*added, {})) {
                                           if (query.contains(object) && done.insert(object).second) {
                                               reaction(object);
                                           }
                                       }
                                   });
    m_triggers.emplace_back(id, Trigger{&query, listenerId});
    return id;
}

void World::removeTriggerReaction(int id) {
    const auto trigger = std::find_if(m_triggers.begin(), m_triggers.end(),
                                      [id](const auto& candidate) { return candidate.first == id; });
    if (trigger != m_triggers.end()) {
        trigger->second.query->removeAddedListener(trigger->second.listenerId);
        m_triggers.erase(trigger);
        m_reactions.remove(id);
    }
}

void World::runReactions() {
    m_reactions.run();
}

void World::fini() {
    while (!m_reactiveManagers.empty()) {
        m_reactiveManagers.back().second->fini(*this);
        m_reactiveManagers.pop_back();
    }
    m_manager.clear();
}

} // namespace Kiln::Tessel
