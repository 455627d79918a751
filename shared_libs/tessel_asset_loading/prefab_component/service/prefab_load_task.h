#pragma once

#include <core/background_task.h>
#include <core/smart_pointer.h>
#include <resource/data_section.h>
#include <tessel_asset_loading/export.h>
#include <tessel_asset_loading/prefab_service_records.h>

#include <string>

namespace Kiln::Tessel {

/// Parses one prefab on a worker: by path into the service's cache, or from a section into `descriptor`.
class KILN_TESSEL_ASSET_LOADING_EXPORT PrefabLoadTask final : public BackgroundTask {
public:
    /// A load by path; `descriptor` is kept alive, but the result goes to the cache.
    PrefabLoadTask(std::string path, SmartPointer<DescriptorCacheData> descriptor, bool loadNested);

    /// A load from a section.
    PrefabLoadTask(SmartPointer<DataSection> section, SmartPointer<DescriptorCacheData> descriptor, bool loadNested);

    ~PrefabLoadTask() override;

    using BackgroundTask::doBackgroundTask;
    void doBackgroundTask(TaskManager& manager) override;

    /// Hands a task to the file-I/O workers.
    static void submit(SmartPointer<PrefabLoadTask> task);

private:
    SmartPointer<DataSection> m_section;
    std::string m_path;
    SmartPointer<DescriptorCacheData> m_descriptor;
    bool m_loadNested; ///< Also walk the nested prefabs and let components preload.
};

} // namespace Kiln::Tessel
