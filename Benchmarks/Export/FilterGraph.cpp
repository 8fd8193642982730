#include "Export/FilterGraph.hpp"

#include <cmath>
#include <fstream>
#include <sstream>

namespace cobaltreel::benchmarks {

namespace {

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

}  // namespace

std::vector<std::string> filterGraphCommand(const BenchmarkSession& session,
                                            const std::vector<CameraMove>& moves,
                                            const std::filesystem::path& mask,
                                            const std::filesystem::path& output) {
    const SessionMeta& meta = session.meta;
    const auto width = static_cast<double>(meta.captureWidthPx),
               height = static_cast<double>(meta.captureHeightPx);
    const int diameter = static_cast<int>(std::lround(meta.bubbleSizeFraction * height));
    const int margin = static_cast<int>(height * 0.03);
    writeCircle(mask, diameter);
    const std::string d = std::to_string(diameter);

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
    return {"ffmpeg",
            "-nostdin",
            "-v",
            "error",
            "-y",
            "-i",
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
            graph.str(),
            "-map",
            "[video]",
            "-map",
            "[sound]",
            "-t",
            std::to_string(session.duration),
            "-c:v",
            "libx264",
            "-preset",
            "superfast",
            "-profile:v",
            "high",
            "-pix_fmt",
            "yuv420p",
            "-crf",
            "20",
            "-maxrate",
            std::to_string(averageBitRate(ExportOptions::Quality::p1080)),
            "-bufsize",
            std::to_string(2 * averageBitRate(ExportOptions::Quality::p1080)),
            "-g",
            "250",
            "-c:a",
            "aac",
            "-b:a",
            "128k",
            "-ar",
            "48000",
            "-ac",
            "2",
            "-movflags",
            "+faststart",
            output.string()};
}

}  // namespace cobaltreel::benchmarks
