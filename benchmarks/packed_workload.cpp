#include "packed_workload.h"

#include "workload_files.h"

#include <resource/data_section.h>
#include <resource/pack_writer.h>

#include <filesystem>
#include <stdexcept>
#include <utility>

namespace Kiln::Benchmarks {

std::string writePackOf(const std::vector<std::string>& paths, const std::string& prefix, const std::string& packPath,
                        bool isCompressed) {
    std::vector<PackDocument> documents;
    documents.reserve(paths.size());
    for (const std::string& path : paths) {
        const SmartPointer<DataSection> section = DataSection::fromFile(filePath(path), path, true);
        if (!section) {
            throw std::runtime_error("cannot read " + path);
        }
        documents.push_back(PackDocument::fromSection(*section, false).value());
        documents.back().path = prefix + path;
    }
    PackOptions options;
    options.isCompressed = isCompressed;
    std::string pack = filePath(packPath);
    std::string problem;
    if (!writePack(pack, std::move(documents), options, problem)) {
        throw std::runtime_error("cannot write the pack: " + problem);
    }
    return pack;
}

double sizeRatio(const std::string& file, const std::string& reference) {
    return static_cast<double>(std::filesystem::file_size(file)) /
           static_cast<double>(std::filesystem::file_size(reference));
}

} // namespace Kiln::Benchmarks
