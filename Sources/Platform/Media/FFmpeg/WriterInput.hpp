#pragma once

#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Media/AssetWriter.hpp"
#include "Platform/Media/FFmpeg/Handles.hpp"
#include "Platform/Media/FFmpeg/SampleQueue.hpp"
#include "Platform/Media/FFmpeg/WriterState.hpp"

#include <string>

namespace platform::ffmpeg {

/// The part of an input that pictures and sound share: the queue, the encoder thread and the way of
/// packets into the file.
class WriterInput : public AssetWriterInput {
  public:
    bool isReadyForMoreMediaData() const override { return state_.isWriting() && queue_.hasRoom(); }
    bool waitUntilReady(double seconds) override;
    bool append(const SampleBuffer& sample) override;
    void markAsFinished() override { queue_.close(); }
    PixelBufferPool* pixelBufferPool() override { return nullptr; }

    /// Opens the encoder and adds its track to the file. Throws PlatformError.
    virtual void open() = 0;
    /// Starts the encoder thread.
    void start();
    /// Waits for the encoder thread, which ends once its queue is closed and taken.
    void join() { thread_.join(); }

  protected:
    WriterInput(WriterState& state, double capacity, std::string threadName);

    /// Whether the sample fits this input.
    virtual bool accepts(const SampleBuffer& sample) const = 0;
    /// What the sample counts in the queue.
    virtual double weight(const SampleBuffer& sample) const = 0;
    /// Encodes a sample, `time` seconds after the session's start. Encoder thread; throws PlatformError.
    virtual void encode(const SampleBuffer& sample, double time) = 0;
    /// Encodes what is left at the end. Encoder thread; throws PlatformError.
    virtual void encodeRest() = 0;

    /// No sample came for a while. Encoder thread; throws PlatformError.
    virtual void pause() {}
    /// Whether what the encoder made goes into the file; asked once for each packet.
    virtual bool isWanted(const AVPacket&) { return true; }

    /// Gives a packet, whose times are in `base`, to the file if it is wanted; it is empty afterwards.
    void deliver(AVPacket& packet, AVRational base);

    WriterState& state_;
    PacketPtr packet_ = makePacket();
    int track_ = -1;

  private:
    void run();

    SampleQueue queue_;
    std::string threadName_;
    NamedThread thread_;
};

}  // namespace platform::ffmpeg
