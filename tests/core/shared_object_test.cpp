#include <core/shared_object.h>

#include <build_paths.h>
#include <support/temporary_directory.h>

#include <filesystem>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace Kiln {

namespace {

/// A copy of core_test_object, so that each test loads an object of its own.
class SharedObject : public testing::Test {
protected:
    SharedObject() {
        std::filesystem::copy_file(KILN_BUILD_LIB_DIR "/libcore_test_object.so", m_path);
        m_handle = dlopen(m_path.c_str(), RTLD_NOW | RTLD_LOCAL);
    }

    [[nodiscard]] void* findAnswer() const { return m_handle ? dlsym(m_handle, "answer") : nullptr; }
    void close() const { dlclose(m_handle); }

    [[nodiscard]] bool isMapped() const {
        void* const handle = dlopen(m_path.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (handle) {
            dlclose(handle);
        }
        return handle != nullptr;
    }

private:
    TestSupport::TemporaryDirectory m_directory;
    std::string m_path = m_directory.path() / "object.so";
    void* m_handle = nullptr;
};

TEST_F(SharedObject, notPinned_isUnmappedWhenItIsClosed) {
    ASSERT_NE(findAnswer(), nullptr);
    close();
    EXPECT_FALSE(isMapped());
}

TEST_F(SharedObject, pinnedByAnAddressInIt_staysWhenItIsClosed) {
    void* const address = findAnswer();
    ASSERT_NE(address, nullptr);

    pinSharedObject(address);
    close();

    EXPECT_TRUE(isMapped());
    EXPECT_EQ(reinterpret_cast<int (*)()>(address)(), 42);
}

TEST_F(SharedObject, addressOutsideOfIt_doesNotPinIt) {
    ASSERT_NE(findAnswer(), nullptr);
    const int local = 0;

    pinSharedObject(&local);
    pinSharedObject(nullptr);
    pinSharedObject(reinterpret_cast<const void*>(&pinSharedObject));
    close();

    EXPECT_FALSE(isMapped());
}

} // namespace

} // namespace Kiln
