#include <prefab_inspection/checking/finding_writer.h>

#include <core/printable_text.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>
#include <prefab_inspection/checking/file_reading.h>
#include <resource/resource_text.h>

#include <algorithm>
#include <limits>
#include <unordered_map>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

constexpr std::size_t MAX_SOURCES = 8;
constexpr std::uint32_t NONE = std::numeric_limits<std::uint32_t>::max();

/// Names in front of the last ones are left out of longer paths.
constexpr std::size_t MAX_PATH_NAMES = 32;
constexpr std::size_t MAX_NAME_SIZE = 128;

/// The bytes of the text that contains the anchor's element.
[[nodiscard]] TextRange bytesOf(const Anchor& anchor, const SourceText& text) {
    switch (anchor.part) {
    case Anchor::Part::NAME:
        return text.nameRange(anchor.offset);
    case Anchor::Part::VALUE:
        return text.valueRange(anchor.offset);
    case Anchor::Part::BYTES:
        return {std::min(anchor.offset, text.text().size()), std::min(anchor.offset + anchor.size, text.text().size())};
    case Anchor::Part::POSITION: {
        const std::size_t offset = text.offsetAt(anchor.offset, anchor.size);
        return {offset, std::min(offset + 1, text.text().size())};
    }
    case Anchor::Part::FILE:
        break;
    }
    return {};
}

} // namespace

/// The text that contains the anchor's element. The source must have been read.
const SourceText& FindingWriter::textOf(const Anchor& anchor, Source& source) {
    std::shared_ptr<const SourceText> text = source.text;
    std::vector<std::size_t> path;
    for (const std::size_t element : anchor.embedding) {
        path.push_back(element);
        std::shared_ptr<const SourceText>& embedded = source.embedded[path];
        if (!embedded) {
            embedded = std::make_shared<const SourceText>(text, element);
        }
        text = embedded;
    }
    return *text;
}

FindingWriter::Source& FindingWriter::source(const std::string& path) {
    const auto known =
        std::find_if(m_sources.begin(), m_sources.end(), [&path](const Source& source) { return source.path == path; });
    if (known != m_sources.end()) {
        m_sources.splice(m_sources.begin(), m_sources, known);
        return m_sources.front();
    }
    if (m_sources.size() == MAX_SOURCES) {
        m_sources.pop_back();
    }
    Source& source = m_sources.emplace_front();
    source.path = path;
    const FS::Utils::ResourceText text = readContent(path, m_buffers);
    if (text.status == FS::Utils::ResourceText::Status::READ) {
        source.text = std::make_shared<const SourceText>(std::string(text.content.text()));
    }
    return source;
}

void FindingWriter::readDocument(Source& source) const {
    XmlProblem problem;
    const SmartPointer<DataSection> section =
        source.text ? parseXml(FileContent::copyOf(source.text->text()), source.path, problem) : nullptr;
    if (!section) {
        return;
    }
    source.document = std::make_unique<PrefabDocument>(section);
    const PrefabDocument& document = *source.document;
    source.parents.assign(document.objects.size(), NONE);
    std::unordered_map<Uuid, std::uint32_t> indices;
    for (std::uint32_t i = 0; i < document.objects.size(); ++i) {
        indices.emplace(document.objects[i].uuid, i);
    }
    const std::size_t hierarchy = ComponentLibrary::instance().findComponent(typeid(Tessel::HierarchyComponent));
    for (const StoredPool& pool : document.pools) {
        for (const StoredItem& item : pool.items) {
            if (pool.typeId != hierarchy || item.object.value >= document.objects.size()) {
                continue;
            }
            const std::optional<Uuid> parent = Uuid::fromString(item.properties.child("parent").text());
            const auto found = parent ? indices.find(*parent) : indices.end();
            source.parents[item.object.value] = found == indices.end() ? NONE : found->second;
        }
    }
}

std::string FindingWriter::objectPath(Source& source, std::uint32_t object) const {
    if (!source.document) {
        readDocument(source);
    }
    if (!source.document || object >= source.document->objects.size()) {
        return {};
    }
    std::vector<std::string> names;
    std::vector<std::uint32_t> visited;
    while (object != NONE && names.size() < MAX_PATH_NAMES &&
           std::find(visited.begin(), visited.end(), object) == visited.end()) {
        visited.push_back(object);
        names.push_back(shortenedText(source.document->objects[object].nameElement.text(), MAX_NAME_SIZE));
        object = source.parents[object];
    }
    const bool isCut = names.size() == MAX_PATH_NAMES && object != NONE;
    std::string path = isCut ? "…" : "";
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        path += (path.empty() ? "" : "/") + *name;
    }
    return path;
}

Place FindingWriter::write(const PendingPlace& pending) {
    Place place{pending.file, {}, pending.text};
    if (pending.anchor.part != Anchor::Part::FILE) {
        Source& file = source(pending.file);
        if (file.text) {
            const SourceText& text = textOf(pending.anchor, file);
            place.range = text.sourceRange(bytesOf(pending.anchor, text));
        }
    }
    return place;
}

Finding FindingWriter::write(PendingFinding pending) {
    Finding finding;
    finding.code = pending.code;
    finding.severity = pending.severity;
    finding.subject = std::move(pending.subject);
    finding.message = std::move(pending.message);
    finding.cure = std::move(pending.cure);
    for (const PendingPlace& place : pending.related) {
        finding.related.push_back(write(place));
    }
    Source& file = source(pending.file);
    if (pending.object != PendingFinding::NO_OBJECT) {
        finding.objectPath = objectPath(file, pending.object);
        if (file.document && pending.object < file.document->objects.size()) {
            finding.objectUuid = file.document->objects[pending.object].uuid;
        }
    }
    if (file.text && pending.anchor.part != Anchor::Part::FILE) {
        const SourceText& text = textOf(pending.anchor, file);
        const TextRange bytes = bytesOf(pending.anchor, text);
        finding.range = text.sourceRange(bytes);
        finding.sourceLine = file.text->sourceLine(finding.range);
        if (!pending.fixTitle.empty()) {
            const TextRange inFile = text.inFile(bytes);
            finding.fix = Fix{inFile.begin, inFile.end - inFile.begin, std::move(pending.replacement),
                              std::move(pending.fixTitle)};
        }
    }
    finding.file = std::move(pending.file);
    return finding;
}

} // namespace Kiln::PrefabInspection
