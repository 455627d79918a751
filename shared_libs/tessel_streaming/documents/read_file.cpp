#include <tessel_streaming/documents/read_file.h>

#include <core/formatter.h>
#include <core/log.h>
#include <core/task_manager.h>
#include <object_serialization/component_library.h>
#include <object_serialization/prefab_format.h>
#include <object_serialization/typed_component_descriptor.h>
#include <resource/file_system_utils.h>
#include <resource/resource_text.h>
#include <tessel_asset_loading/game_object_prefab/document_name.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_service.h>
#include <tessel_streaming/documents/override_resources.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <memory>
#include <new>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

using Clock = std::chrono::steady_clock;
using FS::Utils::ResourceText;

[[nodiscard]] std::chrono::microseconds timeSince(Clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
}

void addFailure(LoadedFile& file, FailureCode code, std::string message, std::size_t line = 0) {
    LoadFailure& failure = file.failures.emplace_back();
    failure.code = code;
    failure.file = file.path;
    failure.line = line;
    failure.message = std::move(message);
}

void addReadFailure(LoadedFile& file, const ResourceText& text) {
    switch (text.status) {
    case ResourceText::Status::MISSING:
        addFailure(file, FailureCode::MISSING_FILE, "The file does not exist.");
        break;
    case ResourceText::Status::OUTSIDE:
        addFailure(file, FailureCode::OUTSIDE_OF_ROOTS, "The path is refused: " + text.problem + ".");
        break;
    case ResourceText::Status::NOT_REGULAR:
    case ResourceText::Status::FAILED:
    case ResourceText::Status::READ:
        addFailure(file, FailureCode::UNREADABLE_FILE, "The file cannot be read: " + text.problem + ".");
        break;
    }
}

/// Null, with a failure, if the text is no XML document.
[[nodiscard]] SmartPointer<DataSection> parseDocument(LoadedFile& file, FileContent content) {
    XmlProblem problem;
    SmartPointer<DataSection> document = parseXml(std::move(content), file.path, problem);
    if (!document) {
        addFailure(file, FailureCode::MALFORMED_FILE,
                   formatText("The file is not well-formed XML (column %zu): %s.", problem.position.column,
                              problem.description.c_str()),
                   problem.position.line);
    }
    return document;
}

/// The messages of the document about one file.
struct Problems {
    std::vector<std::string> unknownComponents;
    std::vector<std::string> others;

    void add(const std::string& message) {
        constexpr std::string_view CONTEXT_END = ". "; // After the context, which is empty.
        constexpr std::string_view UNKNOWN = "Cannot found component: ";
        std::string_view text = message;
        if (text.starts_with(CONTEXT_END)) {
            text.remove_prefix(CONTEXT_END.size());
        }
        if (!text.starts_with(UNKNOWN)) {
            others.emplace_back(text);
            return;
        }
        text.remove_prefix(UNKNOWN.size());
        if (std::find(unknownComponents.begin(), unknownComponents.end(), text) == unknownComponents.end()) {
            unknownComponents.emplace_back(text);
        }
    }
};

/// Whether a document of the right version lists its game objects, and there are none.
[[nodiscard]] bool isEmptyPrefab(const SmartPointer<DataSection>& document) {
    PrefabFormat format(document);
    if (format.getFormatVersion() != PrefabFormat::FORMAT_VERSION) {
        return false;
    }
    const GameObjectPool* const gameObjects = format.getGameObjects();
    return gameObjects && gameObjects->gameObjectsCount() == 0;
}

void addDocumentFailure(LoadedFile& file, const SmartPointer<DataSection>& document, const Problems& problems) {
    if (problems.others.empty() || isEmptyPrefab(document)) {
        addFailure(file, FailureCode::EMPTY_PREFAB, "The prefab has no game objects.");
    } else {
        addFailure(file, FailureCode::NOT_A_PREFAB, problems.others.back()); // The fatal one is the last.
    }
}

/// Null, with a failure, if the document is unusable. What it skips otherwise is logged as a load by the service does.
[[nodiscard]] std::unique_ptr<GameObjectPrefab> makePrefab(LoadedFile& file,
                                                           const SmartPointer<DataSection>& document) {
    Problems problems;
    DeseriralizeErrorHandler handler{{}, [&problems](const std::string& message) { problems.add(message); }};
    std::unique_ptr<GameObjectPrefab> prefab = GameObjectPrefab::loadHierarchy(document, &handler);
    if (prefab->isEmpty()) {
        addDocumentFailure(file, document, problems);
        return nullptr;
    }
    file.unknownComponents = std::move(problems.unknownComponents);
    for (const std::string& problem : problems.others) {
        DebugMessageHelper(0, LogSeverity::ERROR, "", "tessel_streaming/documents").message("%s", problem.c_str());
    }
    if (const SmartPointer<GameObjectDescriptor> root = prefab->findRootGameObject()) {
        Tessel::detail::setDocumentName(*root, file.path);
    }
    return prefab;
}

[[nodiscard]] std::string preloadProblem(const GameObjectDescriptor& node, const IComponentDescriptor& component,
                                         const char* reason) {
    return formatText("The component '%s' of the game object '%s' threw an exception while it preloaded its data: %s",
                      component.name().c_str(), std::string(node.name()).c_str(), reason);
}

/// Lets the components load their data. False, with a failure, if one of them throws.
[[nodiscard]] bool preload(LoadedFile& file, const GameObjectPrefab& prefab) {
    const BackgroundTaskThread* const worker = BackgroundTaskThread::current();
    for (std::size_t i = 0; i < prefab.nodesCount(); ++i) {
        if (worker && worker->isStopping()) {
            return true; // Nothing is created any more.
        }
        const SmartPointer<GameObjectDescriptor> node = prefab.getGameObject(i);
        for (const SmartPointer<IComponentDescriptor>& component : node->components()) {
            try {
                component->preload();
            } catch (const std::bad_alloc&) {
                throw;
            } catch (const std::exception& exception) {
                addFailure(file, FailureCode::COMPONENT_THREW, preloadProblem(*node, *component, exception.what()));
                return false;
            } catch (...) {
                addFailure(file, FailureCode::COMPONENT_THREW, preloadProblem(*node, *component, "unknown exception"));
                return false;
            }
        }
    }
    return true;
}

/// Null, with a failure, if there is no usable document.
[[nodiscard]] std::unique_ptr<GameObjectPrefab> parsePrefab(LoadedFile& file, FileContent content) {
    try {
        const SmartPointer<DataSection> document = parseDocument(file, std::move(content));
        std::unique_ptr<GameObjectPrefab> prefab = document ? makePrefab(file, document) : nullptr;
        return prefab && preload(file, *prefab) ? std::move(prefab) : nullptr;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& exception) {
        addFailure(file, FailureCode::COMPONENT_THREW,
                   formatText("A component threw an exception while the file was read: %s", exception.what()));
    } catch (...) {
        addFailure(file, FailureCode::COMPONENT_THREW,
                   "A component threw an exception while the file was read: unknown exception");
    }
    return nullptr;
}

/// Null, with a failure, if there is no usable document.
[[nodiscard]] std::unique_ptr<GameObjectPrefab> readPrefab(LoadedFile& file) {
    if (file.path.empty()) {
        addFailure(file, FailureCode::INVALID_PATH, "The path is empty.");
        return nullptr;
    }
    const Clock::time_point start = Clock::now();
    ResourceText text = FS::Utils::readResource(file.path);
    file.readTime = timeSince(start);
    if (text.status != ResourceText::Status::READ) {
        addReadFailure(file, text);
        return nullptr;
    }
    const Clock::time_point parsingStart = Clock::now();
    std::unique_ptr<GameObjectPrefab> prefab = parsePrefab(file, std::move(text.content));
    file.parseTime = timeSince(parsingStart);
    return prefab;
}

/// Lists what the document of the file may nest. The service may share the document with other threads, so only the
/// prefab's own values are read.
void listNested(LoadedFile& file) {
    const GameObjectPrefab& prefab = *file.prefab();
    std::vector<std::string> resources;
    std::unordered_set<std::string> known{{}};
    for (std::size_t i = 0; i < prefab.nodesCount(); ++i) {
        const SmartPointer<GameObjectDescriptor> node = prefab.getGameObject(i);
        const ComponentDescriptor<PrefabComponent>* const component = findPrefabDescriptor(*node);
        if (!component || !node->parentLink()) {
            continue;
        }
        resources.clear();
        resources.push_back(component->prefabProperties().resource);
        appendOverrideResources(component->prefabProperties().overridesData, resources);
        for (std::string& resource : resources) {
            if (known.insert(resource).second) {
                file.nested.push_back(std::move(resource));
            }
        }
    }
}

[[nodiscard]] SmartPointer<LoadedFile> newFile(const std::string& path, const FileStamp& stamp) {
    SmartPointer<LoadedFile> file = makeSmart<LoadedFile>();
    file->path = path;
    file->stamp = stamp;
    return file;
}

/// Makes an entry that is not in the service's cache the file's one.
void setPrivateEntry(LoadedFile& file, std::unique_ptr<GameObjectPrefab> prefab) {
    file.entry = makeSmart<DescriptorCacheData>();
    file.entry->prefab.publish(std::move(prefab));
}

[[nodiscard]] bool hasEmptyDocument(const DescriptorCacheData& entry) {
    return entry.prefab && entry.prefab->isEmpty();
}

/// Publishes a document, or takes the one that another thread has published in the meantime.
void publish(LoadedFile& file, std::unique_ptr<GameObjectPrefab> prefab, PrefabService& service) {
    auto [entry, isNew] = service.sharePrefabData(file.path, std::move(prefab));
    if (hasEmptyDocument(*entry)) {
        addFailure(file, FailureCode::EMPTY_PREFAB, "The prefab has no game objects.");
        return;
    }
    file.entry = std::move(entry);
    file.isInsertedEntry = isNew;
}

/// Lists the pools that the parser of a cached document must have skipped: the document does not know them. The list
/// stays empty if the file cannot be read any more.
void listUnknownComponents(LoadedFile& file) {
    ResourceText text = FS::Utils::readResource(file.path);
    if (text.status != ResourceText::Status::READ) {
        return;
    }
    XmlProblem problem;
    PrefabFormat format(parseXml(std::move(text.content), file.path, problem));
    ComponentPoolStorage* const pools = format.getComponents();
    for (std::size_t i = 0; pools && i < pools->poolsCount(); ++i) {
        const std::string& type = pools->getComponentPool(i).getComponentType();
        if (ComponentLibrary::instance().findComponent(type) == ComponentLibrary::INVALID_ID &&
            std::find(file.unknownComponents.begin(), file.unknownComponents.end(), type) ==
                file.unknownComponents.end()) {
            file.unknownComponents.push_back(type);
        }
    }
}

void takeCached(LoadedFile& file, SmartPointer<DescriptorCacheData> cached) {
    file.entry = std::move(cached);
    file.isCacheHit = true;
    if (file.stamp.exists) {
        file.stamp.modified = FileStamp::UNKNOWN_TIME;
    }
    listUnknownComponents(file);
}

void takeOrRead(LoadedFile& file, PrefabService& service) {
    SmartPointer<DescriptorCacheData> cached = service.findSharedPrefab(file.path);
    if (cached && cached->prefab && !cached->prefab->isEmpty()) {
        takeCached(file, std::move(cached));
    } else if (std::unique_ptr<GameObjectPrefab> prefab = readPrefab(file)) {
        if (cached && hasEmptyDocument(*cached)) {
            setPrivateEntry(file, std::move(prefab));
        } else {
            publish(file, std::move(prefab), service);
        }
    }
    if (file.entry) {
        listNested(file);
    }
}

} // namespace

FileStamp stampOf(const std::string& path) {
    FileStamp stamp;
    const std::filesystem::path name = FS::Utils::resolveResourcePath(path);
    std::error_code error;
    if (name.empty() || !std::filesystem::is_regular_file(name, error)) {
        return stamp;
    }
    const std::uintmax_t bytes = std::filesystem::file_size(name, error);
    if (error) {
        return stamp;
    }
    const std::filesystem::file_time_type modified = std::filesystem::last_write_time(name, error);
    if (error) {
        return stamp;
    }
    stamp.bytes = bytes;
    stamp.modified = std::chrono::duration_cast<std::chrono::nanoseconds>(modified.time_since_epoch()).count();
    stamp.exists = true;
    return stamp;
}

SmartPointer<LoadedFile> readFile(const std::string& path, PrefabService& service) {
    try {
        return readFile(path, stampOf(path), service);
    } catch (const std::bad_alloc&) {
        return outOfMemory(path);
    }
}

SmartPointer<LoadedFile> readFile(const std::string& path, const FileStamp& stamp, PrefabService& service) {
    SmartPointer<LoadedFile> file;
    try {
        file = newFile(path, stamp);
        takeOrRead(*file, service);
        return file;
    } catch (const std::bad_alloc&) {
        if (file && file->isInsertedEntry) {
            service.dropSharedPrefab(path, *file->entry);
        }
        return outOfMemory(path);
    }
}

SmartPointer<LoadedFile> readFileAside(const std::string& path) {
    try {
        SmartPointer<LoadedFile> file = newFile(path, stampOf(path));
        if (std::unique_ptr<GameObjectPrefab> prefab = readPrefab(*file)) {
            setPrivateEntry(*file, std::move(prefab));
            listNested(*file);
        }
        return file;
    } catch (const std::bad_alloc&) {
        return outOfMemory(path);
    }
}

SmartPointer<LoadedFile> failedFile(const std::string& path, FailureCode code, std::string message) {
    SmartPointer<LoadedFile> file = newFile(path, {});
    addFailure(*file, code, std::move(message));
    return file;
}

SmartPointer<LoadedFile> outOfMemory(const std::string& path) {
    return failedFile(path, FailureCode::OUT_OF_MEMORY, "There is not enough memory to read the file.");
}

} // namespace Kiln::Tessel::Streaming::detail
