#include "Platform/Foundation/Clock.hpp"

#include <ctime>

namespace platform {

double HostClock::now() const {
    timespec reading{};
    clock_gettime(CLOCK_MONOTONIC, &reading);
    return static_cast<double>(reading.tv_sec) + static_cast<double>(reading.tv_nsec) * 1e-9;
}

}  // namespace platform
