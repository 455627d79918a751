// Plug-ins that nothing but their registrations keeps in the process.

#include <build_paths.h>
#include <object_framework/entry_point.h>
#include <object_serialization/component_library.h>
#include <reflection/meta_object.h>
#include <support/temporary_directory.h>

#include <filesystem>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace Kiln::BoundaryTests {

namespace {

class PluginPinning : public testing::Test {
protected:
    /// Loads a copy of the plug-in, calls a function of it and closes it. Returns whether it is still mapped.
    [[nodiscard]] bool staysAfter(const char* function) const {
        const std::string path = m_directory.path() / "plugin.so";
        std::filesystem::copy_file(KILN_BUILD_LIB_DIR "/libboundary_registering.so", path);
        void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!handle) {
            ADD_FAILURE() << dlerror();
            return false;
        }
        if (auto* const call = reinterpret_cast<void (*)()>(dlsym(handle, function))) {
            call();
        } else {
            ADD_FAILURE() << "no function " << function;
        }
        dlclose(handle);
        void* const mapped = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (mapped) {
            dlclose(mapped);
        }
        return mapped != nullptr;
    }

private:
    TestSupport::TemporaryDirectory m_directory;
};

TEST_F(PluginPinning, registersNothing_isUnmapped) {
    EXPECT_FALSE(staysAfter("registerNothing"));
}

TEST_F(PluginPinning, registersAComponent_stays) {
    EXPECT_TRUE(staysAfter("registerComponent"));
    const ComponentLibrary& library = ComponentLibrary::instance();
    const std::size_t id = library.findComponent("AnchorComponent");
    ASSERT_NE(id, ComponentLibrary::INVALID_ID);
    EXPECT_NE(library.createDescriptor(id), nullptr) << "runs code of the plug-in";
}

TEST_F(PluginPinning, registersAMetaObject_stays) {
    EXPECT_TRUE(staysAfter("registerMetaObject"));
    EXPECT_NE(mirra::MetaObjectManager::instance().findType("Chain"), nullptr);
}

TEST_F(PluginPinning, registersAService_stays) {
    EXPECT_TRUE(staysAfter("registerService"));
    Tessel::EntryPoint::instance().tick(); // Runs code of the plug-in.
}

TEST_F(PluginPinning, registersAReactiveManager_stays) {
    EXPECT_TRUE(staysAfter("registerReactiveManager"));
}

TEST_F(PluginPinning, registersAConversion_stays) {
    EXPECT_TRUE(staysAfter("registerConversion"));
}

} // namespace

} // namespace Kiln::BoundaryTests
