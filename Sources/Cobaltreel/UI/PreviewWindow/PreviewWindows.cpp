#include "Cobaltreel/UI/PreviewWindow/PreviewWindows.hpp"

#include "Cobaltreel/UI/PreviewWindow/PreviewModel.hpp"
#include "Cobaltreel/UI/Windows/AppWindows.hpp"

#include <algorithm>
#include <utility>

namespace cobaltreel {
namespace {

constexpr QSize windowSize(700, 720);

}  // namespace

struct PreviewWindows::Preview {
    PreviewModel model;
    std::function<void(bool)> closed;
    std::unique_ptr<AppWindow> window;  // its view refers to the model
    bool isLeft = false;
};

PreviewWindows::PreviewWindows(PreviewServices services) : services_(std::move(services)) {}
PreviewWindows::~PreviewWindows() = default;

void PreviewWindows::openPreview(const SessionFolder& folder, const SessionMeta& meta,
                                 std::function<void(bool)> closed) {
    auto* preview = previews_
                        .emplace_back(new Preview{
                            .model{folder, meta, services_}, .closed = std::move(closed), .window = nullptr})
                        .get();
    const View view =
        View::ofModule(QStringLiteral("Cobaltreel.PreviewWindow"), QStringLiteral("PreviewView"),
                       {{QStringLiteral("model"), QVariant::fromValue(&preview->model)}});
    preview->window = AppWindows::present(view, QStringLiteral("Cobaltreel"), windowSize);
    QObject::connect(preview->window.get(), &AppWindow::closed, &preview->model,
                     [this, preview] { leave(preview); });
    QObject::connect(&preview->model, &PreviewModel::exportingChanged, &preview->model, [this, preview] {
        if (preview->isLeft && !preview->model.exporting()) leave(preview);
    });
}

void PreviewWindows::leave(Preview* preview) {
    preview->isLeft = true;
    preview->model.pause();
    if (preview->model.exporting()) {
        preview->model.cancel();
        return;
    }
    // Neither the window nor the model is taken away inside an event of its own.
    services_.mainLoop->post([this, preview, alive = std::weak_ptr<bool>(alive_)] {
        if (!alive.expired()) finish(preview);
    });
}

void PreviewWindows::finish(Preview* preview) {
    const auto found = std::find_if(previews_.begin(), previews_.end(),
                                    [&](const auto& candidate) { return candidate.get() == preview; });
    if (found == previews_.end()) return;
    const auto closed = std::move(preview->closed);
    const bool hasExported = preview->model.hasExported();
    // The files are closed before whoever is told may delete them.
    previews_.erase(found);
    if (closed) closed(hasExported);
}

void PreviewWindows::openSettings() { settings_.open(); }

AppWindow* PreviewWindows::window() const {
    return previews_.empty() ? nullptr : previews_.back()->window.get();
}

PreviewModel* PreviewWindows::model() const { return previews_.empty() ? nullptr : &previews_.back()->model; }

void PreviewWindows::closePreviews() {
    for (const auto& preview : previews_)
        if (!preview->isLeft) preview->window->close();
}

}  // namespace cobaltreel
