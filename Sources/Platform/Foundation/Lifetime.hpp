#pragma once

#include <memory>
#include <utility>

namespace platform {

/// Says whether an object still lives. Any thread; it may be trusted on the thread that destroys the object.
class LifetimeWatch {
  public:
    explicit LifetimeWatch(const std::shared_ptr<void>& token) : token_(token) {}
    explicit operator bool() const { return !token_.expired(); }

  private:
    std::weak_ptr<void> token_;
};

/// A member of an object that is called back: who calls asks first whether there still is somebody. Declared
/// last, it ends before what the callbacks use.
class Lifetime {
  public:
    Lifetime() = default;
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;

    LifetimeWatch watch() const { return LifetimeWatch(token_); }
    /// `work`, which does nothing once the object has gone.
    template <typename Work>
    auto guard(Work work) const {
        return [alive = watch(), work = std::move(work)](auto&&... arguments) mutable {
            if (alive) work(std::forward<decltype(arguments)>(arguments)...);
        };
    }

  private:
    std::shared_ptr<void> token_ = std::make_shared<char>();
};

}  // namespace platform
