#pragma once

#include <QCoreApplication>
#include <QProcess>
#include <cstdio>

#include <gtest/gtest.h>

namespace platform::test {

/// The session bus of the test program, to be killed.
inline QProcess* privateBus = nullptr;

/// Runs all tests with Qt's event loop and a session bus of their own: a process connects to its bus once.
inline int runTestsOnPrivateBus(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    QProcess daemon;
    daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
    if (!daemon.waitForReadyRead()) {
        std::fputs("no message bus: install dbus-daemon\n", stderr);
        return 1;
    }
    qputenv("DBUS_SESSION_BUS_ADDRESS", daemon.readLine().trimmed());
    privateBus = &daemon;
    const int status = RUN_ALL_TESTS();
    daemon.kill();
    daemon.waitForFinished();
    return status;
}

}  // namespace platform::test
