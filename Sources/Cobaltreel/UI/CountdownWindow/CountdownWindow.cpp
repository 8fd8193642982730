#include "Cobaltreel/UI/CountdownWindow/CountdownWindow.hpp"

#include "Cobaltreel/UI/Windows/AppWindows.hpp"

#include <QGuiApplication>
#include <QPainter>
#include <QPixmap>
#include <QQuickPaintedItem>
#include <QQuickView>
#include <QScreen>
#include <QSurfaceFormat>
#include <QTimer>
#include <chrono>
#include <utility>

namespace cobaltreel {
namespace {

/// Where our panel has just closed, the programs beneath it paint before the picture is taken.
constexpr std::chrono::milliseconds repaintTime{150};

const QColor dimming = QColor::fromRgbF(0, 0, 0, 0.25F);

/// The screen as it was, dimmed.
class Backdrop final : public QQuickPaintedItem {
  public:
    Backdrop(QPixmap picture, QQuickItem* parent) : QQuickPaintedItem(parent), picture_(std::move(picture)) {
        setZ(-1);
        setOpaquePainting(true);
    }
    void paint(QPainter* painter) override {
        const QRectF whole(QPointF(), size());
        painter->drawPixmap(whole, picture_, QRectF(picture_.rect()));
        painter->fillRect(whole, dimming);
    }

  private:
    QPixmap picture_;
};

class QuickOverlay final : public CountdownOverlay {
  public:
    QuickOverlay(CountdownModel& model, bool translucent) : window_(&AppWindows::engine(), nullptr) {
        const QRect frame = CountdownWindow::frame(QGuiApplication::primaryScreen());
        if (translucent) {
            QSurfaceFormat format = window_.format();
            format.setAlphaBufferSize(8);
            window_.setFormat(format);
        }
        window_.setColor(translucent ? dimming : QColor(Qt::black));
        // Past the window manager: nothing it stacks, panels and full-screen windows included, comes above.
        window_.setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint |
                         Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus);
        window_.setResizeMode(QQuickView::SizeRootObjectToView);
        window_.setGeometry(frame);
        window_.setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&model)}});
        window_.setSource(
            View::ofModule(QStringLiteral("Cobaltreel.CountdownWindow"), QStringLiteral("CountdownView"))
                .source);
        if (translucent)
            show();
        else
            QTimer::singleShot(repaintTime, &window_, [this] {
                QScreen* const screen = QGuiApplication::primaryScreen();
                const QPixmap picture = screen ? screen->grabWindow() : QPixmap();
                if (!picture.isNull())
                    (new Backdrop(picture, window_.contentItem()))->setSize(window_.size());
                show();
            });
        // Should something have come above it meanwhile.
        QObject::connect(&model, &CountdownModel::digitChanged, &window_, &QWindow::raise);
    }

  private:
    void show() {
        window_.show();
        window_.raise();
    }

    QQuickView window_;
};

}  // namespace

QRect CountdownWindow::frame(const QScreen* mainScreen) {
    return mainScreen ? mainScreen->geometry() : QRect(0, 0, 800, 600);
}

CountdownOverlayFactory CountdownWindow::factory(std::shared_ptr<platform::Compositor> compositor) {
    return [compositor = std::move(compositor)](CountdownModel& model) -> std::unique_ptr<CountdownOverlay> {
        return std::make_unique<QuickOverlay>(model, compositor && compositor->isRunning());
    };
}

}  // namespace cobaltreel
