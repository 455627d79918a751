#include "platform_doubles.h"

#include <object_framework/entry_point.h>
#include <object_serialization/component_library.h>
#include <object_serialization/prefab_format.h>
#include <resource/file_system_utils.h>

#include <dlfcn.h>

#include <stdexcept>
#include <utility>

namespace Kiln {

namespace {

TestSupport::PlatformDoubles* s_doubles = nullptr;

/// The library's definition of an operation that this program defines as well.
template <class Function>
[[nodiscard]] Function* libraryDefinition(const char* mangledName) {
    void* const address = dlsym(RTLD_NEXT, mangledName);
    if (!address) {
        throw std::logic_error(std::string("no library defines ") + mangledName);
    }
    return reinterpret_cast<Function*>(address);
}

} // namespace

namespace TestSupport {

PlatformDoubles::PlatformDoubles() {
    s_doubles = this;
}

PlatformDoubles::~PlatformDoubles() {
    s_doubles = nullptr;
}

} // namespace TestSupport

const ComponentRecord& ComponentLibrary::componentMeta(std::size_t id) const {
    static auto* const original = libraryDefinition<const ComponentRecord&(const ComponentLibrary*, std::size_t)>(
        "_ZNK4Kiln16ComponentLibrary13componentMetaEm");
    if (s_doubles) {
        s_doubles->calls.push_back("componentMeta " + componentName(id));
        if (s_doubles->onComponentMeta) {
            s_doubles->onComponentMeta(id);
        }
    }
    return original(this, id);
}

SmartPointer<DataSection> FS::Utils::openXmlSection(const std::string& resourcePath, bool callerReportsMissing) {
    static auto* const original = libraryDefinition<SmartPointer<DataSection>(const std::string&, bool)>(
        "_ZN4Kiln2FS5Utils14openXmlSectionERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEb");
    if (s_doubles) {
        s_doubles->calls.push_back("openXmlSection " + resourcePath + (callerReportsMissing ? " true" : " false"));
    }
    return original(resourcePath, callerReportsMissing);
}

Tessel::IService* Tessel::EntryPoint::getService(std::type_index type) const {
    static auto* const original = libraryDefinition<IService*(const EntryPoint*, std::type_index)>(
        "_ZNK4Kiln6Tessel10EntryPoint10getServiceESt10type_index");
    if (s_doubles && s_doubles->libraryService && type == typeid(ComponentLibrary)) {
        return s_doubles->libraryService;
    }
    return original(this, type);
}

SmartPointer<DataSection> DataSection::openSection(std::string_view name, bool create) const {
    static auto* const original =
        libraryDefinition<SmartPointer<DataSection>(const DataSection*, std::string_view, bool)>(
            "_ZNK4Kiln11DataSection11openSectionESt17basic_string_viewIcSt11char_traitsIcEEb");
    if (s_doubles && create) {
        s_doubles->calls.push_back("openSection " + std::string(name) + " created");
    }
    return original(this, name, create);
}

void GameObjectDescriptor::addComponent(SmartPointer<IComponentDescriptor> component) {
    static auto* const original = libraryDefinition<void(GameObjectDescriptor*, SmartPointer<IComponentDescriptor>)>(
        "_ZN4Kiln20GameObjectDescriptor12addComponentENS_12SmartPointerINS_20IComponentDescriptorEEE");
    if (s_doubles && !component) {
        s_doubles->calls.emplace_back("addComponent null");
    }
    original(this, std::move(component));
}

SmartPointer<GameObjectDescriptor> Tessel::GameObjectData::getDescriptor() const {
    static auto* const original = libraryDefinition<SmartPointer<GameObjectDescriptor>(const GameObjectData*)>(
        "_ZNK4Kiln6Tessel14GameObjectData13getDescriptorEv");
    if (s_doubles && s_doubles->isGameObjectNull && s_doubles->isGameObjectNull(m_document->source())) {
        return nullptr;
    }
    return original(this);
}

} // namespace Kiln
