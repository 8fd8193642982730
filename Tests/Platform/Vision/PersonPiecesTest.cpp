#include "Platform/Vision/OpenCv/PersonPieces.hpp"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

namespace platform::testing {
namespace {

struct Patch {
    cv::Rect place;
    float probability;
    bool counts;  ///< whether it belongs to the person in the end
};

TEST(PersonPiecesTest, ScrapsGoHandsAndGapsStay) {
    // Each upon a body of 60 × 80 at (100, 64), of which the network is sure.
    const cv::Rect body(100, 64, 60, 80);
    const struct {
        const char* what;
        std::vector<Patch> patches;
    } cases[] = {
        {"nothing else", {}},
        {"a scrap beside the head", {{{90, 60, 8, 12}, 0.6F, false}}},
        {"a speck the network is sure of", {{{165, 60, 6, 6}, 1, false}}},
        {"a hand held up", {{{166, 80, 12, 30}, 0.95F, true}}},
        {"somebody far behind", {{{10, 60, 20, 30}, 0.95F, false}}},
        {"somebody behind, close by in the picture", {{{168, 70, 30, 50}, 0.95F, false}}},
        {"what a cable parts", {{{163, 80, 20, 64}, 0.95F, true}}},
        {"a poster the network wonders about", {{{200, 20, 50, 60}, 0.55F, false}}},
        {"somebody at the same table", {{{190, 70, 50, 70}, 0.9F, true}}},
        {"a doubt within the shirt", {{{120, 100, 6, 8}, 0.3F, true}}},
        {"a gap between arm and body", {{{105, 90, 10, 30}, 0, false}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        cv::Mat1f probability(144, 256, 0.01F);
        probability(body).setTo(0.97F);
        for (const Patch& patch : c.patches) probability(patch.place).setTo(patch.probability);
        const PersonPieces person = findPerson(probability);
        EXPECT_EQ(person.solid(130, 150), 255);
        EXPECT_GT(person.confidence, 0.9);
        for (const Patch& patch : c.patches)
            EXPECT_NEAR(cv::mean(person.solid(patch.place))[0], patch.counts ? 255 : 0, 1e-6);
    }
}

TEST(PersonPiecesTest, NobodyHasNoArea) { EXPECT_EQ(findPerson(cv::Mat1f(144, 256, 0.2F)).area, 0); }

}  // namespace
}  // namespace platform::testing
