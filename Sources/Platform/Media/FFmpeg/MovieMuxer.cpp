#include "Platform/Media/FFmpeg/MovieMuxer.hpp"

#include "Platform/Media/FFmpeg/Errors.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <new>
#include <system_error>

extern "C" {
#include <libavutil/opt.h>
}

namespace platform::ffmpeg {
namespace {

constexpr std::int64_t fragmentMicroseconds = 500'000;
// How far the tracks of a fragmented file wait for one that delivers nothing.
constexpr std::int64_t interleaveMicroseconds = 1'000'000;
// The track list is written once every track has begun, or this long after the first.
constexpr double headDelaySeconds = 0.75;
// The least common multiple of 48000 and 90000: starts of tracks are exact in it.
constexpr int movieTimescale = 720'000;

/// The list of chapters in an MP4 holds titles of at most 255 bytes, and the library cuts inside a letter.
std::string fittingTitle(const std::string& title) {
    constexpr std::size_t maxBytes = 255;
    std::size_t end = std::min(title.size(), maxBytes);
    const auto isInsideLetter = [&] { return end < title.size() && (title[end] & 0xc0) == 0x80; };
    while (end > 0 && isInsideLetter()) --end;
    return title.substr(0, end);
}

}  // namespace

MovieMuxer::MovieMuxer(const std::filesystem::path& path, FileType type) : path_(path), type_(type) {
    captureLibraryLog();
    const std::string what = "The movie " + path.string() + " cannot be created";
    AVFormatContext* context = nullptr;
    const char* format = type == FileType::quickTimeMovie ? "mov" : type == FileType::webm ? "webm" : "mp4";
    const std::string url = "file:" + path.string();
    check(avformat_alloc_output_context2(&context, nullptr, format, url.c_str()), what);
    context_.reset(context);
    AVIOContext* file = nullptr;
    std::error_code ignored;
    if (const auto folder = path.parent_path(); !folder.empty() && !std::filesystem::exists(folder, ignored))
        throw PlatformError(
            "FFmpeg", AVERROR(ENOENT),
            what + ", because there is no folder " + folder.string() + ". Create it, or choose another one.");
    if (isFragmented()) {
        fragments_ = std::make_shared<FragmentFile>(path);
        context_->pb = fragments_->io();
        context_->flags |= AVFMT_FLAG_CUSTOM_IO;
        return;
    }
    check(avio_open(&file, url.c_str(), AVIO_FLAG_WRITE), what);
    file_.reset(file);
    context_->pb = file;
}

bool MovieMuxer::wantsGlobalHeaders() const { return (context_->oformat->flags & AVFMT_GLOBALHEADER) != 0; }

int MovieMuxer::addTrack(const AVCodecContext& encoder) {
    AVStream* stream = avformat_new_stream(context_.get(), nullptr);
    if (!stream) throw std::bad_alloc();
    check(avcodec_parameters_from_context(stream->codecpar, &encoder), sentence());
    stream->time_base = encoder.time_base;
    stream->avg_frame_rate = encoder.framerate;
    // The name under which players of every make know HEVC with its parameters in the track list.
    if (encoder.codec_id == AV_CODEC_ID_HEVC) stream->codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
    started_.push_back(false);
    return stream->index;
}

void MovieMuxer::reserveIndex(double seconds, double framesPerSecond) {
    if (type_ == FileType::webm) {
        // One entry for each key frame; some of them the encoder adds by itself.
        constexpr double bytesPerSecond = 40, head = 1024;
        indexBytes_ = std::llround(head + bytesPerSecond * seconds);
        return;
    }
    // What one sample takes at the most: size, duration, offset and place in its chunk, for pictures also
    // their reordering and whether they are key frames; and a quarter more, since an index that is too long
    // for its place would cost the movie.
    constexpr double perPicture = 44, perSoundFrame = 32, soundFramesPerSecond = 48000.0 / 1024, head = 65536;
    const double perSecond = framesPerSecond * perPicture + soundFramesPerSecond * perSoundFrame;
    indexBytes_ = std::llround(head + 1.25 * (seconds + 2) * perSecond);
}

void MovieMuxer::setChapters(const std::vector<Chapter>& chapters) {
    if (chapters.empty()) return;
    // The library takes over the list and each of its entries, and frees them with the context.
    auto** list = static_cast<AVChapter**>(av_calloc(chapters.size(), sizeof(AVChapter*)));
    if (!list) throw std::bad_alloc();
    context_->chapters = list;
    // A title stands in the list of the file and, as the text of a track of its own, in the media data.
    constexpr std::int64_t perChapter = 64, perTrack = 4096;
    chapterBytes_ = perTrack;
    for (const Chapter& each : chapters) {
        auto* chapter = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
        if (!chapter) throw std::bad_alloc();
        list[context_->nb_chapters++] = chapter;
        chapter->id = context_->nb_chapters;
        chapter->time_base = AV_TIME_BASE_Q;
        chapter->start = std::llround(each.start * AV_TIME_BASE);
        chapter->end = std::llround(each.end * AV_TIME_BASE);
        const std::string title = type_ == FileType::mpeg4 ? fittingTitle(each.title) : each.title;
        check(av_dict_set(&chapter->metadata, "title", title.c_str(), 0), sentence());
        chapterBytes_ += perChapter + static_cast<std::int64_t>(title.size());
    }
}

void MovieMuxer::begin() {
    const std::lock_guard lock(mutex_);
    AVDictionary* options = nullptr;
    if (type_ == FileType::webm) {
        // Where the room does not suffice the library moves the rest up.
        av_dict_set(&options, "cues_to_front", "1", 0);
        av_dict_set_int(&options, "reserve_index_space", indexBytes_, 0);
    } else if (isFragmented()) {
        av_dict_set_int(&options, "movie_timescale", movieTimescale, 0);
        av_dict_set(&options, "movflags", "delay_moov+default_base_moof+use_metadata_tags", 0);
        av_dict_set_int(&options, "frag_duration", fragmentMicroseconds, 0);
        context_->max_interleave_delta = interleaveMicroseconds;
        context_->flags |= AVFMT_FLAG_FLUSH_PACKETS;
    } else {
        av_dict_set_int(&options, "movie_timescale", movieTimescale, 0);
        if (indexBytes_ > 0)
            av_dict_set_int(&options, "moov_size", indexBytes_ + chapterBytes_, 0);
        else
            av_dict_set(&options, "movflags", "faststart", 0);
    }
    const int result = avformat_write_header(context_.get(), &options);
    av_dict_free(&options);
    check(result, sentence());
    requireNoWriteError();
    handOver();
}

void MovieMuxer::noteSessionStart(double seconds) {
    const std::lock_guard lock(mutex_);
    if (!isFragmented()) return;
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.9f", seconds);
    av_dict_set(&context_->metadata, sessionStartKey, text.data(), 0);
}

/// Between two calls of the library the file ends with a whole fragment.
void MovieMuxer::handOver() {
    if (fragments_) fragments_->cut();
}

void MovieMuxer::requireNoWriteError() {
    if (context_->pb && context_->pb->error < 0) throw libraryError(context_->pb->error, sentence());
}

void MovieMuxer::write(int track, AVPacket& packet, AVRational base) {
    const std::lock_guard lock(mutex_);
    if (!isOpen()) return;
    av_packet_rescale_ts(&packet, base, context_->streams[track]->time_base);
    packet.stream_index = track;
    const double time = static_cast<double>(packet.dts) * av_q2d(context_->streams[track]->time_base);
    if (!firstTime_) firstTime_ = time;
    started_[static_cast<std::size_t>(track)] = true;
    if (isFragmented() && headOut_) keepTrueTimes();
    dirty_ = true;
    const double end =
        static_cast<double>(packet.pts + packet.duration) * av_q2d(context_->streams[track]->time_base);
    check(av_interleaved_write_frame(context_.get(), &packet), sentence());
    requireNoWriteError();
    handOver();
    writtenEnd_ = std::max(writtenEnd_.value_or(end), end);
    if (!isFragmented() || headOut_) return;
    if (std::ranges::find(started_, false) == started_.end())
        headOut_ = true;  // the library writes it with the first fragment
    else if (time > *firstTime_ + headDelaySeconds)
        cutFragment();
}

/// Left alone, the library has a fragment begin where the last sample of the one before ends by its guess of
/// a duration: a picture after a pause would be shown as early as the pause began. It also lets the fragments
/// of a track that begins after the track list was written carry its start, which no edit list then can.
void MovieMuxer::keepTrueTimes() {
    check(av_opt_set(context_->priv_data, "movflags", "+frag_discont", 0), sentence());
}

void MovieMuxer::cutFragment() {
    check(av_interleaved_write_frame(context_.get(), nullptr), sentence());
    // With a delayed track list the first flush writes that alone.
    for (int flush = 0; flush < 2; ++flush) check(av_write_frame(context_.get(), nullptr), sentence());
    requireNoWriteError();
    handOver();
    headOut_ = true;
    dirty_ = false;
}

void MovieMuxer::settle() {
    const std::lock_guard lock(mutex_);
    if (fragments_ && dirty_) cutFragment();
}

std::optional<double> MovieMuxer::flush() {
    std::shared_ptr<FragmentFile> file;
    std::optional<double> end;
    {
        const std::lock_guard lock(mutex_);
        // Tracks that have not begun get a moment to stand in the track list.
        const bool mayCut = headOut_ || std::ranges::find(started_, false) == started_.end();
        if (!fragments_ || !firstTime_ || !mayCut) return std::nullopt;
        if (dirty_) cutFragment();
        file = fragments_;
        end = writtenEnd_;
    }
    file->sync();
    return end;
}

void MovieMuxer::finish() {
    const std::lock_guard lock(mutex_);
    dirty_ = false;  // the library takes nothing more after its trailer, though that cannot be written
    check(av_write_trailer(context_.get()), sentence());
    requireNoWriteError();
    if (fragments_) {
        fragments_->cut();
        fragments_->sync();
        fragments_.reset();
        context_->pb = nullptr;
        return;
    }
    AVIOContext* file = file_.release();
    context_->pb = nullptr;
    check(avio_closep(&file), sentence());
}

void MovieMuxer::abandon() {
    const std::lock_guard lock(mutex_);
    try {
        // What came before a failure is kept.
        if (fragments_ && firstTime_ && dirty_) cutFragment();
    } catch (const PlatformError&) {
    }
    context_->pb = nullptr;
    file_.reset();
    fragments_.reset();
}

}  // namespace platform::ffmpeg
