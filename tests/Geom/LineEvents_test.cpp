#include "Geom/GeomTest.h"
#include "Geom/Geom_LineEvents2D.h"
#include "Geom/Geom_LineMeetings2D.h"
#include "Geom/LineOracle.h"
#include "Geom/LineSets.h"

#include <set>
#include <tuple>

namespace
{
using namespace geomtest;
using Events = std::vector<LineEvent2D>;

/// Compares the finders with all pairs.
void ExpectLikeAllPairs(const LineSet2D& lines)
{
    for (const oracle::Finder& finder : oracle::kFinders)
        EXPECT_EQ(oracle::WrongWith(finder, lines), "") << lines.size() << " lines";
}

TEST(LineEvents, AreThoseOfAllPairs)
{
    linesets::Random random(20240607);
    for (int round = 0; round < Rounds(); ++round)
        for (const linesets::Generator& make : linesets::kGenerators)
        {
            SCOPED_TRACE(&make - linesets::kGenerators);
            for (int few = 0; few < 20; ++few)
                ExpectLikeAllPairs(make(random, 1 + random() % 11));
            for (const std::size_t n : {60, 201})
                ExpectLikeAllPairs(make(random, n));
            LineSet2D lines = make(random, 40); // half of them against the order
            for (std::size_t i = 0; i < lines.size(); i += 2)
                std::swap(lines[i].first, lines[i].second);
            ExpectLikeAllPairs(lines);
        }
    // Many lines.
    for (int round = 0; round < Rounds(); ++round)
        for (const linesets::Generator make : {linesets::Short, linesets::Mixed, linesets::Fan})
            for (std::size_t n = 600; n <= (round == 0 ? 600 : 2400); n *= 2)
                EXPECT_EQ(WrongWith(oracle::kFinders[(1 + round) % 4], make(random, n)), "");
}

TEST(LineEvents, HoldForEveryPrecision)
{
    linesets::Random random(3);
    for (int round = 0; round < Rounds(); ++round)
        for (const int digits : {-400, -3, -1, 0, 1, 9, 20, 400})
        {
            Precision3D precision;
            precision.Set(std::vector<int>(3, digits).data());
            SetCompPrecision(precision);
            SCOPED_TRACE(digits);
            for (const linesets::Generator& make : linesets::kGenerators)
                ExpectLikeAllPairs(make(random, 30));
        }
    SetCompPrecision({});
}

TEST(LineEvents, OfUnusableLinesAreNone)
{
    LineSet2D lines = {{{kNaN, 0}, {1, 1}}, {{-kInfinity, 0}, {kInfinity, 0}}, {{0, 0}, kNoPoint}};
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

TEST(LineEvents, OfCopiesGoByTheirPositions)
{
    // The long run takes ten thousand: fifty million events of each finder, 4 GB.
    const std::size_t n = Rounds() > 1 && sizeof(void*) == 8 ? 10000 : 400;
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

TEST(LineMeetings2D, AreThoseOfAllPairsInOrderAlongTheFirstLines)
{
    linesets::Random random(9);
    for (int round = 0; round < Rounds(); ++round)
        for (const linesets::Generator& make : linesets::kGenerators)
            for (const auto& [n1, n2] :
                 {std::pair{1, 300}, {300, 1}, {230, 500}, {300, 300}, {0, 9}})
            {
                SCOPED_TRACE(testing::Message()
                             << &make - linesets::kGenerators << ' ' << n1 << ' ' << n2);
                // Halves of one set, so that the generators' places agree.
                LineSet2D all = make(random, std::size_t(n1 + n2));
                std::shuffle(all.begin(), all.end(), random);
                const auto middle = all.begin() + std::min(int(all.size()), n1);
                const LineSet2D first(all.begin(), middle), second(middle, all.end());
                std::vector<LineMeeting2D> meetings(1);
                LineMeetings2D(meetings, first, second, kPrecision);
                std::set<std::pair<std::size_t, std::size_t>> found;
                for (const LineMeeting2D& meeting : meetings)
                    EXPECT_TRUE(found.insert({meeting.first, meeting.second}).second);
                for (std::size_t i = 1; i < meetings.size(); ++i)
                    EXPECT_LE(std::tie(meetings[i - 1].first, meetings[i - 1].parameter),
                              std::tie(meetings[i].first, meetings[i].parameter));
                for (std::size_t i = 0; i < first.size(); ++i)
                    for (std::size_t k = 0; k < second.size(); ++k)
                        ASSERT_EQ(found.count({i, k}) != 0,
                                  oracle::Intersection(first[i], second[k]).isOne)
                            << i << ' ' << k;
            }
    // The overlap begins where the line comes to it; what touches it lies at its parameter.
    std::vector<LineMeeting2D> meetings;
    LineMeetings2D(meetings, {{{10, 0}, {0, 0}}},
                   {{{2, 0}, {4, 0}}, {{8, -1}, {8, 1}}, {{0, 5}, {1, 5}}}, kPrecision);
    ASSERT_EQ(meetings.size(), 2u);
    EXPECT_TRUE(meetings[0].second == 1 && meetings[0].point == (Point2D{8, 0}));
    EXPECT_DOUBLE_EQ(meetings[0].parameter, 0.2);
    EXPECT_TRUE(meetings[1].point == (Point2D{4, 0}) && meetings[1].point2 == (Point2D{2, 0}));
    EXPECT_DOUBLE_EQ(meetings[1].parameter, 0.6);
}

/// The protected operations, for tests.
struct Order : EvLess
{
    using EvLess::ESpecialComparison, EvLess::EvLess;
    using EvLess::GetSpecialComparison, EvLess::IsOtherEventAlongIntersection;
};

TEST(EvLess, OrdersByPointThenTypeThenLines)
{
    const LineSet2D lines = {
        {{0, 0}, {4, 4}}, {{0, 4}, {4, 0}}, {{2, 2}, {5, 2}}, {{1, 0}, {1, 1}}};
    const auto at = [&](Point2D p, int i, int k) {
        return LineEvent2D{p, lines.begin() + i, lines.begin() + k};
    };
    const int none = int(lines.size());
    using enum LineEventType;
    // From the first to the last; each comes before every later one.
    const std::pair<LineEvent2D, LineEventType> order[] = {
        {at({0, 0}, 0, none), Start}, {at({0, 4}, 1, none), Start}, {at({1, 0}, 3, none), Start},
        {at({1, 1}, 0, 3), Meeting},  {at({1, 1}, 3, none), End},   {at({2, 2}, 2, none), Start},
        {at({2, 2}, 0, 1), Meeting},  {at({2, 2}, 2, 0), Meeting},  {at({2, 2}, 1, 2), Meeting},
        {at({4, 0}, 1, none), End},   {at({4, 4}, 0, none), End},   {at({5, 2}, 2, none), End}};
    const EvLess less(lines, Precision());
    const EvEqual equal(Precision());
    for (std::size_t i = 0; i < std::size(order); ++i)
    {
        const auto& [event, type] = order[i];
        EXPECT_EQ(GetLineEventType2D(lines, event), type) << i;
        for (std::size_t k = 0; k < std::size(order); ++k)
        {
            EXPECT_EQ(less(event, order[k].first), i < k) << i << ' ' << k;
            EXPECT_EQ(equal(event, order[k].first), i == k) << i << ' ' << k;
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
