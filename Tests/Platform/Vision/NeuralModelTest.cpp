#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Vision/CompositedPeople/PictureFile.hpp"
#include "Platform/Vision/OnnxWriter.hpp"
#include "Platform/Vision/OpenCv/CrashTrial.hpp"
#include "Platform/Vision/OpenCv/NeuralSegmentation.hpp"
#include "Platform/Vision/OpenCv/OpenCvVisionService.hpp"
#include "Rig/TemporaryFolder.hpp"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>
#include <sys/stat.h>

namespace platform::testing {
namespace {

using Quality = PersonSegmentationRequest::QualityLevel;

class NeuralModelTest : public ::testing::Test {
  protected:
    NeuralModelTest() { unsetenv("COBALTREEL_SEGMENTATION_MODEL"); }
    ~NeuralModelTest() override { unsetenv("COBALTREEL_SEGMENTATION_MODEL"); }
    std::filesystem::path write(const std::string& name, const std::string& bytes) const {
        std::ofstream(folder / name, std::ios::binary) << bytes;
        return folder / name;
    }
    /// Blue on the left, red on the right: the tiny networks call red a person.
    static cv::Mat3b halfRed() {
        cv::Mat3b picture(180, 320, cv::Vec3b(250, 20, 10));
        picture.colRange(160, 320).setTo(cv::Scalar(10, 20, 250));
        return picture;
    }
    /// Values of the mask in the middle of the left and of the right half.
    static std::pair<int, int> ask(VisionService& service, const PixelBuffer& frame,
                                   Quality quality = Quality::fast) {
        const auto masks = service.makePersonSegmentationRequest(quality)->perform(frame);
        if (masks.empty()) return {-1, -1};
        const Plane& p = masks.front()->plane();
        const auto at = [&](int x) { return static_cast<int>(p.data[p.height / 2 * p.stride + x]); };
        return {at(p.width / 4), at(p.width * 3 / 4)};
    }

    const rig::TemporaryFolder temporary;
    const std::filesystem::path folder = temporary.path();
};

TEST_F(NeuralModelTest, EveryUsualShapeOfNetworkFindsWhatItWasMadeFor) {
    struct Case {
        const char* what;
        TinyNetwork network;
        const char* sidecar;
    };
    const std::vector<Case> cases = {
        {"probability", {.weights = {12, 0, -12}, .activation = "Sigmoid"}, nullptr},
        {"open input size",
         {.input = {1, 3, 0, 0}, .weights = {12, 0, -12}, .activation = "Sigmoid"},
         R"({"width": 48, "height": 40})"},
        {"sigmoid left to us", {.weights = {20, 0, -20}}, nullptr},
        {"two channels, softmax",
         {.weights = {0, 0, 20, 20, 0, 0}, .bias = {0, 0}, .activation = "Softmax"},
         nullptr},
        {"two channels, raw", {.weights = {0, 0, 20, 20, 0, 0}, .bias = {0, 0}}, nullptr},
        {"person first", {.weights = {20, 0, 0, 0, 0, 20}, .bias = {0, 0}}, R"({"personClass": 0})"},
        {"channels last",
         {.input = {1, 24, 32, 3}, .channelsLast = true, .weights = {0, 0, 20, 20, 0, 0}, .bias = {0, 0}},
         nullptr},
        {"blue first", {.weights = {-12, 0, 12}, .activation = "Sigmoid"}, R"({"channels": "bgr"})"},
        {"0…255 about a mean",
         {.weights = {0.1F, 0, -0.1F}, .activation = "Sigmoid"},
         R"({"scale": 1, "mean": [128, 128, 128]})"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        write("a.onnx", onnxBytes(c.network));
        std::filesystem::remove(folder / "a.json");
        if (c.sidecar) write("a.json", c.sidecar);
        OpenCvVisionService service(folder);
        EXPECT_NE(service.implementation().find("neural model"), std::string::npos)
            << service.implementation();
        for (const auto quality : {Quality::fast, Quality::accurate}) {
            const auto [blue, red] = ask(service, *cobaltreel::composited::asBgra(halfRed()), quality);
            EXPECT_LT(blue, 40);
            EXPECT_GT(red, 215);
        }
    }
}

TEST_F(NeuralModelTest, ACloseLookFindsThePersonWhereTheyAre) {
    write("a.onnx", onnxBytes({.input = {1, 3, 144, 256}, .weights = {12, 0, -12}, .activation = "Sigmoid"}));
    OpenCvVisionService service(folder);
    for (const auto size : {cv::Size(640, 360), cv::Size(500, 370)})
        for (const auto quality : {Quality::fast, Quality::accurate}) {
            const auto request = service.makePersonSegmentationRequest(quality);
            for (int i = 0; i < 8; ++i) {
                SCOPED_TRACE(i);
                // Still, then on their way out at the lower right corner.
                const cv::Rect person(size.width / 2 + std::max(0, i - 3) * 40, size.height / 3, 150, 300);
                cv::Mat3b picture(size, cv::Vec3b(250, 20, 10));
                picture(person & cv::Rect({}, size)).setTo(cv::Scalar(10, 20, 250));
                const auto masks = request->perform(*cobaltreel::composited::asBgra(picture));
                ASSERT_EQ(masks.size(), 1U);
                const Plane& p = masks.front()->plane();
                cv::Mat1b mask;
                cv::resize(cv::Mat(p.height, p.width, CV_8UC1, p.data, static_cast<std::size_t>(p.stride)),
                           mask, size);
                const cv::Rect found = cv::boundingRect(mask > 127), shown = person & cv::Rect({}, size);
                EXPECT_LE(std::abs(found.x - shown.x), 4);
                EXPECT_LE(std::abs(found.y - shown.y), 4);
                EXPECT_LE(std::abs(found.br().x - shown.br().x), 4);
                EXPECT_LE(std::abs(found.br().y - shown.br().y), 4);
            }
        }
}

TEST_F(NeuralModelTest, TheProgramLooksCloserWithItsOtherNetworkWhereThereIsOne) {
    const TinyNetwork red{.input = {1, 3, 144, 256}, .weights = {12, 0, -12}, .activation = "Sigmoid"};
    const auto own = write("own.onnx", onnxBytes(red));
    const auto frame = cobaltreel::composited::asBgra(halfRed());
    struct Case {
        const char *what, *told;
        std::string close;
        bool found;
    };
    TinyNetwork same = red, opposite = red;
    same.input = opposite.input = {1, 3, 64, 64};
    opposite.weights = {-12, 0, 12};
    const Case cases[] = {{"none", "no network for a close look", "", true},
                          {"one that agrees", "with own-close.onnx", onnxBytes(same), true},
                          {"one that contradicts", "with own-close.onnx", onnxBytes(opposite), false},
                          {"a damaged one", "own-close.onnx can't be used", "ONNX", true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        if (!c.close.empty()) write("own-close.onnx", c.close);
        OpenCvVisionService service(folder / "none", own);
        EXPECT_NE(service.implementation().find(c.told), std::string::npos) << service.implementation();
        const auto [blue, person] = ask(service, *frame);
        EXPECT_LT(blue, 40);
        EXPECT_EQ(person > 215, c.found) << person;
    }
}

TEST_F(NeuralModelTest, ACloseLookAtSomebodyOfAnyWidthFitsANetworkOfAnyWidth) {
    for (const int width : {192, 224}) {
        SCOPED_TRACE(width);
        write("a.onnx",
              onnxBytes({.input = {1, 3, 144, width}, .weights = {12, 0, -12}, .activation = "Sigmoid"}));
        OpenCvVisionService service(folder);
        for (int part = 80; part < 600; part += 10) {
            SCOPED_TRACE(part);
            cv::Mat3b picture(360, 640, cv::Vec3b(250, 20, 10));
            picture(cv::Rect(20, 100, part, 260)).setTo(cv::Scalar(10, 20, 250));
            const auto request = service.makePersonSegmentationRequest(Quality::accurate);
            EXPECT_EQ(request->perform(*cobaltreel::composited::asBgra(picture)).size(), 1U);
        }
    }
}

TEST_F(NeuralModelTest, NobodyInThePictureGivesNoMask) {
    write("a.onnx", onnxBytes({.weights = {12, 0, -12}, .activation = "Sigmoid"}));
    OpenCvVisionService service(folder);
    const auto [left, right] =
        ask(service, *cobaltreel::composited::asBgra(cv::Mat3b(90, 160, cv::Vec3b(250, 20, 10))));
    EXPECT_EQ(left, -1);
    EXPECT_EQ(right, -1);
}

TEST_F(NeuralModelTest, AModelThatIsOfNoUseIsToldAndTheProgramsOwnServes) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::string good = onnxBytes({.weights = {12, 0, -12}, .activation = "Sigmoid"});
    struct Case {
        const char* what;
        std::string bytes;
        const char* sidecar;
    };
    std::filesystem::create_directory(folder / "own");
    const auto own = write("own/own.onnx", good);
    const std::vector<Case> cases = {
        {"empty", "", nullptr},
        {"text", "this is no network", nullptr},
        {"cut short", good.substr(0, good.size() / 2), nullptr},
        {"not a number", onnxBytes({.weights = {nan, 0, 0}}), nullptr},
        {"always the same", onnxBytes({.weights = {0, 0, 0}, .bias = {0.7F}}), nullptr},
        {"giant input", onnxBytes({.input = {1, 3, 100000, 100000}}), nullptr},
        {"broken sidecar", good, "{ \"width\": "},
        {"unknown activation", good, R"({"activation": "tanh"})"},
        {"class that is not there", onnxBytes({.weights = {0, 0, 20, 20, 0, 0}, .bias = {0, 0}}),
         R"({"personClass": 5})"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto file = write("a.onnx", c.bytes);
        std::filesystem::remove(folder / "a.json");
        if (c.sidecar) write("a.json", c.sidecar);
        OpenCvVisionService service(folder, own);
        const std::string told = service.implementation();
        EXPECT_NE(told.find("neural model " + own.string()), std::string::npos) << told;
        EXPECT_NE(told.find(file.string()), std::string::npos) << told;
        EXPECT_FALSE(service.unavailable());
        EXPECT_GT(ask(service, *cobaltreel::composited::asBgra(halfRed())).second, 215);

        OpenCvVisionService alone(folder, {});
        ASSERT_TRUE(alone.unavailable());
        const std::string reason = alone.unavailable()->description();
        EXPECT_NE(reason.find(file.string()), std::string::npos) << reason;
        EXPECT_THROW(ask(alone, *cobaltreel::composited::asBgra(halfRed())), PlatformError);
    }
}

TEST(CrashTrialTest, ACrashStaysInItsOwnProcess) {
    EXPECT_TRUE(survivesTrial([] {}));
    EXPECT_TRUE(survivesTrial([] { throw PlatformError("Vision", 3, "refused"); }));
    EXPECT_FALSE(survivesTrial([] { std::abort(); }));
    EXPECT_FALSE(survivesTrial([] { raise(SIGSEGV); }));
}

TEST_F(NeuralModelTest, WhatIsNoFileIsRefusedByName) {
    const auto pipe = folder / "pipe.onnx";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);  // would never end
    for (const auto& file : {folder, pipe, std::filesystem::path("/dev/zero")}) {
        setenv("COBALTREEL_SEGMENTATION_MODEL", file.c_str(), 1);
        EXPECT_NE(OpenCvVisionService(folder).implementation().find(file.string() + " can't be used"),
                  std::string::npos)
            << file;
    }
}

TEST_F(NeuralModelTest, TheEnvironmentNamesTheModelBeforeTheFolder) {
    write("a.onnx", "nothing");
    std::filesystem::create_directory(folder / "elsewhere");
    const auto named =
        write("elsewhere/mine.onnx", onnxBytes({.weights = {12, 0, -12}, .activation = "Sigmoid"}));
    setenv("COBALTREEL_SEGMENTATION_MODEL", named.c_str(), 1);
    EXPECT_NE(OpenCvVisionService(folder, {}).implementation().find(named.string()), std::string::npos);
    setenv("COBALTREEL_SEGMENTATION_MODEL", (folder / "gone.onnx").c_str(), 1);
    const std::string told = OpenCvVisionService(folder, {}).unavailable()->description();
    EXPECT_NE(told.find("gone.onnx can't be used: the file can't be opened"), std::string::npos) << told;
}

}  // namespace
}  // namespace platform::testing
