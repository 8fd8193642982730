#pragma once

#include "Platform/Capture/CaptureSession.hpp"

#include <QString>

namespace cobaltreel {

/// What has happened to a camera or microphone, in short and in the interface language.
QString noticeOf(const platform::CaptureEvent& event);

}  // namespace cobaltreel
