#pragma once

#include "Platform/Desktop/Inhibitor.hpp"

namespace platform {

/// The X server's own screen saver and its saving of power (DPMS), suspended for a client: the server resumes
/// both when the client's connection ends.
class XcbScreenInhibitor final : public Inhibitor {
  public:
    /// Null where the server cannot.
    std::unique_ptr<Inhibition> inhibit(const std::string& reason) override;
    Offer offer() override;
};

}  // namespace platform
