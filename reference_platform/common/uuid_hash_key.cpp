#include <common/uuid.h>

#ifdef __linux__
#include <cstring>

#include <sys/auxv.h>
#include <sys/random.h>
#else
#include <cstdint>
#include <random>
#endif

namespace Kiln {

#ifdef __linux__

Uuid::HashKey Uuid::makeHashKey() noexcept {
    HashKey key{};
    // Do not wait for the kernel's generator, which is not ready early after the machine has started.
    if (getrandom(&key, sizeof key, GRND_NONBLOCK) != sizeof key) {
        // Use the 16 random bytes that the kernel gives to every new process.
        const auto* const bytes =
            reinterpret_cast<const void*>(getauxval(AT_RANDOM)); // NOLINT(performance-no-int-to-ptr): so it is passed.
        std::memcpy(&key, bytes, sizeof key);
    }
    return key;
}

#else

Uuid::HashKey Uuid::makeHashKey() noexcept {
    std::random_device device;
    std::uniform_int_distribution<std::uint64_t> words;
    return {words(device), words(device)};
}

#endif

// The lowest priority number that programs may use, so that the static objects of this library can hash, too. Libraries
// that link to this one are initialized after it.
[[gnu::init_priority(101)]] const Uuid::HashKey Uuid::s_hashKey = Uuid::makeHashKey();

} // namespace Kiln
