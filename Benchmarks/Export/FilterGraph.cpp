#include "Export/FilterGraph.hpp"

#include "Measuring.hpp"

#include <cmath>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace cobaltreel::benchmarks {

namespace {

using Words = std::vector<std::string>;

/// One coordinate of the camera over time, as an expression of the variable `it` (seconds).
std::string coordinate(const std::vector<CameraMove>& moves, double home, double CameraState::*field) {
    std::ostringstream expression;
    expression.precision(10);
    std::string closing;
    double resting = home;
    for (const CameraMove& move : moves) {
        const double from = move.from.*field, to = move.to.*field;
        std::ostringstream progress;
        progress.precision(10);
        progress << "((it-" << move.tStart << ")/" << move.tEnd - move.tStart << ")";
        const std::string p = progress.str();
        expression << "if(lt(it," << move.tStart << ")," << resting << ",if(lt(it," << move.tEnd << "),"
                   << from << "+" << to - from << "*if(lt(" << p << ",0.5),4*pow(" << p
                   << ",3),1-0.5*pow(2-2*" << p << ",3)),";
        closing += "))";
        resting = to;
    }
    expression << resting << closing;
    return expression.str();
}

void writeCircle(const std::filesystem::path& file, int diameter) {
    std::ofstream out(file, std::ios::binary);
    out << "P5\n" << diameter << ' ' << diameter << "\n255\n";
    const double centre = diameter / 2.0, radius = centre - 2;
    for (int y = 0; y < diameter; ++y)
        for (int x = 0; x < diameter; ++x)
            out.put(std::hypot(x + 0.5 - centre, y + 0.5 - centre) < radius ? static_cast<char>(255) : '\0');
}

Words ffmpeg(const std::vector<Words>& parts) {
    Words command{"ffmpeg", "-nostdin", "-v", "error", "-y"};
    for (const Words& part : parts) command.insert(command.end(), part.begin(), part.end());
    return command;
}

void run(const Words& command) {
    if (!measureProcess(command).succeeded) throw std::runtime_error("FFmpeg's filter graph fails");
}

}  // namespace

FilterGraph::FilterGraph(const BenchmarkSession& session, const std::vector<CameraMove>& moves,
                         const std::filesystem::path& work)
    : work_(work), length_(std::to_string(session.duration)) {
    const SessionMeta& meta = session.meta;
    const auto width = static_cast<double>(meta.captureWidthPx),
               height = static_cast<double>(meta.captureHeightPx);
    const int diameter = static_cast<int>(std::lround(meta.bubbleSizeFraction * height));
    const int margin = static_cast<int>(height * 0.03);
    const auto mask = work / "circle.pgm";
    writeCircle(mask, diameter);
    const std::string d = std::to_string(diameter);
    size_ = std::to_string(meta.captureWidthPx) + "x" + std::to_string(meta.captureHeightPx);

    std::ostringstream graph;
    graph << "[0:v]fps=30";
    if (!moves.empty())
        graph << ",zoompan=fps=30:d=1:s=" << width << "x" << height << ":z='"
              << coordinate(moves, 1, &CameraState::zoom) << "':x='"
              << coordinate(moves, width / 2, &CameraState::cx) << "-iw/zoom/2':y='"
              << coordinate(moves, height / 2, &CameraState::cy) << "-ih/zoom/2'";
    if (meta.cameraEnabled)
        graph << "[screen];[1:v]fps=30,crop=ih:ih,scale=" << d << ":" << d
              << ":flags=bilinear,format=yuva420p[camera];[2:v]format=gray[circle];"
              << "[camera][circle]alphamerge[bubble];[screen][bubble]overlay=W-w-" << margin << ":H-h-"
              << margin;
    graph << "[video];";
    if (meta.systemAudioEnabled)
        graph << "[0:a][1:a]amix=inputs=2:normalize=0:duration=longest[sound]";
    else
        graph << "[1:a]anull[sound]";
    inputs_ = {"-i",
               session.folder.screenMovie().string(),
               "-i",
               session.folder.cameraMovie().string(),
               "-loop",
               "1",
               "-framerate",
               "30",
               "-i",
               mask.string(),
               "-filter_complex",
               graph.str()};
}

std::vector<std::string> FilterGraph::pictureEncoder(int crf) {
    const auto rate = averageBitRate(ExportOptions::Quality::p1080);
    return {"-c:v",       "libx264",
            "-profile:v", "high",
            "-pix_fmt",   "yuv420p",
            "-preset",    "veryfast",
            "-crf",       std::to_string(crf),
            "-maxrate",   std::to_string(rate),
            "-bufsize",   std::to_string(2 * rate)};
}

std::vector<std::string> FilterGraph::command() const {
    return ffmpeg({inputs_,
                   {"-map", "[video]", "-map", "[sound]", "-t", length_},
                   pictureEncoder(crf_),
                   {"-c:a", "aac", "-b:a", "128k", "-ar", "48000", "-ac", "2", "-movflags", "+faststart",
                    movie().string()}});
}

std::vector<std::string> FilterGraph::raw(const std::filesystem::path& frames) const {
    return {"-f", "rawvideo", "-s", size_, "-r", "30", "-pix_fmt", "yuv420p", "-i", frames.string()};
}

double FilterGraph::similarityOf(const std::filesystem::path& movie,
                                 const std::filesystem::path& frames) const {
    const auto table = work_ / "similarity.txt";
    run(ffmpeg({{"-i", movie.string()},
                raw(frames),
                {"-lavfi", "ssim=shortest=1:stats_file=" + table.string(), "-f", "null", "-"}}));
    std::ifstream lines(table);
    double sum = 0;
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        sum += std::stod(line.substr(line.find("Y:") + 2));
    if (count == 0) throw std::runtime_error(movie.string() + " has no pictures");
    return sum / count;
}

void FilterGraph::matchQuality(const std::filesystem::path& movie, const std::filesystem::path& frames) {
    wished_ = similarityOf(movie, frames);
    const auto pictures = work_ / "graph.yuv", encoded = work_ / "trial.mp4";
    run(ffmpeg({inputs_,
                {"-map", "[video]", "-t", length_, "-pix_fmt", "yuv420p", "-f", "rawvideo", pictures.string(),
                 "-map", "[sound]", "-t", length_, "-f", "null", "-"}}));
    constexpr int coarsest = 30, finest = 10;
    for (crf_ = coarsest; crf_ >= finest; --crf_) {
        run(ffmpeg({raw(pictures), pictureEncoder(crf_), {encoded.string()}}));
        similarity_ = similarityOf(encoded, pictures);
        if (similarity_ >= wished_) break;
    }
    std::filesystem::remove(pictures);
    std::filesystem::remove(encoded);
}

}  // namespace cobaltreel::benchmarks
