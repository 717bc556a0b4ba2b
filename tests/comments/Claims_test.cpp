// The results that comments of the public headers state, each beside the sentence that states it.
#include "support/Numbers.h"
#include "support/ReadFile.h"
#include <KVI.h>

#include <gmock/gmock.h>

#include <cmath>
#include <regex>
#include <set>

namespace
{
using namespace Geom;

constexpr double kMissing = MissingValue<double>();
using support::kInfinity;

/// The comments of a header as running text.
std::string CommentsOf(const std::string& header)
{
    std::string text;
    for (const std::string& line : support::ReadLines(KVI_SOURCE_DIR "/common/" + header))
        if (const std::size_t at = line.find("//"); at != line.npos)
            text += ' ' + line.substr(at + 2);
    return std::regex_replace(text, std::regex("[ \r/<]+"), " ");
}

/// A folder of headers.
struct Area
{
    std::string folder;

    /// The header's comments have @p text, line breaks aside, and it is true.
    void operator()(const std::string& header, const char* text, bool isTrue) const
    {
        EXPECT_THAT(CommentsOf(folder + header),
                    testing::HasSubstr(std::regex_replace(text, std::regex("[ /<]+"), " ")));
        EXPECT_TRUE(isTrue) << header << ": " << text;
    }
};

std::string Number(double value, unsigned digits, math::RoundType round)
{
    std::string text;
    math::impl::ConvertFloat<double>::to_string(text, value, digits, round);
    return text;
}

template <class T>
T Integer(const char* text)
{
    T value{};
    math::impl::ConvertInt<T>::from_string(value, std::string(text));
    return value;
}

template <class T, class... How>
std::wstring Written(const T& value, How... how)
{
    std::wstring text;
    (void)str::locale::to_string(text, value, str::locale::invariant(), how...);
    return text;
}

std::tm Time()
{
    std::tm time{};
    EXPECT_TRUE(str::locale::from_string(time, L"2026-11-21T10:05:00", str::locale::invariant(),
                                         str::locale::format::plain)
                    .ok());
    return time;
}

doc::file::Name Heads()
{
    doc::file::Name name;
    name.ProjectPath(L"C:\\dams\\north.kvi").Analysis(L"seepage").Run(2);
    name.Step(Step::CreateFromInt(3)).FNameExt(L"heads.csv");
    return name;
}

std::string Unquoted(std::string text)
{
    StripFileNameQuotes(text.data());
    return text.c_str();
}

int DigitsOfEpsilon(double factor)
{
    Precision3D precision;
    precision.ScaleEpsilon(factor);
    return precision.digits[0];
}

bool HasPoints(math::ElementShape shape, std::initializer_list<std::size_t> counts)
{
    int degree = 0;
    for (const std::size_t count : counts)
        if (math::GaussRule(shape, degree++).size() != count)
            return false;
    return math::GaussRule(shape, degree).empty();
}

bool Logs(const std::string& pattern)
{
    const std::filesystem::path path = KVI_TEST_TEMP "/claims.log";
    std::filesystem::remove(path);
    kvi::diag::SinkFilePath(sys::file::GetAbsolutePath(str::as_wstring(path.string())));
    KVI_LOG(kvi::diag::warning, kvi::diag::kMathCategory, "text");
    kvi::diag::EventSink::Instance().Flush();
    kvi::diag::SinkFilePath(L"stderr");
    return std::regex_match(support::ReadLines(path).at(0), std::regex(pattern + "\r?"));
}

TEST(Claims, OfFoundation)
{
    const Area says{"foundation/"};
    using namespace str::locale;
    says("AnalysisKind.h", R"~(such as "percova"; empty for None)~",
         analysiskind::LookupNameByKind(AnalysisKind::Percova) == "percova" &&
             analysiskind::LookupNameByKind(AnalysisKind::None).empty());
    says("MissingValue.h", "1.7976931348623157e308, the largest finite double",
         kMissing == 1.7976931348623157e308 && std::isinf(std::nextafter(kMissing, kInfinity)));
    says("StripBlank.h", R"~(` "C:\a b.txt" ` becomes `C:\a b.txt`)~",
         Unquoted(R"~( "C:\a b.txt" )~") == R"(C:\a b.txt)");
    says("gtl_impl_is_valid_from.h", R"~("1-2" is valid, and so is text with nothing in it)~",
         gtl::impl::is_float_valid_from(std::string("1-2"), true) &&
             gtl::impl::is_float_valid_from(std::string(), true));
    says("gtl_range_error.h", R"~(such as "greater than 0")~",
         gtl::impl::range_error::Description(L"0", L"", gtl::bound_kind::exclusive,
                                             gtl::bound_kind::none) == L"greater than 0");
    says("gtl_status.h", R"~(a literal percent sign is written "%%")~",
         gtl::status(L"5%%").as_wstring() == L"5%");
    says("kvidbg_EventSink.h", "`2026-03-04T05:06:07.089Z warning     math 4711 text`",
         Logs(R"([0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\.[0-9]{3}Z warning     math [0-9]+ text)"));
    says("kvidbg.h", R"~("Function: ...\nLine: file(line)")~",
         kvi::diag::FormatContext("a.cpp", 3, "F") == "Function: F\nLine: a.cpp(3)");
    const int solver = kvi::diag::CategoryMask("Math.Solver");
    says("kvidbg_Category.h", R"~(so "Math" selects "Math" and "Math.Solver")~",
         kvi::diag::CategoryMask("math") == (kvi::diag::kMathCategory | solver));
    says("kvidbg_Category.h", "the first of the registry: bits 4 and 8",
         (kvi::diag::kMathCategory & 4) != 0 && kvi::diag::kMessageCategory == 8);
    says("math_impl_ConvertFloat.h",
         "1.005 is held as 1.00499999999999989..., so it never rounds up to 1.01",
         Number(1.005, 17, math::RoundType::decimals) == "1.00499999999999989" &&
             Number(1.005, 2, math::RoundType::decimals_half_away) == "1.00");
    says("math_impl_ConvertInt.h",
         "their failure values are 0x7fffffff and 0xffffffff on every platform",
         Integer<long>("x") == 0x7fffffff && Integer<unsigned long>("") == 0xffffffff);
    says("math_impl_ConvertInt.h", "a sign alone is 0. Digits beyond the type's range wrap around.",
         Integer<int>("-") == 0 && Integer<unsigned>("4294967303") == 7);
    says("str.h", R"~("Fill (2)")~",
         str::GenerateUniqueDesriptionIgnoreCase(L"Fill", {L"fill"}) == L"Fill (2)");
    says("str_fmt.h", R"~(("%n", "%*d", "%1$s", a lone "%") is copied as written)~",
         str::sprintf("%n %*d %1$s %", 1, 2, 3) == "%n %*d %1$s %");
    says("str_fmt.h",
         R"~("%d" of text gives the text, of 1.5 gives 1.5; "%s" of a number gives the number)~",
         str::sprintf("%d %d %s", "a", 1.5, 7) == "a 1.5 7");
    says("str_fmt.h", "Widths are cut at 4096, the precision of a number at 1100",
         str::sprintf("%9999d", 1).size() == 4096 && str::sprintf("%.9999f", 1.0).size() == 1102);
    says("str_fmt_float_cstring.h", R"~("1.000" with keep 0 gives "1.")~",
         str::fmt_float_cstring("1.000", 0) == "1.");
    says("str_fmt_float_cstring.h", R"~("100" with keep 1 gives "1")~",
         str::fmt_float_cstring("100", 1) == "1");
    says("str_load_wstring.h", R"~(("a; b; c" or "a, b, c"))~",
         std::set<std::wstring>{L"a; b; c", L"a, b, c"}.contains(
             str::joinLanguage({L"a", L"b", L"c"})));
    says("str_locale.h", R"~(digits alone; "2026-11-21 10:05:00")~",
         Written(Time(), format::plain) == L"2026-11-21 10:05:00");
    says("str_locale.h", R"~(times only: "2026-11-21")~",
         Written(Time(), format::date) == L"2026-11-21");
    says("str_locale.h", R"~(times only: "10:05:00")~",
         Written(Time(), format::time) == L"10:05:00");
    says("str_locale.h",
         R"~(N significant digits, no trailing zeros, an exponent where needed ("%g"))~",
         Written(1234567.5, kNoWidth, 3u, floatformat::general) == L"1.23e+06" &&
             Written(1234567.5, kNoWidth, 2u, floatformat::scientific) == L"1.23e+06" &&
             Written(1234567.5, kNoWidth, 2u, floatformat::grouped) == L"1,234,567.50");
    unsigned value = 0;
    std::tm time{};
    says("str_locale.h", R"~(as "-1" for unsigned or the month 13)~",
         from_string(value, L"-1").code() == 20220 &&
             from_string(time, L"2026-13-01 00:00:00").code() == 20220);
    using Common = math::algorithm::FloatCommon<double>;
    says("math_algorithm_Tolerance.h", "infinity above 308, 0 from -321 downwards",
         std::isinf(Common::Pow10(309)) && Common::Pow10(308) == 1e308 &&
             Common::Pow10(-321) == 0 && Common::Pow10(-320) > 0);
}

TEST(Claims, OfData)
{
    const Area says{"data/"};
    int tables = 0;
    for (std::uint32_t id = 0; id < 3000; ++id)
        tables += kvi::gid::IsTimeTable({id});
    says("kvi_gid.h", "one of the three time tables: 1005, 1043, 1044",
         tables == 3 && kvi::gid::IsTimeTable({1005}) && kvi::gid::IsTimeTable({1043}) &&
             kvi::gid::IsTimeTable({1044}) && !kvi::gid::IsTimeTable({0x010003ed}));
    says("kvi_gid.h", "a value without a top byte is returned as it is",
         kvi::gid::ContainerIDFromGID({77}).value == 77 &&
             kvi::gid::ContainerIDFromGID({0xffffff}).value == 0xffffff &&
             kvi::gid::ContainerIDFromGID({0x0500004d}).value == 77);
    DataTable table(dataparam::Node, {dataparam::X}, 1);
    table.SetValue({1}, dataparam::X, 1234.56789012);
    says("DataTable.h", R"~(GetValue as text, "%1.8g")~",
         table.GetAs<std::string>({1}, dataparam::X) == "1234.5679");
    const gtl::status refused = dataparamtype::IsRangeValid(dataparam::CurveA, -1.23456789123);
    says("DataParamType.h", "the error 23007 with the value and its bounds in 8 digits",
         refused.code() == 23007 && refused.details()->argument(1) == L"-1.2345679");
}

TEST(Claims, OfDoc)
{
    const Area says{"doc/"};
    says("Step.h", R"~("step 3 (time 12.5)")~",
         kvi::step::PrettyPrint(Step::CreateFromInt(3), 12.5) == L"step 3 (time 12.5)");
    says("Step.h", "The unset step, 0x7FFFFFFF.", Step().raw_int() == 0x7FFFFFFF);
    says("Step.h", "none for all, last, unset",
         kvi::step::All().AsStepNumber() == StepNumber() &&
             kvi::step::Last().AsStepNumber() == StepNumber() &&
             kvi::step::deprecated::Init().AsStepNumber().value == 0);
    says("doc_file_Name.h", R"~("C:\dams\north.kvi\seepage (2)\3\heads.csv")~",
         Heads().Description() == LR"(C:\dams\north.kvi\seepage (2)\3\heads.csv)");
    says("doc_file_Name.h", R"~("3\", "*\" for all steps)~",
         Heads().StepFolder() == L"3\\" && Heads().AllSteps().StepFolder() == L"*\\");
    says("doc_file_Name.h", R"~(".r2" comes before ".r10" and equals ".r02")~",
         Heads().Ext(L".r2") < Heads().Ext(L".r10") && Heads().Ext(L".r2") == Heads().Ext(L".r02"));
    std::wstring path;
    says("doc_file.h", R"~(in the folders "seepage&r2" and "3" for run 2 and step 3)~",
         doc::file::GetPath(path, Heads()).ok() &&
             path == LR"(C:\dams\north\seepage&r2\3\heads.csv)");
    using namespace doc::file::mark;
    says("doc_file_mark.h", "that one for all results, 0 for no results",
         ConvertToStepNumber(AllResults(), 9).value == 9 &&
             ConvertToStepNumber(NoResults(), 9).value == 0);
}

TEST(Claims, OfFn)
{
    const Area says{"fn/"};
    using math::fn::flow::FredXing, math::UnitSet, math::PressureUnit;
    const FredXing curve(10, 2, 1, 0.4, 1e6), flat(0, 2, 1, 0.4, 1e6), wide(10, 2, 1, 0.4, 2e6);
    says("math_fn_flow_FredXing.h",
         "Saturated for p >= 0 and for a <= 0, exactly 0 at the limit suction",
         curve(0) == 0.4 && curve(7) == 0.4 && curve(-1e6) == 0 && curve(-2e6) < 0 &&
             flat(-5) == 0.4);
    says("math_fn_flow_FredXing.h", "minX = -10^6, maxX = 0, minY = 0, maxY = theta(-10^6)",
         wide.Extents() == Extents2D{-1e6, 0, 0, wide(-1e6)});
    says("math_fn_flow_FredXing.h", "1,000,000 kPa in the pressure unit",
         FredXing::CalcLimit(UnitSet(PressureUnit::Bar)) == 1e4 &&
             FredXing::CalcLimit(UnitSet(PressureUnit(9))) == kMissing);
}

TEST(Claims, OfGeom)
{
    const Area says{"Geom/"};
    says("Geom_Point.h", "-1e-5 and 4e-5 are 5e-5 apart",
         IsEqual2D({-1e-5, 0}, {4e-5, 0}, Precision()));
    says("Geom_Precision.h", "3, not 4, for an epsilon of 1e-4",
         DigitsOfEpsilon(1) == 3 && DigitsOfEpsilon(kInfinity) == -2147483647 &&
             DigitsOfEpsilon(0) == 2147483647 && DigitsOfEpsilon(-1) == 0);
    const Point2D ring[] = {{0, 0},    {10, -1e-9}, {10.1, 4e-5}, {110, 0},
                            {110, 50}, {0, 50},     {0, 0}};
    says("Geom_Polygon.h", "(0,0), (10,-1e-9), (10.1,4e-5), (110,0), (110,50), (0,50), (0,0)",
         !PolygonIsCCW2D(ring, 7) && !PolygonIsValid2D(ring, 7, false) &&
             PolygonArea2D(ring, 7) > 0 &&
             RegionCheck2D({{ring, ring + 7}, {}}, Precision()).IsSound());
    says("Geom_CellTable.h", "4294967295, all bits set", CellTable::MissingID() == 4294967295);
    CellTable table;
    says("Geom_CellTable.h", "index = column + NumX() * row",
         table.Initialize({0, 5, 0, 4}, 5, 4, 9).ok() && table.CellIdx(2, 3) == 17 &&
             table.CellIdxX(17) == 2 && table.CellIdxY(17) == 3);
    const auto angle = [](double x, double y) {
        return CalcAngleInDegreesFromLineEndPts2D({3, 4}, {3 + x, 4 + y});
    };
    says("Geom_Vector.h", "the multiples of 45 are exact. 0 when the points are exactly equal",
         angle(2, 2) == 45 && angle(0, 1) == 90 && angle(-2, 2) == 135 && angle(-1, 0) == 180 &&
             angle(-1, -1) == 225 && angle(0, -7) == 270 && angle(2, -2) == 315 &&
             angle(0, 0) == 0 && angle(3, 0) == 0);
    says("Geom_Extents2D.h", "minus infinity for the empty box",
         WidthOf({}) == -kInfinity && HeightOf({}) == -kInfinity);
    says("Geom_Extents2D.h",
         "without a height there is no ratio, and the answer is the missing value",
         AspectOf({0, 1, 0, 0}, Precision()) == kMissing &&
             AspectOf({0, 4e-5, 0, 2}, Precision()) == 0);
    says("Geom_Circle2D.h", "(centre.x + r, centre.y) for the exact centre",
         CircleEdgeClosestPoint2D({{3, 4}, 2}, {3, 4}) == Point2D{5, 4});
    const gtl::equalX<FPOINT> equal;
    says("FPOINT.h", "within 8 significant digits, and at least within 5e-8",
         equal({1000, 0, 0}, {1000.00004, 1, 1}) && !equal({1000, 0, 0}, {1000.0006, 0, 0}) &&
             equal({0, 0, 0}, {4e-8, 0, 0}) && !equal({0, 0, 0}, {6e-8, 0, 0}));
}

TEST(Claims, OfNumerics)
{
    const Area says{"numerics/"};
    const double singular[2][2] = {{1, 1}, {1, 1}};
    double inverse[2][2];
    says("Inverse.h", "1 / (det + 1e-20)",
         fMiM2x2(inverse, singular) == 0 && inverse[0][0] == 1 / 1e-20);
    const double singular3[3][3] = {{1, 2, 3}, {2, 4, 6}, {0, 1, 1}};
    double inverse3[3][3] = {{7}}, determinant = 7;
    says("Inverse.h", "0 with nothing written when the determinant is exactly 0",
         iInv3x3Matrix(singular3, inverse3, &determinant) == 0 && inverse3[0][0] == 7 &&
             determinant == 7);
    using math::matrix::Matrix;
    says("math_matrix.h", "1 of the empty matrix, NaN of one that is not square",
         Determinant(Matrix<double>()) == 1 && std::isnan(Determinant(Matrix<double>(2, 3))));
    says("GaussRule.h", "| line | 1 | 2 | 2 | 3 | 3 | 4 | 4 | 5 | 5 |",
         HasPoints(math::ElementShape::Line, {1, 1, 2, 2, 3, 3, 4, 4, 5, 5}));
    says("GaussRule.h", "| triangle | 1 | 3 | 6 | 6 | 7 | 12 | 16 | 16 | - |",
         HasPoints(math::ElementShape::Triangle, {1, 1, 3, 6, 6, 7, 12, 16, 16}));
    says("GaussRule.h", "| quadrilateral | 1 | 4 | 4 | 9 | 9 | 16 | 16 | 25 | 25 |",
         HasPoints(math::ElementShape::Quadrilateral, {1, 1, 4, 4, 9, 9, 16, 16, 25, 25}));
    const auto problem = CLPProblem::create(1);
    says("CLPProblem.h", "0 before the first solve, and NaN when there is no such variable",
         problem->var(0) == 0 && std::isnan(problem->var(1)));
}

TEST(Claims, OfSys)
{
    const Area says{"sys/"};
    using sys::file::GetRelativePath, sys::file::StringToValidFileName;
    says("sys_file.h", R"~("..\b.x" or, for the folder itself, ".")~",
         GetRelativePath(LR"(C:\a\b.x)", LR"(C:\a\c)") == L"..\\b.x" &&
             GetRelativePath(LR"(C:\a\c)", LR"(C:\a\c)") == L".");
    says("sys_file_ValidName.h", R"~(the characters " & * / : < > ? \ | become "&0" to "&9")~",
         StringToValidFileName(LR"~("&*/:<>?\|)~") == L"&0&1&2&3&4&5&6&7&8&9" &&
             StringToValidFileName(L"con") == L"&con" && StringToValidFileName(L"a ") == L"a&_" &&
             StringToValidFileName(L"CON.txt") == L"CON.txt");
    says("sys_file_FilePath.h", R"~(each in quotation marks unless it is empty, ";" between them)~",
         sys::file::FilePath(L"C:\\a;b", L"").FullPath() == L"\"C:\\a;b\";");
    says("sys_file_Time.h", "A time that is not known gives the empty text",
         str::as_cstring(sys::file::Time(), nullptr).empty());
    says("sys_thread_task.h",
         "last - first + 1, whatever the step; 0 when first is above last. Up to 2^32",
         sys::thread::task::range::TotalRuns({0, 0xffffffff, 7}) == 4294967296u &&
             sys::thread::task::range::TotalRuns({2, 1}) == 0);
    sys::thread::QueueBounded queue(3, 1, 1);
    queue.Push(0, "a", 1);
    const bool hasRoom = !queue.IsFull(0);
    queue.Push(0, "b", 1);
    says("sys_thread_QueueBounded.h", "A ring of capacity C holds C - 1 items",
         hasRoom && queue.IsFull(0));
    says("sys_thread_affinity.h", "Always true: the check is disabled on purpose",
         sys::thread::affinity::TestThreadSafeModify({5}, 7));
}
} // namespace
