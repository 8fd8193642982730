#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace rig {

/// Somebody in a room, who sways a little: what an ordinary camera sees.
class PersonPicture {
  public:
    PersonPicture(int width, int height);
    /// The picture of this time, planes one after the other; stays as it is until the next call.
    const std::uint8_t* i420(double seconds) const;

  private:
    static constexpr double period = 4;  ///< seconds, there and back
    static constexpr std::size_t count = 16;
    std::vector<std::vector<std::uint8_t>> pictures_;  // of half a period
};

}  // namespace rig
