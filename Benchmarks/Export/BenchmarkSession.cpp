#include "Export/BenchmarkSession.hpp"

#include "Fidelity/TextScene.hpp"
#include "Rig/PlainSession.hpp"

#include <QFile>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <future>
#include <iostream>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <utility>

namespace cobaltreel::benchmarks {

using platform::AssetWriter;
using platform::AssetWriterInput;
using platform::AudioBuffer;
using platform::MediaTime;
using platform::PixelBuffer;
using platform::PixelFormat;

namespace {

constexpr int screenWidth = 1920, screenHeight = 1080, screenRate = 60;
constexpr int cameraWidth = 1280, cameraHeight = 720, cameraRate = 30;
constexpr int soundRate = 48000;
constexpr double firstPTS = 1000;

/// A tiny repeatable generator: the same session every time.
class Noise {
  public:
    std::uint32_t next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        return state_ ^= state_ << 5;
    }

  private:
    std::uint32_t state_ = 2463534242U;
};

void fill(PixelBuffer& picture, int x, int y, int w, int h, int luma, int u = 128, int v = 128) {
    const auto clip = [](int& from, int& size, int limit) {
        if (from < 0) size += std::exchange(from, 0);
        size = std::max(0, std::min(size, limit - from));
    };
    clip(x, w, picture.width());
    clip(y, h, picture.height());
    for (int plane = 0; plane < 3; ++plane) {
        const auto& p = picture.plane(plane);
        const int shift = plane == 0 ? 0 : 1;
        const int value = plane == 0 ? luma : plane == 1 ? u : v;
        for (int row = y >> shift; row < (y + h) >> shift; ++row)
            std::memset(p.data + row * p.stride + (x >> shift), value, static_cast<std::size_t>(w >> shift));
    }
}

/// Pages of "text" that scroll over the whole screen and a window that moves above them: every part of the
/// picture changes, so that the encoder has alike work with and without zoom.
std::shared_ptr<PixelBuffer> drawScreen(int frame) {
    auto picture = std::make_shared<PixelBuffer>(PixelFormat::i420, screenWidth, screenHeight);
    fill(*picture, 0, 0, screenWidth, screenHeight, 235);
    Noise words;
    constexpr int lineHeight = 26, lines = 46;
    const int scrolled = frame * 2;
    for (int line = 0; line < lines; ++line) {
        constexpr int page = lines * lineHeight;
        const int y = ((line * lineHeight - scrolled) % page + page) % page - lineHeight;
        for (int x = 20; x < screenWidth - 20;) {
            const int width = 14 + static_cast<int>(words.next() % 70);
            fill(*picture, x, y, width, 12, 30 + static_cast<int>(words.next() % 40));
            x += width + 12;
        }
    }
    const double t = static_cast<double>(frame) / screenRate;
    const int left = 740 + static_cast<int>(500 * std::sin(t)),
              top = 380 + static_cast<int>(280 * std::cos(0.7 * t));
    fill(*picture, left, top, 420, 300, 90, 100, 100);
    fill(*picture, left, top, 420, 32, 190, 150, 120);
    for (int row = 0; row < 8; ++row) fill(*picture, left + 30, top + 60 + row * 28, 300 - 20 * row, 10, 210);
    return picture;
}

QStringList realText() {
    QFile file(QStringLiteral(COBALTREEL_SOURCE_DIR "/LICENSE"));
    if (!file.open(QIODevice::ReadOnly)) throw std::runtime_error("the text to show cannot be read");
    QStringList lines;
    for (const QString& line : QString::fromUtf8(file.readAll()).split('\n'))
        if (!line.trimmed().isEmpty()) lines << line;
    return lines;
}

/// The pictures of a take of text, each only when it differs from the one before.
class TextTake {
  public:
    explicit TextTake(TakeKind kind)
        : kind_(kind),
          typing_(fidelity::Take::typing, screenWidth, screenHeight, realText()),
          scrolling_(fidelity::Take::scrolling, screenWidth, screenHeight, realText()),
          cursor_(fidelity::Take::cursor, screenWidth, screenHeight, realText()) {}

    std::shared_ptr<const PixelBuffer> next(int frame) {
        QImage picture =
            kind_ == TakeKind::still ? cursor_.picture(frame / (screenRate / 2)) : typical(frame);
        if (picture == last_) return nullptr;
        last_ = std::move(picture);
        return fidelity::asVideo(last_);
    }

  private:
    QImage typical(int frame) const {
        constexpr int round = 10 * screenRate, scroll = 3 * screenRate;  // seven seconds of typing, a scroll
        const int within = frame % round;
        QImage picture = within < round - scroll
                             ? typing_.picture(frame)
                             : scrolling_.picture(frame / round * scroll + within - (round - scroll));
        // The pointer goes somewhere every two seconds, in half a second.
        const auto place = [](int stop) { return QPointF(200 + stop * 733 % 1500, 150 + stop * 397 % 800); };
        const int stop = frame / (2 * screenRate);
        const double way = std::min(1.0, frame % (2 * screenRate) / (0.5 * screenRate));
        QPainter painter(&picture);
        QPainterPath arrow(place(stop) * (1 - way) + place(stop + 1) * way);
        const QPointF tip = arrow.currentPosition();
        for (const QPointF& corner : {QPointF(0, 18), QPointF(5, 14), QPointF(12, 13)})
            arrow.lineTo(tip + corner);
        painter.fillPath(arrow, Qt::black);
        return picture;
    }

    TakeKind kind_;
    fidelity::TextScene typing_, scrolling_, cursor_;
    QImage last_;
};

/// A head that sways before a wall, with a sensor's noise.
std::shared_ptr<PixelBuffer> drawCamera(int frame, Noise& noise) {
    auto picture = std::make_shared<PixelBuffer>(PixelFormat::i420, cameraWidth, cameraHeight);
    const double t = static_cast<double>(frame) / cameraRate;
    const double headX = 640 + 60 * std::sin(1.3 * t), headY = 330 + 20 * std::cos(t);
    for (int y = 0; y < cameraHeight; ++y) {
        auto* row = picture->plane(0).data + y * picture->plane(0).stride;
        for (int x = 0; x < cameraWidth; ++x) {
            const double dx = (x - headX) / 150, dy = (y - headY) / 200;
            const int base = dx * dx + dy * dy < 1 ? 170 - y / 12 : 70 + x / 24;
            row[x] = static_cast<std::uint8_t>(base + static_cast<int>(noise.next() >> 30));
        }
    }
    for (int plane : {1, 2}) {
        const auto& p = picture->plane(plane);
        std::memset(p.data, plane == 1 ? 118 : 138,
                    static_cast<std::size_t>(p.stride) * static_cast<std::size_t>(p.height));
    }
    return picture;
}

std::shared_ptr<AudioBuffer> tone(std::int64_t from, std::size_t frames, int channels, double hertz) {
    auto sound = std::make_shared<AudioBuffer>();
    sound->format = {soundRate, channels, true};
    sound->bytes.resize(frames * sound->format.bytesPerFrame());
    auto samples = sound->floats();
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double t = static_cast<double>(from + static_cast<std::int64_t>(i) / channels) / soundRate;
        samples[i] = static_cast<float>(0.2 * std::sin(2 * std::numbers::pi * hertz * t));
    }
    return sound;
}

void appendWhenReady(AssetWriter& writer, AssetWriterInput& input, const platform::SampleBuffer& sample) {
    while (!input.waitUntilReady(0.1))
        if (writer.status() != AssetWriter::Status::writing) break;
    if (!input.append(sample)) {
        if (const auto error = writer.error()) throw *error;
        throw std::runtime_error("the benchmark's session could not be written");
    }
}

void finish(AssetWriter& writer) {
    const auto finished = std::make_shared<std::promise<void>>();
    writer.finishWriting([finished] { finished->set_value(); });
    finished->get_future().wait();
    if (const auto error = writer.error()) throw *error;
}

/// Writes one movie of pictures and a tone, both from `firstPTS` on.
template <typename Draw>
void writeMovie(platform::MediaService& media, const std::filesystem::path& path,
                platform::VideoSettings video, double duration, int channels, double hertz, Draw draw) {
    auto writer = media.makeWriter(path, platform::FileType::quickTimeMovie);
    video.expectsMediaDataInRealTime = true;
    auto& pictures = writer->addVideoInput(video);
    auto& sound = writer->addAudioInput({.sampleRate = soundRate, .channels = channels, .bitRate = 128000});
    if (!writer->startWriting()) throw *writer->error();
    writer->startSession(MediaTime::fromSeconds(firstPTS));
    const int rate = static_cast<int>(video.expectedFrameRate);
    const auto frames = static_cast<int>(duration * rate);
    const std::size_t soundPerFrame = static_cast<std::size_t>(soundRate / rate);
    for (int i = 0; i < frames; ++i) {
        const MediaTime time = MediaTime::fromSeconds(firstPTS + static_cast<double>(i) / rate, 90000);
        if (auto picture = draw(i)) appendWhenReady(*writer, pictures, {time, std::move(picture), nullptr});
        const auto from = static_cast<std::int64_t>(soundPerFrame) * i;
        appendWhenReady(*writer, sound, {time, nullptr, tone(from, soundPerFrame, channels, hertz)});
    }
    finish(*writer);
}

EventLog someClicks(int count, double duration) {
    EventLog log;
    Noise places;
    const double step = duration / (count + 0.5);
    for (int i = 0; i < count; ++i) {
        const double t = firstPTS + 0.5 + i * step;
        const double x = 100 + places.next() % 1720, y = 100 + places.next() % 880;
        log.samples.push_back({t - 0.02, x, y, 0});
        log.samples.push_back({t, x, y, 1});
        log.samples.push_back({t + 0.1, x, y, 0});
    }
    return log;
}

}  // namespace

BenchmarkSession BenchmarkSession::prepare(const std::filesystem::path& dir, TakeKind kind, double duration,
                                           platform::MediaService& media) {
    BenchmarkSession session{{dir}, rig::plainSession(screenWidth, screenHeight, firstPTS), duration};
    SessionMeta& meta = session.meta;
    meta.cameraFirstPTS = firstPTS;
    meta.recordingEndHostTime = firstPTS + duration;
    meta.cameraEnabled = meta.autoZoomEnabled = meta.systemAudioEnabled = kind != TakeKind::still;
    meta.cameraCorner = CameraCorner::bottomRight;
    meta.bubbleSizeFraction = 0.24;

    try {
        if (session.folder.readMeta() == meta) return session;
    } catch (const std::exception&) {
        std::cerr << "making the session to measure on, once...\n";
    }
    std::filesystem::create_directories(dir);
    std::optional<TextTake> text;
    if (kind != TakeKind::busy) text.emplace(kind);
    writeMovie(media, session.folder.screenMovie(),
               {.codec = platform::VideoCodec::hevc,
                .width = screenWidth,
                .height = screenHeight,
                .averageBitRate = 20'000'000,
                .expectedFrameRate = screenRate},
               duration, 2, 440, [&](int frame) -> platform::ConstPixelBufferRef {
                   if (text) return text->next(frame);
                   return drawScreen(frame);
               });
    Noise sensor;
    writeMovie(media, session.folder.cameraMovie(),
               {.codec = platform::VideoCodec::h264,
                .width = cameraWidth,
                .height = cameraHeight,
                .averageBitRate = 4'000'000,
                .expectedFrameRate = cameraRate},
               duration, 1, 880, [&](int frame) { return drawCamera(frame, sensor); });
    session.folder.writeEvents(someClicks(kind == TakeKind::busy      ? 12
                                          : kind == TakeKind::typical ? 6
                                                                      : 0,
                                          duration));
    session.folder.writeMeta(meta);
    return session;
}

}  // namespace cobaltreel::benchmarks
