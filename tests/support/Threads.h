/// @file
/// Threads that run one body at once.
#pragma once

#include <atomic>
#include <chrono>
#include <thread>
#include <type_traits>
#include <vector>

namespace support
{
using namespace std::chrono_literals;

/// Runs @p body on @p count threads, with the thread's number if it takes one, to their end.
template <class Body>
void OnThreads(int count, Body body)
{
    std::vector<std::jthread> threads;
    for (int t = 0; t < count; ++t)
        threads.emplace_back([&body, t] {
            if constexpr (std::is_invocable_v<Body&, int>)
                body(t);
            else
                body();
        });
}

/// Runs @p body again and again on @p count other threads while @p check runs.
template <class Body, class Check>
void While(int count, Body body, Check check)
{
    std::atomic<bool> done{false};
    const std::jthread others([&] {
        OnThreads(count, [&] {
            while (!done)
                body();
        });
    });
    check();
    done = true;
}

} // namespace support
