#include "CobaltreelCore/Chapters.hpp"

namespace cobaltreel::Chapters {

std::string title(const Marker& marker, std::size_t number, const Names& names) {
    return marker.text.empty() ? names.marker + ' ' + std::to_string(number) : marker.text;
}

std::vector<Chapter> ofMarkers(const std::vector<Marker>& markers, const ExportTiming& timing,
                               const Names& names) {
    std::vector<Chapter> chapters;
    bool isNamed = false;  // the last one, by its marker's own text
    for (std::size_t i = 0; i < markers.size(); ++i) {
        const Marker& marker = markers[i];
        const double start = timing.outputTime(marker.t);
        if (!(start >= 0 && start < timing.duration())) continue;
        if (!chapters.empty() && start - chapters.back().start < shortest) {
            if (!isNamed && !marker.text.empty()) chapters.back().title = marker.text;
            isNamed = isNamed || !marker.text.empty();
            continue;
        }
        chapters.push_back({start, timing.duration(), title(marker, i + 1, names)});
        isNamed = !marker.text.empty();
    }
    if (chapters.empty()) return chapters;
    if (chapters.front().start < shortest)
        chapters.front().start = 0;
    else
        chapters.insert(chapters.begin(), {0, timing.duration(), names.start});
    for (std::size_t i = 0; i + 1 < chapters.size(); ++i) chapters[i].end = chapters[i + 1].start;
    return chapters;
}

}  // namespace cobaltreel::Chapters
