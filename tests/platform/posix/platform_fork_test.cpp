#include "platform/platform_fork.h"
#include "support/ForkedChild.h"

#include <string>

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

/// Forks. @returns whether the child's calls were @p inChild
bool Forks(const char* inChild)
{
    calls.clear();
    return support::InChild([=] { return calls == inChild; }) == 0;
}

TEST(Fork, CallsHandlersByRankAndBackwardsAfterwards)
{
    for (platform::ForkHandler* handler : {&text, &service, &text, &adds})
        EXPECT_TRUE(AddForkHandler(*handler));
    EXPECT_TRUE(Forks("st12"));
    EXPECT_EQ(calls, "stTS");
    // What a handler adds takes part from the next fork on.
    EXPECT_TRUE(Forks("lst132"));
    EXPECT_EQ(calls, "lstTLS");
}
} // namespace
