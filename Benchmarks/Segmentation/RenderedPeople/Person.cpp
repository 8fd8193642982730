#include "RenderedPeople/Person.hpp"

#include <array>

namespace cobaltreel::rendered {
namespace {

// All layers are drawn for a head 300 pixels wide.
constexpr double skullWidth = 300;
const cv::Point2d headCentre{420, 430};  // in the head's layer
const cv::Point2d neckPoint{1000, 150};  // in the body's layer: where the chin is
const cv::Point2d chinOffset{0, 205};    // from the head's centre to the chin
const cv::Point2d elbowPoint{200, 880};  // in the forearm's layer

const std::array<cv::Scalar, 8> skins = {cv::Scalar{176, 196, 236},
                                         {150, 178, 226},
                                         {132, 163, 215},
                                         {120, 150, 205},
                                         {98, 130, 188},
                                         {80, 108, 160},
                                         {58, 82, 126},
                                         {46, 62, 98}};
const std::array<cv::Scalar, 7> hairs = {cv::Scalar{24, 22, 26}, {30, 42, 62},    {40, 66, 104},
                                         {78, 124, 168},         {120, 178, 214}, {150, 152, 156},
                                         {40, 60, 140}};

/// Any hair goes with light skin, dark or gray hair with dark skin.
cv::Scalar hairFor(const cv::Scalar& skin, Random& random) {
    const bool dark = skin[2] < 200;
    const auto pick = random() % hairs.size();
    return dark && (pick == 3 || pick == 4 || pick == 6) ? hairs[pick % 3] : hairs[pick];
}

void warpOnto(cv::Mat3b& frame, cv::Mat1b& cover, const Sprite& sprite, cv::Point2d anchor,
              cv::Point2d target, double scale, double degrees) {
    cv::Mat transform = cv::getRotationMatrix2D(anchor, -degrees, scale);
    transform.at<double>(0, 2) += target.x - anchor.x;
    transform.at<double>(1, 2) += target.y - anchor.y;
    cv::Mat3b color;
    cv::Mat1b weight;
    cv::warpAffine(sprite.color, color, transform, frame.size(), cv::INTER_LINEAR);
    cv::warpAffine(sprite.cover, weight, transform, frame.size(), cv::INTER_LINEAR);
    blend(frame, color, weight);
    addCover(cover, weight);
}

/// A closed wavy line about `centre`: the rim of hair.
std::vector<cv::Point2d> wavyRim(Random& random, cv::Point2d centre, cv::Size2d axes, double waves,
                                 double depth) {
    const double phase = uniform(random, 0, 6), second = uniform(random, 0, 6);
    std::vector<cv::Point2d> rim;
    for (int i = 0; i < 180; ++i) {
        const double t = i * CV_PI / 90;
        const double r =
            1 + depth * (std::sin(waves * t + phase) * 0.6 + std::sin(2.3 * waves * t + second) * 0.4);
        rim.emplace_back(centre.x + axes.width * r * std::cos(t), centre.y + axes.height * r * std::sin(t));
    }
    return rim;
}

}  // namespace

Person::Person(Random& random, const cv::Scalar& clothes)
    : skin_(skins[random() % skins.size()]),
      hair_(hairFor(skin_, random)),
      clothes_(clothes),
      body_({2000, 1700}),
      head_({840, 1000}),
      forearm_({400, 900}),
      rightHand_(choice(random, 2) == 0) {
    drawBody(random);
    drawHead(random);
    drawForearm(random);
}

void Person::drawBody(Random& random) {
    const double shoulder = uniform(random, 360, 490);
    const double neckHalf = uniform(random, 78, 105);
    const double drop = uniform(random, 60, 150);  // how far the shoulders slope
    const double neckLength = uniform(random, 70, 115);
    const double x = neckPoint.x, y = neckPoint.y;

    // Neck, with the chin's shadow on it.
    body_.fill(smoothOutline({{x - neckHalf, y - 120},
                              {x + neckHalf, y - 120},
                              {x + neckHalf * 1.02, y + neckLength},
                              {x + neckHalf * 1.7, y + neckLength + 90},
                              {x, y + neckLength + 260},
                              {x - neckHalf * 1.7, y + neckLength + 90},
                              {x - neckHalf * 1.02, y + neckLength}},
                             2),
               scaled(skin_, 0.88));
    body_.tint({x, y + 5}, {neckHalf * 1.1, 50}, 0, scaled(skin_, 0.5), 0.8, 16);

    const double collar = y + neckLength - 5;
    const double dip = uniform(random, 20, 190);  // neckline
    const double arm = shoulder * uniform(random, 1.04, 1.2);
    const std::vector<cv::Point2d> torso = smoothOutline({{x - neckHalf * 0.98, collar - 10},
                                                          {x - neckHalf * 0.55, collar + dip * 0.75},
                                                          {x, collar + dip},
                                                          {x + neckHalf * 0.55, collar + dip * 0.75},
                                                          {x + neckHalf * 0.98, collar - 10},
                                                          {x + shoulder * 0.55, collar + drop * 0.35},
                                                          {x + shoulder, collar + drop},
                                                          {x + arm, collar + drop + 260},
                                                          {x + arm * 1.08, collar + 900},
                                                          {x + arm * 1.08, 1690},
                                                          {x - arm * 1.08, 1690},
                                                          {x - arm * 1.08, collar + 900},
                                                          {x - arm, collar + drop + 260},
                                                          {x - shoulder, collar + drop},
                                                          {x - shoulder * 0.55, collar + drop * 0.35}},
                                                         2);
    body_.fill(torso, clothes_);

    cv::Mat1b inside(body_.color.size(), uchar(0));
    {
        Sprite probe(body_.color.size());
        probe.fill(torso, {255, 255, 255});
        inside = probe.cover;
    }
    cv::Mat3b painted = body_.color.clone();
    Sprite texture(body_.color.size());
    texture.color = painted;
    const cv::Scalar accent = randomColor(random);
    switch (choice(random, 5)) {
        case 0:  // stripes
            for (double row = collar; row < 1700; row += 90)
                texture.tintOutline({{0, row}, {2000, row + 20}, {2000, row + 55}, {0, row + 35}}, accent,
                                    0.85, 1);
            break;
        case 1:  // open jacket over a shirt
            texture.tintOutline({{x - neckHalf, collar - 20},
                                 {x + neckHalf, collar - 20},
                                 {x + shoulder * 0.3, 1700},
                                 {x - shoulder * 0.3, 1700}},
                                accent, 1, 1);
            break;
        case 2:  // print on the chest
            texture.tint({x, collar + 430}, {uniform(random, 80, 170), uniform(random, 60, 140)}, 0, accent,
                         0.95, 1);
            break;
        default:
            break;
    }
    // Folds, the side away from the light, arms set off from the trunk.
    for (int i = 0; i < 14; ++i) {
        const bool dark = choice(random, 3) != 0;
        texture.tint({uniform(random, x - arm, x + arm), uniform(random, collar + 80, 1650)},
                     {uniform(random, 8, 26), uniform(random, 90, 300)}, uniform(random, -35, 35),
                     dark ? cv::Scalar{0, 0, 0} : cv::Scalar{255, 255, 255}, dark ? 0.28 : 0.12, 14);
    }
    for (const double side : {-1.0, 1.0})
        texture.tintOutline({{x + side * shoulder * 0.70, collar + drop + 230},
                             {x + side * shoulder * 0.74, collar + drop + 230},
                             {x + side * shoulder * 0.80, 1700},
                             {x + side * shoulder * 0.74, 1700}},
                            {0, 0, 0}, 0.4, 8);
    const double light = choice(random, 2) ? 1 : -1;
    texture.tint({x - light * arm, 1000}, {arm * 0.6, 900}, 0, {0, 0, 0}, 0.35, 110);
    blend(body_.color, texture.color, inside);
}

void Person::drawHead(Random& random) {
    const cv::Point2d c = headCentre;
    const int style = choice(random, 6);  // 0 short, 1 long, 2 bald, 3 voluminous, 4 bun, 5 short and parted
    const bool bearded = style != 1 && style != 4 && choice(random, 4) == 0;
    const double half = skullWidth / 2, tall = 205;

    if (style == 1) {
        const double length = uniform(random, 250, 420), flare = uniform(random, 1.25, 1.55);
        std::vector<cv::Point2d> locks = {{c.x, c.y - 255},
                                          {c.x + half * 1.1, c.y - 215},
                                          {c.x + half * flare, c.y},
                                          {c.x + half * flare, c.y + length},
                                          {c.x + half * 0.6, c.y + length + 30},
                                          {c.x + half * 0.45, c.y + 60},
                                          {c.x - half * 0.45, c.y + 60},
                                          {c.x - half * 0.6, c.y + length + 20},
                                          {c.x - half * flare, c.y + length - 20},
                                          {c.x - half * flare, c.y},
                                          {c.x - half * 1.1, c.y - 215}};
        head_.fill(smoothOutline(std::move(locks)), scaled(hair_, 0.85));
    } else if (style == 3) {
        head_.fill(wavyRim(random, {c.x, c.y - 70},
                           {half * uniform(random, 1.4, 1.8), uniform(random, 235, 280)}, 13, 0.03),
                   scaled(hair_, 0.9));
    } else if (style == 4) {
        head_.fillEllipse({c.x + uniform(random, -40, 40), c.y - 270}, {72, 62}, 0, scaled(hair_, 0.9));
    }
    if (style != 2)
        head_.fill(wavyRim(random, {c.x, c.y - 55},
                           {half * uniform(random, 1.06, 1.16), uniform(random, 185, 210)}, 17, 0.012),
                   hair_);

    for (const double side : {-1.0, 1.0})
        if (style != 1 && style != 3)
            head_.fillEllipse({c.x + side * half * 0.98, c.y + 12}, {24, 46}, 0, scaled(skin_, 0.84));

    std::vector<cv::Point2d> face;
    const double jaw = uniform(random, 0.12, 0.26);
    for (int i = 0; i < 120; ++i) {
        const double t = i * CV_PI / 60, s = std::sin(t);
        face.emplace_back(c.x + half * std::cos(t) * (1 - jaw * std::max(0.0, s) * std::max(0.0, s)),
                          c.y + tall * s);
    }
    head_.fill(face, skin_);

    // Modelling: cheeks and nose bridge lit, sockets, temples and jaw in shade.
    const cv::Scalar shade = scaled(skin_, 0.5), lit = scaled(skin_, 1.18),
                     lips = {skin_[0] * 0.62, skin_[1] * 0.55, skin_[2] * 0.8};
    const double side = choice(random, 2) ? 1 : -1, sideLight = uniform(random, 0.15, 0.5);
    head_.tint({c.x - side * half, c.y + 20}, {half * 0.42, tall}, 0, shade, sideLight, 38);
    head_.tint({c.x + side * half, c.y + 60}, {half * 0.2, tall * 0.7}, 0, shade, 0.3, 26);
    head_.tint({c.x, c.y + tall}, {half * 0.8, 30}, 0, shade, 0.5, 18);
    for (const double s : {-1.0, 1.0}) {
        head_.tint({c.x + s * 64, c.y - 28}, {46, 30}, 0, shade, 0.6, 12);
        head_.tint({c.x + s * 78, c.y + 58}, {36, 32}, 0, lit, 0.6, 16);
        head_.tint({c.x + s * 66, c.y - 62}, {46, 9}, s * -6, scaled(hair_, 0.75), style == 2 ? 0.6 : 0.9, 4);
        head_.tint({c.x + s * 64, c.y - 22}, {29, 12}, 0, {205, 210, 215}, 0.75, 3);
        head_.tint({c.x + s * 64, c.y - 22}, {13, 13}, 0, {35, 40, 50}, 0.95, 2);
        head_.tint({c.x + s * 64, c.y - 34}, {32, 6}, 0, scaled(skin_, 0.25), 0.85, 3);
        head_.tint({c.x + s * 17, c.y + 70}, {10, 6}, 0, scaled(skin_, 0.3), 0.85, 3);
        head_.tint({c.x + s * 32, c.y + 55}, {8, 24}, 0, shade, 0.4, 7);
    }
    head_.tint({c.x, c.y - 110}, {88, 38}, 0, lit, 0.5, 22);
    head_.tint({c.x, c.y + 8}, {13, 56}, 0, lit, 0.75, 7);
    head_.tint({c.x, c.y + 82}, {36, 8}, 0, shade, 0.6, 6);
    head_.tint({c.x, c.y + 122}, {50, 12}, 0, lips, 0.9, 4);
    head_.tint({c.x, c.y + 119}, {48, 3}, 0, scaled(skin_, 0.25), 0.85, 2);
    head_.tint({c.x, c.y + 146}, {32, 8}, 0, shade, 0.45, 6);
    head_.tint({c.x, c.y + 172}, {34, 18}, 0, lit, 0.35, 12);
    if (bearded)
        head_.tintOutline(smoothOutline({{c.x - half * 0.97, c.y + 40},
                                         {c.x - 60, c.y + 95},
                                         {c.x, c.y + 98},
                                         {c.x + 60, c.y + 95},
                                         {c.x + half * 0.97, c.y + 40},
                                         {c.x + half * 0.8, c.y + 150},
                                         {c.x, c.y + tall},
                                         {c.x - half * 0.8, c.y + 150}}),
                          scaled(hair_, 0.8), 0.75, 8);
    if (style != 2) {
        const double line = uniform(random, -150, -115), lean = style == 5 ? uniform(random, -60, 60) : 0;
        head_.tintOutline(smoothOutline({{c.x - half * 1.02, c.y - 30},
                                         {c.x - half * 1.02, c.y - 215},
                                         {c.x, c.y - 240},
                                         {c.x + half * 1.02, c.y - 215},
                                         {c.x + half * 1.02, c.y - 30},
                                         {c.x + half * 0.86, c.y - 95},
                                         {c.x + 50 + lean, c.y + line},
                                         {c.x - 60 + lean, c.y + line - 5},
                                         {c.x - half * 0.86, c.y - 95}},
                                        2),
                          hair_, 1, 3);
        for (int i = 0; i < 10; ++i)
            head_.tint({c.x + uniform(random, -130, 130), c.y - uniform(random, 150, 220)},
                       {uniform(random, 4, 12), 45}, uniform(random, -40, 40),
                       choice(random, 2) ? scaled(hair_, 1.6) : scaled(hair_, 0.6), 0.35, 6);
    }
    if (choice(random, 4) == 0) {  // glasses
        for (const double s : {-1.0, 1.0})
            cv::ellipse(head_.color, cv::Point2d(c.x + s * 64, c.y - 20), cv::Size(46, 36), 0, 0, 360,
                        cv::Scalar(30, 30, 34), 6, cv::LINE_AA);
        cv::line(head_.color, cv::Point2d(c.x - 18, c.y - 22), cv::Point2d(c.x + 18, c.y - 22),
                 cv::Scalar(30, 30, 34), 6, cv::LINE_AA);
    }
}

void Person::drawForearm(Random& random) {
    const double x = 200;
    forearm_.fill(smoothOutline({{x - 48, 300}, {x + 48, 300}, {x + 85, 880}, {x - 85, 880}}, 2),
                  scaled(skin_, 0.92));
    const double cuff = choice(random, 2) ? 330 : 620;
    forearm_.fill(smoothOutline({{x - 66, cuff}, {x + 66, cuff}, {x + 100, 900}, {x - 100, 900}}, 2),
                  scaled(clothes_, 0.9));
    forearm_.fill(
        smoothOutline(
            {{x - 78, 150}, {x + 78, 150}, {x + 72, 300}, {x + 40, 345}, {x - 40, 345}, {x - 72, 300}}, 2),
        skin_);
    for (int finger = 0; finger < 4; ++finger) {
        const double fx = x - 60 + finger * 40;
        forearm_.fillEllipse({fx, 115 + std::abs(finger - 1.5) * 12}, {17, 88}, (finger - 1.5) * 5, skin_);
        forearm_.tint({fx + 18, 150}, {4, 50}, 0, scaled(skin_, 0.5), 0.5, 4);
    }
    forearm_.fillEllipse({x + 98, 225}, {20, 66}, 28, skin_);
    forearm_.tint({x, 240}, {45, 40}, 0, scaled(skin_, 0.75), 0.4, 16);
}

cv::Mat1b Person::paint(cv::Mat3b& frame, const Pose& pose) const {
    cv::Mat1b cover(frame.size(), uchar(0));
    if (!pose.present) return cover;
    const double scale = pose.headWidth / skullWidth;
    const double turn = pose.headTilt * CV_PI / 180;
    const cv::Point2d chin(pose.headX - chinOffset.y * scale * std::sin(turn),
                           pose.headY + chinOffset.y * scale * std::cos(turn));
    warpOnto(frame, cover, body_, neckPoint, chin, scale, pose.bodyTilt);
    warpOnto(frame, cover, head_, headCentre, {pose.headX, pose.headY}, scale, pose.headTilt);
    if (pose.raisedHand > 0) {
        const double side = rightHand_ ? 1 : -1;
        const double bottom = frame.rows + 20 + (1 - pose.raisedHand) * 900 * scale;
        warpOnto(frame, cover, forearm_, elbowPoint,
                 {pose.headX + side * pose.headWidth * 1.75,
                  std::min(bottom, pose.headY + pose.headWidth * 2.6 + (1 - pose.raisedHand) * 900 * scale)},
                 scale, side * 8);
    }
    return cover;
}

}  // namespace cobaltreel::rendered
