#include "Cobaltreel/UI/PreviewWindow/PreviewWindows.hpp"

#include "Cobaltreel/Support/Alerts.hpp"
#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewModel.hpp"
#include "Cobaltreel/UI/Windows/AppWindows.hpp"

#include <algorithm>
#include <cmath>
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
    bool asks = false;  // whether to give up the export
};

PreviewWindows::PreviewWindows(PreviewServices services) : services_(std::move(services)) {}
PreviewWindows::~PreviewWindows() = default;

void PreviewWindows::openPreview(const SessionFolder& folder, const SessionMeta& meta,
                                 std::vector<DeviceAbsence> absences, std::function<void(bool)> closed) {
    auto* preview = previews_
                        .emplace_back(new Preview{
                            .model{folder, meta, services_}, .closed = std::move(closed), .window = nullptr})
                        .get();
    preview->model.setAbsences(std::move(absences));
    const View view =
        View::ofModule(QStringLiteral("Cobaltreel.PreviewWindow"), QStringLiteral("PreviewView"),
                       {{QStringLiteral("model"), QVariant::fromValue(&preview->model)}});
    preview->window = AppWindows::present(view, QStringLiteral("Cobaltreel"), windowSize);
    preview->window->mayClose = [this, preview] { return mayClose(preview); };
    QObject::connect(preview->window.get(), &AppWindow::closed, &preview->model,
                     [this, preview] { leave(preview); });
    QObject::connect(&preview->model, &PreviewModel::exportingChanged, &preview->model, [this, preview] {
        if (preview->isLeft && !preview->model.exporting()) leave(preview);
    });
}

bool PreviewWindows::isOpen(const Preview* preview) const {
    return std::ranges::any_of(previews_, [&](const auto& other) { return other.get() == preview; });
}

bool PreviewWindows::mayClose(Preview* preview) {
    if (!preview->model.exporting()) return true;
    if (std::exchange(preview->asks, true)) return false;
    const Alert alert{S::exportRunning(), S::exportRunningNote(), {S::stopExporting(), S::keepExporting()}};
    services_.alerts->present(alert, lifetime_.guard([this, preview](int button) {
        if (!isOpen(preview)) return;
        preview->asks = false;
        // What has been completed meanwhile is there to be looked at.
        if (button != 0 || !preview->model.exporting()) return;
        preview->isLeft = true;
        preview->window->hide();
        preview->model.cancel();
    }));
    return false;
}

/// Without a running export.
void PreviewWindows::leave(Preview* preview) {
    preview->isLeft = true;
    preview->model.pause();
    // Neither the window nor the model is taken away inside an event of its own.
    services_.mainLoop->post(lifetime_.guard([this, preview] { finish(preview); }));
}

void PreviewWindows::finish(Preview* preview) {
    const auto found = std::find_if(previews_.begin(), previews_.end(),
                                    [&](const auto& candidate) { return candidate.get() == preview; });
    if (found == previews_.end()) return;
    const auto closed = std::move(preview->closed);
    // Not when a later one was given up, or failed.
    const bool hasExported = preview->model.hasExported() && preview->model.isExported();
    // The files are closed first: the callback may delete them.
    previews_.erase(found);
    if (closed) closed(hasExported);
    if (previews_.empty() && ended_) std::exchange(ended_, nullptr)();
}

bool PreviewWindows::isExporting() const {
    return std::ranges::any_of(previews_, [](const auto& preview) { return preview->model.exporting(); });
}

void PreviewWindows::endPreviews(double patience, std::function<void()> ended) {
    if (previews_.empty()) {
        services_.mainLoop->post(std::move(ended));
        return;
    }
    ended_ = std::move(ended);
    for (const auto& preview : previews_) {
        if (std::exchange(preview->isLeft, true)) continue;
        if (!preview->model.exporting()) leave(preview.get());
    }
    if (patience <= 0)
        cancelExports();
    else if (std::isfinite(patience))
        patience_ = services_.mainLoop->scheduleOnce(patience, [this] { cancelExports(); });
}

void PreviewWindows::cancelExports() {
    for (const auto& preview : previews_) preview->model.cancel();
}

void PreviewWindows::openSettings() { settings_.open(); }

AppWindow* PreviewWindows::window() const {
    return previews_.empty() ? nullptr : previews_.back()->window.get();
}

PreviewModel* PreviewWindows::model() const { return previews_.empty() ? nullptr : &previews_.back()->model; }

}  // namespace cobaltreel
