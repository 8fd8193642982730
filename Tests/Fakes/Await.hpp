#pragma once

#include <exception>

#include <QCoro/QCoroTask>
#include <gtest/gtest.h>

namespace cobaltreel {

/// Lets a task run to its end; what it throws is thrown here. `eventually` waits as the test does.
template <typename Task, typename Eventually>
void await(Task task, Eventually eventually) {
    bool done = false;
    std::exception_ptr failure;
    const auto follow = [&]() -> QCoro::Task<void> {
        try {
            co_await task;
        } catch (...) {
            failure = std::current_exception();
        }
        done = true;
    };
    const auto following = follow();
    ASSERT_TRUE(eventually([&] { return done; })) << "the operation does not end";
    if (failure) std::rethrow_exception(failure);
}

}  // namespace cobaltreel
