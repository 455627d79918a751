#include <prefab_inspection/checking/stored_file_check.h>

#include <object_serialization/component_library.h>
#include <prefab_inspection/checking/check_cache.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace Kiln::PrefabInspection {

namespace {

/// Writes values one after the other.
class Writer {
public:
    template <class... T>
    void operator()(const T&... values) {
        (write(values), ...);
    }

    [[nodiscard]] std::string take() { return std::move(m_text); }

private:
    template <class T>
    void write(const T& value) {
        if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
            m_text.append(reinterpret_cast<const char*>(&value), sizeof value);
        } else {
            transfer(*this, const_cast<T&>(value)); // Writing changes nothing.
        }
    }

    void write(const std::string& text) {
        write(text.size());
        m_text += text;
    }

    void write(const Uuid& uuid) { (*this)(uuid.high(), uuid.low()); }

    template <class First, class Second>
    void write(const std::pair<First, Second>& pair) {
        (*this)(pair.first, pair.second);
    }

    template <class T>
    void write(const std::vector<T>& list) {
        write(list.size());
        for (const T& element : list) {
            write(element);
        }
    }

    std::string m_text;
};

/// Reads what a Writer has written, in the same order.
class Reader {
public:
    explicit Reader(std::string_view text) : m_text(text) {}

    template <class... T>
    void operator()(T&... values) {
        (read(values), ...);
    }

    /// Whether all values were there, and nothing else.
    [[nodiscard]] bool isComplete() const { return !m_isFailed && m_text.empty(); }

private:
    template <class T>
    void read(T& value) {
        if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
            const std::string_view bytes = take(sizeof value);
            if (bytes.size() == sizeof value) {
                std::memcpy(&value, bytes.data(), sizeof value);
            }
        } else {
            transfer(*this, value);
        }
    }

    void read(std::string& text) { text = take(readSize()); }

    void read(Uuid& uuid) {
        std::uint64_t high = 0;
        std::uint64_t low = 0;
        (*this)(high, low);
        uuid = Uuid(high, low);
    }

    template <class First, class Second>
    void read(std::pair<First, Second>& pair) {
        (*this)(pair.first, pair.second);
    }

    template <class T>
    void read(std::vector<T>& list) {
        const std::size_t size = readSize();
        list.clear();
        list.reserve(size);
        for (std::size_t index = 0; index < size && !m_isFailed; ++index) {
            read(list.emplace_back());
        }
    }

    /// A size that the rest of the bytes can have: every element has one byte at least.
    [[nodiscard]] std::size_t readSize() {
        std::size_t size = 0;
        read(size);
        m_isFailed = m_isFailed || size > m_text.size();
        return m_isFailed ? 0 : size;
    }

    [[nodiscard]] std::string_view take(std::size_t size) {
        m_isFailed = m_isFailed || size > m_text.size();
        const std::string_view bytes = m_text.substr(0, m_isFailed ? 0 : size);
        m_text.remove_prefix(bytes.size());
        return bytes;
    }

    std::string_view m_text;
    bool m_isFailed = false;
};

// Each function names all members of a structure, so that a new member does not compile until it is added here.

template <class Archive>
void transfer(Archive& archive, Anchor& anchor) {
    auto& [part, offset, size, embedding] = anchor;
    archive(part, offset, size, embedding);
}

template <class Archive>
void transfer(Archive& archive, PendingPlace& place) {
    auto& [file, anchor, text] = place;
    archive(file, anchor, text);
}

template <class Archive>
void transfer(Archive& archive, PendingFinding& finding) {
    auto& [code, severity, file, anchor, object, subject, message, cure, related, replacement, fixTitle] = finding;
    archive(code, severity, file, anchor, object, subject, message, cure, related, replacement, fixTitle);
}

template <class Archive>
void transfer(Archive& archive, ObjectFacts& object) {
    auto& [uuid, parent, elementOffset, parentOffset, isUuidReadable, hasHierarchy, hasPrefab, isInactive] = object;
    archive(uuid, parent, elementOffset, parentOffset, isUuidReadable, hasHierarchy, hasPrefab, isInactive);
}

template <class Archive>
void transfer(Archive& archive, NestingFacts& nesting) {
    auto& [object, resourceOffset, overridesOffset, resource, overrides] = nesting;
    archive(object, resourceOffset, overridesOffset, resource, overrides);
}

template <class Archive>
void transfer(Archive& archive, LinkFacts& link) {
    auto& [object, offset, target, property] = link;
    archive(object, offset, target, property);
}

template <class Archive>
void transfer(Archive& archive, FileFacts& facts) {
    auto& [state, problem, bytes, contentHash, objects, byUuid, components, root, hasRootTransform, rootTransformOffset,
           nestings, links, candidates] = facts;
    archive(state, problem, bytes, contentHash, objects, byUuid, components, root, hasRootTransform,
            rootTransformOffset, nestings, links, candidates);
}

template <class Archive>
void transfer(Archive& archive, FileCheckResult& result) {
    auto& [facts, findings] = result;
    archive(facts, findings);
}

/// The types of a file's components, each once, with their names: other processes may number the types otherwise.
using TypeNames = std::vector<std::pair<Tessel::ComponentTypeId, std::string>>;

[[nodiscard]] TypeNames typeNames(const FileFacts& facts) {
    TypeNames names;
    for (const auto& [object, type] : facts.components) {
        const auto hasType = [type = type](const auto& name) { return name.first == type; };
        if (std::none_of(names.begin(), names.end(), hasType)) {
            names.emplace_back(type, ComponentLibrary::instance().componentName(type));
        }
    }
    return names;
}

/// Converts the types of a file's components to those of this process. Returns false if one is not registered.
[[nodiscard]] bool adoptTypes(FileFacts& facts, const TypeNames& names) {
    std::vector<std::pair<Tessel::ComponentTypeId, Tessel::ComponentTypeId>> types;
    for (const auto& [type, name] : names) {
        const std::size_t id = ComponentLibrary::instance().findComponent(name);
        if (id == ComponentLibrary::INVALID_ID) {
            return false;
        }
        types.emplace_back(type, static_cast<Tessel::ComponentTypeId>(id));
    }
    for (auto& [object, type] : facts.components) {
        const auto known =
            std::find_if(types.begin(), types.end(), [type = type](const auto& pair) { return pair.first == type; });
        if (known == types.end()) {
            return false;
        }
        type = known->second;
    }
    std::sort(facts.components.begin(), facts.components.end());
    return true;
}

} // namespace

std::string storedText(const FileCheckResult& result) {
    Writer writer;
    writer(typeNames(result.facts), result);
    std::string text = writer.take();
    const std::uint64_t hash = fastHash(text);
    return text.append(reinterpret_cast<const char*>(&hash), sizeof hash);
}

std::optional<FileCheckResult> readStoredText(std::string_view text) {
    std::uint64_t hash = 0;
    if (text.size() < sizeof hash) {
        return std::nullopt;
    }
    std::memcpy(&hash, text.data() + text.size() - sizeof hash, sizeof hash);
    text.remove_suffix(sizeof hash);
    if (fastHash(text) != hash) {
        return std::nullopt;
    }
    Reader reader(text);
    TypeNames names;
    FileCheckResult result;
    reader(names, result);
    if (!reader.isComplete() || !adoptTypes(result.facts, names)) {
        return std::nullopt;
    }
    return result;
}

} // namespace Kiln::PrefabInspection
