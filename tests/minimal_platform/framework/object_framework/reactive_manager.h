#pragma once

#include <core/non_copyable.h>

#include <functional>
#include <memory>

namespace Kiln::Tessel {

class World;

class IManagerInitData {
public:
    virtual ~IManagerInitData() = default;
};

class IReactiveManager : NonCopyable {
public:
    virtual ~IReactiveManager() = default;
    virtual void init(World& world) = 0;
    virtual void fini(World& world) = 0;
};

using ReactiveManagerFactory = std::function<std::unique_ptr<IReactiveManager>(std::unique_ptr<IManagerInitData>)>;

template <class Manager>
class ReactiveManager : public IReactiveManager {
public:
    [[nodiscard]] static std::unique_ptr<IReactiveManager> create(std::unique_ptr<IManagerInitData> /*initData*/) {
        return std::make_unique<Manager>();
    }
};

} // namespace Kiln::Tessel
