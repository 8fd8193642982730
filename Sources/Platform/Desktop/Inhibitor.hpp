#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace platform {

/// What is held back, until destroyed or the process ends in whatever way.
class Inhibition {
  public:
    virtual ~Inhibition() = default;
};

/// Holds back what would disturb a recording: notifications of the desktop, and the blanking or locking of
/// the screen after a while without input. Main thread.
class Inhibitor {
  public:
    virtual ~Inhibitor() = default;
    /// Connects to the desktop and does not wait for its services; what it does not offer goes on as before.
    /// `reason` is for the desktop to show. Null when nothing can be held back.
    virtual std::unique_ptr<Inhibition> inhibit(const std::string& reason) = 0;

    /// Who would hold back what, for a person to read; empty: nobody. Waits two seconds at most for the
    /// services' answers.
    struct Offer {
        std::string notifications;
        std::string screen;
    };
    virtual Offer offer() = 0;
};

/// Several as one. The first that offers something is named.
class InhibitorGroup final : public Inhibitor {
  public:
    explicit InhibitorGroup(std::vector<std::shared_ptr<Inhibitor>> members) : members_(std::move(members)) {}

    std::unique_ptr<Inhibition> inhibit(const std::string& reason) override {
        auto all = std::make_unique<All>();
        for (const auto& member : members_) all->parts.push_back(member->inhibit(reason));
        return all;
    }
    Offer offer() override {
        Offer all;
        for (const auto& member : members_) {
            Offer one = member->offer();
            if (all.notifications.empty()) all.notifications = std::move(one.notifications);
            if (all.screen.empty()) all.screen = std::move(one.screen);
        }
        return all;
    }

  private:
    struct All final : Inhibition {
        std::vector<std::unique_ptr<Inhibition>> parts;
    };
    std::vector<std::shared_ptr<Inhibitor>> members_;
};

}  // namespace platform
