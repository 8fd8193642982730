// Shows real text on the X screen it is started on while the program records it, exports the take, and tells
// how much of what stood on the screen is still in both movies, as one JSON document. Benchmarks/fidelity
// starts it.
//
//   FidelityBenchmark --program COBALTREEL --text FILE TAKE:SECONDS...
//
// TAKE is cursor, typing, scrolling, moving or video. A cursor's take is exported a second time with zooms,
// which are held against an ideal resampling of the screen.

#include "Cobaltreel/Export/ExportRenderer.hpp"
#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/ZoomEngine.hpp"
#include "Fidelity/Ssim.hpp"
#include "Fidelity/TextScene.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Media/FFmpeg/FFmpegMediaService.hpp"
#include "ScreenPainter.hpp"

#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>
#include <opencv2/imgproc.hpp>

namespace cobaltreel::benchmarks {
namespace {

using fidelity::Similarity;
using fidelity::Take;
using fidelity::TextScene;

const std::map<std::string, Take> takes{{"cursor", Take::cursor},
                                        {"typing", Take::typing},
                                        {"scrolling", Take::scrolling},
                                        {"moving", Take::moving},
                                        {"video", Take::video}};

constexpr double calm = 1;  // seconds after a change from which on the picture has to be right

void pauseUntil(double hostTime) {
    const double left = hostTime - platform::HostClock().now();
    if (left > 0) std::this_thread::sleep_for(std::chrono::duration<double>(left));
}

struct Shown {
    double asked;  // host time before the request
    double drawn;  // and when the server had drawn it
};

/// What stood on the screen, and when.
class Showing {
  public:
    Showing(const TextScene& scene, std::vector<Shown> steps) : scene_(scene), steps_(std::move(steps)) {}

    /// The step on the screen at a host time; -1 when it was changing just then.
    int stepAt(double time) const {
        const auto next = std::upper_bound(steps_.begin(), steps_.end(), time,
                                           [](double t, const Shown& each) { return t < each.drawn; });
        const int step = static_cast<int>(next - steps_.begin()) - 1;
        constexpr double margin = 0.003;
        return next != steps_.end() && next->asked < time + margin ? -1 : step;
    }
    /// A moment in the middle of each step, host time.
    std::vector<double> middles() const {
        std::vector<double> moments;
        for (std::size_t i = 0; i + 1 < steps_.size(); ++i)
            moments.push_back((steps_[i].drawn + steps_[i + 1].asked) / 2);
        return moments;
    }
    /// For how long no more than a cursor or the video had changed by then.
    double calmAt(int step, double time) const {
        return time - steps_[static_cast<std::size_t>(scene_.lastChange(step))].drawn;
    }
    QImage picture(int step) const { return scene_.picture(step); }

  private:
    const TextScene& scene_;
    std::vector<Shown> steps_;
};

SessionFolder record(const QString& program, ScreenPainter& screen, const TextScene& scene, double seconds,
                     std::vector<Shown>& steps) {
    steps.push_back({0, screen.show(scene.picture(0))});
    QProcess recorder;
    recorder.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    recorder.start(program, {"record", "--camera", "none", "--mic", "none", "--duration",
                             QString::number(seconds + 1.5)});
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const double begun = platform::HostClock().now();
    for (int step = 1; step * scene.interval() < seconds; ++step) {
        const QImage picture = scene.picture(step);
        pauseUntil(begun + step * scene.interval());
        const double asked = platform::HostClock().now();
        steps.push_back({asked, screen.show(picture)});
    }
    if (!recorder.waitForFinished(60'000) || recorder.exitCode() != 0)
        throw std::runtime_error("the recording failed");
    return {recorder.readAllStandardOutput().trimmed().toStdString()};
}

std::filesystem::path exportOf(const QString& program, const SessionFolder& session, const char* zoom) {
    const auto movie = session.dir.parent_path() / "exported.mp4";
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, {"export", QString::fromStdString(session.dir.string()), "--auto-zoom", zoom,
                            "--ripples", "off", "--output", QString::fromStdString(movie.string())});
    if (!process.waitForFinished(-1) || process.exitCode() != 0)
        throw std::runtime_error("the export failed");
    return movie;
}

void readFrames(const std::filesystem::path& movie,
                const std::function<void(double, const platform::ConstPixelBufferRef&)>& handle) {
    const auto media = platform::makeFFmpegMediaService();
    const auto asset = media->asset(movie);
    const auto track = asset->loadTracks(platform::MediaType::video).at(0);
    const auto reader = media->makeTrackReader(asset, track, {0, 1e6}, platform::PixelFormat::i420);
    if (!reader->startReading()) throw std::runtime_error("a movie cannot be read");
    while (const auto sample = reader->copyNextSampleBuffer())
        handle(sample->presentationTime.seconds(), sample->image);
}

/// The part `crop` of a picture at another size, by a filter that nobody could use in real time.
QImage resampled(const QImage& picture, const platform::Rect& crop, int width, int height) {
    const cv::Mat from(picture.height(), picture.width(), CV_8UC4, const_cast<uchar*>(picture.constBits()),
                       static_cast<std::size_t>(picture.bytesPerLine()));
    // A smaller picture by way of one several times as large, whose pixels are averaged.
    const int times =
        std::max(1, static_cast<int>(std::ceil(std::max(crop.w / width, crop.h / height) - 1e-6)));
    const double sx = crop.w / (width * times), sy = crop.h / (height * times);
    const cv::Matx23d map(sx, 0, crop.x + sx / 2 - 0.5, 0, sy, crop.y + sy / 2 - 0.5);
    cv::Mat large;
    cv::warpAffine(from, large, map, {width * times, height * times},
                   cv::INTER_LANCZOS4 | cv::WARP_INVERSE_MAP, cv::BORDER_REPLICATE);
    QImage result(width, height, QImage::Format_RGB32);
    cv::Mat to(height, width, CV_8UC4, result.bits(), static_cast<std::size_t>(result.bytesPerLine()));
    cv::resize(large, to, to.size(), 0, 0, cv::INTER_AREA);
    return result;
}

/// Worst of the calm pictures and mean of the others.
class Score {
  public:
    void add(const Similarity& similarity, bool isCalm) {
        if (isCalm) {
            worst_.keepWorst(similarity);
            ++calm_;
        } else {
            sum_ += similarity.luma;
            ++moving_;
        }
    }
    nlohmann::ordered_json figures() const {
        nlohmann::ordered_json figures{
            {"pictures", calm_ + moving_}, {"worstLuma", worst_.luma}, {"worstColor", worst_.color}};
        if (calm_ == 0) figures["worstLuma"] = figures["worstColor"] = nullptr;
        if (moving_ > 0) figures["meanLumaMoving"] = sum_ / moving_;
        return figures;
    }

  private:
    Similarity worst_;
    double sum_ = 0;
    int calm_ = 0, moving_ = 0;
};

/// The truth at the exported size, kept while neither step nor view changes.
class Truth {
  public:
    Truth(const Showing& showing, int width, int height)
        : showing_(showing), width_(width), height_(height) {}
    const platform::PixelBuffer& at(int step, const std::optional<platform::Rect>& crop) {
        if (step != step_ || crop != crop_) {
            const QImage picture = showing_.picture(step);
            const platform::Rect view = crop.value_or(platform::Rect{
                0, 0, static_cast<double>(picture.width()), static_cast<double>(picture.height())});
            const bool isSame = !crop && picture.width() == width_ && picture.height() == height_;
            video_ = fidelity::asVideo(isSame ? picture : resampled(picture, view, width_, height_));
            step_ = step;
            crop_ = crop;
        }
        return *video_;
    }

  private:
    const Showing& showing_;
    int width_, height_;
    int step_ = -1;
    std::optional<platform::Rect> crop_;
    platform::PixelBufferRef video_;
};

/// Scores pictures of a movie against the screen; of those in quick motion every seventh will do.
class Scorer {
  public:
    Scorer(const Showing& showing, double firstPTS) : showing_(showing), firstPTS_(firstPTS) {}

    void look(const platform::PixelBuffer& picture, double time, const std::optional<platform::Rect>& crop) {
        if (!truth_) truth_.emplace(showing_, picture.width(), picture.height());
        const int step = showing_.stepAt(firstPTS_ + time);
        if (step < 0) return;
        const bool isCalm = showing_.calmAt(step, firstPTS_ + time) >= calm;
        if (!isCalm && step < lastStep_ + 7) return;
        // A picture that stands is looked at twice a second.
        if (isCalm && step == lastStep_ && time < lastTime_ + 0.5 && !crop) return;
        lastStep_ = step;
        lastTime_ = time;
        score_.add(fidelity::similarity(picture, truth_->at(step, crop)), isCalm);
    }
    nlohmann::ordered_json figures() const { return score_.figures(); }

  private:
    const Showing& showing_;
    double firstPTS_;
    Score score_;
    std::optional<Truth> truth_;
    int lastStep_ = -100;
    double lastTime_ = 0;
};

/// A frame of the recording is on screen until the next one: it is looked at in the middle of each step.
nlohmann::ordered_json scoreOfRecording(const std::filesystem::path& movie, const Showing& showing,
                                        double firstPTS) {
    Scorer scorer(showing, firstPTS);
    const std::vector<double> moments = showing.middles();
    auto moment = moments.begin();
    platform::ConstPixelBufferRef standing;
    readFrames(movie, [&](double time, const platform::ConstPixelBufferRef& picture) {
        for (; moment != moments.end() && *moment < firstPTS + time; ++moment)
            if (standing) scorer.look(*standing, *moment - firstPTS, std::nullopt);
        standing = picture;
    });
    for (; standing && moment != moments.end(); ++moment)
        scorer.look(*standing, *moment - firstPTS, std::nullopt);
    return scorer.figures();
}

nlohmann::ordered_json scoreOfExport(const std::filesystem::path& movie, const Showing& showing,
                                     double firstPTS, const std::vector<CameraMove>& moves, int screenWidth,
                                     int screenHeight) {
    Scorer scorer(showing, firstPTS);
    readFrames(movie, [&](double time, const platform::ConstPixelBufferRef& picture) {
        std::optional<platform::Rect> crop;
        if (!moves.empty()) {
            const CameraState state = ZoomEngine::evaluate(moves, time, screenWidth, screenHeight);
            if (state.zoom < 1.2) return;
            crop = ZoomEngine::cropRect(state, screenWidth, screenHeight);
        }
        scorer.look(*picture, time, crop);
    });
    return scorer.figures();
}

/// Two zooms, far apart.
EventLog twoClicks(double firstPTS, const SessionMeta& meta) {
    EventLog log;
    const auto click = [&](double t, double x, double y) {
        for (const auto& [delay, buttons] : {std::pair{-0.02, 0}, std::pair{0.0, 1}, std::pair{0.1, 0}})
            log.samples.push_back({firstPTS + t + delay, x * meta.displayFramePoints.w,
                                   y * meta.displayFramePoints.h, buttons});
    };
    click(1.5, 0.3, 0.7);
    click(4.5, 0.71, 0.33);
    return log;
}

nlohmann::ordered_json measure(const QString& program, ScreenPainter& screen, const QStringList& text,
                               const std::string& name, double seconds) {
    const TextScene scene(takes.at(name), screen.width(), screen.height(), text);
    std::vector<Shown> steps;
    const SessionFolder session = record(program, screen, scene, seconds, steps);
    const Showing showing(scene, std::move(steps));
    const SessionMeta meta = session.readMeta();
    const double firstPTS = meta.screenFirstPTS.value();
    const auto megabytes = [](const std::filesystem::path& file) {
        return static_cast<double>(std::filesystem::file_size(file)) / 1e6;
    };
    const auto scored = [&](const std::filesystem::path& movie, const std::vector<CameraMove>& moves) {
        return scoreOfExport(movie, showing, firstPTS, moves, screen.width(), screen.height());
    };

    nlohmann::ordered_json figures{{"seconds", seconds}};
    figures["recorded"] = scoreOfRecording(session.screenMovie(), showing, firstPTS);
    figures["recordedMB"] = megabytes(session.screenMovie());
    const auto movie = exportOf(program, session, "off");
    figures["exported"] = scored(movie, {});
    figures["exportedMB"] = megabytes(movie);
    figures["exportedMBperMinute"] = megabytes(movie) * 60 / (seconds + 1.5);
    if (takes.at(name) == Take::cursor) {
        session.writeEvents(twoClicks(firstPTS, meta));
        const double duration = *meta.recordingEndHostTime - firstPTS;
        const auto clicks = ExportRenderer::clicksInOutputTime(session.readEvents(), meta, 0, duration);
        const auto moves = ZoomEngine::moves(clicks, screen.width(), screen.height(), duration, ZoomConfig{});
        if (moves.empty()) throw std::runtime_error("the take has no zoom");
        figures["zoomed"] = scored(exportOf(program, session, "on"), moves);
    }
    std::filesystem::remove_all(session.dir);
    return figures;
}

}  // namespace
}  // namespace cobaltreel::benchmarks

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    QString program;
    QStringList text;
    nlohmann::ordered_json all;
    try {
        cobaltreel::benchmarks::ScreenPainter screen;
        const QStringList words = application.arguments();
        for (qsizetype i = 1; i < words.size(); ++i) {
            if (words[i] == "--program" && i + 1 < words.size()) {
                program = words[++i];
            } else if (words[i] == "--text" && i + 1 < words.size()) {
                QFile file(words[++i]);
                if (!file.open(QIODevice::ReadOnly)) throw std::runtime_error("the text cannot be read");
                for (const QString& line : QString::fromUtf8(file.readAll()).split('\n'))
                    if (!line.trimmed().isEmpty()) text << line;
            } else {
                const std::string take = words[i].section(':', 0, 0).toStdString();
                const double seconds = words[i].section(':', 1).toDouble();
                if (!cobaltreel::benchmarks::takes.contains(take) || seconds <= 0 || text.isEmpty())
                    throw std::runtime_error("usage: --program COBALTREEL --text FILE TAKE:SECONDS...");
                std::fprintf(stderr, "%d x %d, %s for %.0f s\n", screen.width(), screen.height(),
                             take.c_str(), seconds);
                all[take] = cobaltreel::benchmarks::measure(program, screen, text, take, seconds);
            }
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "FidelityBenchmark: %s\n", error.what());
        return 1;
    }
    std::cout << all.dump(2) << '\n';
    return 0;
}
