#include "Platform/Desktop/Posix/PosixRelauncher.hpp"
#include "Rig/Eventually.hpp"
#include "Rig/TemporaryFolder.hpp"

#include <filesystem>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace platform {

TEST(RelauncherTest, TheNextInstanceStartsOnceThisOneHasEndedHoweverItEnds) {
    namespace fs = std::filesystem;
    const rig::TemporaryFolder folder;
    const fs::path started = folder / "started";
    int ready[2];
    ASSERT_EQ(pipe2(ready, O_CLOEXEC), 0);
    const pid_t running = fork();
    if (running == 0) {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
        PosixRelauncher relauncher("/bin/sh",
                                   {"-c", "kill -TERM $$; echo deaf to signals >" + started.string()});
        PosixRelauncher again("/bin/sh", {"-c", "echo $PPID >" + started.string()});
        relauncher.relaunchAfterExit();
        again.relaunchAfterExit();
        again.relaunchAfterExit();
        [[maybe_unused]] const auto told = write(ready[1], "!", 1);
        pause();
        _exit(0);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    // Nothing tells that something has not happened; a moment has to do.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_FALSE(fs::exists(started)) << "the first instance is still there";
    kill(running, SIGKILL);
    waitpid(running, nullptr, 0);
    std::string line;
    EXPECT_TRUE(eventually([&] {
        std::ifstream file(started);
        return std::getline(file, line) && !line.empty();
    }));
    EXPECT_EQ(line.find("deaf"), line.npos) << "signals that were blocked reach the next instance";
}

}  // namespace platform
