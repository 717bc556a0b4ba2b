#include "doc/Step.h"
#include "doc/doc_file_mark.h"
#include "foundation/MissingValue.h"
#include "foundation/str_locale.h"

#include <gtest/gtest.h>

using namespace doc::file::mark;

namespace
{
constexpr int kMax = 0x7FFFFFFF;

Step StepOf(int value) { return Step::CreateFromInt(value); }
MarkStep Mark(int value) { return MarkStep::CreateFromInt(value); }
} // namespace

TEST(Step, KeepsTheReservedValues)
{
    EXPECT_EQ(Step().raw_int(), kMax);
    EXPECT_EQ(kvi::step::Init().raw_int(), 0);
    EXPECT_EQ(kvi::step::deprecated::Init().raw_int(), -1);
    EXPECT_EQ(kvi::step::Last().raw_int(), 2147483646);
    EXPECT_EQ(kvi::step::All().raw_int(), -2);
    Step step;
    step.AssignStepNumber_(7);
    EXPECT_EQ(step.raw_int(), 7);
    step.AssignStepNumber_(0xFFFFFFFF);
    EXPECT_EQ(step, Step());
}

TEST(Step, HasANumberUnlessItIsAWordForOthers)
{
    const std::tuple<int, int, bool, const wchar_t*> rows[] = {
        {-1, 0, true, L"initial step"},
        {0, 0, true, L"initial step"},
        {1, 1, false, L"step 1 (time 12)"},
        {5, 5, false, L"step 5 (time 12)"},
        {kMax - 2, kMax - 2, false, L"step 2147483645 (time 12)"},
        {kMax - 1, -1, true, L"last step"},
        {kMax, -1, true, L"no step"},
        {-2, -1, true, L"all steps"},
        {-3, -1, false, L"no step"},
    };
    for (const auto& [value, number, isSpecial, text] : rows)
    {
        EXPECT_EQ(StepOf(value).AsStepNumber(), StepNumber{number}) << value;
        EXPECT_EQ(kvi::step::IsSpecialStep(StepOf(value)), isSpecial) << value;
        EXPECT_EQ(kvi::step::PrettyPrint(StepOf(value), 12), text) << value;
    }
    EXPECT_EQ(kvi::step::PrettyPrint(StepOf(3), MissingValue<double>()), L"step 3");
    EXPECT_EQ(kvi::step::PrettyPrint(StepOf(3), 0.123456789),
              L"step 3 (time 0" + str::locale::decimal_char() + L"12345679)");
}

TEST(MarkStep, ConvertsToTheLastStepWithResults)
{
    EXPECT_EQ(MarkStep(), NoResults());
    EXPECT_TRUE(NoResults().raw_int() == -1 && AllResults().raw_int() == kMax);
    const std::tuple<MarkStep, int, int> rows[] = {
        {NoResults(), -1, 0}, {AllResults(), -1, 12}, {Mark(0), 0, 0}, {Mark(7), 7, 7}};
    for (const auto& [mark, number, converted] : rows)
    {
        EXPECT_EQ(mark.AsStepNumber(), StepNumber{number});
        EXPECT_EQ(ConvertToStepNumber(mark, 12), StepNumber{converted});
    }
    MarkStep mark;
    mark.AssignStepNumber_(7);
    EXPECT_TRUE(mark == Mark(7) && mark != Mark(8));
    mark.AssignStepNumber_(0xFFFFFFFF);
    EXPECT_EQ(mark, AllResults());
}

TEST(MarkStep, KnowsWhetherResultsExist)
{
    const std::tuple<MarkStep, MarkStep, bool> rows[] = {
        {AllResults(), NoResults(), true},  {AllResults(), AllResults(), true},
        {AllResults(), Mark(3), true},      {Mark(3), AllResults(), false},
        {NoResults(), AllResults(), false}, {NoResults(), NoResults(), false},
        {NoResults(), Mark(0), false},      {Mark(0), NoResults(), false},
        {Mark(3), Mark(2), true},           {Mark(2), Mark(3), false},
        {Mark(3), Mark(3), true},           {Mark(0), Mark(0), true},
    };
    for (const auto& [mark, available, expected] : rows)
        EXPECT_EQ(IsResultsAvailable(mark, available), expected)
            << mark.raw_int() << ' ' << available.raw_int();
}
