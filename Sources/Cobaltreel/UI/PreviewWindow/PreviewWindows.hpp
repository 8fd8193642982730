#pragma once

#include "Cobaltreel/Capture/RecordingSurroundings.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewServices.hpp"
#include "Cobaltreel/UI/SettingsWindow/SettingsWindow.hpp"

#include <functional>
#include <memory>
#include <vector>

namespace cobaltreel {

class AppWindow;
class PreviewModel;

/// The windows that recordings and settings are shown in. A preview that is closed during an export goes at
/// once, and counts as closed when the export has given up. Previews still open when this ends are never
/// reported. Main thread.
class PreviewWindows final : public RecordingWindows {
  public:
    explicit PreviewWindows(PreviewServices services);
    ~PreviewWindows() override;

    void openPreview(const SessionFolder& folder, const SessionMeta& meta,
                     std::function<void(bool hasExported)> closed) override;
    void openSettings() override;

    /// The preview opened last; null when none is open.
    AppWindow* window() const;
    PreviewModel* model() const;
    /// Closes all previews, as the user would.
    void closePreviews();

  private:
    struct Preview;
    void leave(Preview* preview);
    void finish(Preview* preview);

    const PreviewServices services_;
    SettingsWindow settings_;
    std::vector<std::unique_ptr<Preview>> previews_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace cobaltreel
