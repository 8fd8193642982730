#include "Platform/Imaging/PixelBuffer.hpp"

#include <utility>

namespace platform {

struct PixelBufferPool::Shelf {
    std::mutex mutex;
    std::vector<std::unique_ptr<PixelBuffer>> idle;
    std::size_t out = 0;
    std::size_t limit = 0;

    /// Takes one of the `limit` places; false when all are taken. `buffer` receives an idle buffer, if any.
    bool checkOut(std::unique_ptr<PixelBuffer>& buffer) {
        const std::lock_guard lock(mutex);
        if (out >= limit) return false;
        if (!idle.empty()) {
            buffer = std::move(idle.back());
            idle.pop_back();
        }
        ++out;
        return true;
    }
    void checkIn(std::unique_ptr<PixelBuffer> buffer) {
        const std::lock_guard lock(mutex);
        --out;
        if (buffer) idle.push_back(std::move(buffer));
    }
};

PixelBufferPool::PixelBufferPool(PixelFormat format, int width, int height, std::size_t limit,
                                 ColorMatrix matrix)
    : format_(format), width_(width), height_(height), matrix_(matrix), shelf_(std::make_shared<Shelf>()) {
    shelf_->limit = limit;
    // Handing a buffer back happens in deleters, which must not fail for want of memory.
    shelf_->idle.reserve(limit);
}

PixelBufferRef PixelBufferPool::createPixelBuffer() {
    std::unique_ptr<PixelBuffer> buffer;
    if (!shelf_->checkOut(buffer)) return nullptr;
    try {
        if (!buffer) buffer = std::make_unique<PixelBuffer>(format_, width_, height_, matrix_);
    } catch (...) {
        shelf_->checkIn(nullptr);
        throw;
    }
    const auto giveBack = [shelf = std::weak_ptr(shelf_)](PixelBuffer* returned) {
        std::unique_ptr<PixelBuffer> owned(returned);
        if (const auto open = shelf.lock()) open->checkIn(std::move(owned));
    };
    return {buffer.release(), giveBack};
}

}  // namespace platform
