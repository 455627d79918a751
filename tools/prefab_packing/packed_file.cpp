#include "packed_file.h"

#include "text_patch.h"

#include <prefab_editing/canonical_form.h>
#include <resource/plain_text.h>
#include <resource/resource_limits.h>
#include <resource/resource_pack.h>
#include <resource/resource_text.h>

#include <limits>
#include <utility>

namespace Kiln::PrefabPacking {

namespace {

[[nodiscard]] std::optional<PackDocument> encodeFile(std::string_view text, bool keepsPositions) {
    XmlProblem ignored;
    const std::optional<std::string> form = PrefabEditing::canonicalForm(text, ignored);
    if (!form) {
        return std::nullopt;
    }
    const SmartPointer<DataSection> section = parseXml(FileContent::copyOf(text), {}, ignored);
    std::optional<PackDocument> document = section ? PackDocument::fromSection(*section, keepsPositions) : std::nullopt;
    if (!document) {
        return std::nullopt;
    }
    const std::string plain = plainText(section->node());
    document->annex = makeTextPatch(plain, *form);
    const std::optional<std::string> made =
        applyTextPatch(plain, document->annex, std::numeric_limits<std::size_t>::max());
    return made == form ? std::move(document) : std::nullopt;
}

} // namespace

PackDocument packFile(const std::string& path, std::string_view text, bool keepsPositions) {
    std::optional<PackDocument> encoded = encodeFile(text, keepsPositions);
    PackDocument document = encoded ? std::move(*encoded) : PackDocument::fromText(std::string(text));
    document.path = path;
    document.sourceChecksum = sourceChecksum(text);
    return document;
}

std::optional<PackDocument> repackFile(const std::string& path, FileContent content, std::uint64_t sourceChecksum,
                                       bool keepsPositions) {
    if (!content.packed || hasPackedPositions(content) != keepsPositions) {
        return std::nullopt;
    }
    std::string annex(packedAnnex(content));
    XmlProblem ignored;
    const SmartPointer<DataSection> section = parseXml(std::move(content), {}, ignored);
    std::optional<PackDocument> document = section ? PackDocument::fromSection(*section, keepsPositions) : std::nullopt;
    if (document) {
        document->path = path;
        document->annex = std::move(annex);
        document->sourceChecksum = sourceChecksum;
    }
    return document;
}

std::optional<std::string> unpackFile(FileContent content, std::string& problem) {
    XmlProblem xmlProblem;
    if (!content.packed) {
        std::optional<std::string> form = PrefabEditing::canonicalForm(content.text(), xmlProblem);
        return form ? std::move(form) : std::optional(std::string(content.text()));
    }
    const std::string annex(packedAnnex(content));
    const SmartPointer<DataSection> section = parseXml(std::move(content), {}, xmlProblem);
    std::optional<std::string> text =
        section ? applyTextPatch(plainText(section->node()), annex, resourceLimits().fileSize) : std::nullopt;
    if (!text) {
        problem = "what the pack has about its text is damaged";
    }
    return text;
}

std::optional<std::string> unpackDocument(const ResourcePack& pack, std::size_t index, std::string& problem) {
    FileContent content;
    std::string reason;
    std::optional<std::string> text;
    if (pack.read(index, content, reason)) {
        text = unpackFile(std::move(content), reason);
    }
    if (!text) {
        problem = ("Cannot read '" + std::string(pack.document(index).path)).append("': ").append(reason);
    }
    return text;
}

} // namespace Kiln::PrefabPacking
