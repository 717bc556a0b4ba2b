#include "sys/SharedResource.h"

#include <gtest/gtest.h>

#include <pthread.h>

namespace
{

using sys::thread::SharedResource;

struct Ending : SharedResource
{
    gtl::status OnCreate() override
    {
        if (isEnding)
            ::pthread_exit(nullptr);
        return {};
    }
    bool isEnding = true;
};

TEST(SharedResource, AHookMayEndItsThread)
{
    static constexpr wchar_t kName[] = L"a resource whose hook ends its thread";
    Ending resource;
    pthread_t thread;
    const auto open = [](void* ending) -> void* {
        (void)SharedResource::Open(kName, static_cast<Ending*>(ending), 0); // does not return
        return ending;
    };
    ASSERT_EQ(::pthread_create(&thread, nullptr, open, &resource), 0);
    void* result = &thread;
    ASSERT_EQ(::pthread_join(thread, &result), 0);
    EXPECT_EQ(result, nullptr) << "the thread did not end in the hook";
    EXPECT_FALSE(SharedResource::IsOpenAnywhere(kName));
    resource.isEnding = false;
    EXPECT_TRUE(SharedResource::Open(kName, &resource, 0).ok());
    EXPECT_TRUE(SharedResource::Close(kName).ok());
}

} // namespace
