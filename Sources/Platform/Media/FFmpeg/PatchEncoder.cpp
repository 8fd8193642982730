#include "Platform/Media/FFmpeg/PatchEncoder.hpp"

#include "Platform/Media/FFmpeg/ChangedBlocks.hpp"
#include "Platform/Media/FFmpeg/Errors.hpp"
#include "Platform/Media/FFmpeg/Scrolling.hpp"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <new>
#include <span>
#include <utility>

namespace platform::ffmpeg {
namespace {

// Patching a block takes as long as ten to twenty that the library predicts in a whole picture, and more
// bits. A whole picture refers to the last whole one, which costs the more the farther things have moved
// since: it is not worth while to change from one to the other all the time. In what scrolls the library
// often finds no motion at all. Where a film plays, every picture counts up to the next whole one; a pointer
// and typing are forgotten as fast as they come. Shares are of a picture's blocks.
constexpr double mostPatched = 1.0 / 24;
constexpr double mostAfterWhole = mostPatched / 2;
constexpr double mostScrolling = 1.0 / 10;
constexpr double mostInARow = 1.0 / 5;
constexpr double forgotten = 1.0 / 64;  // a picture

/// Copies a part of a plane; what lies outside repeats its last sample.
void copyPart(const AVFrame& from, AVFrame& to, int plane, int x, int y) {
    const int shift = plane > 0 ? 1 : 0;
    const int width = from.width >> shift, height = from.height >> shift;
    const int left = x >> shift, top = y >> shift;
    const int columns = to.width >> shift, rows = to.height >> shift;
    const int inside = std::min(columns, width - left);
    for (int row = 0; row < rows; ++row) {
        const std::uint8_t* source =
            from.data[plane] +
            static_cast<std::ptrdiff_t>(std::min(top + row, height - 1)) * from.linesize[plane] + left;
        std::uint8_t* target = to.data[plane] + static_cast<std::ptrdiff_t>(row) * to.linesize[plane];
        std::memcpy(target, source, static_cast<std::size_t>(inside));
        std::memset(target + inside, source[inside - 1], static_cast<std::size_t>(columns - inside));
    }
}

CodecPtr describeRow(AVRational rate, int blocks) {
    CodecPtr description(avcodec_alloc_context3(nullptr));
    if (!description) throw std::bad_alloc();
    description->width = blocks * PatchEncoder::blockSide;
    description->height = PatchEncoder::blockSide;
    description->framerate = rate;
    return description;
}

FramePtr pictureOf(const AVCodecContext& description) {
    FramePtr picture = makeFrame();
    picture->format = AV_PIX_FMT_YUV420P;
    picture->width = description.width;
    picture->height = description.height;
    check(av_frame_get_buffer(picture.get(), 0), "The encoder libx265 failed");
    return picture;
}

}  // namespace

PatchEncoder::PatchEncoder(const AVCodecContext& description, const HevcStream& stream)
    : rate_(description.framerate),
      stream_(stream),
      constant_(static_cast<std::size_t>(stream.columns()) * static_cast<std::size_t>(stream.rows())),
      scrolled_(constant_.size()) {}

Bytes PatchEncoder::encode(const AVFrame& picture, HevcStream::Place place, int quantiser) {
    const auto blocks = static_cast<double>(constant_.size());
    int coded = compareBlocks<blockSide>(picture, *previous_, constant_);
    const int rows = coded > 0 ? findScroll(picture, *previous_, constant_, blockSide) : 0;
    coded -= followScroll(picture, rows);
    patched_ = std::max(0.0, patched_ - blocks * forgotten) + (rows == 0 ? coded : 0);
    const double most = rows != 0 ? mostScrolling : wasPatched_ ? mostPatched : mostAfterWhole;
    wasPatched_ = coded <= most * blocks && patched_ <= mostInARow * blocks;
    Bytes units;
    if (wasPatched_) units = slices(picture, place, quantiser);
    wasPatched_ = !units.empty();
    if (!wasPatched_) patched_ = 0;
    return units;
}

/// None where a decoder would not take them.
Bytes PatchEncoder::slices(const AVFrame& picture, HevcStream::Place place, int quantiser) {
    const std::vector<Run> all = runs();
    if (static_cast<int>(all.size()) > stream_.maxSlices()) return {};
    Bytes units;
    for (const Run& run : all) {
        const auto first = static_cast<std::size_t>(run.firstBlock),
                   count = static_cast<std::size_t>(run.count);
        if (!run.isCoded) {
            appendWithStartCode(
                units, stream_.predicted(place, run.firstBlock, std::span(scrolled_).subspan(first, count)));
            continue;
        }
        const Bytes data = code(picture, run, quantiser);
        if (data.empty()) return {};
        appendWithStartCode(units, stream_.codedAlone(place, run.firstBlock, quantiser, data));
    }
    return units;
}

/// Finds the changed blocks that the previous picture holds so many rows farther down, and counts them.
int PatchEncoder::followScroll(const AVFrame& picture, int rows) {
    std::fill(scrolled_.begin(), scrolled_.end(), 0);
    if (rows == 0) return 0;
    int found = 0;
    const auto columns = static_cast<std::size_t>(stream_.columns());
    for (std::size_t i = 0; i < constant_.size(); ++i) {
        const int x = static_cast<int>(i % columns) * blockSide,
                  y = static_cast<int>(i / columns) * blockSide;
        if (constant_[i] || !isScrolled(picture, *previous_, x, y, blockSide, rows)) continue;
        constant_[i] = 1;
        scrolled_[i] = rows;
        ++found;
    }
    return found;
}

/// In the order of their blocks. Coded ones are in one row each, and their numbers powers of two, so that few
/// encoders serve all.
std::vector<PatchEncoder::Run> PatchEncoder::runs() const {
    std::vector<Run> all;
    const auto count = static_cast<int>(constant_.size());
    const auto isCoded = [&](int block) { return constant_[static_cast<std::size_t>(block)] == 0; };
    for (int first = 0; first < count;) {
        int end = first + 1;
        while (end < count && isCoded(end) == isCoded(first) &&
               (!isCoded(first) || end % stream_.columns() != 0))
            ++end;
        if (isCoded(first))
            end = first + static_cast<int>(std::bit_floor(static_cast<unsigned>(end - first)));
        all.push_back({first, end - first, isCoded(first)});
        first = end;
    }
    return all;
}

/// None where parts of a picture would be coded otherwise than the whole.
Bytes PatchEncoder::code(const AVFrame& picture, const Run& run, int quantiser) {
    RowEncoder& row = rowEncoder(run.count);
    if (!row.isAlike) return {};
    const int x = run.firstBlock % stream_.columns() * blockSide,
              y = run.firstBlock / stream_.columns() * blockSide;
    for (int plane = 0; plane < 3; ++plane) copyPart(picture, *row.picture, plane, x, y);
    X265Library::Coded coded = row.library.encode(*row.picture, true, quantiser);
    if (coded.slice.empty()) coded = row.library.drain();
    return HevcStream::keyPictureData(coded.slice);
}

PatchEncoder::RowEncoder& PatchEncoder::rowEncoder(int blocks) {
    if (const auto found = rows_.find(blocks); found != rows_.end()) return found->second;
    const CodecPtr description = describeRow(rate_, blocks);
    RowEncoder row{X265Library(*description, X265Work{}), pictureOf(*description), false};
    const auto stream = HevcStream::of(row.library.sequenceSet(), row.library.pictureSet());
    row.isAlike = stream && stream->coding() == stream_.coding();
    return rows_.emplace(blocks, std::move(row)).first->second;
}

}  // namespace platform::ffmpeg
