#pragma once

#include "Cobaltreel/Capture/RecordingChoices.hpp"
#include "Cobaltreel/Capture/RecordingEngine.hpp"
#include "Platform/Foundation/Lifetime.hpp"

#include <QCoroTask>
#include <memory>

namespace cobaltreel {

/// Looks for displays, windows, cameras and microphones and offers them to the choices; cameras and
/// microphones whenever they change. Main thread.
class SourceLists {
  public:
    /// `choices` outlive this.
    SourceLists(std::shared_ptr<RecordingEngine> engine, RecordingChoices& choices);
    ~SourceLists();
    SourceLists(const SourceLists&) = delete;
    SourceLists& operator=(const SourceLists&) = delete;

    /// Displays and windows; they stay as they are when they cannot be had.
    QCoro::Task<void> refreshContent();
    void refreshDevices();

    bool devicesKnown() const { return devicesKnown_; }
    bool mediaServerMissing() const { return mediaServerMissing_; }

  private:
    QCoro::Task<void> devicesChanged();

    std::shared_ptr<RecordingEngine> engine_;
    RecordingChoices& choices_;
    bool devicesKnown_ = false;
    bool mediaServerMissing_ = false;
    platform::Lifetime lifetime_;
};

}  // namespace cobaltreel
