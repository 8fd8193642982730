#include "Platform/Media/FFmpeg/MovieInput.hpp"

#include "Platform/Media/FFmpeg/Errors.hpp"
#include "Platform/Media/FFmpeg/MovieBoxes.hpp"
#include "Platform/Media/FFmpeg/MovieMuxer.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <system_error>
#include <utility>

namespace platform::ffmpeg {
namespace {

// What a damaged movie says of its length and size is not believed beyond these: a day, and more pixels than
// any screen has today; a decoder keeps a dozen pictures and more.
constexpr double longestMovie = 24 * 3600;  // seconds
constexpr std::int64_t maxPixels = 36'000'000;
constexpr std::int64_t manyPixels = 10'000'000;  // of these not one for each processor

// Kinds of movie that people have; a text file or a picture is not taken for one.
constexpr const char* acceptedFormats = "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,mpegts,avi";

bool hasMovieTimeline(const AVFormatContext& context) {
    // QuickTime and MPEG-4 files say where their timeline's zero is; of the others, players take the
    // first time stamp for it.
    return std::strstr(context.iformat->name, "mov") != nullptr;
}

double seconds(std::int64_t timestamp, AVRational base) {
    return static_cast<double>(timestamp) * base.num / base.den;
}

/// The track stands in the movie's list, and nothing came of it before the movie broke off. The library takes
/// such a track for as long as the others.
bool isEmpty(const AVFormatContext& movie, const AVStream& stream) {
    return hasMovieTimeline(movie) && avformat_index_get_entries_count(&stream) == 0;
}

AssetTrack describe(const AVStream& stream, double origin, double movieEnd) {
    const AVCodecParameters& codec = *stream.codecpar;
    AssetTrack track;
    track.index = stream.index;
    track.codec = avcodec_get_name(codec.codec_id);
    double start = 0;
    if (stream.start_time != AV_NOPTS_VALUE) start = seconds(stream.start_time, stream.time_base) - origin;
    double end = movieEnd;
    if (stream.duration != AV_NOPTS_VALUE && stream.duration > 0)
        end = start + seconds(stream.duration, stream.time_base);
    // Sound that only primes the decoder lies before zero and is not part of the movie.
    track.timeRange.start = std::clamp(start, 0.0, longestMovie);
    track.timeRange.end = std::clamp(end, track.timeRange.start, longestMovie);
    if (codec.codec_type == AVMEDIA_TYPE_AUDIO) {
        track.type = MediaType::audio;
        track.sampleRate = codec.sample_rate;
        track.channels = codec.ch_layout.nb_channels;
    } else {
        track.type = MediaType::video;
        track.width = codec.width;
        track.height = codec.height;
    }
    return track;
}

bool isPicture(const AVStream& stream) { return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0; }

}  // namespace

MovieInput::MovieInput(const std::filesystem::path& path)
    : path_(path), interrupted_(std::make_unique<std::atomic<bool>>(false)) {
    captureLibraryLog();
    // Opening a pipe or a device would wait where nothing can interrupt it.
    std::error_code ignored;
    if (std::filesystem::exists(path, ignored) && !std::filesystem::is_regular_file(path, ignored))
        throw PlatformError("FFmpeg", AVERROR(EINVAL), "The movie " + path.string() + " is not a file.");
    const std::string sentence = "The movie " + path.string() + " cannot be opened";
    if (MovieBoxes::hasTrackWithoutNumber(path)) throw libraryError(AVERROR_INVALIDDATA, sentence);
    // The prefix keeps a colon in a file's name from being taken for a protocol.
    const std::string url = "file:" + path.string();
    int result = open(url);
    if (result == AVERROR_INVALIDDATA || result == AVERROR_EOF)
        if (const auto end = MovieBoxes::wholeFragmentsEnd(path))
            result = open("subfile,,start,0,end," + std::to_string(*end) + ",,:" + url);
    if (result == AVERROR_INVALIDDATA || result == AVERROR_EOF) {
        const PlatformError error = libraryError(AVERROR_INVALIDDATA, sentence);
        throw NotAMovie(error.domain(), error.code(), error.description());
    }
    check(result, sentence);
    check(avformat_find_stream_info(context_.get(), nullptr), sentence);
}

/// 0 or the library's error.
int MovieInput::open(const std::string& url) {
    AVFormatContext* context = avformat_alloc_context();
    if (!context) throw std::bad_alloc();
    context->interrupt_callback = {
        [](void* flag) { return static_cast<std::atomic<bool>*>(flag)->load() ? 1 : 0; }, interrupted_.get()};
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file,subfile", 0);
    av_dict_set(&options, "format_whitelist", acceptedFormats, 0);
    const int result = avformat_open_input(&context, url.c_str(), nullptr, &options);
    av_dict_free(&options);
    if (result >= 0) context_.reset(context);
    return result;
}

double MovieInput::originSeconds() const {
    if (hasMovieTimeline(*context_) || context_->start_time == AV_NOPTS_VALUE) return 0;
    return static_cast<double>(context_->start_time) / AV_TIME_BASE;
}

std::vector<AssetTrack> MovieInput::tracks() const {
    const double end =
        context_->duration == AV_NOPTS_VALUE ? 0 : static_cast<double>(context_->duration) / AV_TIME_BASE;
    std::vector<AssetTrack> result;
    for (unsigned i = 0; i < context_->nb_streams; ++i) {
        const AVStream& candidate = *context_->streams[i];
        const AVMediaType type = candidate.codecpar->codec_type;
        const bool hasPictures = type == AVMEDIA_TYPE_VIDEO && !isPicture(candidate);
        if (!hasPictures && type != AVMEDIA_TYPE_AUDIO) continue;
        AssetTrack track = describe(candidate, originSeconds(), end);
        if (isEmpty(*context_, candidate)) track.timeRange.end = track.timeRange.start;
        result.push_back(std::move(track));
    }
    return result;
}

std::optional<double> MovieInput::sessionStart() const {
    const AVDictionaryEntry* entry = av_dict_get(context_->metadata, sessionStartKey, nullptr, 0);
    if (!entry) return std::nullopt;
    const double start = std::strtod(entry->value, nullptr);
    return start > 0 && std::isfinite(start) ? std::optional(start) : std::nullopt;
}

AVStream& MovieInput::stream(int index) const {
    if (index < 0 || index >= static_cast<int>(context_->nb_streams))
        throw PlatformError("FFmpeg", AVERROR_STREAM_NOT_FOUND,
                            "The movie " + path_.string() + " has no track " + std::to_string(index) + ".");
    return *context_->streams[index];
}

void MovieInput::selectStream(int index) {
    const AVStream& chosen = stream(index);
    for (unsigned i = 0; i < context_->nb_streams; ++i)
        context_->streams[i]->discard = static_cast<int>(i) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    selected_ = index;
    origin_ = std::llround(originSeconds() / av_q2d(chosen.time_base));
}

double MovieInput::movieSeconds(std::int64_t timestamp) const {
    return seconds(movieTimestamp(timestamp), stream(selected_).time_base);
}

bool MovieInput::seek(double target) {
    const AVStream& chosen = stream(selected_);
    const auto timestamp = static_cast<std::int64_t>(std::floor(target / av_q2d(chosen.time_base))) + origin_;
    if (av_seek_frame(context_.get(), selected_, timestamp, AVSEEK_FLAG_BACKWARD) >= 0) return true;
    // Nothing at or before the target: begin with the first.
    const std::int64_t first = chosen.start_time == AV_NOPTS_VALUE ? 0 : chosen.start_time;
    return av_seek_frame(context_.get(), selected_, first, 0) >= 0;
}

bool MovieInput::read(AVPacket& packet) {
    for (;;) {
        av_packet_unref(&packet);
        const int result = av_read_frame(context_.get(), &packet);
        // A demuxer may take a failed read for the end, or for damage.
        const int failedRead = context_->pb && result < 0 ? context_->pb->error : 0;
        if (result == AVERROR_EOF && failedRead >= 0) return false;
        check(failedRead < 0 ? failedRead : result, "The movie " + path_.string() + " cannot be read on");
        if (packet.stream_index == selected_) return true;
    }
}

CodecPtr MovieInput::openDecoder() const {
    const AVStream& chosen = stream(selected_);
    const std::string name = avcodec_get_name(chosen.codecpar->codec_id);
    const std::string sentence = "The " + name + " track of " + path_.string() + " cannot be decoded";
    const AVCodec* codec = avcodec_find_decoder(chosen.codecpar->codec_id);
    if (!codec) throw libraryError(AVERROR_DECODER_NOT_FOUND, sentence);
    CodecPtr decoder(avcodec_alloc_context3(codec));
    if (!decoder) throw std::bad_alloc();
    check(avcodec_parameters_to_context(decoder.get(), chosen.codecpar), sentence);
    decoder->pkt_timebase = chosen.time_base;
    const std::int64_t pixels = static_cast<std::int64_t>(decoder->width) * decoder->height;
    decoder->max_pixels = maxPixels;
    decoder->thread_count = codec->type != AVMEDIA_TYPE_VIDEO ? 1 : pixels > manyPixels ? 2 : 0;
    check(avcodec_open2(decoder.get(), codec, nullptr), sentence);
    return decoder;
}

}  // namespace platform::ffmpeg
