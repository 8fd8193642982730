#pragma once

#include "Cobaltreel/Capture/RecordingSurroundings.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewServices.hpp"
#include "Cobaltreel/UI/SettingsWindow/SettingsWindow.hpp"
#include "Platform/Foundation/Lifetime.hpp"

#include <functional>
#include <memory>
#include <vector>

namespace cobaltreel {

class AppWindow;
class PreviewModel;

/// The windows that recordings and settings are shown in. A preview that is asked to close during an export
/// asks whether to give that up, and then counts as closed when it has. Previews still open when this ends
/// are never reported. Main thread.
class PreviewWindows final : public RecordingWindows {
  public:
    explicit PreviewWindows(PreviewServices services);
    ~PreviewWindows() override;

    void openPreview(const SessionFolder& folder, const SessionMeta& meta,
                     std::vector<DeviceAbsence> absences,
                     std::function<void(bool hasExported)> closed) override;
    bool isExporting() const override;
    void endPreviews(double patience, std::function<void()> ended) override;
    void openSettings() override;

    /// The preview opened last; null when none is open.
    AppWindow* window() const;
    PreviewModel* model() const;

  private:
    struct Preview;
    bool isOpen(const Preview* preview) const;
    bool mayClose(Preview* preview);
    void cancelExports();
    void leave(Preview* preview);
    void finish(Preview* preview);

    const PreviewServices services_;
    SettingsWindow settings_;
    std::vector<std::unique_ptr<Preview>> previews_;
    std::function<void()> ended_;  // while the application ends
    std::unique_ptr<platform::Timer> patience_;
    platform::Lifetime lifetime_;
};

}  // namespace cobaltreel
