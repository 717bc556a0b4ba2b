#include <gtest/gtest.h>

#ifdef __SANITIZE_ADDRESS__
/// What the vendor's solver allocates for itself and keeps.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:libmkl";
}
#endif

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
