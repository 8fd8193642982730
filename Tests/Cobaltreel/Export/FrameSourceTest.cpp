#include "Cobaltreel/Export/FrameSource.hpp"
#include "Fakes/FakeMedia.hpp"

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using platform::FakeMovie;

FrameSource sourceOver(const FakeMovie& movie, double origin, platform::TimeRange range = {0, 100}) {
    platform::FakeMedia media;
    media.movies["movie"] = movie;
    const auto asset = media.asset("movie");
    auto reader = media.makeTrackReader(asset, asset->loadTracks(platform::MediaType::video).front(), range,
                                        platform::PixelFormat::gray8);
    EXPECT_TRUE(reader->startReading());
    return FrameSource(std::move(reader), origin);
}

int shown(const FrameSource& source) { return source.current() ? source.current()->plane().data[0] : 0; }

TEST(FrameSource, ShowsTheLatestFrameNotAfterTheTime) {
    FakeMovie movie;
    movie.frames = {{1.0, 10}, {1.5, 20}, {1.5, 21}, {2.25, 30}, {2.3, 31}, {9.0, 90}};
    auto source = sourceOver(movie, 1.0);
    struct Step {
        double t;
        int value;
    };
    // A source is only ever moved forward; equal times take the later frame; skipped frames are not shown.
    for (const Step& step : {Step{-0.1, 0},
                             {0, 10},
                             {0.4999, 10},
                             {0.5, 21},
                             {1.2, 21},
                             {1.3, 31},
                             {7.9, 31},
                             {8, 90},
                             {50, 90}}) {
        source.advance(step.t);
        EXPECT_EQ(shown(source), step.value) << "at " << step.t;
    }
}

}  // namespace
}  // namespace cobaltreel
