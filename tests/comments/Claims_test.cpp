// The results that comments of the public headers state, each beside the sentence that states it.
#include <KVI.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <regex>
#include <sstream>

namespace
{

using namespace Geom;

constexpr double kMissing = MissingValue<double>();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Claim
{
    const char* header;
    const char* text; ///< as the header has it, line breaks aside
    bool (*isTrue)();
};

/// The comments of a header as running text.
std::string CommentsOf(const std::string& header)
{
    std::ifstream file(std::filesystem::path(KVI_SOURCE_DIR) / "common" / header);
    std::string text, line;
    while (std::getline(file, line))
    {
        const std::size_t at = line.find("//");
        if (at != line.npos)
            text += ' ' + line.substr(at + 2);
    }
    return std::regex_replace(text, std::regex("[ \r/<]+"), " ");
}

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

std::wstring Written(double value, str::locale::floatformat::Type how, unsigned digits)
{
    std::wstring text;
    (void)str::locale::to_string(text, value, str::locale::invariant(), str::locale::kNoWidth,
                                 digits, how);
    return text;
}

std::wstring Written(const std::tm& time, str::locale::format::Type how)
{
    std::wstring text;
    (void)str::locale::to_string(text, time, str::locale::invariant(), how);
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
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return std::regex_match(line, std::regex(pattern + "\r?"));
}

const Claim kClaims[] = {
    // foundation
    {"foundation/AnalysisKind.h", R"~(such as "percova"; empty for None)~",
     [] {
         return analysiskind::LookupNameByKind(AnalysisKind::Percova) == "percova" &&
                analysiskind::LookupNameByKind(AnalysisKind::None).empty();
     }},
    {"foundation/MissingValue.h", "1.7976931348623157e308, the largest finite double",
     [] {
         return kMissing == 1.7976931348623157e308 &&
                std::isinf(std::nextafter(kMissing, kInfinity));
     }},
    {"foundation/StripBlank.h", R"~(` "C:\a b.txt" ` becomes `C:\a b.txt`)~",
     [] { return Unquoted(R"~( "C:\a b.txt" )~") == R"(C:\a b.txt)"; }},
    {"foundation/gtl_impl_is_valid_from.h",
     R"~("1-2" is valid, and so is text with nothing in it)~",
     [] {
         return gtl::impl::is_float_valid_from(std::string("1-2"), true) &&
                gtl::impl::is_float_valid_from(std::string(), true);
     }},
    {"foundation/gtl_range_error.h", R"~(such as "greater than 0")~",
     [] {
         return gtl::impl::range_error::Description(L"0", L"", gtl::bound_kind::exclusive,
                                                    gtl::bound_kind::none) == L"greater than 0";
     }},
    {"foundation/gtl_status.h", R"~(a literal percent sign is written "%%")~",
     [] { return gtl::status(L"5%%").as_wstring() == L"5%"; }},
    {"foundation/kvidbg_EventSink.h", "`2026-03-04T05:06:07.089Z warning     math 4711 text`",
     [] {
         return Logs(
             R"([0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\.[0-9]{3}Z warning     math [0-9]+ text)");
     }},
    {"foundation/kvidbg.h", R"~("Function: ...\nLine: file(line)")~",
     [] { return kvi::diag::FormatContext("a.cpp", 3, "F") == "Function: F\nLine: a.cpp(3)"; }},
    {"foundation/kvidbg_Category.h", R"~(so "Math" selects "Math" and "Math.Solver")~",
     [] {
         const int solver = kvi::diag::CategoryMask("Math.Solver");
         return kvi::diag::CategoryMask("math") == (kvi::diag::kMathCategory | solver);
     }},
    {"foundation/kvidbg_Category.h", "the first of the registry: bits 4 and 8",
     [] { return (kvi::diag::kMathCategory & 4) != 0 && kvi::diag::kMessageCategory == 8; }},
    {"foundation/math_impl_ConvertFloat.h",
     "1.005 is held as 1.00499999999999989..., so it never rounds up to 1.01",
     [] {
         return Number(1.005, 17, math::RoundType::decimals) == "1.00499999999999989" &&
                Number(1.005, 2, math::RoundType::decimals_half_away) == "1.00";
     }},
    {"foundation/math_impl_ConvertInt.h",
     "their failure values are 0x7fffffff and 0xffffffff on every platform",
     [] { return Integer<long>("x") == 0x7fffffff && Integer<unsigned long>("") == 0xffffffff; }},
    {"foundation/math_impl_ConvertInt.h",
     "a sign alone is 0. Digits beyond the type's range wrap around.",
     [] { return Integer<int>("-") == 0 && Integer<unsigned>("4294967303") == 7; }},
    {"foundation/str.h", R"~("Fill (2)")~",
     [] { return str::GenerateUniqueDesriptionIgnoreCase(L"Fill", {L"fill"}) == L"Fill (2)"; }},
    {"foundation/str_fmt.h", R"~(("%n", "%*d", "%1$s", a lone "%") is copied as written)~",
     [] { return str::sprintf("%n %*d %1$s %", 1, 2, 3) == "%n %*d %1$s %"; }},
    {"foundation/str_fmt.h",
     R"~("%d" of text gives the text, of 1.5 gives 1.5; "%s" of a number gives the number)~",
     [] { return str::sprintf("%d %d %s", "a", 1.5, 7) == "a 1.5 7"; }},
    {"foundation/str_fmt.h", "Widths are cut at 4096, the precision of a number at 1100",
     [] {
         return str::sprintf("%9999d", 1).size() == 4096 &&
                str::sprintf("%.9999f", 1.0).size() == 1102;
     }},
    {"foundation/str_fmt_float_cstring.h", R"~("1.000" with keep 0 gives "1.")~",
     [] { return str::fmt_float_cstring("1.000", 0) == "1."; }},
    {"foundation/str_fmt_float_cstring.h", R"~("100" with keep 1 gives "1")~",
     [] { return str::fmt_float_cstring("100", 1) == "1"; }},
    {"foundation/str_load_wstring.h", R"~(("a; b; c" or "a, b, c"))~",
     [] {
         const std::wstring list = str::joinLanguage({L"a", L"b", L"c"});
         return list == L"a; b; c" || list == L"a, b, c";
     }},
    {"foundation/str_locale.h", R"~(digits alone; "2026-11-21 10:05:00")~",
     [] { return Written(Time(), str::locale::format::plain) == L"2026-11-21 10:05:00"; }},
    {"foundation/str_locale.h", R"~(times only: "2026-11-21")~",
     [] { return Written(Time(), str::locale::format::date) == L"2026-11-21"; }},
    {"foundation/str_locale.h", R"~(times only: "10:05:00")~",
     [] { return Written(Time(), str::locale::format::time) == L"10:05:00"; }},
    {"foundation/str_locale.h",
     R"~(N significant digits, no trailing zeros, an exponent where needed ("%g"))~",
     [] {
         using namespace str::locale;
         return Written(1234567.5, floatformat::general, 3) == L"1.23e+06" &&
                Written(1234567.5, floatformat::scientific, 2) == L"1.23e+06" &&
                Written(1234567.5, floatformat::grouped, 2) == L"1,234,567.50";
     }},
    {"foundation/str_locale.h", R"~(as "-1" for unsigned or the month 13)~",
     [] {
         unsigned value = 0;
         std::tm time{};
         return str::locale::from_string(value, L"-1").code() == 20220 &&
                str::locale::from_string(time, L"2026-13-01 00:00:00").code() == 20220;
     }},
    {"foundation/math_algorithm_Tolerance.h", "infinity above 308, 0 from -321 downwards",
     [] {
         using Common = math::algorithm::FloatCommon<double>;
         return std::isinf(Common::Pow10(309)) && Common::Pow10(308) == 1e308 &&
                Common::Pow10(-321) == 0 && Common::Pow10(-320) > 0;
     }},
    // data
    {"data/kvi_gid.h", "one of the three time tables: 1005, 1043, 1044",
     [] {
         int tables = 0;
         for (std::uint32_t id = 0; id < 3000; ++id)
             tables += kvi::gid::IsTimeTable({id});
         return tables == 3 && kvi::gid::IsTimeTable({1005}) && kvi::gid::IsTimeTable({1043}) &&
                kvi::gid::IsTimeTable({1044});
     }},
    {"data/kvi_gid.h", "a value without a top byte is returned as it is",
     [] {
         return kvi::gid::ContainerIDFromGID({77}).value == 77 &&
                kvi::gid::ContainerIDFromGID({0x0500004d}).value == 77;
     }},
    {"data/DataTable.h", R"~(GetValue as text, "%1.8g")~",
     [] {
         DataTable table(dataparam::Node, {dataparam::X}, 1);
         table.SetValue({1}, dataparam::X, 1234.56789012);
         return table.GetAs<std::string>({1}, dataparam::X) == "1234.5679";
     }},
    {"data/DataParamType.h", "the error 23007 with the value and its bounds in 8 digits",
     [] {
         const gtl::status refused = dataparamtype::IsRangeValid(dataparam::CurveA, -1.23456789123);
         return refused.code() == 23007 && refused.details()->argument(1) == L"-1.2345679";
     }},
    // doc
    {"doc/Step.h", R"~("step 3 (time 12.5)")~",
     [] { return kvi::step::PrettyPrint(Step::CreateFromInt(3), 12.5) == L"step 3 (time 12.5)"; }},
    {"doc/Step.h", "The unset step, 0x7FFFFFFF.", [] { return Step().raw_int() == 0x7FFFFFFF; }},
    {"doc/Step.h", "none for all, last, unset",
     [] {
         return kvi::step::All().AsStepNumber() == StepNumber() &&
                kvi::step::Last().AsStepNumber() == StepNumber() &&
                kvi::step::deprecated::Init().AsStepNumber().value == 0;
     }},
    {"doc/doc_file_Name.h", R"~("C:\dams\north.kvi\seepage (2)\3\heads.csv")~",
     [] { return Heads().Description() == LR"(C:\dams\north.kvi\seepage (2)\3\heads.csv)"; }},
    {"doc/doc_file_Name.h", R"~("3\", "*\" for all steps)~",
     [] { return Heads().StepFolder() == L"3\\" && Heads().AllSteps().StepFolder() == L"*\\"; }},
    {"doc/doc_file_Name.h", R"~(".r2" comes before ".r10" and equals ".r02")~",
     [] {
         return Heads().Ext(L".r2") < Heads().Ext(L".r10") &&
                Heads().Ext(L".r2") == Heads().Ext(L".r02");
     }},
    {"doc/doc_file.h", R"~(in the folders "seepage&r2" and "3" for run 2 and step 3)~",
     [] {
         std::wstring path;
         return doc::file::GetPath(path, Heads()).ok() &&
                path == LR"(C:\dams\north\seepage&r2\3\heads.csv)";
     }},
    {"doc/doc_file_mark.h", "that one for all results, 0 for no results",
     [] {
         using namespace doc::file::mark;
         return ConvertToStepNumber(AllResults(), 9).value == 9 &&
                ConvertToStepNumber(NoResults(), 9).value == 0;
     }},
    // fn
    {"fn/math_fn_flow_FredXing.h",
     "Saturated for p >= 0 and for a <= 0, exactly 0 at the limit suction",
     [] {
         const math::fn::flow::FredXing curve(10, 2, 1, 0.4, 1e6), flat(0, 2, 1, 0.4, 1e6);
         return curve(0) == 0.4 && curve(7) == 0.4 && curve(-1e6) == 0 && curve(-2e6) < 0 &&
                flat(-5) == 0.4;
     }},
    {"fn/math_fn_flow_FredXing.h", "minX = -10^6, maxX = 0, minY = 0, maxY = theta(-10^6)",
     [] {
         const math::fn::flow::FredXing curve(10, 2, 1, 0.4, 2e6);
         return curve.Extents() == Extents2D{-1e6, 0, 0, curve(-1e6)};
     }},
    {"fn/math_fn_flow_FredXing.h", "1,000,000 kPa in the pressure unit",
     [] {
         using math::UnitSet;
         return math::fn::flow::FredXing::CalcLimit(UnitSet(math::PressureUnit::Bar)) == 1e4 &&
                math::fn::flow::FredXing::CalcLimit(UnitSet(math::PressureUnit(9))) == kMissing;
     }},
    // Geom
    {"Geom/Geom_Point.h", "-1e-5 and 4e-5 are 5e-5 apart",
     [] {
         return IsEqual2D({-1e-5, 0}, {4e-5, 0}, Precision());
     }},
    {"Geom/Geom_Precision.h", "3, not 4, for an epsilon of 1e-4",
     [] {
         return DigitsOfEpsilon(1) == 3 && DigitsOfEpsilon(kInfinity) == -2147483647 &&
                DigitsOfEpsilon(0) == 2147483647 && DigitsOfEpsilon(-1) == 0;
     }},
    {"Geom/Geom_Polygon.h", "(0,0), (10,-1e-9), (10.1,4e-5), (110,0), (110,50), (0,50), (0,0)",
     [] {
         const Point2D ring[] = {{0, 0},    {10, -1e-9}, {10.1, 4e-5}, {110, 0},
                                 {110, 50}, {0, 50},     {0, 0}};
         return !PolygonIsCCW2D(ring, 7) && !PolygonIsValid2D(ring, 7, false) &&
                PolygonArea2D(ring, 7) > 0 &&
                RegionCheck2D({{ring, ring + 7}, {}}, Precision()).IsSound();
     }},
    {"Geom/Geom_CellTable.h", "4294967295, all bits set",
     [] { return CellTable::MissingID() == 4294967295; }},
    {"Geom/Geom_CellTable.h", "index = column + NumX() * row",
     [] {
         CellTable table;
         return table.Initialize({0, 5, 0, 4}, 5, 4, 9).ok() && table.CellIdx(2, 3) == 17 &&
                table.CellIdxX(17) == 2 && table.CellIdxY(17) == 3;
     }},
    {"Geom/Geom_Vector.h", "the multiples of 45 are exact. 0 when the points are exactly equal",
     [] {
         const auto angle = [](double x, double y) {
             return CalcAngleInDegreesFromLineEndPts2D({3, 4}, {3 + x, 4 + y});
         };
         return angle(2, 2) == 45 && angle(0, 1) == 90 && angle(-2, 2) == 135 &&
                angle(-1, 0) == 180 && angle(-1, -1) == 225 && angle(0, -7) == 270 &&
                angle(2, -2) == 315 && angle(0, 0) == 0 && angle(3, 0) == 0;
     }},
    {"Geom/Geom_Extents2D.h", "minus infinity for the empty box",
     [] { return WidthOf({}) == -kInfinity && HeightOf({}) == -kInfinity; }},
    {"Geom/Geom_Extents2D.h",
     "without a height there is no ratio, and the answer is the missing value",
     [] {
         return AspectOf({0, 1, 0, 0}, Precision()) == kMissing &&
                AspectOf({0, 4e-5, 0, 2}, Precision()) == 0;
     }},
    {"Geom/Geom_Circle2D.h", "(centre.x + r, centre.y) for the exact centre",
     [] {
         return CircleEdgeClosestPoint2D({{3, 4}, 2}, {3, 4}) == Point2D{5, 4};
     }},
    {"Geom/FPOINT.h", "within 8 significant digits, and at least within 5e-8",
     [] {
         const gtl::equalX<FPOINT> equal;
         return equal({1000, 0, 0}, {1000.00004, 1, 1}) &&
                !equal({1000, 0, 0}, {1000.0006, 0, 0}) && equal({0, 0, 0}, {4e-8, 0, 0}) &&
                !equal({0, 0, 0}, {6e-8, 0, 0});
     }},
    // numerics
    {"numerics/Inverse.h", "1 / (det + 1e-20)",
     [] {
         const double singular[2][2] = {{1, 1}, {1, 1}};
         double inverse[2][2];
         return fMiM2x2(inverse, singular) == 0 && inverse[0][0] == 1 / 1e-20;
     }},
    {"numerics/Inverse.h", "0 with nothing written when the determinant is exactly 0",
     [] {
         const double singular[3][3] = {{1, 2, 3}, {2, 4, 6}, {0, 1, 1}};
         double inverse[3][3] = {{7}}, determinant = 7;
         return iInv3x3Matrix(singular, inverse, &determinant) == 0 && inverse[0][0] == 7 &&
                determinant == 7;
     }},
    {"numerics/math_matrix.h", "1 of the empty matrix, NaN of one that is not square",
     [] {
         using math::matrix::Matrix;
         return Determinant(Matrix<double>()) == 1 && std::isnan(Determinant(Matrix<double>(2, 3)));
     }},
    {"numerics/GaussRule.h", "| line | 1 | 2 | 2 | 3 | 3 | 4 | 4 | 5 | 5 |",
     [] {
         return HasPoints(math::ElementShape::Line, {1, 1, 2, 2, 3, 3, 4, 4, 5, 5});
     }},
    {"numerics/GaussRule.h", "| triangle | 1 | 3 | 6 | 6 | 7 | 12 | 16 | 16 | - |",
     [] {
         return HasPoints(math::ElementShape::Triangle, {1, 1, 3, 6, 6, 7, 12, 16, 16});
     }},
    {"numerics/GaussRule.h", "| quadrilateral | 1 | 4 | 4 | 9 | 9 | 16 | 16 | 25 | 25 |",
     [] {
         return HasPoints(math::ElementShape::Quadrilateral, {1, 1, 4, 4, 9, 9, 16, 16, 25, 25});
     }},
    {"numerics/CLPProblem.h", "0 before the first solve, and NaN when there is no such variable",
     [] {
         const auto problem = CLPProblem::create(1);
         return problem->var(0) == 0 && std::isnan(problem->var(1));
     }},
    // sys
    {"sys/sys_file.h", R"~("..\b.x" or, for the folder itself, ".")~",
     [] {
         using sys::file::GetRelativePath;
         return GetRelativePath(LR"(C:\a\b.x)", LR"(C:\a\c)") == L"..\\b.x" &&
                GetRelativePath(LR"(C:\a\c)", LR"(C:\a\c)") == L".";
     }},
    {"sys/sys_file_ValidName.h", R"~(the characters " & * / : < > ? \ | become "&0" to "&9")~",
     [] {
         using sys::file::StringToValidFileName;
         return StringToValidFileName(LR"~("&*/:<>?\|)~") == L"&0&1&2&3&4&5&6&7&8&9" &&
                StringToValidFileName(L"con") == L"&con" &&
                StringToValidFileName(L"a ") == L"a&_" &&
                StringToValidFileName(L"CON.txt") == L"CON.txt";
     }},
    {"sys/sys_file_FilePath.h", R"~(each in quotation marks unless it is empty, ";" between them)~",
     [] { return sys::file::FilePath(L"C:\\a;b", L"").FullPath() == L"\"C:\\a;b\";"; }},
    {"sys/sys_file_Time.h", "A time that is not known gives the empty text",
     [] { return str::as_cstring(sys::file::Time(), nullptr).empty(); }},
    {"sys/sys_thread_task.h",
     "last - first + 1, whatever the step; 0 when first is above last. Up to 2^32",
     [] {
         using namespace sys::thread::task;
         return range::TotalRuns({0, 0xffffffff, 7}) == 4294967296u &&
                range::TotalRuns({2, 1}) == 0;
     }},
    {"sys/sys_thread_QueueBounded.h", "A ring of capacity C holds C - 1 items",
     [] {
         sys::thread::QueueBounded queue(3, 1, 1);
         queue.Push(0, "a", 1);
         const bool hasRoom = !queue.IsFull(0);
         queue.Push(0, "b", 1);
         return hasRoom && queue.IsFull(0);
     }},
    {"sys/sys_thread_affinity.h", "Always true: the check is disabled on purpose",
     [] { return sys::thread::affinity::TestThreadSafeModify({5}, 7); }},
};

TEST(Claims, OfThePublicHeadersAreTrue)
{
    std::map<std::string, std::string> comments;
    for (const Claim& claim : kClaims)
    {
        std::string& text = comments[claim.header];
        if (text.empty())
            text = CommentsOf(claim.header);
        const std::string stated = std::regex_replace(claim.text, std::regex("[ /<]+"), " ");
        EXPECT_NE(text.find(stated), text.npos)
            << claim.header << " no longer says: " << claim.text;
        EXPECT_TRUE(claim.isTrue()) << claim.header << ": " << claim.text;
    }
}

} // namespace
