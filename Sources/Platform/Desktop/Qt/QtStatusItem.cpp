#include "Platform/Desktop/Qt/QtStatusItem.hpp"

#include "Platform/Desktop/Qt/NotifierTray.hpp"
#include "Platform/Desktop/Xcb/XcbTrayWatch.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <QAction>
#include <QGuiApplication>
#include <QIcon>
#include <QIconEngine>
#include <QImage>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QProxyStyle>
#include <QStyleOption>
#include <QSystemTrayIcon>
#include <QWindow>
#include <algorithm>
#include <utility>

namespace platform {
namespace {

using Draw = std::function<StatusPicture(const StatusLabel&, int)>;

/// Draws the label in whatever size a tray has.
class LabelIcon final : public QIconEngine {
  public:
    LabelIcon(Draw draw, StatusLabel label) : draw_(std::move(draw)), label_(std::move(label)) {}

    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override {
        const StatusPicture picture = draw_(label_, std::min(size.width(), size.height()));
        if (picture.side <= 0) return {};
        const QImage image(reinterpret_cast<const uchar*>(picture.pixels.data()), picture.side, picture.side,
                           QImage::Format_ARGB32_Premultiplied);
        return QPixmap::fromImage(image.copy());
    }
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
        const double density = painter->device()->devicePixelRatio();
        const QPixmap drawn = pixmap((QSizeF(rect.size()) * density).toSize(), mode, state);
        const int side = std::min(rect.width(), rect.height());
        painter->drawPixmap(QRect(rect.center() - QPoint((side - 1) / 2, (side - 1) / 2), QSize(side, side)),
                            drawn);
    }
    /// What a tray on the bus is offered.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        return {QSize(22, 22), QSize(32, 32), QSize(48, 48), QSize(64, 64)};
    }
    QIconEngine* clone() const override { return new LabelIcon(*this); }

  private:
    Draw draw_;
    StatusLabel label_;
};

/// Texts run the menu's way; painters know only the application's.
class DirectedStyle final : public QProxyStyle {
  public:
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
        painter->setLayoutDirection(option->direction);
        QProxyStyle::drawControl(element, option, painter, widget);
    }
};

class QtStatusItem final : public StatusItem {
  public:
    QtStatusItem(std::shared_ptr<MainLoop> mainLoop, std::string title, StatusItemActions actions)
        : title_(QString::fromStdString(title)),
          actions_(std::move(actions)),
          notifierTray_([this] { update(); }) {
        try {
            embeddingTray_ = std::make_unique<XcbTrayWatch>(*mainLoop, [this] { update(); });
        } catch (const PlatformError&) {
            // Without an X server there is only the bus.
        }
        if (hasTray()) show();
    }

    void setLabel(const StatusLabel& label) override {
        if (label == label_) return;
        const bool looksTheSame = label.isStill && label_.isStill && label.symbol == label_.symbol;
        label_ = label;
        if (!icon_) return;
        if (!looksTheSame) drawLabel();
        writeTip();
    }
    bool isShown() const override { return icon_ != nullptr; }
    std::optional<Rect> frame() const override {
        if (!icon_) return std::nullopt;
        const QRect place = icon_->geometry();
        if (place.isEmpty() || !isTakenIn()) return std::nullopt;
        return Rect{static_cast<double>(place.x()), static_cast<double>(place.y()),
                    static_cast<double>(place.width()), static_cast<double>(place.height())};
    }

    bool isDrawnByDesktop() const override { return isShown() && notifierTray_.isThere(); }

  private:
    /// Until then the icon's window lies in a corner of the screen.
    bool isTakenIn() const {
        const auto windows = QGuiApplication::topLevelWindows();
        const auto own = std::ranges::find_if(windows, [](const QWindow* window) {
            return window->objectName() == QLatin1String("QSystemTrayIconSysWindow");
        });
        return own == windows.end() || !embeddingTray_ ||
               embeddingTray_->holds(static_cast<std::uint32_t>((*own)->winId()));
    }
    bool hasTray() { return (embeddingTray_ && embeddingTray_->hasTray()) || notifierTray_.isThere(); }

    /// An icon is made for the tray that is there: one made earlier would look for it in the wrong place.
    void show() {
        icon_ = std::make_unique<QSystemTrayIcon>();
        QObject::connect(icon_.get(), &QSystemTrayIcon::activated, icon_.get(),
                         [this](QSystemTrayIcon::ActivationReason reason) {
                             // The first click of a double one has been told already.
                             if (reason != QSystemTrayIcon::DoubleClick && reason != QSystemTrayIcon::Context)
                                 actions_.clicked();
                         });
        if (actions_.menu) makeMenu();
        drawLabel();
        writeTip();
        icon_->show();
    }
    void makeMenu() {
        menu_ = std::make_unique<QMenu>();
        menu_->setStyle(&menuStyle_);
        for (std::size_t line = 0; line < actions_.menu().size(); ++line)
            QObject::connect(menu_->addAction(QString()), &QAction::triggered, menu_.get(),
                             [this, line] { actions_.menu().at(line).chosen(); });
        QObject::connect(menu_.get(), &QMenu::aboutToShow, menu_.get(), [this] { writeMenu(); });
        icon_->setContextMenu(menu_.get());
    }
    void writeMenu() {
        if (!menu_) return;
        const auto lines = actions_.menu();
        const bool rightToLeft =
            !lines.empty() && QString::fromStdString(lines.front().title).isRightToLeft();
        menu_->setLayoutDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
        for (std::size_t line = 0; line < lines.size(); ++line)
            menu_->actions()
                .at(static_cast<qsizetype>(line))
                ->setText(QString::fromStdString(lines[line].title));
    }
    void drawLabel() {
        writeMenu();
        icon_->setIcon(QIcon(new LabelIcon(actions_.draw, label_)));
    }
    void writeTip() {
        icon_->setToolTip(
            label_.text.empty() ? title_ : title_ + QLatin1Char(' ') + QString::fromStdString(label_.text));
    }
    void update() {
        const bool there = hasTray();
        if (there == isShown()) return;
        if (there)
            show();
        else
            icon_.reset();
        actions_.shownChanged();
    }

    QString title_;
    StatusItemActions actions_;
    StatusLabel label_;
    NotifierTray notifierTray_;
    std::unique_ptr<XcbTrayWatch> embeddingTray_;
    DirectedStyle menuStyle_;
    std::unique_ptr<QMenu> menu_;
    std::unique_ptr<QSystemTrayIcon> icon_;  // shows the menu
};

}  // namespace

QtStatusItemService::QtStatusItemService(std::shared_ptr<MainLoop> mainLoop)
    : mainLoop_(std::move(mainLoop)) {}

std::unique_ptr<StatusItem> QtStatusItemService::makeStatusItem(std::string title,
                                                                StatusItemActions actions) {
    return std::make_unique<QtStatusItem>(mainLoop_, std::move(title), std::move(actions));
}

}  // namespace platform
