#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <tessel_asset_loading/prefab_service.h>
#include <tessel_streaming/service/streaming_service.h>

#include <memory>

namespace Kiln::Tessel::Streaming::detail {

namespace {

/// Registers the service while the library is being loaded, after the module that it depends on. Its destructor, at
/// exit, joins the workers.
class StartUp {
public:
    StartUp() {
        EntryPoint& entryPoint = EntryPoint::instance();
        if (auto* const prefabs = entryPoint.getService<PrefabService>()) {
            entryPoint.registerService(typeid(StreamingService),
                                       std::make_unique<StreamingService>(*prefabs, FileIOTaskManager::instance()));
        }
    }

private:
    FileIOTaskManager::ExitGuard m_exitGuard;
};

const StartUp s_startUp;

} // namespace

} // namespace Kiln::Tessel::Streaming::detail

// Programs that link the static library refer to it, so that the linker takes this source.
extern "C" void kilnStreamingStartUp() {}
