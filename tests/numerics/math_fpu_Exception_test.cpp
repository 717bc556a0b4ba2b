#include "numerics/math_fpu_Exception.h"
#include "platform/platform_fpu.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

using math::fpu::Exception;

namespace
{

// Kept from the compiler, so that the processor divides.
volatile double zero = 0, one = 1, large = std::numeric_limits<double>::max(), third;
volatile long double zeroExtended = 0, oneExtended = 1;

} // namespace

TEST(FpuException, ReportsWhatWasRaisedSinceItWasCleared)
{
    Exception::On();
    EXPECT_FALSE(Exception::IsError());
    third = one / 3;
    EXPECT_FALSE(Exception::IsError());
    EXPECT_TRUE(Exception::IsError(Exception::kInexact));

    const std::tuple<volatile double&, volatile double&, unsigned> rows[] = {
        {one, zero, Exception::kDivideByZero},
        {zero, zero, Exception::kInvalid},
        {large, third, Exception::kOverflow}};
    for (const auto& [a, b, raised] : rows)
    {
        Exception::Clear();
        EXPECT_FALSE(Exception::IsError(63));
        third = a / b;
        EXPECT_TRUE(Exception::IsError());
        EXPECT_TRUE(Exception::IsError(raised));
        EXPECT_FALSE(Exception::IsError(Exception::DefaultExceptionMask() & ~raised));
        third = 1.0 / 3;
    }
    Exception::Clear();
    zeroExtended = oneExtended / zeroExtended; // the x87 unit
    EXPECT_TRUE(Exception::IsError(Exception::kDivideByZero));
    Exception::Off();
    EXPECT_TRUE(Exception::IsError());
    Exception::Clear();
}

TEST(FpuException, TrapsOnlyWhatIsAskedAndOnlyBetweenOnAndOff)
{
    third = one / zero; // raised before: must not trap when switched on
    const unsigned before = math::fpu::impl::ExceptionOn(Exception::kOverflow, true);
    EXPECT_EQ(platform::FpuTraps(), unsigned(Exception::kOverflow));
    EXPECT_FALSE(Exception::IsError());
    third = one / zero; // not asked for
    EXPECT_EQ(Exception::Off(), unsigned(Exception::kOverflow));
    EXPECT_EQ(platform::FpuTraps(), 0u);
    third = large * large;
    EXPECT_EQ(math::fpu::impl::ExceptionOn(63, false), 0u);
    EXPECT_EQ(platform::FpuTraps(), 0u); // the switch is off
    EXPECT_EQ(before, 0u);
}

#if GTEST_HAS_DEATH_TEST
TEST(FpuExceptionDeathTest, AnAskedExceptionStopsTheProgram)
{
    for (const bool extended : {false, true})
        EXPECT_DEATH(
            {
                math::fpu::impl::ExceptionOn(Exception::kDivideByZero, true);
                if (extended)
                {
                    zeroExtended = 0;
                    oneExtended = oneExtended / zeroExtended;
                    oneExtended = oneExtended + 1; // the x87 unit traps one operation later
                }
                else
                    third = one / zero;
            },
            "");
}
#endif
