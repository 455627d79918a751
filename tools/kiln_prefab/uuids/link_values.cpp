#include "link_values.h"

#include <core/smart_pointer.h>
#include <object_serialization/component_descriptor.h>
#include <object_serialization/component_library.h>
#include <prefab_inspection/documents/prefab_document.h>
#include <reflection/meta_object.h>
#include <reflection/reflected_object.h>

namespace Kiln::PrefabTool {

namespace {

using mirra::ValueKind;
using PrefabInspection::ElementName::VALUE;

class ValueWalk {
public:
    explicit ValueWalk(const std::function<void(DataNode, LinkKind)>& onValue) : m_onValue(onValue) {}

    void walkMembers(DataNode node, const mirra::BaseStaticMetaObject* meta) const {
        for (DataNode child = node.firstChild(); child; child = child.nextSibling()) {
            const mirra::Property* const property = meta ? meta->findProperty(child.name()) : nullptr;
            walkValue(child, property ? property->type : nullptr);
        }
    }

private:
    void walkValue(DataNode node, const mirra::ValueType* type) const {
        if (!type) {
            walkUndescribed(node);
            return;
        }
        switch (type->kind()) {
        case ValueKind::SCALAR:
            m_onValue(node, LinkKind::OTHER);
            break;
        case ValueKind::LINK:
            m_onValue(node, LinkKind::LINK);
            break;
        case ValueKind::VECTOR:
            for (DataNode child = node.firstChild(); child; child = child.nextSibling()) {
                if (child.isNamed(VALUE)) {
                    walkValue(child, type->elementType());
                }
            }
            break;
        case ValueKind::STRUCTURE:
            walkMembers(node, type->metaObject());
            break;
        }
    }

    void walkUndescribed(DataNode node) const {
        if (!node.firstChild()) {
            m_onValue(node, LinkKind::UNKNOWN);
        }
        for (DataNode child = node.firstChild(); child; child = child.nextSibling()) {
            walkUndescribed(child);
        }
    }

    const std::function<void(DataNode, LinkKind)>& m_onValue;
};

} // namespace

void forEachLinkValue(DataNode properties, std::size_t typeId,
                      const std::function<void(DataNode value, LinkKind kind)>& onValue) {
    const SmartPointer<IComponentDescriptor> descriptor = ComponentLibrary::instance().createDescriptor(typeId);
    ValueWalk(onValue).walkMembers(properties, descriptor ? descriptor->configuration().metaObject() : nullptr);
}

} // namespace Kiln::PrefabTool
