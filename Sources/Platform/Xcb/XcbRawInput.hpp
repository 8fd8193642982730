#pragma once

#include "Platform/Xcb/XcbConnection.hpp"

#include <cstdint>

namespace platform {

/// Asks for raw events of the keyboard or the pointer (`mask`, of XCB_INPUT_XI_EVENT_MASK_RAW_…), which come
/// through other programs' grabs; false where the server has none such.
bool watchRawInput(const XcbConnection& connection, std::uint32_t mask);

}  // namespace platform
