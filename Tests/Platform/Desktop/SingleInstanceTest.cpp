#include "Fakes/VirtualTime.hpp"
#include "Platform/Desktop/Posix/InstanceMessages.hpp"
#include "Platform/Desktop/Posix/PosixSingleInstance.hpp"
#include "Platform/Foundation/PlatformError.hpp"
#include "Rig/TemporaryFolder.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <future>
#include <vector>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace platform {
namespace {

namespace fs = std::filesystem;

std::string nobody(const InstanceRequest&) {
    ADD_FAILURE();
    return {};
}

class SingleInstanceTest : public ::testing::Test {
  protected:
    PosixSingleInstance instance(const std::string& name = "test") { return {loop_, folder_, name}; }
    bool toldBecomes(int count) {
        return loop_->eventually([&] { return told_ == count; });
    }

    std::shared_ptr<VirtualTime> loop_ = std::make_shared<VirtualTime>();
    const rig::TemporaryFolder temporary_;
    const fs::path folder_ = temporary_.path();
    int told_ = 0;
};

TEST_F(SingleInstanceTest, TheFirstIsToldOfEveryFurtherStart) {
    auto claim = instance().claim([this](auto&) {
        ++told_;
        return "";
    });
    ASSERT_TRUE(claim);
    for (int start = 1; start <= 2; ++start) {
        EXPECT_FALSE(instance().claim(nobody));
        EXPECT_TRUE(toldBecomes(start));
    }
    EXPECT_TRUE(instance("another").claim(nobody)) << "of another display";
    claim.reset();
    claim = instance().claim(nobody);
    EXPECT_TRUE(claim) << "the first has ended";
}

TEST_F(SingleInstanceTest, TakesRequestsFromOutsideAndAnswersThoseWhoWait) {
    using Kind = InstanceRequest::Kind;
    EXPECT_FALSE(instance().send({Kind::toggle})) << "nobody is there";
    EXPECT_FALSE(instance().query({Kind::status}));
    std::vector<InstanceRequest> received;
    const auto claim = instance().claim([&](const InstanceRequest& request) {
        received.push_back(request);
        return "answer to " + request.text;
    });
    EXPECT_TRUE(instance().send({Kind::toggle}));
    EXPECT_TRUE(loop_->eventually([&] { return received.size() == 1; }));
    const std::string longest(InstanceRequest::maxText, 'x'), lines("two\nlines\0", 10);
    for (const InstanceRequest& request :
         {InstanceRequest{Kind::status}, {Kind::mark, "שלום"}, {Kind::mark, lines}, {Kind::mark, longest}}) {
        auto answer = std::async(std::launch::async, [&] { return instance().query(request); });
        const auto isThere = [&] {
            return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
        };
        EXPECT_TRUE(loop_->eventually(isThere));
        EXPECT_EQ(answer.get(), ("answer to " + request.text).substr(0, InstanceRequest::maxText));
        EXPECT_EQ(received.back(), request);
    }
    EXPECT_THROW(instance().query({Kind::mark, longest + 'x'}), PlatformError);
}

TEST_F(SingleInstanceTest, WhatItDoesNotKnowIsRefused) {
    const auto claim = instance().claim([this](auto&) {
        ++told_;
        return "";
    });
    sockaddr_un address{AF_UNIX, {}};
    (folder_ / "test.socket").native().copy(address.sun_path, sizeof address.sun_path - 1);
    std::vector<std::string> garbage{"",
                                     "\2",
                                     "cobaltreel 1 mark",
                                     "cobaltreel 2 mark\nlater",
                                     "cobaltreel 1 fly\n",
                                     "cobaltreel 1 mark\n" + std::string(100'000, 'x'),
                                     std::string(3, '\0')};
    for (const std::string& bytes : garbage) {
        // One datagram each with a socket for the answer and a second one that nobody asked for.
        AnswerSockets sockets, others;
        const UniqueFd socket = makeRequestSocket();
        std::array<int, 2> passed{sockets.theirs.get(), others.theirs.get()};
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof passed)> control{};
        iovec block{const_cast<char*>(bytes.data()), bytes.size()};
        msghdr message{&address, sizeof address, &block, 1, control.data(), control.size(), 0};
        cmsghdr* part = CMSG_FIRSTHDR(&message);
        *part = {CMSG_LEN(sizeof passed), SOL_SOCKET, SCM_RIGHTS};
        std::memcpy(CMSG_DATA(part), passed.data(), sizeof passed);
        ASSERT_GE(sendmsg(socket.get(), &message, 0), 0) << std::strerror(errno);
        sockets.theirs.reset();
        others.theirs.reset();
        const auto hasEnd = [](const UniqueFd& fd) {
            pollfd watched{fd.get(), POLLIN, 0};
            return poll(&watched, 1, 0) > 0;
        };
        EXPECT_TRUE(loop_->eventually([&] { return hasEnd(sockets.ours) && hasEnd(others.ours); }))
            << bytes.size();
        EXPECT_THROW(receiveAnswer(sockets.ours.get()), PlatformError);
    }
    EXPECT_EQ(told_, 0);
    EXPECT_TRUE(instance().send({InstanceRequest::Kind::show}));
    EXPECT_TRUE(toldBecomes(1)) << "it goes on";
}

TEST_F(SingleInstanceTest, WhatAKilledInstanceLeavesIsNotInTheWay) {
    const pid_t child = fork();
    if (child == 0) {
        const auto claim = instance().claim(nobody);
        _exit(claim ? 0 : 1);  // without giving anything back
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_EQ(status, 0);
    ASSERT_TRUE(fs::is_socket(folder_ / "test.socket"));
    const auto claim = instance().claim([this](auto&) {
        ++told_;
        return "";
    });
    ASSERT_TRUE(claim);
    EXPECT_FALSE(instance().claim(nobody));
    EXPECT_TRUE(toldBecomes(1));
}

TEST_F(SingleInstanceTest, APlaceThatIsNotTheUsersOwnIsRefused) {
    chmod(folder_.c_str(), 0777);
    EXPECT_THROW(instance().claim(nobody), PlatformError);
    EXPECT_THROW(instance().send({InstanceRequest::Kind::mark, "Secret"}), PlatformError);
    EXPECT_THROW(instance().query({InstanceRequest::Kind::status}), PlatformError);
    chmod(folder_.c_str(), 0700);
    fs::create_directory_symlink(folder_, folder_ / "link");
    EXPECT_THROW(PosixSingleInstance(loop_, folder_ / "link", "test").claim(nobody), PlatformError);
    EXPECT_THROW(instance(std::string(120, 'n')).claim(nobody), PlatformError) << "no socket has such a name";
}

}  // namespace
}  // namespace platform
