#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/log_capture.h>
#include <tessel_foundation/component.h>

#include <cstdio>
#include <cstdlib>
#include <latch>
#include <thread>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Kiln::Tessel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::LogCapture;

class Plain final : public IComponent, public NativeComponent<Plain> {
public:
    explicit Plain(std::vector<ComponentTypeId>* freed = nullptr) : m_freed(freed) {}
    ~Plain() override {
        if (m_freed != nullptr) {
            m_freed->push_back(type());
        }
    }
    [[nodiscard]] ComponentTypeId type() const override { return getType(); }
    void activate() override {}
    void deactivate() override {}

private:
    std::vector<ComponentTypeId>* m_freed;
};

class Other final : public NativeComponent<Other> {};

class Contended final : public NativeComponent<Contended> {};

/// Runs before the library's statics are certain to be initialised, and again after main().
struct StaticUser {
    StaticUser() : id(IComponent::types().registerType(typeid(StaticUser))) {}
    ~StaticUser() {
        if (IComponent::types().registerType(typeid(StaticUser)) != id) {
            std::abort();
        }
    }
    ComponentTypeId id;
} staticUser;

TEST(Component, types_isOneLibrary) {
    EXPECT_EQ(&IComponent::types(), &IComponent::types());
    EXPECT_EQ(IComponent::MAX_TYPES, 1024);
    EXPECT_EQ(IComponent::TypesLibrary::OVERFLOW_ID, 1024);
}

TEST(Component, types_usableInStaticInitialisers) {
    EXPECT_EQ(IComponent::types().registerType(typeid(StaticUser)), staticUser.id);
}

TEST(Component, getType_isTheIdInTheTypesLibrary) {
    EXPECT_EQ(NativeComponent<Plain>::getType(), IComponent::types().registerType(typeid(Plain)));
    EXPECT_NE(NativeComponent<Plain>::getType(), NativeComponent<Other>::getType());
    EXPECT_LT(NativeComponent<Plain>::getType(), IComponent::MAX_TYPES);
}

TEST(Component, getType_firstAskedByManyThreads_sameId) {
    constexpr std::size_t THREADS_COUNT = 4;
    std::vector<ComponentTypeId> ids(THREADS_COUNT, IComponent::MAX_TYPES);
    std::latch start(THREADS_COUNT);
    {
        std::vector<std::jthread> threads;
        for (auto& id : ids) {
            threads.emplace_back([&start, &id] {
                start.arrive_and_wait();
                id = NativeComponent<Contended>::getType();
            });
        }
    }
    EXPECT_THAT(ids, testing::Each(NativeComponent<Contended>::getType()));
}

TEST(Component, construction_registeredType_isSilent) {
    const LogCapture log;
    const Plain plain;
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(CheckComponentTypeId, overflowId_logsCriticalMessage) {
    const LogCapture log;
    std::vector<unsigned> lines;
    const ScopedLogSink sink([&](const LogMessage& message) { lines.push_back(message.line); });
    checkComponentTypeId(1024);
    const LogCapture::Message expected{6, "", "Too Many IComponent types!", "shared_libs/tessel_foundation/component"};
    EXPECT_THAT(log.messages(), ElementsAre(expected));
    EXPECT_THAT(lines, ElementsAre(174U));
}

TEST(CheckComponentTypeId, anyOtherId_isSilent) {
    const LogCapture log;
    checkComponentTypeId(0);
    checkComponentTypeId(1023);
    EXPECT_THAT(log.messages(), IsEmpty());
}

template <int>
struct Filler {};

template <int... NUMBERS>
void fillTypesLibrary(std::integer_sequence<int, NUMBERS...>) {
    for (const std::type_info* const type : {&typeid(Filler<NUMBERS>)...}) {
        IComponent::types().registerType(*type);
    }
}

class Latecomer final : public IComponent, public NativeComponent<Latecomer> {
public:
    [[nodiscard]] ComponentTypeId type() const override { return getType(); }
    void activate() override {}
    void deactivate() override {}
};

TEST(Component, construction_fullTypesLibrary_logsEachTimeAndContinues) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // A full library would break all other tests.
    EXPECT_EXIT(
        {
            std::ignore = NativeComponent<Plain>::getType();
            fillTypesLibrary(std::make_integer_sequence<int, IComponent::MAX_TYPES>());
            const Latecomer first;
            const Latecomer second;
            const Plain known;
            Log::instance().flush();
            std::fprintf(stderr, "type %d of %zu", static_cast<int>(second.type()), IComponent::types().typesCount());
            std::exit(0);
        },
        testing::ExitedWithCode(0),
        "^\\[6\\] Too Many IComponent types!\n\\[6\\] Too Many IComponent types! \\(repeated 1 time\\)\n"
        "type 1024 of 1024$");
}

TEST(ComponentPointer, destruction_callsTheDeleter) {
    std::vector<ComponentTypeId> freed;
    {
        const ComponentPointer pointer(new Plain(&freed), {[](IComponent* component) { delete component; }});
        EXPECT_THAT(freed, IsEmpty());
    }
    EXPECT_THAT(freed, ElementsAre(NativeComponent<Plain>::getType()));
}

TEST(ComponentPointer, null_isDestroyedWithoutDeleter) {
    const ComponentPointer pointer;
    EXPECT_EQ(pointer, nullptr);
}

TEST(Component, isNotCopyable) {
    EXPECT_FALSE(std::is_copy_constructible_v<Plain>);
    EXPECT_FALSE(std::is_copy_assignable_v<Plain>);
}

} // namespace
} // namespace Kiln::Tessel
