#include "Cobaltreel/UI/Windows/RenderingChoice.hpp"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QQuickWindow>
#include <string_view>

namespace cobaltreel {
namespace {

bool hasGraphicsProcessor() {
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
