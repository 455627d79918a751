#include <prefab_inspection/composition/prefab_file.h>

#include <generic_components/transform_component.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>
#include <resource/resource_text.h>
#include <tessel_asset_loading/prefab_component.h>

#include <numeric>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

using FS::Utils::ResourceText;

[[nodiscard]] PrefabFile::Status statusOf(ResourceText::Status status) {
    switch (status) {
    case ResourceText::Status::READ:
        return PrefabFile::Status::READ;
    case ResourceText::Status::MISSING:
        return PrefabFile::Status::MISSING;
    case ResourceText::Status::OUTSIDE:
        return PrefabFile::Status::REFUSED;
    case ResourceText::Status::NOT_REGULAR:
    case ResourceText::Status::FAILED:
        break;
    }
    return PrefabFile::Status::UNREADABLE;
}

[[nodiscard]] std::string describe(PrefabFile::Status status, const std::string& problem) {
    if (status == PrefabFile::Status::MISSING) {
        return "is missing";
    }
    return problem.starts_with("is ") ? problem : "cannot be read: " + problem;
}

} // namespace

SourceRange Origin::elementRange() const {
    return text ? text->sourceRange(text->elementRange(element)) : SourceRange();
}

SourceRange Origin::valueRange() const {
    return text ? text->sourceRange(text->valueRange(element)) : SourceRange();
}

PrefabFile::PrefabFile(std::string resourcePath) : path(std::move(resourcePath)) {
    const ResourceText resource = FS::Utils::readResource(path);
    status = statusOf(resource.status);
    if (status == Status::READ) {
        parse(std::string(resource.content.text()));
    } else {
        problem = describe(status, resource.problem);
    }
    indexComponents();
}

PrefabFile::PrefabFile(std::string resourcePath, std::string content, PrefabDocument parsed)
    : path(std::move(resourcePath)),
      text(std::make_shared<SourceText>(std::move(content))),
      document(std::move(parsed)) {
    indexComponents();
}

PrefabFile::~PrefabFile() = default;

void PrefabFile::parse(std::string content) {
    text = std::make_shared<SourceText>(std::move(content));
    XmlProblem xmlProblem;
    SmartPointer<DataSection> section = parseXml(FileContent::copyOf(text->text()), path, xmlProblem);
    if (section) {
        document.emplace(std::move(section));
        return;
    }
    status = Status::NOT_WELL_FORMED;
    problem = "is not well formed: " + xmlProblem.description;
    const DataPosition position = xmlProblem.position;
    problemRange = {position.line, position.column, position.line, position.column};
}

void PrefabFile::indexComponents() {
    const std::size_t objectsCount = document ? document->objects.size() : 0;
    m_firstByObject.assign(objectsCount + 1, 0);
    if (!document) {
        return;
    }
    const auto forEach = [this, objectsCount](const auto& visit) {
        for (const StoredPool& pool : document->pools) {
            for (const StoredItem& item : pool.items) {
                if (item.object.value < objectsCount) {
                    visit(pool, item);
                }
            }
        }
    };
    forEach([this](const StoredPool& /*pool*/, const StoredItem& item) { ++m_firstByObject[item.object.value + 1]; });
    std::partial_sum(m_firstByObject.begin(), m_firstByObject.end(), m_firstByObject.begin());
    m_components.resize(m_firstByObject.back());
    std::vector<std::size_t> next = m_firstByObject;
    forEach([this, &next](const StoredPool& pool, const StoredItem& item) {
        m_components[next[item.object.value]++] = {&pool, &item, document->isRead(pool, item)};
    });
    for (std::size_t object = 0; object < objectsCount && !m_root; ++object) {
        if (isRoot(object)) {
            m_root = object;
        }
    }
}

std::span<const PrefabFile::Component> PrefabFile::components(std::size_t object) const {
    return std::span(m_components)
        .subspan(m_firstByObject[object], m_firstByObject[object + 1] - m_firstByObject[object]);
}

const PrefabFile::Component* PrefabFile::findComponent(std::size_t object, std::size_t typeId) const {
    for (const Component& component : components(object)) {
        if (component.isRead && component.pool->typeId == typeId) {
            return &component;
        }
    }
    return nullptr;
}

bool PrefabFile::isRoot(std::size_t object) const {
    return !findComponent(object, NestingTypes::get().hierarchy);
}

std::optional<std::size_t> PrefabFile::findRoot() const {
    return m_root;
}

PrefabFiles::PrefabFiles() = default;
PrefabFiles::~PrefabFiles() = default;

const PrefabFile& PrefabFiles::get(const std::string& path) {
    {
        const std::scoped_lock lock(m_mutex);
        const auto known = m_files.find(path);
        if (known != m_files.end()) {
            return *known->second;
        }
    }
    // Another thread may read the same file meanwhile. The first one that is done adds it.
    auto file = std::make_unique<PrefabFile>(path);
    const std::scoped_lock lock(m_mutex);
    return *m_files.try_emplace(path, std::move(file)).first->second;
}

void PrefabFiles::add(std::unique_ptr<PrefabFile> file) {
    const std::scoped_lock lock(m_mutex);
    m_files.try_emplace(file->path, std::move(file));
}

std::size_t PrefabFiles::count() const {
    const std::scoped_lock lock(m_mutex);
    return m_files.size();
}

const NestingTypes& NestingTypes::get() {
    static const NestingTypes s_types = [] {
        NestingTypes types;
        types.hierarchy = Tessel::NativeComponent<Tessel::HierarchyComponent>::getType();
        types.prefab = Tessel::NativeComponent<Tessel::PrefabComponent>::getType();
        types.transform = Tessel::NativeComponent<Tessel::TransformComponent>::getType();
        types.prefabName = ComponentLibrary::instance().componentName(types.prefab);
        types.hierarchyName = ComponentLibrary::instance().componentName(types.hierarchy);
        return types;
    }();
    return s_types;
}

} // namespace Kiln::PrefabInspection
