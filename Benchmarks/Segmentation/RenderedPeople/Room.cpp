#include "RenderedPeople/Room.hpp"

namespace cobaltreel::rendered {
namespace {

void drawGradient(cv::Mat3b& picture, const cv::Scalar& base, double slopeX, double slopeY) {
    for (int y = 0; y < picture.rows; ++y)
        for (int x = 0; x < picture.cols; ++x) {
            const double light = 1 + slopeX * (x / static_cast<double>(picture.cols) - 0.5) +
                                 slopeY * (y / static_cast<double>(picture.rows) - 0.5);
            for (int c = 0; c < 3; ++c) picture(y, x)[c] = cv::saturate_cast<uchar>(base[c] * light);
        }
}

}  // namespace

const char* Room::name(Kind kind) {
    static const char* const names[] = {"plain", "office", "bookshelf", "window", "wallpaper", "changing"};
    return names[static_cast<int>(kind)];
}

Room::Room(Random& random, Kind kind, cv::Size size) : kind_(kind), picture_(size) {
    const double grey = uniform(random, 70, 215);
    const cv::Scalar wall(grey * uniform(random, 0.85, 1.1), grey * uniform(random, 0.9, 1.05),
                          grey * uniform(random, 0.9, 1.1));
    drawGradient(picture_, wall, uniform(random, -0.4, 0.4), uniform(random, -0.3, 0.2));
    switch (kind) {
        case Kind::plain:
            break;
        case Kind::office:
        case Kind::changing:
            drawOffice(random);
            break;
        case Kind::bookshelf:
            drawBookshelf(random);
            break;
        case Kind::window:
            drawWindow(random);
            break;
        case Kind::wallpaper:
            drawWallpaper(random);
            break;
    }
    focusBlur_ = uniform(random, 0.6, 4);
    cv::GaussianBlur(picture_, picture_, {}, focusBlur_);
    if (kind == Kind::changing) {
        screen_ = cv::Rect(choice(random, 2) ? 60 : size.width - 420, 120 + choice(random, 80), 360, 210);
        for (int i = 0; i < 6; ++i) screenColors_.push_back(randomColor(random));
    }
}

void Room::drawOffice(Random& random) {
    const int w = picture_.cols, h = picture_.rows;
    for (int i = 0; i < 3; ++i) {  // framed pictures
        const cv::Rect frame(choice(random, w - 200), 30 + choice(random, h / 3), 120 + choice(random, 140),
                             90 + choice(random, 120));
        cv::rectangle(picture_, frame, randomColor(random, 10, 90), -1);
        cv::rectangle(picture_, frame - cv::Size(24, 24) + cv::Point(12, 12), randomColor(random), -1);
        cv::circle(picture_, (frame.tl() + frame.br()) / 2, 25, randomColor(random), -1, cv::LINE_AA);
    }
    const int board = h / 2 + choice(random, 120);
    cv::rectangle(picture_, {0, board}, {w, board + 18}, randomColor(random, 30, 140), -1);
    for (int i = 0; i < 9; ++i) {
        const int x = choice(random, w), tall = 30 + choice(random, 110);
        cv::rectangle(picture_, {x, board - tall}, {x + 20 + choice(random, 70), board}, randomColor(random),
                      -1);
    }
    const cv::Scalar lower = randomColor(random, 40, 180);
    for (int x = choice(random, 100); x < w; x += 260)
        cv::rectangle(picture_, {x, board + 60}, {x + 230, h}, lower, -1);
}

void Room::drawBookshelf(Random& random) {
    const int w = picture_.cols, h = picture_.rows, shelf = 130 + choice(random, 60);
    picture_.setTo(randomColor(random, 15, 80));
    for (int y = choice(random, 40) - 20; y < h; y += shelf) {
        for (int x = 0; x < w;) {
            const int wide = 12 + choice(random, 34), tall = shelf - 30 - choice(random, 40);
            if (choice(random, 12) != 0) {
                const cv::Scalar spine = randomColor(random, 15, 225);
                cv::rectangle(picture_, {x, y + shelf - tall}, {x + wide - 2, y + shelf - 8}, spine, -1);
                cv::rectangle(picture_, {x + 3, y + shelf - tall + 12}, {x + wide - 6, y + shelf - tall + 28},
                              scaled(spine, 1.4), -1);
            }
            x += wide;
        }
        cv::rectangle(picture_, {0, y + shelf - 8}, {w, y + shelf}, randomColor(random, 50, 120), -1);
    }
}

void Room::drawWindow(Random& random) {
    const int h = picture_.rows, left = 150 + choice(random, 600), wide = 380 + choice(random, 120);
    cv::rectangle(picture_, {left - 20, 40}, {left + wide + 20, h * 2 / 3}, randomColor(random, 190, 240),
                  -1);
    cv::rectangle(picture_, {left, 60}, {left + wide, h * 2 / 3 - 20}, {250, 240, 225}, -1);
    for (int i = 0; i < 14; ++i)
        cv::circle(picture_, {left + choice(random, wide), h / 2 - choice(random, 60)},
                   15 + choice(random, 40), {90, 150 + choice(random, 60) * 1.0, 110}, -1);
    cv::rectangle(picture_, {left, h * 2 / 3 - 20}, {left + wide, h * 2 / 3 + 60},
                  randomColor(random, 160, 230), -1);
    cv::line(picture_, {left + wide / 2, 60}, {left + wide / 2, h * 2 / 3 - 20}, {215, 220, 225}, 14);
    for (const int edge : {left - 90, left + wide + 10}) {  // curtains
        const cv::Scalar cloth = randomColor(random, 70, 210);
        for (int fold = 0; fold < 5; ++fold)
            cv::rectangle(picture_, {edge + fold * 18, 20}, {edge + fold * 18 + 17, h},
                          scaled(cloth, fold % 2 ? 0.85 : 1.05), -1);
    }
    const int pot = left > 500 ? 120 : 1100;
    for (int i = 0; i < 26; ++i)
        cv::ellipse(picture_, cv::Point(pot + choice(random, 180) - 90, h - 150 - choice(random, 260)),
                    {14 + choice(random, 14), 55}, choice(random, 180), 0, 360,
                    {40, 70 + choice(random, 80) * 1.0, 40}, -1, cv::LINE_AA);
    cv::rectangle(picture_, {pot - 50, h - 150}, {pot + 50, h}, {60, 80, 140}, -1);
}

void Room::drawWallpaper(Random& random) {
    const cv::Scalar ink = randomColor(random, 40, 220);
    const int pitch = 36 + choice(random, 50);
    const bool bricks = choice(random, 2) == 0;
    cv::Mat3b layer = picture_.clone();
    for (int row = 0; row * pitch < picture_.rows + pitch; ++row)
        for (int col = -1; col * pitch * 2 < picture_.cols + pitch; ++col) {
            const cv::Point at(col * pitch * 2 + (row % 2 ? pitch : 0), row * pitch);
            if (bricks)
                cv::rectangle(layer, cv::Rect(at.x + 3, at.y + 3, pitch * 2 - 6, pitch - 6),
                              scaled(ink, uniform(random, 0.8, 1.15)), -1);
            else
                cv::ellipse(layer, at, {pitch / 3, pitch / 2}, row * 20, 0, 360, ink, -1, cv::LINE_AA);
        }
    cv::addWeighted(picture_, 0.45, layer, 0.55, 0, picture_);
}

cv::Mat3b Room::at(double seconds) const {
    cv::Mat3b now = picture_.clone();
    if (kind_ != Kind::changing) return now;
    cv::Mat3b screen = now(screen_);
    const auto shot = static_cast<std::size_t>(seconds / 0.8);
    screen.setTo(screenColors_[shot % screenColors_.size()]);
    for (std::size_t i = 0; i < 3; ++i) {
        const double t = seconds * (1.3 + 0.7 * static_cast<double>(i)) + static_cast<double>(i) * 2;
        cv::circle(screen, cv::Point2d(180 + 130 * std::sin(t), 105 + 70 * std::cos(t * 1.4)), 34,
                   screenColors_[(shot + i + 1) % screenColors_.size()], -1, cv::LINE_AA);
    }
    cv::GaussianBlur(screen, screen, {}, focusBlur_);
    // A lamp somebody switches on and off, and leaves that sway.
    const int lampX = screen_.x < now.cols / 2 ? now.cols - 200 : 200;
    if (std::fmod(seconds, 1.7) < 0.6) cv::circle(now, {lampX, 110}, 60, {200, 235, 250}, -1, cv::LINE_AA);
    for (int leaf = 0; leaf < 7; ++leaf)
        cv::ellipse(
            now, cv::Point2d(lampX - 60 + leaf * 22 + 9 * std::sin(seconds * 2 + leaf), 420 + leaf % 3 * 40),
            {13, 60}, leaf * 25 + 10 * std::sin(seconds * 2.4 + leaf), 0, 360, {50, 110, 60}, -1,
            cv::LINE_AA);
    return now;
}

cv::Scalar Room::colorBehindPerson() const {
    return cv::mean(picture_(
        cv::Rect(picture_.cols * 3 / 10, picture_.rows * 2 / 3, picture_.cols * 4 / 10, picture_.rows / 3)));
}

}  // namespace cobaltreel::rendered
