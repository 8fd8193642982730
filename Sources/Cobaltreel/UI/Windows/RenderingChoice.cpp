#include "Cobaltreel/UI/Windows/RenderingChoice.hpp"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QQuickWindow>
#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>

namespace cobaltreel {
namespace {

/// Asking a driver costs tens of megabytes that are never returned, so where the system has no graphics
/// device (/dev/dri, the proprietary driver's own, or that of a guest of Windows) nobody is asked.
bool hasGraphicsDevice() {
    const char* const devices[]{"/dev/dri", "/dev/nvidiactl", "/dev/dxg"};
    return std::any_of(std::begin(devices), std::end(devices), [](const char* device) {
        std::error_code unknown;
        return std::filesystem::exists(device, unknown);
    });
}

bool hasGraphicsProcessor() {
    if (!hasGraphicsDevice()) return false;
    QOpenGLContext context;
    if (!context.create()) return false;
    QOffscreenSurface surface;
    surface.setFormat(context.format());
    surface.create();
    if (!context.makeCurrent(&surface)) return false;
    const auto* name = reinterpret_cast<const char*>(context.functions()->glGetString(GL_RENDERER));
    const std::string_view renderer = name ? name : "";
    context.doneCurrent();
    const bool emulated =
        renderer.find("llvmpipe") != renderer.npos || renderer.find("softpipe") != renderer.npos;
    return !renderer.empty() && !emulated;
}

}  // namespace

void chooseRendering() {
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
    if (qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) return;
    if (!hasGraphicsProcessor()) QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

}  // namespace cobaltreel
