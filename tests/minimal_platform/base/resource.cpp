#include <resource/data_section.h>
#include <resource/file_system_utils.h>
#include <resource/resource_text.h>

#include <map>
#include <mutex>
#include <utility>

namespace Kiln {

DataSection::~DataSection() = default;

SmartPointer<DataSection> DataSection::fromText(std::string_view /*text*/, const std::string& sourceName,
                                                std::string* problem) {
    if (problem) {
        *problem = sourceName + " is no tree";
    }
    return nullptr;
}

const DataSection* DataNode::section() const {
    if (!m_parent) {
        return m_root;
    }
    const auto count = static_cast<std::size_t>(m_parent->end() - m_parent->begin());
    return m_index < count ? m_parent->begin()[static_cast<std::ptrdiff_t>(m_index)].get() : nullptr;
}

DataNode DataNode::child(std::string_view name) const {
    DataNode node = firstChild();
    while (node && node.name() != name) {
        node = node.nextSibling();
    }
    return node;
}

SmartPointer<DataSection> parseXml(FileContent content, const std::string& /*sourceName*/, XmlProblem& problem) {
    if (!content.document) {
        problem.description = "there is no document";
    }
    return content.document;
}

SmartPointer<DataSection> DataSection::openSection(std::string_view name, bool create) {
    for (const SmartPointer<DataSection>& child : m_children) {
        if (child->sectionName() == name) {
            return child;
        }
    }
    return create ? newSection(name) : nullptr;
}

SmartPointer<DataSection> DataSection::newSection(std::string_view name) {
    m_children.push_back(makeSmart<DataSection>(name));
    return m_children.back();
}

std::string DataSection::readString(std::string_view name, std::string_view defaultValue) {
    const SmartPointer<DataSection> child = openSection(name, false);
    return child ? child->asString() : std::string(defaultValue);
}

namespace FS::Utils {

namespace {

struct Resources {
    std::mutex mutex; ///< Guards the map.
    std::map<std::string, SmartPointer<DataSection>> byPath;
};

[[nodiscard]] Resources& resources() {
    static auto* const resources = new Resources; // Workers may read until the process ends.
    return *resources;
}

} // namespace

void enterResource(const std::string& path, SmartPointer<DataSection> section) {
    const std::scoped_lock lock(resources().mutex);
    resources().byPath[path] = std::move(section);
}

SmartPointer<DataSection> openXmlSection(const std::string& path, bool /*callerReportsMissing*/) {
    const std::scoped_lock lock(resources().mutex);
    const auto found = resources().byPath.find(path);
    return found == resources().byPath.end() ? nullptr : found->second;
}

ResourceText readResource(const std::string& path) {
    ResourceText text;
    text.content.document = openXmlSection(path, true);
    text.status = text.content.document ? ResourceText::Status::READ : ResourceText::Status::MISSING;
    return text;
}

std::string resolveResourcePath(std::string_view /*path*/) {
    return {};
}

} // namespace FS::Utils

} // namespace Kiln
