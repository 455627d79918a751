#pragma once

#include <resource/data_section.h>
#include <resource/pack_writer.h>
#include <resource/resource_text.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::TestSupport {

/// Packs all files of a folder whose names end in .prefab or .xml, with positions. Throws std::runtime_error.
inline void packFolder(const std::filesystem::path& folder, const std::string& packName, bool isCompressed) {
    std::vector<PackDocument> documents;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const std::filesystem::path& file = entry.path();
        if (!entry.is_regular_file() || (file.extension() != ".prefab" && file.extension() != ".xml")) {
            continue;
        }
        std::ifstream stream(file, std::ios::binary);
        std::string text{std::istreambuf_iterator<char>(stream), {}};
        XmlProblem problem;
        const SmartPointer<DataSection> section = parseXml(FileContent::copyOf(text), {}, problem);
        std::optional<PackDocument> document;
        if (section) {
            document = PackDocument::fromSection(*section, true);
        }
        documents.push_back(document ? std::move(*document) : PackDocument::fromText(std::move(text)));
        documents.back().path = file.lexically_relative(folder).generic_string();
    }
    PackOptions options;
    options.isCompressed = isCompressed;
    std::string problem;
    if (!writePack(packName, std::move(documents), options, problem)) {
        throw std::runtime_error("cannot write '" + packName + "': " + problem);
    }
}

} // namespace Kiln::TestSupport
