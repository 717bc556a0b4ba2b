#include "numerics/FilledSystem.h"
#include "numerics/system/Pattern.h"

#include <limits>

using filled_system::Lists;
using math::SolveOutcome;
using numerics::BuildPattern;
using numerics::Pattern;

namespace
{

/// Pairs of neighbours, and one equation coupled with all: the first row is as long as they.
tagMultiVectorInt Star(int points)
{
    tagMultiVectorInt elements;
    for (int i = 1; i < points; ++i)
        elements.Add({i, 0});
    return elements;
}

/// Compares rows and target positions with additions made pair by pair.
void ExpectRight(const tagMultiVectorInt& elements, int count)
{
    Pattern pattern;
    ASSERT_EQ(BuildPattern(elements, count, pattern).outcome, SolveOutcome::Solved);
    filled_system::Model model{elements, {}, filled_system::Numbers(pattern.n)};
    std::vector<double> values(pattern.columns.size());
    for (std::size_t e = 0; e < elements.Count(); ++e)
    {
        auto& m = model.matrices.emplace_back(pattern.ElementSize(e) * pattern.ElementSize(e));
        std::iota(m.begin(), m.end(), double(e + 1));
        AddElement(pattern, e, m.data(), values.data());
    }
    const filled_system::System expected = model;
    EXPECT_EQ(pattern.rowStart, expected.rowStart);
    EXPECT_TRUE(std::equal(expected.columns.begin(), expected.columns.end(),
                           pattern.columns.begin(), pattern.columns.end()));
    EXPECT_EQ(values, expected.values);
    expected.ForEntries(
        [&, at = 0](int i, int j, double) mutable { EXPECT_EQ(pattern.Find(i, j), at++); });
}

TEST(Pattern, HoldsEveryPairOfEveryListAscending)
{
    ExpectRight({}, 0);
    ExpectRight({}, 4);
    ExpectRight(Lists({{}}), 0);
    ExpectRight(Lists({{0}}), 0);
    ExpectRight(Lists({{3, 1}, {}, {7, 3, 5}, {}}), 12); // 0, 2, 4, 6 and 8 to 11 untouched
    ExpectRight(Lists({{2, 2, 1, 2}, {1, 1}}), 0);       // repeated equations add up
    ExpectRight(Star(600), 0);                           // offsets of two bytes
    Pattern sparse; // legal, at a cost in proportion to the equations
    EXPECT_EQ(BuildPattern(Lists({{0, 1'500'000}}), 0, sparse).outcome, SolveOutcome::Solved);
    EXPECT_EQ(sparse.n, 1'500'001);
    std::mt19937 random(3);
    tagMultiVectorInt elements;
    for (int e = 0; e < 300; ++e)
    {
        std::vector<int> list(random() % 20);
        for (int& equation : list)
            equation = int(random() % 150);
        elements.Add(list);
    }
    ExpectRight(elements, 0);
    for (int nodes = 1; nodes <= 8; ++nodes) // two unknowns a node, elements all over the place
    {
        elements = {};
        for (int e = 0; e < 60; ++e)
        {
            std::vector<int> list;
            for (int node = 0; node < nodes; ++node)
            {
                list.push_back(2 * int(random() % 400));
                list.push_back(list.back() + (e % 7 == 0 ? -int(node > 2 && list.back() > 0) : 1));
            }
            elements.Add(list);
        }
        ExpectRight(elements, 0);
    }
}

TEST(Pattern, HoldsARowLongerThanTwoBytesCount)
{
    Pattern pattern;
    constexpr int kPoints = 70000;
    ASSERT_EQ(BuildPattern(Star(kPoints), 0, pattern).outcome, SolveOutcome::Solved);
    std::vector<double> values(pattern.columns.size());
    const double m[] = {1, 2, 3, 4};
    AddElement(pattern, kPoints - 2, m, values.data());
    EXPECT_EQ(values[pattern.Find(0, kPoints - 1)], 3);
    EXPECT_EQ(values[pattern.Find(kPoints - 1, 0)], 2);
    EXPECT_EQ(pattern.Find(5, 6), -1);
}

TEST(Pattern, RefusesWhatCannotBeStored)
{
    std::vector<int> wide(46341);
    std::iota(wide.begin(), wide.end(), 0);
    constexpr int kMax = std::numeric_limits<int>::max();
    tagMultiVectorInt unordered{{1, 2, 3}, {3, 1}}, rest{{1, 2, 3}, {2}};
    const std::tuple<tagMultiVectorInt, SolveOutcome, int> rows[] = {
        {Lists({{0, -1}}), SolveOutcome::Failed, -1},
        {Lists({{0, kMax}}), SolveOutcome::Failed, kMax},
        {Lists({{0, 1}, {1, 2000000000}}), SolveOutcome::Failed, 2000000000},
        {Lists({wide}), SolveOutcome::TooLarge, -1},
        {unordered, SolveOutcome::Failed, -1},
        {rest, SolveOutcome::Failed, -1}};
    for (const auto& [elements, outcome, equation] : rows)
    {
        Pattern pattern;
        const math::SolveRecord record = BuildPattern(elements, 0, pattern);
        EXPECT_EQ(record.outcome, outcome);
        EXPECT_EQ(record.equation, equation);
        EXPECT_FALSE(record.reason.empty());
        EXPECT_EQ(pattern.n, 0);
        EXPECT_EQ(pattern.rowStart, std::vector<int>{0});
    }
}

TEST(Pattern, AddsElementsToTheSameBitsOnAnyNumberOfThreads)
{
    std::mt19937 random(5);
    tagMultiVectorInt elements;
    for (int e = 0; e < 1200; ++e) // 1.08 million entries, each list 12 equations further on
    {
        std::vector<int> list(30);
        for (int& equation : list)
            equation = e * 12 + int(random() % 40);
        elements.Add(list);
    }
    std::vector<double> m(900 * elements.Count());
    for (double& entry : m)
        entry = 1.0 / double(1 + random() % 1000);
    Pattern serial;
    ASSERT_EQ(BuildPattern(elements, 0, serial, 1).outcome, SolveOutcome::Solved);
    // All elements, and a part of them, whose first rows others touch before.
    for (const std::size_t first : {0, 300})
    {
        std::vector<double> expected(serial.columns.size());
        for (std::size_t e = first; e < elements.Count(); ++e)
            AddElement(serial, e, m.data() + 900 * e, expected.data());
        for (const int threads : {0, 1, 2, 5})
        {
            Pattern pattern;
            ASSERT_EQ(BuildPattern(elements, 0, pattern, threads).outcome, SolveOutcome::Solved);
            EXPECT_EQ(pattern.rowStart, serial.rowStart);
            EXPECT_EQ(pattern.columns, serial.columns);
            EXPECT_EQ(pattern.offsets, serial.offsets);
            EXPECT_EQ(pattern.firstElement, serial.firstElement);
            EXPECT_EQ(pattern.span, serial.span);
            std::vector<double> values(pattern.columns.size());
            AddElements(pattern, first, elements.Count() - first, m.data() + 900 * first,
                        values.data(), threads);
            EXPECT_EQ(values, expected) << threads;
        }
    }
}

} // namespace
