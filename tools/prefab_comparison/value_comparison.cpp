#include <prefab_comparison/value_comparison.h>

#include <common/white_space.h>
#include <object_serialization/component_library.h>
#include <prefab_comparison/child_pairs.h>
#include <prefab_comparison/value_text.h>
#include <prefab_inspection/documents/prefab_document.h>

#include <utility>

namespace Kiln::PrefabComparison {

using PrefabInspection::ElementName::VALUE;

namespace {

[[nodiscard]] bool isSameText(DataNode a, DataNode b, bool isTrimmed) {
    std::string scratchA;
    std::string scratchB;
    const std::string_view textA = a.text(scratchA);
    const std::string_view textB = b.text(scratchB);
    return isTrimmed ? trimWhiteSpace(textA) == trimWhiteSpace(textB) : textA == textB;
}

/// Text beside the members of a structure or the elements of a vector, which the loader ignores.
[[nodiscard]] bool isSameStrayText(DataNode a, DataNode b) {
    return isSameText(a, b, true);
}

/// Whether the child elements of both are the same, in the same order.
[[nodiscard]] bool haveSameChildren(DataNode a, DataNode b) {
    DataNode childA = a.firstChild();
    DataNode childB = b.firstChild();
    while (childA && childB) {
        if (childA.name() != childB.name() || !ValueComparison::isSameContent(childA, childB)) {
            return false;
        }
        childA = childA.nextSibling();
        childB = childB.nextSibling();
    }
    return !childA && !childB;
}

} // namespace

ValueComparison::ValueComparison() = default;
ValueComparison::~ValueComparison() = default;

bool ValueComparison::isSameValue(std::size_t typeId, std::string_view name, DataNode a, DataNode b) {
    if (!a || !b) {
        return !a && !b;
    }
    const Scratch& scratch = scratchOf(typeId);
    const mirra::Property* const property =
        scratch.a.metaObject() ? scratch.a.metaObject()->findProperty(name) : nullptr;
    return property ? isSame(a, b, *property->type, property->address(scratch.a.object()),
                             property->address(scratch.b.object()))
                    : isSameContent(a, b);
}

std::vector<ValueComparison::Difference> ValueComparison::differences(std::size_t typeId, std::string_view name,
                                                                      DataNode a, DataNode b) {
    std::vector<Difference> found;
    const Scratch& scratch = scratchOf(typeId);
    const mirra::Property* const property =
        scratch.a.metaObject() ? scratch.a.metaObject()->findProperty(name) : nullptr;
    collect({std::string(name), a, b}, property ? property->type : nullptr,
            property ? property->address(scratch.a.object()) : nullptr,
            property ? property->address(scratch.b.object()) : nullptr, found);
    return found;
}

void ValueComparison::collect(Difference difference, const mirra::ValueType* type, void* scratchA, void* scratchB,
                              std::vector<Difference>& found) {
    const DataNode a = difference.a;
    const DataNode b = difference.b;
    if ((!a && !b) || (a && b && (type ? isSame(a, b, *type, scratchA, scratchB) : isSameContent(a, b)))) {
        return;
    }
    const std::size_t known = found.size();
    if (a && b) {
        const bool areVectors = type ? type->kind() == mirra::ValueKind::VECTOR : isVector(a) && isVector(b);
        const bool areStructures =
            type ? type->kind() == mirra::ValueKind::STRUCTURE : a.firstChild() && b.firstChild();
        if (areVectors) {
            collectElements(difference, type, scratchA, scratchB, found);
        } else if (areStructures) {
            collectMembers(difference, type, scratchA, scratchB, found);
        }
    }
    if (found.size() == known) {
        found.push_back(std::move(difference));
    }
}

void ValueComparison::collectElements(const Difference& whole, const mirra::ValueType* type, void* scratchA,
                                      void* scratchB, std::vector<Difference>& found) {
    void* elementA = nullptr;
    void* elementB = nullptr;
    if (type) {
        type->clearElements(scratchA);
        type->clearElements(scratchB);
        elementA = type->appendElement(scratchA);
        elementB = type->appendElement(scratchB);
    }
    DataNode a = whole.a.child(VALUE);
    DataNode b = whole.b.child(VALUE);
    for (std::size_t index = 0; a || b; ++index) {
        collect({whole.path + "[" + std::to_string(index) + "]", a, b}, type ? type->elementType() : nullptr, elementA,
                elementB, found);
        do {
            a = a.nextSibling();
        } while (a && !a.isNamed(VALUE));
        do {
            b = b.nextSibling();
        } while (b && !b.isNamed(VALUE));
    }
}

void ValueComparison::collectMembers(const Difference& whole, const mirra::ValueType* type, void* scratchA,
                                     void* scratchB, std::vector<Difference>& found) {
    const mirra::BaseStaticMetaObject* const meta = type ? type->metaObject() : nullptr;
    const auto collectMember = [&](DataNode a, DataNode b) {
        const std::string name((a ? a : b).name());
        const mirra::Property* const member = meta ? meta->findProperty(name) : nullptr;
        collect({whole.path + "." + name, a, b}, member ? member->type : nullptr,
                member ? member->address(scratchA) : nullptr, member ? member->address(scratchB) : nullptr, found);
    };
    forEachChildPair(whole.a, whole.b, collectMember);
}

bool ValueComparison::isSameText(std::size_t typeId, const std::vector<std::string>& path, const std::string& a,
                                 const std::string& b) {
    const Scratch& scratch = scratchOf(typeId);
    const mirra::BaseStaticMetaObject* meta = scratch.a.metaObject();
    void* scratchA = scratch.a.object();
    void* scratchB = scratch.b.object();
    const mirra::ValueType* type = nullptr;
    for (const std::string& step : path) {
        if (type && type->kind() == mirra::ValueKind::VECTOR) {
            type->clearElements(scratchA);
            type->clearElements(scratchB);
            scratchA = type->appendElement(scratchA);
            scratchB = type->appendElement(scratchB);
            type = type->elementType();
        } else {
            const mirra::Property* const member = meta ? meta->findProperty(step) : nullptr;
            if (!member) {
                return a == b;
            }
            scratchA = member->address(scratchA);
            scratchB = member->address(scratchB);
            type = member->type;
        }
        meta = type->metaObject();
    }
    return a == b ||
           (type && type->parse(a, scratchA) && type->parse(b, scratchB) && type->isEqual(scratchA, scratchB));
}

bool ValueComparison::isSameContent(DataNode a, DataNode b) {
    if (!a || !b) {
        return !a && !b;
    }
    std::string scratchA;
    std::string scratchB;
    std::string_view textA = a.text(scratchA);
    std::string_view textB = b.text(scratchB);
    const std::string_view trimmedA = trimWhiteSpace(textA);
    const std::string_view trimmedB = trimWhiteSpace(textB);
    textA = trimmedA.empty() || a.firstChild() ? trimmedA : textA;
    textB = trimmedB.empty() || b.firstChild() ? trimmedB : textB;
    return textA == textB && haveSameChildren(a, b);
}

const ValueComparison::Scratch& ValueComparison::scratchOf(std::size_t typeId) {
    const auto [entry, isNew] = m_scratches.try_emplace(typeId);
    Scratch& scratch = entry->second;
    if (isNew && typeId != ComponentLibrary::INVALID_ID) {
        scratch.descriptorA = ComponentLibrary::instance().createDescriptor(typeId);
        scratch.descriptorB = ComponentLibrary::instance().createDescriptor(typeId);
        if (scratch.descriptorA && scratch.descriptorB) {
            scratch.a = scratch.descriptorA->configuration();
            scratch.b = scratch.descriptorB->configuration();
        }
    }
    return scratch;
}

bool ValueComparison::isSame(DataNode a, DataNode b, const mirra::ValueType& type, void* scratchA, void* scratchB) {
    switch (type.kind()) {
    case mirra::ValueKind::SCALAR:
    case mirra::ValueKind::LINK:
        return isSameScalar(a, b, type, scratchA, scratchB);
    case mirra::ValueKind::VECTOR:
        return isSameVector(a, b, type, scratchA, scratchB);
    case mirra::ValueKind::STRUCTURE:
        break;
    }
    const mirra::BaseStaticMetaObject* const meta = type.metaObject();
    return meta ? isSameStructure(a, b, *meta, scratchA, scratchB) : isSameContent(a, b);
}

bool ValueComparison::isSameScalar(DataNode a, DataNode b, const mirra::ValueType& type, void* scratchA,
                                   void* scratchB) {
    if (!haveSameChildren(a, b)) {
        return false;
    }
    std::string_view textA = a.text(m_textA);
    std::string_view textB = b.text(m_textB);
    if (!type.isWhiteSpaceKept()) {
        textA = trimWhiteSpace(textA);
        textB = trimWhiteSpace(textB);
    }
    return textA == textB ||
           (type.parse(textA, scratchA) && type.parse(textB, scratchB) && type.isEqual(scratchA, scratchB));
}

bool ValueComparison::isSameVector(DataNode a, DataNode b, const mirra::ValueType& type, void* scratchA,
                                   void* scratchB) {
    type.clearElements(scratchA);
    type.clearElements(scratchB);
    void* const elementA = type.appendElement(scratchA); // Used for one pair of elements after the other.
    void* const elementB = type.appendElement(scratchB);
    DataNode childA = a.firstChild();
    DataNode childB = b.firstChild();
    while (childA && childB) {
        const bool isElement = childA.isNamed(VALUE) && childB.isNamed(VALUE);
        if (isElement ? !isSame(childA, childB, *type.elementType(), elementA, elementB)
                      : childA.name() != childB.name() || !isSameContent(childA, childB)) {
            return false;
        }
        childA = childA.nextSibling();
        childB = childB.nextSibling();
    }
    return !childA && !childB && isSameStrayText(a, b);
}

bool ValueComparison::isSameStructure(DataNode a, DataNode b, const mirra::BaseStaticMetaObject& meta, void* scratchA,
                                      void* scratchB) {
    bool isSameSoFar = true;
    forEachChildPair(a, b, [&](DataNode childA, DataNode childB) {
        if (!isSameSoFar || !childA || !childB) {
            isSameSoFar = false;
            return;
        }
        const mirra::Property* const member = meta.findProperty(childA.name());
        isSameSoFar = member
                          ? isSame(childA, childB, *member->type, member->address(scratchA), member->address(scratchB))
                          : isSameContent(childA, childB);
    });
    return isSameSoFar && isSameStrayText(a, b);
}

} // namespace Kiln::PrefabComparison
