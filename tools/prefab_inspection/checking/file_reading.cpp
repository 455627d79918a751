#include <prefab_inspection/checking/file_reading.h>

#include <common/white_space.h>
#include <core/formatter.h>
#include <core/parallel.h>
#include <prefab_inspection/checking/raw_text_check.h>
#include <prefab_inspection/checking/stored_file_check.h>
#include <prefab_inspection/composition/prefab_file.h>

#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <set>
#include <string_view>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

using FS::Utils::ResourceText;

/// Tells contents apart; no protection against files that are made to have the same hash. Eight bytes at a time, by the
/// folded multiplication of wyhash (Wang Yi), with the fractional digits of pi as keys.
[[nodiscard]] std::uint64_t hashOf(std::string_view text) {
    __extension__ using Product = unsigned __int128;
    constexpr std::uint64_t FIRST_KEY = 0x243f6a8885a308d3ULL;
    constexpr std::uint64_t SECOND_KEY = 0x13198a2e03707344ULL;
    const auto fold = [](std::uint64_t a, std::uint64_t b) {
        const Product product = static_cast<Product>(a ^ FIRST_KEY) * (b ^ SECOND_KEY);
        return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
    };
    std::uint64_t hash = text.size();
    for (; text.size() >= sizeof(hash); text.remove_prefix(sizeof(hash))) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data(), sizeof(word));
        hash = fold(hash, word);
    }
    std::uint64_t rest = 0;
    std::memcpy(&rest, text.data(), text.size());
    return fold(hash, rest ^ 0xa4093822299f31d0ULL);
}

[[nodiscard]] PendingFinding brokenText(FindingCode code, Anchor anchor, std::string message, std::string cure) {
    PendingFinding finding;
    finding.code = code;
    finding.anchor = std::move(anchor);
    finding.message = std::move(message);
    finding.cure = std::move(cure);
    return finding;
}

[[nodiscard]] PendingFinding notWellFormed(const XmlProblem& problem) {
    if (problem.description == "No root element") {
        return brokenText(FindingCode::EMPTY_FILE, {}, "The file has no element.",
                          "Restore the prefab, or delete the file.");
    }
    return brokenText(FindingCode::NOT_WELL_FORMED,
                      {Anchor::Part::POSITION, problem.position.line, problem.position.column, {}},
                      "The file is not well-formed XML: " + problem.description + ".",
                      "Correct the XML text; the loader refuses the whole file.");
}

/// Checks the text of a file. `files` receives it if it is well formed; it may be null.
[[nodiscard]] FileCheckResult checkText(FileContent content, const std::string& path, ScratchDescriptors& scratch,
                                        PrefabFiles* files) {
    FileCheckResult result;
    result.facts.bytes = content.size;
    result.facts.contentHash = hashOf(content.text());
    result.facts.state = FileFacts::State::BROKEN;
    if (trimWhiteSpace(content.text()).empty()) {
        result.findings.push_back(
            brokenText(FindingCode::EMPTY_FILE, {}, "The file is empty.", "Restore the prefab, or delete the file."));
        return result;
    }
    std::vector<PendingFinding> findings;
    checkRawText(content.text(), findings);
    std::string text = files ? std::string(content.text()) : std::string(); // Parsing changes the content.
    XmlProblem problem;
    const SmartPointer<DataSection> section = parseXml(std::move(content), path, problem);
    if (!section) {
        result.findings.push_back(notWellFormed(problem));
        return result; // What is tolerated in a sound document may be a part of the same problem.
    }
    PrefabDocument document(section);
    result = checkDocument(document, std::move(result.facts), scratch);
    result.findings.insert(result.findings.end(), std::make_move_iterator(findings.begin()),
                           std::make_move_iterator(findings.end()));
    if (files) {
        auto file = std::make_unique<PrefabFile>(path, std::move(text), std::move(document));
        file->isFlawless = result.findings.empty();
        files->add(std::move(file));
    }
    return result;
}

[[nodiscard]] FileFacts::State stateOf(ResourceText::Status status) {
    switch (status) {
    case ResourceText::Status::MISSING:
        return FileFacts::State::MISSING;
    case ResourceText::Status::OUTSIDE:
        return FileFacts::State::OUTSIDE;
    case ResourceText::Status::READ:
    case ResourceText::Status::NOT_REGULAR:
    case ResourceText::Status::FAILED:
        break;
    }
    return FileFacts::State::UNREADABLE;
}

/// Hands out paths to threads until all prefabs that are named have been read.
class FileReader {
public:
    FileReader(const std::vector<std::string>& targets, const CheckOptions& options) : m_options(options) {
        for (const std::string& target : targets) {
            request(target);
        }
    }

    [[nodiscard]] ReadFiles run() {
        runOnThreads(threadsFor(m_options.threads), [this] { work(); });
        return std::move(m_files);
    }

private:
    void work() {
        ScratchDescriptors scratch;
        try {
            std::unique_lock lock(m_mutex);
            while (const std::string* const path = next(lock)) {
                lock.unlock();
                FileCheckResult result = check(*path, scratch);
                lock.lock();
                add(*path, std::move(result));
            }
        } catch (...) {
            const std::lock_guard lock(m_mutex);
            m_isFailed = true;
            m_changed.notify_all();
            throw;
        }
    }

    /// Waits for a path. Null if there will be no more.
    [[nodiscard]] const std::string* next(std::unique_lock<std::mutex>& lock) {
        m_changed.wait(lock, [this] { return !m_queue.empty() || m_activeCount == 0 || m_isFailed; });
        if (m_queue.empty() || m_isFailed) {
            return nullptr;
        }
        const std::string* const path = m_queue.front();
        m_queue.pop_front();
        ++m_activeCount;
        return path;
    }

    [[nodiscard]] FileCheckResult check(const std::string& path, ScratchDescriptors& scratch) const {
        ResourceText text = readContent(path, m_options.buffers);
        if (text.status == ResourceText::Status::READ) {
            return m_options.cache ? checkCached(std::move(text.content), path, scratch)
                                   : checkText(std::move(text.content), path, scratch, m_options.files);
        }
        FileCheckResult result;
        result.facts.state = stateOf(text.status);
        result.facts.problem = std::move(text.problem);
        return result;
    }

    [[nodiscard]] FileCheckResult checkCached(FileContent content, const std::string& path,
                                              ScratchDescriptors& scratch) const {
        // Two independent hashes and the size: different contents would have to agree in all of them.
        const std::string key =
            formatText("%016llx%016llx-%zx", static_cast<unsigned long long>(hashOf(content.text())),
                       static_cast<unsigned long long>(fastHash(content.text())), content.size);
        if (const std::optional<std::string> stored = m_options.cache->find(key)) {
            if (std::optional<FileCheckResult> result = readStoredText(*stored)) {
                return std::move(*result);
            }
        }
        FileCheckResult result = checkText(std::move(content), path, scratch, m_options.files);
        m_options.cache->store(key, storedText(result));
        return result;
    }

    void request(const std::string& path) {
        const auto [entry, isNew] = m_known.insert(path);
        if (isNew) {
            m_queue.push_back(&*entry);
        }
    }

    void add(const std::string& path, FileCheckResult result) {
        for (const NestingFacts& nesting : result.facts.nestings) {
            if (nesting.object != result.facts.root) { // The loader replaces the path that a root names by its own.
                request(nesting.resource);
            }
        }
        for (const std::string& candidate : result.facts.candidates) {
            request(candidate);
        }
        for (PendingFinding& finding : result.findings) {
            finding.file = path;
            for (PendingPlace& place : finding.related) {
                place.file = path;
            }
            m_files.findings.push_back(std::move(finding));
        }
        m_files.table.emplace(path, std::move(result.facts));
        if (m_options.onFileRead) {
            m_options.onFileRead(m_files.table.size(), path);
        }
        --m_activeCount;
        m_changed.notify_all();
    }

    const CheckOptions& m_options;
    std::mutex m_mutex; ///< Guards everything below.
    std::condition_variable m_changed;
    std::set<std::string> m_known;
    std::deque<const std::string*> m_queue; ///< Elements of m_known.
    std::size_t m_activeCount = 0;          ///< Files that are being read.
    ReadFiles m_files;
    bool m_isFailed = false; ///< A thread has thrown an exception, which ends the others, too.
};

} // namespace

ResourceText readContent(const std::string& path, const std::map<std::string, std::string_view>& buffers) {
    const auto buffer = buffers.find(path);
    if (buffer == buffers.end()) {
        return FS::Utils::readResource(path);
    }
    ResourceText text;
    text.status = ResourceText::Status::READ;
    text.content = FileContent::copyOf(buffer->second);
    return text;
}

ReadFiles readFiles(const std::vector<std::string>& targets, const CheckOptions& options) {
    return FileReader(targets, options).run();
}

} // namespace Kiln::PrefabInspection
