#include "Platform/Media/FFmpeg/Scrolling.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <numeric>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace platform::ffmpeg {
namespace {

constexpr std::size_t lookedAt = 4;  // columns of blocks
constexpr int windowRows = 16;       // of text, single rows are too much alike
constexpr int minAgreement = 16;     // windows

const std::uint8_t* sample(const AVFrame& picture, int plane, int x, int y) {
    return picture.data[plane] + static_cast<std::ptrdiff_t>(y) * picture.linesize[plane] + x;
}

/// What stands in each stretch of so many rows of a column; 0 where it is plain.
std::vector<std::size_t> windows(const AVFrame& picture, int x, int width, int top, int bottom) {
    std::vector<std::size_t> rows;
    for (int y = top; y < bottom; ++y)
        rows.push_back(std::hash<std::string_view>()(
            {reinterpret_cast<const char*>(sample(picture, 0, x, y)), static_cast<std::size_t>(width)}));
    std::vector<std::size_t> sums;
    for (auto row = rows.begin(); rows.end() - row >= windowRows; ++row) {
        const auto end = row + windowRows;
        const bool isPlain = std::adjacent_find(row, end, std::not_equal_to<>()) == end;
        sums.push_back(
            isPlain ? 0 : std::accumulate(row, end, std::size_t{0}, [](std::size_t sum, std::size_t each) {
                return sum * 31 + each;
            }));
    }
    return sums;
}

using Window = std::pair<std::size_t, int>;  // what stands there, and the row

/// The rows from a window to the nearest that is alike.
std::optional<int> nearest(const std::vector<Window>& sorted, const Window& window) {
    const auto next = std::lower_bound(sorted.begin(), sorted.end(), window);
    std::optional<int> rows;
    if (next != sorted.end() && next->first == window.first) rows = next->second - window.second;
    if (next != sorted.begin() && next[-1].first == window.first) {
        const int back = next[-1].second - window.second;
        if (!rows || -back < *rows) rows = back;
    }
    return rows;
}

struct Column {
    int index = 0, changed = 0, first = 0, last = 0;  // blocks
};

std::vector<Column> mostChanged(std::span<const std::uint8_t> constant, int columns) {
    std::vector<Column> all(static_cast<std::size_t>(columns));
    for (std::size_t i = 0; i < constant.size(); ++i) {
        if (constant[i]) continue;
        Column& column = all[i % all.size()];
        column.index = static_cast<int>(i % all.size());
        column.last = static_cast<int>(i / all.size());
        if (column.changed++ == 0) column.first = column.last;
    }
    const std::size_t count = std::min(lookedAt, all.size());
    std::partial_sort(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count), all.end(),
                      [](const Column& a, const Column& b) { return a.changed > b.changed; });
    all.resize(count);
    return all;
}

}  // namespace

int findScroll(const AVFrame& picture, const AVFrame& reference, std::span<const std::uint8_t> constant,
               int side) {
    std::unordered_map<int, int> agreeing;  // windows by rows scrolled
    for (const Column& column : mostChanged(constant, (picture.width + side - 1) / side)) {
        if (column.last - column.first < 1) continue;  // too little to tell
        const int x = column.index * side, width = std::min(side, picture.width - x);
        const int top = column.first * side, bottom = std::min((column.last + 1) * side, picture.height);
        const auto now = windows(picture, x, width, top, bottom);
        std::vector<Window> before;
        for (const std::size_t each : windows(reference, x, width, top, bottom))
            before.emplace_back(each, static_cast<int>(before.size()));
        std::sort(before.begin(), before.end());
        for (std::size_t i = 0; i < now.size(); ++i)
            if (const auto rows = now[i] != 0 ? nearest(before, {now[i], static_cast<int>(i)}) : std::nullopt)
                ++agreeing[*rows];
    }
    agreeing.erase(0);
    const auto best = std::max_element(agreeing.begin(), agreeing.end(),
                                       [](const auto& a, const auto& b) { return a.second < b.second; });
    return best == agreeing.end() || best->second < minAgreement ? 0 : best->first;
}

bool isScrolled(const AVFrame& picture, const AVFrame& reference, int x, int y, int side, int rows) {
    const int width = std::min(side, picture.width - x), height = std::min(side, picture.height - y);
    if (y + rows < 0 || y + rows + height > picture.height) return false;
    for (int row = y; row < y + height; ++row)
        if (std::memcmp(sample(picture, 0, x, row), sample(reference, 0, x, row + rows),
                        static_cast<std::size_t>(width)) != 0)
            return false;
    // By an odd number of rows color lies between two of its own, and is as it was only where it is plain.
    const bool isBetween = rows % 2 != 0;
    const int chromaWidth = width / 2, first = y / 2, last = (y + height) / 2 - 1;
    const int limit = picture.height / 2 - 1;
    for (int plane : {1, 2}) {
        const auto length = static_cast<std::size_t>(chromaWidth);
        const std::uint8_t* start = sample(picture, plane, x / 2, first);
        if (!isBetween) {
            for (int row = first; row <= last; ++row)
                if (std::memcmp(sample(picture, plane, x / 2, row),
                                sample(reference, plane, x / 2, row + rows / 2), length) != 0)
                    return false;
            continue;
        }
        const auto isPlain = [&](const std::uint8_t* row) {
            return row[0] == *start && std::memcmp(row, row + 1, length - 1) == 0;
        };
        for (int row = first; row <= last; ++row)
            if (!isPlain(sample(picture, plane, x / 2, row))) return false;
        // Four of them are weighed.
        const int from = (2 * first + rows - 1) / 2 - 1, to = (2 * last + rows + 1) / 2 + 2;
        for (int row = std::max(from, 0); row <= std::min(to, limit); ++row)
            if (!isPlain(sample(reference, plane, x / 2, row))) return false;
    }
    return true;
}

}  // namespace platform::ffmpeg
