#include "platform/platform_fork.h"

#include <gtest/gtest.h>

#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace
{
std::string calls;

template <char Before, char Parent, char Child>
constexpr platform::ForkHandler Handler(platform::ForkRank rank)
{
    return {rank, [] { calls += Before; }, [] { calls += Parent; }, [] { calls += Child; }};
}

platform::ForkHandler text = Handler<'t', 'T', '1'>(platform::ForkRank::text);
platform::ForkHandler service = Handler<'s', 'S', '2'>(platform::ForkRank::service);
platform::ForkHandler late = Handler<'l', 'L', '3'>(platform::ForkRank::service);
platform::ForkHandler adds = {platform::ForkRank::pool, [] { AddForkHandler(late); }, {}, {}};

/// The calls of a fork in the child.
std::string AfterFork()
{
    calls.clear();
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(::write(ends[1], calls.data(), calls.size()) < 0);
    char room[20];
    const auto size = ::read(ends[0], room, sizeof room);
    ::waitpid(child, nullptr, 0);
    ::close(ends[0]);
    ::close(ends[1]);
    return {room, static_cast<std::size_t>(size)};
}

TEST(Fork, CallsHandlersByRankAndBackwardsAfterwards)
{
    for (platform::ForkHandler* handler : {&text, &service, &text, &adds})
        EXPECT_TRUE(AddForkHandler(*handler));
    EXPECT_EQ(AfterFork(), "st12");
    EXPECT_EQ(calls, "stTS");
    // What a handler adds takes part from the next fork on.
    EXPECT_EQ(AfterFork(), "lst132");
    EXPECT_EQ(calls, "lstTLS");
}
} // namespace
