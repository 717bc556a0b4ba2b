#include "RunChild.h"
#include "sys/SharedResource.h"
#include "sys/sys_thread_Signal.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

using namespace sys::thread;

namespace
{

/// Records which hooks ran; one of them fails.
struct Noted : SharedResource
{
    gtl::status OnCreate() override { return Note('c'); }
    gtl::status OnOpen() override { return Note('o'); }
    gtl::status OnClose() override { return Note('x'); }
    gtl::status OnDestroy() override { return Note('d'); }
    using SharedResource::Flags;
    using SharedResource::Lock;
    using SharedResource::TryLock;
    using SharedResource::Unlock;

    gtl::status Note(char hook)
    {
        hooks += hook;
        if (hook != failing)
            return {};
        return throws ? throw std::runtime_error("failed") : gtl::status(L"failed");
    }
    std::string hooks;
    char failing = 0;
    bool throws = false;
};

const std::wstring kName = child::Name(L"kvi test resource");

TEST(SharedResource, OpensLocksAndCloses)
{
    Noted resource;
    EXPECT_FALSE(SharedResource::IsOpenAnywhere(kName));
    ASSERT_TRUE(SharedResource::Open(kName, &resource, 7).ok());
    EXPECT_EQ(resource.Name(), kName);
    EXPECT_EQ(resource.Flags(), 7u);
    EXPECT_TRUE(SharedResource::IsOpenAnywhere(kName));
    {
        const auto access = SharedResource::GetExclusiveAccess(kName, true);
        const auto copy = access;
        EXPECT_TRUE(access && copy);
        std::jthread([&] {
            EXPECT_FALSE(resource.TryLock());
            EXPECT_FALSE(SharedResource::GetExclusiveAccess(kName, false));
        }).join();
    }
    std::jthread([&] {
        EXPECT_TRUE(resource.TryLock());
        resource.Unlock();
    }).join();
    EXPECT_TRUE(SharedResource::Close(kName).ok());
    EXPECT_EQ(resource.hooks, "cxd");
    EXPECT_FALSE(SharedResource::IsOpenAnywhere(kName));
    EXPECT_FALSE(SharedResource::GetExclusiveAccess(kName, true));
}

TEST(SharedResource, RefusesWhatItCannotOpenOrClose)
{
    EXPECT_EQ(SharedResource::Close(L"100%").as_wstring(),
              L"Attempt to close resource 100%, when that resource does not exist.");
    Noted first, second, failing;
    failing.failing = 'c';
    EXPECT_FALSE(SharedResource::Open(kName, nullptr, 0).ok());
    EXPECT_EQ(SharedResource::Open(kName, &failing, 0).as_wstring(), L"failed");
    ASSERT_TRUE(SharedResource::Open(kName, &first, 0).ok());
    const gtl::status twice = SharedResource::Open(kName, &second, 0);
    ASSERT_FALSE(twice.ok());
    EXPECT_EQ(twice.details()->argument(1), L"sys::thread::SharedResourceManager::Open");
    EXPECT_EQ(second.hooks, "");
    first.failing = 'x';
    EXPECT_EQ(SharedResource::Close(kName).as_wstring(), L"failed");
    EXPECT_EQ(first.hooks, "cxd") << "closed all the same";
}

TEST(SharedResource, KeepsNoNameWhoseHookThrows)
{
    for (const char hook : {'c', 'x', 'd'})
    {
        Noted resource, next;
        resource.failing = hook;
        resource.throws = true;
        EXPECT_EQ(SharedResource::Open(kName, &resource, 0).ok(), hook != 'c');
        EXPECT_FALSE(SharedResource::Close(kName).ok()) << hook;
        EXPECT_EQ(resource.hooks, hook == 'c' ? "c" : "cxd");
        EXPECT_FALSE(SharedResource::IsOpenAnywhere(kName));
        ASSERT_TRUE(SharedResource::Open(kName, &next, 0).ok()) << hook;
        ASSERT_TRUE(SharedResource::Close(kName).ok());
        EXPECT_EQ(next.hooks, "cxd");
    }
}

TEST(SharedResource, IsTakenAndNotOpenDuringAFailingOpen)
{
    struct Slow : Noted
    {
        gtl::status OnCreate() override
        {
            begun.Set();
            goOn.Wait();
            return Note('c');
        }
        Signal begun{Signal::manualReset}, goOn{Signal::manualReset};
    } slow;
    slow.failing = 'c';
    Noted other;
    std::jthread opening([&] { EXPECT_FALSE(SharedResource::Open(kName, &slow, 0).ok()); });
    slow.begun.Wait();
    EXPECT_FALSE(SharedResource::Close(kName).ok());
    EXPECT_FALSE(SharedResource::Open(kName, &other, 0).ok());
    EXPECT_FALSE(SharedResource::GetExclusiveAccess(kName, false));
    slow.goOn.Set();
    opening.join();
    EXPECT_EQ(slow.hooks + other.hooks, "c") << "nobody closed what was never open";
    EXPECT_FALSE(SharedResource::Close(kName).ok());
    ASSERT_TRUE(SharedResource::Open(kName, &other, 0).ok());
    EXPECT_TRUE(SharedResource::Close(kName).ok());
    EXPECT_EQ(other.hooks, "cxd");
}

TEST(ResourceChild, DISABLED_FindsItOpen)
{
    Noted resource;
    EXPECT_TRUE(SharedResource::IsOpenAnywhere(kName));
    ASSERT_TRUE(SharedResource::Open(kName, &resource, 0).ok());
    EXPECT_FALSE(SharedResource::GetExclusiveAccess(kName, false)) << "the parent has it";
    EXPECT_TRUE(SharedResource::Close(kName).ok());
    EXPECT_EQ(resource.hooks, "ox");
}

TEST(SharedResource, IsSharedWithAnotherProcess)
{
    Noted resource;
    ASSERT_TRUE(SharedResource::Open(kName, &resource, 0).ok());
    {
        const auto access = SharedResource::GetExclusiveAccess(kName, true);
        EXPECT_TRUE(child::Run("ResourceChild", "FindsItOpen"));
    }
    EXPECT_TRUE(SharedResource::Close(kName).ok());
    EXPECT_EQ(resource.hooks, "cxd");
}

} // namespace
