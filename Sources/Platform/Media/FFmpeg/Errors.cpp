#include "Platform/Media/FFmpeg/Errors.hpp"

#include "Platform/Media/FFmpeg/Handles.hpp"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <new>
#include <utility>

namespace platform::ffmpeg {
namespace {

thread_local std::array<char, 256> lastLogLine{};

void keepLogLine(void*, int level, const char* format, std::va_list arguments) {
    if (level > AV_LOG_ERROR) return;
    std::vsnprintf(lastLogLine.data(), lastLogLine.size(), format, arguments);
}

std::string takeLogLine() {
    std::string line(lastLogLine.data());
    lastLogLine[0] = '\0';
    while (!line.empty() && (line.back() == '\n' || line.back() == '.' || line.back() == ' '))
        line.pop_back();
    return line;
}

std::string remedyFor(int code) {
    switch (code) {
        case AVERROR(ENOSPC):
        case AVERROR(EDQUOT):
            return " Free some disk space and try again.";
        case AVERROR(EACCES):
        case AVERROR(EPERM):
        case AVERROR(EROFS):
            return " Check that you may write to this folder, or choose another one.";
        case AVERROR_ENCODER_NOT_FOUND:
            return " Install FFmpeg with this encoder.";
        case AVERROR_DECODER_NOT_FOUND:
            return " Install FFmpeg with this decoder.";
        case AVERROR_INVALIDDATA:
            return " The file is damaged or not a movie.";
        default:
            return "";
    }
}

}  // namespace

std::string reasonOf(int code) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> reason{};
    av_strerror(code, reason.data(), reason.size());
    std::string text = reason.data();
    if (const std::string detail = takeLogLine(); !detail.empty()) text += " (" + detail + ")";
    return text;
}

PlatformError libraryError(int code, const std::string& sentence) {
    return PlatformError("FFmpeg", code, sentence + ": " + reasonOf(code) + "." + remedyFor(code));
}

bool isDamage(const PlatformError& error) { return error.code() == AVERROR_INVALIDDATA; }

int check(int code, const std::string& sentence) {
    if (code < 0) throw libraryError(code, sentence);
    return code;
}

void captureLibraryLog() {
    av_log_set_level(AV_LOG_ERROR);
    av_log_set_callback(keepLogLine);
}

FramePtr makeFrame() {
    FramePtr frame(av_frame_alloc());
    if (!frame) throw std::bad_alloc();
    return frame;
}

PacketPtr makePacket() {
    PacketPtr packet(av_packet_alloc());
    if (!packet) throw std::bad_alloc();
    return packet;
}

PacketPtr makePacket(std::span<const std::uint8_t> data) {
    PacketPtr packet = makePacket();
    if (av_new_packet(packet.get(), static_cast<int>(data.size())) < 0) throw std::bad_alloc();
    std::copy(data.begin(), data.end(), packet->data);
    return packet;
}

}  // namespace platform::ffmpeg
