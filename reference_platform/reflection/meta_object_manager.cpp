#include <reflection/meta_object.h>

#include <core/shared_object.h>

#include <mutex>
#include <shared_mutex>
#include <unordered_map>
#include <utility>

namespace mirra {

struct MetaObjectManager::State {
    std::shared_mutex mutex; ///< Guards both maps. No other lock is taken under it.
    std::unordered_map<std::type_index, std::unique_ptr<const BaseStaticMetaObject>> byType;
    std::unordered_map<std::string_view, const BaseStaticMetaObject*>
        byName; ///< Keys refer to the names in the descriptions.
};

MetaObjectManager::MetaObjectManager() : m_state(std::make_unique<State>()) {}

MetaObjectManager::~MetaObjectManager() = default;

MetaObjectManager& MetaObjectManager::instance() {
    // Never destroyed, so that static objects of every library can use it.
    static MetaObjectManager* const manager = new MetaObjectManager;
    return *manager;
}

const BaseStaticMetaObject& MetaObjectManager::registerType(std::unique_ptr<BaseStaticMetaObject> metaObject) {
    Kiln::pinCaller();
    const std::unique_lock lock(m_state->mutex);
    const std::type_index type = metaObject->type();
    const auto [entry, isNew] = m_state->byType.try_emplace(type, std::move(metaObject));
    const BaseStaticMetaObject& registered = *entry->second;
    if (isNew) {
        m_state->byName.try_emplace(registered.name(), &registered);
    }
    return registered;
}

const BaseStaticMetaObject* MetaObjectManager::findType(std::type_index type) const {
    const std::shared_lock lock(m_state->mutex);
    const auto found = m_state->byType.find(type);
    return found == m_state->byType.end() ? nullptr : found->second.get();
}

const BaseStaticMetaObject* MetaObjectManager::findType(std::string_view name) const {
    const std::shared_lock lock(m_state->mutex);
    const auto found = m_state->byName.find(name);
    return found == m_state->byName.end() ? nullptr : found->second;
}

} // namespace mirra
