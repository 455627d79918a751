#pragma once

#include <core/assertions.h>
#include <core/non_copyable.h>
#include <reflection/annotations.h>
#include <reflection/export.h>
#include <reflection/scalar_value_types.h>
#include <reflection/structure_value_type.h>
#include <reflection/value_type.h>
#include <reflection/vector_value_type.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeindex>
#include <typeinfo>
#include <utility>
#include <vector>

namespace mirra {

/// A reflected member of a type.
struct Property {
    std::string name;               ///< Name in files and messages.
    Annotations annotations;        ///< Marks for tools.
    const ValueType* type;          ///< The operations on its values; never null.
    void* (*address)(void* object); ///< The member's value inside an object of the type.
};

/// The description of one C++ type: its name, annotations and properties, in the order in which they were added.
/// Built once (StaticMetaObjectBuilder), then immutable; owned by MetaObjectManager.
class KILN_REFLECTION_EXPORT BaseStaticMetaObject : Kiln::NonCopyable {
public:
    /// A description without properties.
    BaseStaticMetaObject(std::type_index type, std::string name, Annotations annotations);
    virtual ~BaseStaticMetaObject();

    /// @{
    /// A part of the description. The properties are in the order in which they were added.
    [[nodiscard]] std::type_index type() const noexcept { return m_type; }
    [[nodiscard]] const std::string& name() const noexcept { return m_name; }
    [[nodiscard]] const Annotations& annotations() const noexcept { return m_annotations; }
    [[nodiscard]] const std::vector<Property>& properties() const noexcept { return m_properties; }
    /// @}

    /// Null if there is no property of that name.
    [[nodiscard]] const Property* findProperty(std::string_view name) const noexcept;

    /// Whether an object of the type holds a link at any depth. Structures without a description are ignored; the
    /// answer is cached once all of them are described.
    [[nodiscard]] bool containsLinks() const {
        const LinkState known = m_linkState.load(std::memory_order_relaxed);
        return known == LinkState::UNKNOWN ? findLinks() : known == LinkState::LINKS;
    }

    /// Appends a property. Only before the description is registered.
    void addProperty(Property property);

private:
    [[nodiscard]] bool findLinks() const;

    std::type_index m_type;
    std::string m_name;
    Annotations m_annotations;
    std::vector<Property> m_properties;

    enum class LinkState : unsigned char { UNKNOWN, NO_LINKS, LINKS };
    /// Caches containsLinks(). Relaxed, because no other data is published through it.
    mutable std::atomic<LinkState> m_linkState{LinkState::UNKNOWN};
};

/// The description of T.
template <class T>
class StaticMetaObject final : public BaseStaticMetaObject {
public:
    /// A description without properties.
    explicit StaticMetaObject(std::string name, Annotations annotations = {})
        : BaseStaticMetaObject(typeid(T), std::move(name), std::move(annotations)) {}

    /// `Member` is a pointer to a data member, or to a member function that returns a reference to one.
    template <auto Member>
    void addProperty(std::string name, Annotations annotations = {}) {
        using Value = std::remove_cvref_t<std::invoke_result_t<decltype(Member), T&>>;
        BaseStaticMetaObject::addProperty(
            {std::move(name), std::move(annotations), &valueType<Value>(),
             [](void* object) -> void* { return const_cast<Value*>(&std::invoke(Member, *static_cast<T*>(object))); }});
    }
};

/// Process-wide register of descriptions. Any thread; descriptions stay until the process ends.
///
/// Types are identified by std::type_index. Some compilers give types of the same name in unnamed namespaces of
/// different sources the same index, so the name of a reflected type must be unique in the process.
class KILN_REFLECTION_EXPORT MetaObjectManager : Kiln::NonCopyable {
public:
    /// The process's register.
    static MetaObjectManager& instance();

    /// Takes ownership of a description and returns the registered one: the first of a type stays, later ones are
    /// destroyed.
    const BaseStaticMetaObject& registerType(std::unique_ptr<BaseStaticMetaObject> metaObject);

    /// @{
    /// Null when the type has no description.
    [[nodiscard]] const BaseStaticMetaObject* findType(std::type_index type) const;
    [[nodiscard]] const BaseStaticMetaObject* findType(std::string_view name) const;
    /// @}

private:
    MetaObjectManager();
    ~MetaObjectManager();

    struct State;
    std::unique_ptr<State> m_state;
};

/// Describes a type and registers the description when finish() is called. Annotations can be put on all properties
/// of a scope with pushAnnotations and popAnnotations.
///
///     StaticMetaObjectBuilder<Lamp::Config> lamp("Lamp::Config");
///     lamp.addProperty<&Lamp::Config::colour>("colour");
///     lamp.finish();
template <class T>
class StaticMetaObjectBuilder : Kiln::NonCopyable {
public:
    /// Begins the description of T; `annotations` are those of the type itself.
    explicit StaticMetaObjectBuilder(std::string name, Annotations annotations = {})
        : m_metaObject(std::make_unique<StaticMetaObject<T>>(std::move(name), std::move(annotations))) {}

    /// Adds annotations to every property that is added until the matching popAnnotations().
    void pushAnnotations(Annotations annotations) { annotations_.push_back(std::move(annotations)); }
    /// A surplus call is reported by finish().
    void popAnnotations() {
        if (!annotations_.empty()) {
            annotations_.pop_back();
        }
    }

    /// Adds a property; `Member` is as for StaticMetaObject::addProperty(). Returns the builder.
    template <auto Member>
    StaticMetaObjectBuilder& addProperty(std::string name, Annotations annotations = {}) {
        for (const Annotations& scope : annotations_) {
            annotations.add(scope);
        }
        m_metaObject->template addProperty<Member>(std::move(name), std::move(annotations));
        return *this;
    }

    /// Registers the description. Asserts that as many annotations were popped as pushed. The builder is empty
    /// afterwards.
    const BaseStaticMetaObject& finish() {
        KILN_ASSERT(annotations_.size() == 1, "Missing META_POP", "shared_libs/reflection/static_meta_object", 322);
        return MetaObjectManager::instance().registerType(std::move(m_metaObject));
    }

private:
    std::unique_ptr<StaticMetaObject<T>> m_metaObject;
    std::vector<Annotations> annotations_{Annotations()}; ///< The name is part of the assertion's text.
};

} // namespace mirra
