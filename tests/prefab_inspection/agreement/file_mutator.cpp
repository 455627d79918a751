#include "file_mutator.h"

#include "tree_mutations.h"
#include "wrong_texts.h"

#include <common/uuid.h>

#include <algorithm>
#include <utility>

namespace Kiln::AgreementTests {

namespace {

using Kind = FileEntry::Kind;

/// Pieces that break a document, or that readers of XML treat in different ways.
constexpr std::string_view PIECES[] = {"&",
                                       "<",
                                       ">",
                                       "\x80",
                                       "\xC3",
                                       "\xED\xA0\x80",
                                       "&#0;",
                                       "&#27;",
                                       "&#x41;",
                                       "&#1114112;",
                                       "&nbsp;",
                                       "&amp;lt;",
                                       "]]>",
                                       "<![CDATA[",
                                       "<!-- -- -->",
                                       "<!--",
                                       "<?pi?>",
                                       "\r\n",
                                       "\x1B[31m",
                                       " a=\"1\" a=\"2\"",
                                       "<x/>",
                                       "</prefab>",
                                       "<!DOCTYPE prefab>",
                                       "\xEF\xBB\xBF",
                                       "<?xml version=\"1.0\"?>",
                                       "0",
                                       "text"};

} // namespace

FileMutator::FileMutator(FileSet files, std::uint64_t seed) : m_files(std::move(files)), m_random(seed) {
    for (const auto& [name, entry] : m_files) {
        if (name.ends_with(".prefab") && !name.starts_with("donors/")) {
            m_names.push_back(name);
        }
    }
}

std::string FileMutator::mutate() {
    std::string description;
    while (description.empty()) {
        std::erase_if(m_names, [this](const std::string& name) {
            const auto entry = m_files.find(name);
            return entry == m_files.end() || entry->second.kind != Kind::FILE;
        });
        if (m_names.empty()) {
            return "no file is left";
        }
        m_lastFile = m_random.pick(m_names);
        switch (m_random.below(20)) {
        case 0:
        case 1:
        case 2:
            description = mutateBytes(m_lastFile);
            break;
        case 3:
            description = m_random.isOneIn(2) ? mutateFile(m_lastFile) : std::string();
            break;
        default:
            description = mutateTree(m_lastFile);
            break;
        }
    }
    return m_lastFile + ": " + description;
}

std::string FileMutator::mutateTree(const std::string& name) {
    std::vector<std::string> paths;
    std::vector<std::string> uuids{Uuid::ZERO.toString()};
    std::map<std::string, std::vector<std::string>> uuidsByPath;
    for (const auto& [path, entry] : m_files) {
        if (path.ends_with(".prefab")) {
            paths.push_back(path);
        }
        if (pugi::xml_document document; parseDocument(document, entry.text)) {
            collectUuids(document, uuidsByPath[path]);
            uuids.insert(uuids.end(), uuidsByPath[path].begin(), uuidsByPath[path].end());
        }
    }
    pugi::xml_document document;
    if (!parseDocument(document, m_files.at(name).text)) {
        return {};
    }
    std::string description = mutateDocument(document, {m_random, paths, uuids, uuidsByPath});
    if (!description.empty()) {
        m_files.at(name).text = documentText(document);
    }
    return description;
}

std::string FileMutator::mutateBytes(const std::string& name) {
    std::string& text = m_files.at(name).text;
    const std::size_t offset = m_random.below(text.size() + 1);
    const std::size_t count = std::min(1 + m_random.below(12), text.size() - offset);
    const std::string where = " at offset " + std::to_string(offset);
    switch (m_random.below(7)) {
    case 0:
        text.resize(offset);
        return "truncate" + where;
    case 1:
        text.erase(offset, count);
        return "erase " + std::to_string(count) + " bytes" + where;
    case 2:
        text.insert(offset, text.substr(offset, count));
        return "repeat " + std::to_string(count) + " bytes" + where;
    case 3:
        if (offset == text.size()) {
            return {};
        }
        text[offset] = static_cast<char>(static_cast<unsigned char>(text[offset]) ^ (1U << m_random.below(8)));
        return "flip a bit" + where;
    case 4:
        text.insert(offset, 1, static_cast<char>(m_random.below(256)));
        return "insert byte " + std::to_string(static_cast<unsigned char>(text[offset])) + where;
    default: {
        const std::string piece(m_random.pick(PIECES));
        text.insert(offset, piece);
        return "insert '" + piece + "'" + where;
    }
    }
}

std::string FileMutator::mutateFile(const std::string& name) {
    const std::string other = m_random.pick(m_names);
    switch (m_random.below(8)) {
    case 0:
        m_files.erase(name);
        return "remove the file";
    case 1:
        m_files.at(name).text.clear();
        return "empty the file";
    case 2:
        m_files.at(name).text = " \n";
        return "leave only white space in the file";
    case 3:
        std::swap(m_files.at(name), m_files.at(other));
        return "exchange the file with " + other;
    case 4:
        m_files.at(name) = m_files.at(other);
        return "replace the file by a copy of " + other;
    case 5:
        m_files.at(name) = {Kind::FOLDER, {}};
        return "replace the file by a folder";
    case 6:
        m_files.at(name) = {Kind::LINK, m_random.isOneIn(2) ? "/etc/hostname" : "missing"};
        return "replace the file by a link to " + m_files.at(name).text;
    default: {
        const std::string renamed = misspelt(name, m_random);
        m_files[renamed] = std::exchange(m_files.at(name), {});
        m_files.erase(name);
        return "rename the file to " + renamed;
    }
    }
}

} // namespace Kiln::AgreementTests
