#include "report_data.h"

#include "block_text.h"
#include "data_text.h"
#include "file_block.h"
#include "finding_text.h"
#include "graph_layout.h"
#include "plain_values.h"
#include "prefab_numbers.h"
#include "shared_texts.h"

#include <core/parallel.h>
#include <object_serialization/component_library.h>

#include <future>
#include <numeric>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

using PrefabInspection::CheckedFile;
using PrefabInspection::CheckResult;
using PrefabInspection::PrefabFiles;

namespace {

constexpr int DATA_VERSION = 2;

[[nodiscard]] NestingGraph nestingGraph(const CheckResult& result, const FileIndices& indices) {
    NestingGraph graph;
    graph.uses.resize(result.files.size());
    graph.usedBy.resize(result.files.size());
    for (std::uint32_t user = 0; user < result.files.size(); ++user) {
        for (const std::string& path : result.files[user].nested) {
            const std::int32_t used = indices.find(path);
            if (used >= 0) {
                graph.uses[user].push_back(static_cast<std::uint32_t>(used));
                graph.usedBy[static_cast<std::size_t>(used)].push_back(user);
            }
        }
    }
    return graph;
}

/// Writes the document.
class Writer {
public:
    Writer(const CheckResult& result, const PageOptions& options, const FileIndices& indices, const NestingGraph& graph,
           const std::vector<FileBlock>& blocks)
        : m_result(result), m_options(options), m_indices(indices), m_graph(graph), m_blocks(blocks) {}

    /// The layout is awaited when everything that takes long has been written.
    [[nodiscard]] std::string write(std::future<GraphLayout> layout) {
        internTexts();
        const std::vector<FileText> texts = fileTexts();
        m_layout = layout.get();
        const auto add = [](std::size_t sum, const FileText& text) {
            return sum + text.block.block.size() + text.block.variants.size() + text.newStrings.size();
        };
        m_output.reserve(std::accumulate(texts.begin(), texts.end(), OTHER_BYTES, add));
        m_output += "{\"version\":";
        appendNumber(m_output, DATA_VERSION);
        m_output += ",\"tool\":{\"name\":\"kiln-prefab\",\"version\":";
        appendJsonString(m_output, m_options.toolVersion);
        m_output += "},\"title\":";
        appendJsonString(m_output, m_options.title);
        m_output += ",\n\"types\":";
        writeTypes();
        m_output += ",\n\"files\":";
        writeFiles();
        m_output += ",\n\"edges\":";
        m_output += '{';
        writeEdges(m_layout.whole);
        m_output += '}';
        m_output += ",\n\"drawings\":";
        writeDrawings();
        m_output += ",\n\"neighbourhoods\":";
        writeNeighbourhoods();
        m_output += ",\n\"blocks\":";
        writeBlocks(texts);
        m_output += ",\n\"findings\":";
        appendFindings(m_output, m_result.findings, m_indices);
        m_output += ",\n\"entry\":";
        appendNumber(m_output, entryFile());
        m_output += ",\n\"strings\":";
        writeStrings(texts);
        m_output += "}\n";
        return std::move(m_output);
    }

private:
    static constexpr std::size_t OTHER_BYTES = 1'000'000; ///< About what everything but the files takes.

    /// What is written for a file by any thread.
    struct FileText {
        BlockText block;
        std::string newStrings; ///< Of the block, as elements of a list.
    };

    void internTexts() {
        std::vector<const TextTable*> tables{&m_fileTexts};
        tables.reserve(m_blocks.size() + 1);
        m_paths.reserve(m_blocks.size());
        m_problems.reserve(m_blocks.size());
        for (std::size_t file = 0; file < m_blocks.size(); ++file) {
            m_paths.push_back(m_fileTexts.add(m_result.files[file].path));
            m_problems.push_back(m_fileTexts.add(m_blocks[file].problem));
            tables.push_back(&m_blocks[file].texts);
        }
        m_strings = std::make_unique<SharedTexts>(std::move(tables), m_options.threads);
    }

    [[nodiscard]] std::vector<FileText> fileTexts() const {
        std::vector<std::size_t> variantsBefore{m_blocks.size()};
        variantsBefore.reserve(m_blocks.size() + 1);
        for (const FileBlock& block : m_blocks) {
            variantsBefore.push_back(variantsBefore.back() + block.variants.size());
        }
        std::vector<FileText> texts(m_blocks.size());
        forEachIndex(m_blocks.size(), threadsFor(m_options.threads), [&](std::size_t file) {
            const std::size_t table = file + 1;
            texts[file].block =
                blockText(file, m_blocks[file], m_indices, m_strings->numbers(table), variantsBefore[file]);
            texts[file].newStrings = m_strings->newTexts(table);
        });
        return texts;
    }

    template <class WriteElement>
    void writeList(std::size_t count, const WriteElement& writeElement) {
        appendList(m_output, count, writeElement);
    }

    template <class ValueOf>
    void writeColumn(const char* name, std::size_t count, const ValueOf& valueOf) {
        appendColumn(m_output, name, count, valueOf);
    }

    void writeTypes() {
        const ComponentLibrary& library = ComponentLibrary::instance();
        writeList(library.componentsCount(), [this, &library](std::size_t type) {
            m_output += "{\"name\":";
            appendJsonString(m_output, library.componentName(type));
            m_output += ",\"properties\":";
            const PropertyDefaults defaults = propertyDefaults(type);
            writeList(defaults.size(), [this, &defaults](std::size_t i) {
                m_output += "{\"name\":";
                appendJsonString(m_output, defaults[i].first);
                m_output += ",\"text\":";
                appendJsonString(m_output, defaults[i].second);
                m_output += '}';
            });
            m_output += '}';
        });
    }

    void writeFiles() {
        const std::vector<PrefabNumbers> numbers = countPrefabs(m_blocks, m_indices);
        const std::vector<CheckedFile>& files = m_result.files;
        const std::size_t count = files.size();
        m_output += '{';
        writeColumn("path", count, [this](std::size_t i) { return m_paths[i]; });
        writeColumn("problem", count, [this](std::size_t i) { return m_problems[i]; });
        writeColumn("target", count, [&files](std::size_t i) { return files[i].isTarget ? 1 : 0; });
        writeColumn("bytes", count, [&files](std::size_t i) { return files[i].bytes; });
        writeColumn("objects", count, [&numbers](std::size_t i) { return numbers[i].objects; });
        writeColumn("components", count, [&numbers](std::size_t i) { return numbers[i].components; });
        writeColumn("depth", count, [&numbers](std::size_t i) { return numbers[i].depth; });
        writeColumn("instances", count, [&numbers](std::size_t i) { return numbers[i].instances; });
        writeColumn("x", count, [this](std::size_t i) { return m_layout.whole.nodes[i].x; });
        writeColumn("y", count, [this](std::size_t i) { return m_layout.whole.nodes[i].y; });
        m_output += '}';
    }

    /// Writes edges and their lines as members of an object.
    void writeEdges(const Drawing& drawing) {
        const NodeEdges& edges = drawing.edges;
        writeColumn("user", edges.size(), [&edges](std::size_t i) { return edges[i].first; });
        writeColumn("used", edges.size(), [&edges](std::size_t i) { return edges[i].second; });
        m_output += ",\"line\":";
        writeList(drawing.lines.size(), [this, &drawing](std::size_t i) {
            std::vector<std::int32_t> numbers;
            numbers.reserve(2 * drawing.lines[i].size());
            for (const Point& point : drawing.lines[i]) {
                numbers.insert(numbers.end(), {point.x, point.y});
            }
            appendNumbers(m_output, numbers);
        });
    }

    void writeDrawings() {
        writeList(m_layout.drawings.size(), [this](std::size_t index) {
            const Drawing& drawing = m_layout.drawings[index];
            m_output += '{';
            writeColumn("x", drawing.nodes.size(), [&drawing](std::size_t i) { return drawing.nodes[i].x; });
            writeColumn("y", drawing.nodes.size(), [&drawing](std::size_t i) { return drawing.nodes[i].y; });
            writeEdges(drawing);
            m_output += '}';
        });
    }

    void writeNeighbourhoods() {
        const std::vector<Neighbourhood>& neighbourhoods = m_layout.neighbourhoods;
        m_output += '{';
        writeColumn("drawing", neighbourhoods.size(), [&](std::size_t i) { return neighbourhoods[i].drawing; });
        writeColumn("leftOut", neighbourhoods.size(), [&](std::size_t i) { return neighbourhoods[i].leftOutCount; });
        m_output += ",\"files\":";
        writeList(neighbourhoods.size(), [&](std::size_t i) { appendNumbers(m_output, neighbourhoods[i].files); });
        m_output += '}';
    }

    void writeBlocks(const std::vector<FileText>& texts) {
        m_output += '[';
        for (std::size_t file = 0; file < texts.size(); ++file) {
            m_output.append(file == 0 ? "\n" : ",\n").append(texts[file].block.block);
        }
        for (const FileText& text : texts) {
            m_output += text.block.variants;
        }
        m_output += ']';
    }

    void writeStrings(const std::vector<FileText>& texts) {
        m_output.append("[").append(m_strings->newTexts(0)); // Not empty: every file has a path.
        for (const FileText& text : texts) {
            m_output.append(text.newStrings.empty() ? "" : ",").append(text.newStrings);
        }
        m_output += ']';
    }

    /// The target that nests the most, among those that no other file nests if there are any.
    [[nodiscard]] std::size_t entryFile() const {
        std::size_t entry = 0;
        const auto weight = [this](std::size_t file) {
            return std::pair(m_result.files[file].isTarget && m_graph.usedBy[file].empty(), m_graph.uses[file].size());
        };
        for (std::size_t file = 1; file < m_result.files.size(); ++file) {
            entry = weight(entry) < weight(file) ? file : entry;
        }
        return entry;
    }

    const CheckResult& m_result;
    const PageOptions& m_options;
    const FileIndices& m_indices;
    const NestingGraph& m_graph;
    const std::vector<FileBlock>& m_blocks;
    GraphLayout m_layout;
    TextTable m_fileTexts;              ///< The first table of m_strings, which therefore has the same numbers.
    std::vector<std::uint32_t> m_paths; ///< Numbers of the files' texts.
    std::vector<std::uint32_t> m_problems;
    std::unique_ptr<SharedTexts> m_strings;
    std::string m_output;
};

} // namespace

std::string reportData(const CheckResult& result, const PageOptions& options, std::unique_ptr<PrefabFiles> files) {
    std::vector<std::string> paths;
    for (const CheckedFile& file : result.files) {
        paths.push_back(file.path);
    }
    const FileIndices indices(std::move(paths));
    const NestingGraph graph = nestingGraph(result, indices);
    std::future<GraphLayout> layout = std::async(std::launch::async, [&graph] { return layOut(graph); });
    std::vector<FileBlock> blocks(result.files.size());
    forEachIndex(blocks.size(), threadsFor(options.threads),
                 [&](std::size_t file) { blocks[file] = makeFileBlock(*files, indices.paths()[file], indices); });
    // Freeing the files takes a while and can be done beside the rest, which does not need them.
    const std::future<void> cleanup =
        std::async(std::launch::async, [released = std::move(files)]() mutable { released.reset(); });
    return Writer(result, options, indices, graph, blocks).write(std::move(layout));
}

} // namespace Kiln::PrefabTool
