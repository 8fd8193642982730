#include "Fakes/VirtualTime.hpp"
#include "Platform/Desktop/Posix/PosixSingleInstance.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace platform {
namespace {

namespace fs = std::filesystem;

class SingleInstanceTest : public ::testing::Test {
  protected:
    SingleInstanceTest() {
        std::string place = (fs::temp_directory_path() / "instance-XXXXXX").string();
        folder_ = mkdtemp(place.data());
    }
    ~SingleInstanceTest() override { fs::remove_all(folder_); }

    PosixSingleInstance instance(const std::string& name = "test") { return {loop_, folder_, name}; }
    bool toldBecomes(int count) {
        return loop_->eventually([&] { return told_ == count; });
    }

    std::shared_ptr<VirtualTime> loop_ = std::make_shared<VirtualTime>();
    fs::path folder_;
    int told_ = 0;
};

TEST_F(SingleInstanceTest, TheFirstIsToldOfEveryFurtherStart) {
    auto claim = instance().claim([this](auto) { ++told_; });
    ASSERT_TRUE(claim);
    for (int start = 1; start <= 2; ++start) {
        EXPECT_FALSE(instance().claim([](auto) { ADD_FAILURE(); }));
        EXPECT_TRUE(toldBecomes(start));
    }
    EXPECT_TRUE(instance("another").claim([](auto) {})) << "of another display";
    claim.reset();
    claim = instance().claim([](auto) {});
    EXPECT_TRUE(claim) << "the first has ended";
}

TEST_F(SingleInstanceTest, ItsButtonCanBePressedFromOutside) {
    EXPECT_FALSE(instance().send(InstanceRequest::toggle)) << "nobody is there";
    std::vector<InstanceRequest> received;
    const auto claim = instance().claim([&](InstanceRequest request) { received.push_back(request); });
    EXPECT_TRUE(instance().send(InstanceRequest::toggle));
    EXPECT_TRUE(loop_->eventually([&] { return received.size() == 1; }));
    EXPECT_TRUE(instance().send(InstanceRequest::show));
    EXPECT_TRUE(loop_->eventually([&] { return received.size() == 2; }));
    EXPECT_EQ(received, (std::vector{InstanceRequest::toggle, InstanceRequest::show}));
}

TEST_F(SingleInstanceTest, WhatAKilledInstanceLeavesIsNotInTheWay) {
    const pid_t child = fork();
    if (child == 0) {
        const auto claim = instance().claim([](auto) {});
        _exit(claim ? 0 : 1);  // without giving anything back
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_EQ(status, 0);
    ASSERT_TRUE(fs::is_socket(folder_ / "test.socket"));
    const auto claim = instance().claim([this](auto) { ++told_; });
    ASSERT_TRUE(claim);
    EXPECT_FALSE(instance().claim([](auto) {}));
    EXPECT_TRUE(toldBecomes(1));
}

TEST_F(SingleInstanceTest, APlaceThatIsNotTheUsersOwnIsRefused) {
    chmod(folder_.c_str(), 0777);
    EXPECT_THROW(instance().claim([](auto) {}), PlatformError);
    chmod(folder_.c_str(), 0700);
    fs::create_directory_symlink(folder_, folder_ / "link");
    EXPECT_THROW(PosixSingleInstance(loop_, folder_ / "link", "test").claim([](auto) {}), PlatformError);
    EXPECT_THROW(instance(std::string(120, 'n')).claim([](auto) {}), PlatformError)
        << "no socket has such a name";
}

}  // namespace
}  // namespace platform
