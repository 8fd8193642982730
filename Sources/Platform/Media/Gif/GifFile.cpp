#include "Platform/Media/Gif/GifFile.hpp"

#include "Platform/Foundation/DurableFiles.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <new>
#include <utility>

#include <fcntl.h>
#include <gif_lib.h>
#include <sys/stat.h>

namespace platform::gif {
namespace {

constexpr std::size_t writeSize = 1 << 18;

struct FreeMap {
    void operator()(ColorMapObject* map) const { GifFreeMapObject(map); }
};

}  // namespace

void GifFile::CloseGif::operator()(GifFileType* file) const { EGifCloseFile(file, nullptr); }

GifFile::GifFile(const std::filesystem::path& path, int width, int height) : path_(path) {
    constexpr mode_t everyone = 0666;  // less what the user's mask takes away
    fd_ = UniqueFd(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, everyone));
    if (!fd_) throwFileError("The GIF " + path.string() + " cannot be created", errno);
    file_.reset(EGifOpen(this, &GifFile::write, nullptr));
    if (!file_) throw std::bad_alloc();
    EGifSetGifVersion(file_.get(), true);
    constexpr int colorBits = 8;
    require(EGifPutScreenDesc(file_.get(), width, height, colorBits, 0, nullptr));
    // The extension by which browsers know how often to play it; 0 is for ever.
    constexpr const char* application = "NETSCAPE2.0";
    constexpr int applicationLength = 11;
    constexpr std::uint8_t forEver[]{1, 0, 0};
    require(EGifPutExtensionLeader(file_.get(), APPLICATION_EXT_FUNC_CODE));
    require(EGifPutExtensionBlock(file_.get(), applicationLength, application));
    require(EGifPutExtensionBlock(file_.get(), sizeof forEver, forEver));
    require(EGifPutExtensionTrailer(file_.get()));
}

GifFile::~GifFile() = default;

void GifFile::fail() const {
    const std::string what = "The GIF " + path_.string() + " cannot be written";
    if (errorNumber_ != 0) throwFileError(what, errorNumber_);
    const char* reason = file_ ? GifErrorString(file_->Error) : nullptr;
    throw PlatformError("Gif", file_ ? file_->Error : -1,
                        what + (reason ? std::string(": ") + reason : "") + ".");
}

void GifFile::require(int result) const {
    if (result != GIF_OK || errorNumber_ != 0) fail();
}

int GifFile::write(GifFileType* file, const std::uint8_t* bytes, int count) {
    auto& self = *static_cast<GifFile*>(file->UserData);
    if (self.errorNumber_ != 0) return 0;
    self.waiting_.insert(self.waiting_.end(), bytes, bytes + count);
    if (self.waiting_.size() >= writeSize) self.writeWaiting();
    return self.errorNumber_ == 0 ? count : 0;
}

void GifFile::writeWaiting() {
    errorNumber_ = writeWhole(fd_.get(), waiting_.data(), waiting_.size());
    waiting_.clear();
}

void GifFile::add(const Patch& patch, int delay) {
    GraphicsControlBlock control{};
    control.DisposalMode = DISPOSE_DO_NOT;
    control.DelayTime = delay;
    control.TransparentColor = patch.transparent;
    GifByteType bytes[4];
    const auto length = static_cast<int>(EGifGCBToExtension(&control, bytes));
    require(EGifPutExtension(file_.get(), GRAPHICS_EXT_FUNC_CODE, length, bytes));

    const auto colors = static_cast<int>(std::bit_ceil(std::max<std::size_t>(patch.palette.size(), 2)));
    const std::unique_ptr<ColorMapObject, FreeMap> map(GifMakeMapObject(colors, nullptr));
    if (!map) throw std::bad_alloc();
    for (std::size_t i = 0; i < patch.palette.size(); ++i)
        map->Colors[i] = {patch.palette[i].r, patch.palette[i].g, patch.palette[i].b};
    require(EGifPutImageDesc(file_.get(), patch.x, patch.y, patch.width, patch.height, false, map.get()));
    std::vector<GifByteType> line(static_cast<std::size_t>(patch.width));  // the library writes into it
    for (int y = 0; y < patch.height; ++y) {
        const auto row = patch.pixels.begin() + static_cast<std::ptrdiff_t>(y) * patch.width;
        std::copy_n(row, patch.width, line.begin());
        require(EGifPutLine(file_.get(), line.data(), patch.width));
    }
}

void GifFile::finish() {
    EGifCloseFile(file_.release(), nullptr);
    if (errorNumber_ == 0) writeWaiting();
    if (errorNumber_ != 0) fail();
    fd_.reset();
}

}  // namespace platform::gif
