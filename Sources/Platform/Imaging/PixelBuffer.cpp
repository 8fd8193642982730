#include "Platform/Imaging/PixelBuffer.hpp"

#include "Platform/Foundation/PlatformError.hpp"

#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace platform {
namespace {

constexpr int largestSide = 32768;
constexpr std::size_t rowAlignment = 64;

void requireUsableSize(int width, int height) {
    if (width < 1 || height < 1 || width > largestSide || height > largestSide)
        throw PlatformError("Imaging", 1,
                            "A picture of " + std::to_string(width) + " × " + std::to_string(height) +
                                " pixels cannot be made; each side must lie between 1 and " +
                                std::to_string(largestSide) + ".");
}

std::shared_ptr<void> allocateZeroed(std::size_t bytes, int width, int height) {
    constexpr auto alignment = static_cast<std::align_val_t>(rowAlignment);
    void* memory = ::operator new(bytes, alignment, std::nothrow);
    if (!memory)
        throw PlatformError("Imaging", 1,
                            "There is not enough memory for a picture of " + std::to_string(width) + " × " +
                                std::to_string(height) + " pixels; close other programs and try again.");
    std::memset(memory, 0, bytes);
    return {memory, [](void* block) { ::operator delete(block, alignment); }};
}

}  // namespace

PixelBuffer::PixelBuffer(PixelFormat format, int width, int height, ColorMatrix matrix)
    : format_(format), matrix_(matrix), width_(width), height_(height) {
    requireUsableSize(width, height);
    std::array<std::size_t, 3> offsets{};
    std::size_t bytes = 0;
    for (int i = 0; i < planeCount(); ++i) {
        Plane& plane = planes_[static_cast<std::size_t>(i)];
        plane.width = i == 0 ? width : (width + 1) / 2;
        plane.height = i == 0 ? height : (height + 1) / 2;
        const std::size_t rowBytes =
            static_cast<std::size_t>(plane.width) * (format == PixelFormat::bgra ? 4 : 1);
        plane.stride = static_cast<int>((rowBytes + rowAlignment - 1) / rowAlignment * rowAlignment);
        offsets[static_cast<std::size_t>(i)] = bytes;
        bytes += static_cast<std::size_t>(plane.stride) * static_cast<std::size_t>(plane.height);
    }
    auto memory = allocateZeroed(bytes, width, height);
    for (std::size_t i = 0; i < static_cast<std::size_t>(planeCount()); ++i)
        planes_[i].data = static_cast<std::uint8_t*>(memory.get()) + offsets[i];
    owner_ = std::move(memory);
}

PixelBuffer::PixelBuffer(PixelFormat format, int width, int height, std::array<Plane, 3> planes,
                         std::shared_ptr<const void> owner, ColorMatrix matrix)
    : format_(format),
      matrix_(matrix),
      width_(width),
      height_(height),
      planes_(planes),
      owner_(std::move(owner)) {
    requireUsableSize(width, height);
}

}  // namespace platform
