#include "packing.h"

#include "packed_file.h"

#include <core/parallel.h>
#include <core/printable_text.h>
#include <resource/resource_text.h>

#include <optional>
#include <utility>

namespace Kiln::PrefabPacking {

using FS::Utils::ResourceText;

namespace {

/// Encodes files on several threads.
class Packing {
public:
    Packing(const std::vector<std::string>& paths, const PackingOptions& options, std::size_t threadsCount)
        : m_paths(paths), m_options(options), m_threadsCount(threadsCount), m_files(paths.size()) {}

    void run() {
        forEachIndex(
            m_paths.size(), m_threadsCount, [this](std::size_t index) { m_files[index] = pack(m_paths[index]); },
            [this](std::size_t filesCount, std::size_t index) {
                if (m_options.onStep) {
                    m_options.onStep(filesCount, m_paths[index]);
                }
            });
    }

    /// The documents, and the counts and problems of the files in the order of the paths.
    [[nodiscard]] std::vector<PackDocument> take(PackingResult& result) {
        std::vector<PackDocument> documents;
        documents.reserve(m_files.size());
        for (File& file : m_files) {
            if (!file.problem.empty()) {
                (file.document ? result.malformed : result.problems).push_back(std::move(file.problem));
            } else {
                documents.push_back(std::move(*file.document));
            }
            result.reusedCount += file.isReused ? 1 : 0;
            result.textsCount += file.isText ? 1 : 0;
        }
        return documents;
    }

private:
    struct File {
        std::optional<PackDocument> document;
        std::string problem; ///< Why it cannot be packed: it has no document, or is malformed.
        bool isReused = false;
        bool isText = false;
    };

    [[nodiscard]] File pack(const std::string& path) const {
        File file;
        const ResourceText resource = FS::Utils::readResource(path);
        if (resource.status != ResourceText::Status::READ) {
            file.problem = "Cannot read '" + path + "': ";
            file.problem += resource.problem.empty() ? "the file does not exist" : resource.problem;
            return file;
        }
        file.document = reused(path, sourceChecksum(resource.content.text()));
        file.isReused = file.document.has_value();
        if (!file.document) {
            file.document = packFile(path, resource.content.text(), m_options.keepsPositions);
            file.isText = file.document->isText();
            if (file.isText && !m_options.keepsMalformed) {
                file.problem = malformation(path, resource.content.text());
            }
        }
        return file;
    }

    /// Empty for a well-formed document.
    [[nodiscard]] static std::string malformation(const std::string& path, std::string_view text) {
        XmlProblem problem;
        return parseXml(FileContent::copyOf(text), path, problem) ? std::string() : problem.message(path);
    }

    [[nodiscard]] std::optional<PackDocument> reused(const std::string& path, std::uint64_t checksum) const {
        const ResourcePack* const previous = m_options.previous.get();
        const std::optional<std::size_t> index = previous ? previous->find(path) : std::nullopt;
        if (!index || previous->document(*index).sourceChecksum != checksum) {
            return std::nullopt;
        }
        FileContent content;
        std::string ignored; // A damaged document is made anew.
        return previous->read(*index, content, ignored)
                   ? repackFile(path, std::move(content), checksum, m_options.keepsPositions)
                   : std::nullopt;
    }

    const std::vector<std::string>& m_paths;
    const PackingOptions& m_options;
    std::size_t m_threadsCount;
    std::vector<File> m_files;
};

} // namespace

PackingResult packFiles(const std::vector<std::string>& paths, const std::string& packName,
                        const PackingOptions& options) {
    const std::size_t threadsCount = threadsFor(options.threads);
    PackingResult result;
    Packing packing(paths, options, threadsCount);
    packing.run();
    std::vector<PackDocument> documents = packing.take(result);
    if (!result.problems.empty() || !result.malformed.empty()) {
        return result;
    }
    PackOptions packOptions;
    packOptions.isCompressed = options.isCompressed;
    packOptions.threads = threadsCount;
    packOptions.onDocument = [&](std::size_t count, const std::string& path) {
        if (options.onStep) {
            options.onStep(paths.size() + count, path);
        }
    };
    std::string problem;
    if (!writePack(packName, std::move(documents), packOptions, problem)) {
        result.problems.push_back("Cannot write '" + packName + "': " + problem);
    }
    return result;
}

} // namespace Kiln::PrefabPacking
