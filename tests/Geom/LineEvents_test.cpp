#include "Geom/Geom_LineEvents2D.h"
#include "Geom/LineOracle.h"
#include "Geom/LineSets.h"
#include "Geom/Rounds.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>

namespace
{
using namespace Geom;
using Events = std::vector<LineEvent2D>;

void Print(const oracle::Tally& tally)
{
    std::printf("[ ORACLE   ] %ld sets, %ld pairs compared, %ld events, %ld sets with circles\n",
                tally.sets, tally.pairs, tally.events, tally.circles);
}

TEST(LineEvents, AreThoseOfAllPairs)
{
    linesets::Random random(20240607);
    oracle::Tally tally;
    const auto tryAll = [&](const LineSet2D& lines) {
        for (const oracle::Finder& finder : oracle::kFinders)
            EXPECT_EQ(oracle::WrongWith(finder, lines, tally), "") << lines.size() << " lines";
    };
    for (int round = 0; round < oracle::Rounds(); ++round)
        for (const auto& [name, make] : linesets::kGenerators)
        {
            SCOPED_TRACE(name);
            for (int few = 0; few < 20; ++few)
                tryAll(make(random, 1 + random() % 11));
            for (const std::size_t n : {60, 201})
                tryAll(make(random, n));
            LineSet2D lines = make(random, 40); // half of them against the order
            for (std::size_t i = 0; i < lines.size(); i += 2)
                std::swap(lines[i].first, lines[i].second);
            tryAll(lines);
        }
    Print(tally);
}

TEST(LineEvents, OfManyLinesAreThoseOfAllPairs)
{
    linesets::Random random(7);
    oracle::Tally tally;
    for (int round = 0; round < oracle::Rounds(); ++round)
        for (const linesets::Generator make : {linesets::Short, linesets::Mixed, linesets::Fan})
            for (std::size_t n = 600; n <= (round == 0 ? 600 : 2400); n *= 2)
                EXPECT_EQ(
                    oracle::WrongWith(oracle::kFinders[(1 + round) % 4], make(random, n), tally),
                    "");
    Print(tally);
}

TEST(LineEvents, OfUnusableLinesAreNone)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const double missing = MissingValue<double>();
    LineSet2D lines = {{{nan, 0}, {1, 1}}, {{-inf, 0}, {inf, 0}}, {{0, 0}, {missing, missing}}};
    Events events(1, {{}, lines.begin(), lines.end()});
    for (const oracle::Finder& finder : oracle::kFinders)
    {
        finder.find(events, lines);
        EXPECT_TRUE(events.empty());
        finder.find(events, {});
        EXPECT_TRUE(events.empty());
    }
    lines.insert(lines.end(), {{{0, 0}, {1, 1}}, {{0, 1}, {1, 0}}, {{-1e300, .5}, {1e300, .5}}});
    LineIntersectionEvents2D(events, lines);
    EXPECT_EQ(events.size(), 3u);
}

TEST(LineEvents, HoldForEveryPrecision)
{
    linesets::Random random(3);
    oracle::Tally tally;
    const Precision3D before = Precision();
    for (int round = 0; round < oracle::Rounds(); ++round)
        for (const int digits : {-400, -3, -1, 0, 1, 9, 20, 400})
        {
            Precision3D precision;
            precision.Set(std::vector<int>(3, digits).data());
            SetCompPrecision(precision);
            for (const auto& [name, make] : linesets::kGenerators)
                for (const oracle::Finder& finder : oracle::kFinders)
                    EXPECT_EQ(oracle::WrongWith(finder, make(random, 30), tally), "")
                        << name << ", digits " << digits;
        }
    SetCompPrecision(before);
    Print(tally);
}

TEST(LineEvents, OfCopiesGoByTheirPositions)
{
    // The long run takes ten thousand: fifty million events of each finder, 4 GB.
    const std::size_t n = oracle::Rounds() > 1 && sizeof(void*) == 8 ? 10000 : 400;
    const LineSet2D lines(n, {{0, 0}, {3, 1}});
    Events events;
    LineCrossingEvents2D(events, lines);
    EXPECT_TRUE(events.empty());
    for (const auto find :
         {LineIntersectionEvents2D, LineCoincidentEvents2D, LineCollisionEvents2D})
    {
        find(events, lines);
        ASSERT_EQ(events.size(), n * (n - 1) / 2);
        auto event = events.begin();
        std::size_t wrong = 0;
        for (auto line1 = lines.begin(); line1 != lines.end(); ++line1)
            for (auto line2 = line1 + 1; line2 != lines.end(); ++line2, ++event)
                wrong += !(event->line1 == line1 && event->line2 == line2);
        EXPECT_EQ(wrong, 0u);
    }
}

TEST(LineCoincidentEvents2D, GivesBothEndsOfAnOverlap)
{
    const LineSet2D lines = {
        {{0, 0}, {4, 0}}, {{1, 0}, {3, 0}}, {{2, 0}, {4, 0}}, {{1, 9}, {1, 8}}};
    Events events;
    LineCoincidentEvents2D(events, lines);
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[0].point, (Point2D{1, 0}));
    EXPECT_EQ(events[0].point2, (Point2D{3, 0})); // an end of the second line only
    EXPECT_EQ(events[1].point, (Point2D{2, 0}));
    EXPECT_TRUE(IsMissing2D(events[1].point2)); // of lines 0 and 2, which end there together
    EXPECT_EQ(events[2].point2, (Point2D{3, 0}));
}

/// The protected operations, for tests.
struct Order : EvLess
{
    using EvLess::ESpecialComparison;
    using EvLess::EvLess;
    using EvLess::GetSpecialComparison;
    using EvLess::IsOtherEventAlongIntersection;
};

TEST(EvLess, OrdersByPointThenTypeThenLines)
{
    const LineSet2D lines = {
        {{0, 0}, {4, 4}}, {{0, 4}, {4, 0}}, {{2, 2}, {5, 2}}, {{1, 0}, {1, 1}}};
    const auto at = [&](Point2D p, int i, int k) {
        return LineEvent2D{p, lines.begin() + i, lines.begin() + k};
    };
    const int none = int(lines.size());
    // From the first to the last; each comes before every later one unless said otherwise.
    const LineEvent2D order[] = {
        at({0, 0}, 0, none), at({0, 4}, 1, none), at({1, 0}, 3, none), at({1, 1}, 0, 3),
        at({1, 1}, 3, none), at({2, 2}, 2, none), at({2, 2}, 0, 1),    at({2, 2}, 2, 0),
        at({2, 2}, 1, 2),    at({4, 0}, 1, none), at({4, 4}, 0, none), at({5, 2}, 2, none),
    };
    const LineEventType types[] = {
        LineEventType::Start,   LineEventType::Start,   LineEventType::Start,
        LineEventType::Meeting, LineEventType::End,     LineEventType::Start,
        LineEventType::Meeting, LineEventType::Meeting, LineEventType::Meeting,
        LineEventType::End,     LineEventType::End,     LineEventType::End};
    const EvLess less(lines, Precision());
    const EvEqual equal(Precision());
    for (std::size_t i = 0; i < std::size(order); ++i)
    {
        EXPECT_EQ(GetLineEventType2D(lines, order[i]), types[i]) << i;
        for (std::size_t k = 0; k < std::size(order); ++k)
        {
            EXPECT_EQ(less(order[i], order[k]), i < k) << i << ' ' << k;
            EXPECT_EQ(equal(order[i], order[k]), i == k) << i << ' ' << k;
        }
    }
    EXPECT_TRUE(equal(at({2, 2}, 0, 1), at({2 + 5e-5, 2 - 4e-5}, 1, 0)));
    EXPECT_FALSE(equal(at({2, 2}, 0, 1), at({2 + 6e-5, 2}, 0, 1)));
}

TEST(EvLess, OrdersAlongTheLinesOfAMeeting)
{
    // The second line is given against the order, so along it right comes before left.
    const LineSet2D lines = {{{0, 0}, {4, 4}}, {{4, 0}, {0, 4}}, {{3, 0}, {3, 9}}};
    const Order order(lines, Precision());
    const LineEvent2D meeting = {{2, 2}, lines.begin(), lines.begin() + 1};
    const std::pair<Point2D, int> rows[] = {{{1, 1}, -1}, {{3, 1}, -1}, {{1, 3}, 1},
                                            {{3, 3}, 1},  {{2, 3}, 0},  {{5, 5}, 0}};
    for (const auto& [point, side] : rows)
        EXPECT_EQ(order.IsOtherEventAlongIntersection(point, meeting), side) << point.x << point.y;
    const LineEvent2D right = {{3, 1}, lines.begin() + 1, lines.begin() + 2};
    EXPECT_TRUE(order(right, meeting));
    EXPECT_FALSE(order(meeting, right));
    EXPECT_EQ(
        order.GetSpecialComparison(LineEventType::Meeting, LineEventType::Meeting, meeting, right),
        Order::ESpecialComparison::SecondBefore);
}

TEST(less_Line2D, ComparesFirstThenSecondPoints)
{
    const less_Line2D less((Precision3D()));
    const Line2D base = {{0, 0}, {1, 1}};
    EXPECT_TRUE(less(base, {{0, 1e-4}, {0, 0}}));
    EXPECT_FALSE(less({{0, 1e-4}, {0, 0}}, base));
    EXPECT_TRUE(less(base, {{4e-5, -4e-5}, {1.1, 1}}));
    EXPECT_FALSE(less(base, {{4e-5, -4e-5}, {1, 1}}));
}

} // namespace
