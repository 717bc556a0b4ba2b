#include "foundation/gtl_range_error.h"
#include "foundation/str_locale.h"
#include "support/Numbers.h"
#include "table_parts.h"

using namespace dataparamtype;
using namespace table_parts;
using gtl::bound_kind;

namespace
{
/// Members with the numbers @p first to @p last.
struct Members
{
    int first, last;
    Members(int number) : Members(number, number) {}
    Members(int from, int to) : first(from), last(to) {}
};

template <class Table, class Value>
void ExpectOnly(const std::vector<Members>& runs, Table table, const Value& value)
{
    std::vector<int> found, listed;
    for (int i = 0; i < kDataParamTypeCount; ++i)
        if (table(Param(i)) == value)
            found.push_back(i);
    for (const Members& run : runs)
        for (int i = run.first; i <= run.last; ++i)
            listed.push_back(i);
    EXPECT_EQ(found, listed);
}
} // namespace

TEST(DataParamType, MethodsBelongToTheListedMembers)
{
    ExpectOnly({21, 22, 63, 169, 474, 603}, GetCalculationMethod, 0);
    const std::vector<Members> second = {{170, 171}, {183, 186}, {257, 258}, {479, 482},
                                         {484, 498}, {517, 519}, {533, 535}, 573};
    ExpectOnly(second, GetCalculationMethod, 2);
    ExpectOnly({{12, 17},   26,         {28, 34},   {94, 98},   100,        {106, 108},
                149,        {172, 181}, {195, 197}, 255,        279,        {451, 452},
                {463, 470}, 483,        {499, 516}, {520, 526}, {528, 532}, {536, 542},
                {544, 560}, {563, 568}, {577, 590}, {600, 602}},
               GetCalculationMethod, 1);
}

TEST(DataParamType, RangesAndCategoriesBelongToTheListedMembers)
{
    const gtl::bound<double> none, at0{0, bound_kind::inclusive}, off0{0, bound_kind::exclusive};
    const auto upTo = [&](double upper) {
        return gtl::range<double>{at0, {upper, bound_kind::inclusive}};
    };
    ExpectOnly({{1, 3},     {17, 19},   21,  23,         {80, 81},   86,
                {98, 99},   {101, 102}, 166, 179,        {181, 182}, {205, 206},
                {211, 212}, 223,        228, {230, 231}, {260, 261}, {271, 272},
                283,        {318, 321}, 327, {342, 343}, {346, 348}, {406, 415},
                {440, 444}, 457,        474, {570, 571}, 599},
               GetRangeChecker, gtl::range<double>{at0, none});
    ExpectOnly({16, 180, 183, 241, 250, 253, 280, 341}, GetRangeChecker,
               gtl::range<double>{off0, none});
    ExpectOnly({344, 351, 448, 598}, GetRangeChecker, upTo(1));
    ExpectOnly({229, 256}, GetRangeChecker, upTo(100));
    ExpectOnly({78}, GetRangeChecker, upTo(0.49));
    ExpectOnly({232}, GetRangeChecker, gtl::range<double>{none, off0});
    EXPECT_EQ(GetCategory(Param(6)), DataParamCategory{7});
    EXPECT_EQ(GetCategory(Param(602)), DataParamCategory{24});
}

TEST(DataParamType, BoundsSayWhatMayBeAValue)
{
    constexpr double nan = support::kNaN, infinity = support::kInfinity;
    const std::tuple<int, double, bool> rows[] = {
        {16, 0.0, false},   {16, 1e-300, true},   {1, 0.0, true},         {1, -0.0, true},
        {1, -1e-12, false}, {78, 0.49, true},     {78, 0.4900001, false}, {78, -1e-300, false},
        {229, 100, true},   {229, 100.5, false},  {232, 0.0, false},      {232, -5, true},
        {0, nan, true},     {0, -infinity, true}, {1, nan, false},        {232, nan, false},
        {344, 1, true},     {1, infinity, true},  {344, infinity, false},
    };
    for (const auto& [member, value, valid] : rows)
        EXPECT_EQ(IsRangeValid(Param(member), value).ok(), valid) << member << ' ' << value;
    for (int i = 0; i < kDataParamTypeCount; ++i)
        EXPECT_TRUE(IsRangeValid(Param(i), kMissing).ok()) << i;
}

TEST(DataParamType, ErrorsNameTheValueAndItsBoundsInTheUsersLocale)
{
    using gtl::impl::range_error;
    const auto in = bound_kind::inclusive, out = bound_kind::exclusive, none = bound_kind::none;
    const auto before = str::locale::native();
    str::locale::set_thread_default(str::locale::invariant());
    EXPECT_EQ(IsRangeValid(Param(78), 0.123456789e3),
              range_error::OutOfBounds(L"123.45679", L"0", L"0.49", in, in));
    EXPECT_EQ(IsRangeValid(Param(232), 5e20),
              range_error::OutOfBounds(L"5e+20", L"0", L"0", none, out));
    str::locale::set_thread_default(str::locale::french_canadian());
    EXPECT_EQ(IsRangeValid(Param(78), -1.5),
              range_error::OutOfBounds(L"-1,5", L"0", L"0,49", in, in));
    str::locale::set_thread_default(before);
}

TEST(DataParamType, ListsActAsOrderedSets)
{
    const Params a{kE, kC, kE, kB, kA}, b{kB, kD, kC, kD};
    EXPECT_EQ(ListUnion(a, b), (Params{kE, kC, kB, kA, kD}));
    EXPECT_EQ(ListDifference(a, b), (Params{kE, kA}));
    EXPECT_EQ(ListIntersection(a, b), (Params{kC, kB}));
    EXPECT_EQ(ListUnion({}, {}), Params());
    EXPECT_EQ(ListDifference(a, a), Params());
}
