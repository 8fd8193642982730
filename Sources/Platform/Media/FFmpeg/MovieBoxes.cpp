#include "Platform/Media/FFmpeg/MovieBoxes.hpp"

#include <algorithm>
#include <array>
#include <fstream>
#include <limits>
#include <string>
#include <system_error>

namespace platform::ffmpeg::MovieBoxes {
namespace {

struct Box {
    std::string type;
    std::uint64_t contents = 0;  // where they begin
    std::uint64_t end = 0;
    bool isWhole = true;  // ends where what it lies in still goes on
};

class BoxReader {
  public:
    explicit BoxReader(const std::filesystem::path& movie) : file_(movie, std::ios::binary) {
        std::error_code error;
        const auto size = std::filesystem::file_size(movie, error);
        size_ = error ? 0 : size;
    }

    std::uint64_t size() const { return size_; }

    /// The box at `position` of what ends at `end`; absent where there is none.
    std::optional<Box> at(std::uint64_t position, std::uint64_t end) {
        if (end - position < 8) return std::nullopt;
        const auto length = number(position, 4);
        std::array<char, 4> type{};
        if (!length || !file_.read(type.data(), type.size())) return std::nullopt;
        Box box{{type.data(), type.size()}, position + 8, 0};
        auto size = *length;
        if (size == 1) {
            size = number(position + 8, 8).value_or(0);
            box.contents += 8;
        } else if (size == 0) {
            size = end - position;
        }
        if (size < box.contents - position) return std::nullopt;
        box.isWhole = size <= end - position;
        box.end = position + std::min(size, end - position);
        return box;
    }

    /// A number of so many bytes, the highest first; absent where the file does not give it.
    std::optional<std::uint64_t> number(std::uint64_t position, int bytes) {
        file_.clear();
        file_.seekg(static_cast<std::streamoff>(position));
        std::array<unsigned char, 8> digits{};
        if (!file_.read(reinterpret_cast<char*>(digits.data()), bytes)) return std::nullopt;
        std::uint64_t value = 0;
        for (int i = 0; i < bytes; ++i) value = value << 8 | digits[static_cast<std::size_t>(i)];
        return value;
    }

  private:
    std::ifstream file_;
    std::uint64_t size_ = 0;
};

/// Whether the track's head gives it a number.
bool hasNumber(BoxReader& reader, const Box& track) {
    std::uint64_t position = track.contents;
    while (const auto box = reader.at(position, track.end)) {
        position = box->end;
        if (box->type != "tkhd") continue;
        // Behind the times, whose size the version tells.
        const auto version = reader.number(box->contents, 1);
        const auto number = reader.number(box->contents + (version == 1U ? 20 : 12), 4);
        return number && *number <= std::numeric_limits<std::int32_t>::max();
    }
    return false;
}

bool hasTrackWithoutNumber(BoxReader& reader, std::uint64_t from, std::uint64_t end) {
    while (const auto box = reader.at(from, end)) {
        from = box->end;
        if (box->type == "trak" && !hasNumber(reader, *box)) return true;
        if (box->type == "moov" && hasTrackWithoutNumber(reader, box->contents, box->end)) return true;
        if (box->type == "moof") break;  // tracks come before
    }
    return false;
}

}  // namespace

std::optional<std::uint64_t> wholeFragmentsEnd(const std::filesystem::path& movie) {
    BoxReader reader(movie);
    std::uint64_t whole = 0;
    // A fragment is its description, "moof", and the "mdat" behind it.
    for (std::uint64_t position = 0; const auto box = reader.at(position, reader.size());) {
        if (!box->isWhole) break;
        position = box->end;
        if (box->type == "mdat") whole = position;
    }
    return whole > 0 && whole < reader.size() ? std::optional(whole) : std::nullopt;
}

bool hasTrackWithoutNumber(const std::filesystem::path& movie) {
    BoxReader reader(movie);
    return hasTrackWithoutNumber(reader, 0, reader.size());
}

}  // namespace platform::ffmpeg::MovieBoxes
