#include "Platform/Media/Mpv/MpvPlayerService.hpp"

#include "Platform/Media/Mpv/MpvPlayer.hpp"

#include <utility>

namespace platform {
namespace {

class MpvPlayerService final : public PlayerService {
  public:
    MpvPlayerService(std::shared_ptr<MainLoop> loop, std::shared_ptr<Clock> clock,
                     std::shared_ptr<MediaService> media)
        : loop_(std::move(loop)),
          clock_(std::move(clock)),
          media_(std::move(media)),
          endings_(std::make_shared<SerialQueue>("player.endings")) {}

    std::unique_ptr<Player> makePlayer() override {
        return std::make_unique<mpv::MpvPlayer>(loop_, clock_, media_, endings_);
    }
    std::optional<PlatformError> unavailable() override {
        try {
            mpv::makeHandle();
            return std::nullopt;
        } catch (const PlatformError& error) {
            return error;
        }
    }
    std::string implementation() const override {
        try {
            const mpv::HandlePtr handle = mpv::makeHandle();
            const std::unique_ptr<char, decltype(&mpv_free)> version(
                mpv_get_property_string(handle.get(), "mpv-version"), &mpv_free);
            // The library calls itself "mpv 0.35.1".
            if (version) return std::string("lib") + version.get();
        } catch (const PlatformError&) {
        }
        return "libmpv";
    }

  private:
    std::shared_ptr<MainLoop> loop_;
    std::shared_ptr<Clock> clock_;
    std::shared_ptr<MediaService> media_;
    std::shared_ptr<SerialQueue> endings_;  // last, so that it ends before what it uses
};

}  // namespace

std::shared_ptr<PlayerService> makeMpvPlayerService(std::shared_ptr<MainLoop> loop,
                                                    std::shared_ptr<Clock> clock,
                                                    std::shared_ptr<MediaService> media) {
    return std::make_shared<MpvPlayerService>(std::move(loop), std::move(clock), std::move(media));
}

}  // namespace platform
