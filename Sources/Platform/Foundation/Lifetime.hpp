#pragma once

#include <memory>
#include <utility>

namespace platform {

/// Whether an object still lives. Only the thread that destroys the object may rely on the answer.
class LifetimeWatch {
  public:
    explicit LifetimeWatch(const std::shared_ptr<void>& token) : token_(token) {}
    explicit operator bool() const { return !token_.expired(); }

  private:
    std::weak_ptr<void> token_;
};

/// A member of an object that is called back later: callbacks check it before they touch the object. Any
/// thread may take a watch while the object lives.
class Lifetime {
  public:
    Lifetime() = default;
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;

    LifetimeWatch watch() const { return LifetimeWatch(token_); }
    /// `work`, or nothing once the object has gone.
    template <typename Work>
    auto guard(Work work) const {
        return [alive = watch(), work = std::move(work)](auto&&... arguments) {
            if (alive) work(std::forward<decltype(arguments)>(arguments)...);
        };
    }

  private:
    std::shared_ptr<void> token_ = std::make_shared<char>();
};

}  // namespace platform
