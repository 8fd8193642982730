#pragma once

#include "Cobaltreel/UI/PreviewWindow/PictureSource.hpp"
#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Foundation/SerialQueue.hpp"
#include "Platform/Vision/PersonSegmentation.hpp"

#include <memory>

namespace cobaltreel {

/// The person of a camera player's pictures, cut out of the background: looks for a new picture twenty times
/// a second and works on one at a time, on the queue "cobaltreel.editor.cutout". Without a mask it shows
/// nothing new.
class CutoutPictures final : public PictureSource {
  public:
    /// The player must outlive it.
    CutoutPictures(platform::Player& player, std::shared_ptr<platform::VisionService> vision,
                   std::shared_ptr<platform::MainLoop> mainLoop, QObject* parent = nullptr);
    ~CutoutPictures() override;

    QImage picture() const override { return picture_; }
    void setWantedSize(QSize pixels) override;

  private:
    struct Work;
    void tick();

    platform::Player& player_;
    const std::shared_ptr<platform::MainLoop> mainLoop_;
    std::shared_ptr<Work> work_;  // the queue's own
    platform::ConstPixelBufferRef latest_;
    QImage picture_;
    bool busy_ = false;
    platform::Lifetime lifetime_;
    std::unique_ptr<platform::Timer> timer_;
    platform::SerialQueue queue_{"cobaltreel.editor.cutout", 1};
};

}  // namespace cobaltreel
