#include <tessel_asset_loading/prefab_component/service/prefab_load_task.h>

#include <core/profiler.h>
#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <tessel_asset_loading/game_object_prefab/background_priority.h>
#include <tessel_asset_loading/prefab_service.h>

#include <utility>

namespace Kiln::Tessel {

namespace {
constexpr const char* TASK_NAME = "GameObjectLoadTask";
} // namespace

PrefabLoadTask::PrefabLoadTask(std::string path, SmartPointer<DescriptorCacheData> descriptor, bool loadNested)
    : BackgroundTask(TASK_NAME),
      m_path(std::move(path)),
      m_descriptor(std::move(descriptor)),
      m_loadNested(loadNested) {}

PrefabLoadTask::PrefabLoadTask(SmartPointer<DataSection> section, SmartPointer<DescriptorCacheData> descriptor,
                               bool loadNested)
    : BackgroundTask(TASK_NAME),
      m_section(std::move(section)),
      m_descriptor(std::move(descriptor)),
      m_loadNested(loadNested) {}

PrefabLoadTask::~PrefabLoadTask() = default;

void PrefabLoadTask::doBackgroundTask(TaskManager& /*manager*/) {
    const ProfilerScope scope("Kiln::Tessel::PrefabLoadTask::doBackgroundTask");
    if (!m_path.empty()) {
        EntryPoint::instance().getService<PrefabService>()->cachePrefabData(m_path, m_loadNested);
        return;
    }
    m_descriptor->prefab.publish(GameObjectPrefab::loadHierarchy(m_section, nullptr));
    if (m_descriptor->prefab && m_loadNested) {
        m_descriptor->prefab->backgroundLoad(0);
    }
}

void PrefabLoadTask::submit(SmartPointer<PrefabLoadTask> task) {
    FileIOTaskManager::instance().addBackgroundTask(std::move(task), detail::BACKGROUND_PRIORITY);
}

} // namespace Kiln::Tessel
