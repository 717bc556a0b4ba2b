// Every example in the comments of the public headers, compiled and run.
#include <KVI.h>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>

namespace
{
using namespace Geom;

// Names that an example leaves to its reader, which count their calls.
std::atomic<int> used = 0;
constexpr auto Use = [](const auto&...) { ++used; };
constexpr auto Report = Use, Mesh = Use, Poll = Use;

TEST(Examples, OfTheGeometryRun)
{
    const LineSet2D lines = {{{0, 0}, {4, 4}}, {{0, 4}, {4, 0}}};
    used = 0;
#include "Geom_LineEvents2D.inc"
#include "Geom_LineLayer2D.inc"
#include "Geom_Region.inc"
    EXPECT_EQ(used, 1 + 1);
    EXPECT_TRUE(low == 2.5 && high == 2.5);
    {
        const LineSet2D& edges = lines;
        const Line2D section = {{0, 1}, {4, 1}};
#include "Geom_LineMeetings2D.inc"
        EXPECT_EQ(used, 2 + 2);
    }
    const std::vector<Point2D> square = {{0, 0}, {100, 0}, {100, 10}, {0, 10}};
    const std::vector<std::uint32_t> theCorners = {0, 1, 2, 3}, theStarts = {0, 4};
    {
        const auto& nodes = square;
        const auto &corners = theCorners, &starts = theStarts;
        std::vector<MeshHit2D> hits;
#include "Geom_MeshEdges2D.inc"
        EXPECT_EQ(hits.size(), 2u);
    }
    const auto* const nodes = square.data();
    const auto *const corners = theCorners.data(), *const starts = theStarts.data();
    const Extents2D box = {0, 100, 0, 10};
    const std::uint32_t elementCount = 1;
    const double x = 3, y = 4;
#include "Geom_QuadTree2D.inc"
    EXPECT_EQ(element, 0u);
}

TEST(Examples, OfTablesRun)
{
    const double values[] = {2, 9.81};
    DataParamCalculator calculator;
    {
#include "DataParamCalculator.inc"
        EXPECT_EQ(pressure.Calculate(values), 2 * 9.81);
        calculator = pressure;
    }
#include "DataTable.inc"
    EXPECT_EQ(soil.GetValue({1}, dataparam::CurveA), 10);
    constexpr DataParamType head = dataparam::Head, pressure = dataparam::Pressure;
#include "datatable_Properties.inc"
    EXPECT_TRUE(nodes.HasPersistedParameter(head) && nodes.HasComputedParameter(pressure));
}

TEST(Examples, OfNumericsRun)
{
#include "CLPProblem.inc"
    EXPECT_TRUE(problem->IsOptimal() && problem->var(0) == 4 && problem->var(1) == 0);
    const auto JacobianDeterminant = [](double, double) { return 0.25; };
#include "GaussRule.inc"
    EXPECT_DOUBLE_EQ(area, 1);
    {
        tagMultiVectorInt equationsOfElements;
        equationsOfElements.Add({0, 1});
        const int elements = 1;
        const tagMatrixDbl stiffness[] = {{2, 2, {2, -1, -1, 2}}};
        const tagVectorInt loaded{{1}}, supported{{0}};
        const tagVectorDbl loads{{3}}, given{{1}};
        tagVectorDbl x;
#include "ISysEqnImpl.inc"
        EXPECT_EQ(x.values, (std::vector<double>{1, 2}));
    }
#include "tagRecords.inc"
    EXPECT_EQ(elements.Count(), 2u);
    volatile double zero = 0, result = 0;
    const auto Factorise = [&] { result = 1 / zero; };
#include "math_fpu_Exception.inc"
    EXPECT_TRUE(suspect);
    using math::matrix::Matrix;
    used = 0;
#include "math_matrix.inc"
    EXPECT_EQ(used, 1);
}

gtl::status Open(const std::wstring& path)
{
    if (path.empty())
        return KviError::File::invalid_path(path);
    return {};
}

gtl::status Opened(const std::wstring& path)
{
#include "gtl_status.inc"
    return gtl::status(L"it could be opened");
}

gtl::status FolderMade(const doc::file::Name& heads)
{
#include "doc_file.inc"
    return path.empty() ? gtl::status(L"no path") : gtl::status();
}

TEST(Examples, OfTextsAndDocumentsRun)
{
    EXPECT_EQ(Opened(L"").code(), KviError::File::invalid_path(L"").code());
    EXPECT_FALSE(Opened(L"x").ok());
    const std::string text =
#include "str_fmt.inc"
        ;
    EXPECT_EQ(text, "3 of 8: wide or narrow");
    const int equation = 3;
    const double pivot = 1e-300;
#include "kvidbg.inc"
    EXPECT_NE(int(kMath), 0);
    using doc::file::Name, doc::file::mark::MarkStep;
    EXPECT_FALSE(FolderMade(Name()).ok());
#include "doc_file_Name.inc"
    EXPECT_TRUE(every.Selects(heads));
#include "doc_file_mark.inc"
    EXPECT_EQ(done.AsStepNumber().value, 7);
}

TEST(Examples, OfFilesRun)
{
    using namespace sys::file;
    std::filesystem::create_directories(KVI_TEST_TEMP);
    const std::wstring folder = GetAbsolutePath(str::as_wstring(KVI_TEST_TEMP)) + L"\\";
    const auto Read = Use, Open = Use;
    {
        const std::wstring path = folder + L"examples.res";
#include "sys_file.inc"
        EXPECT_TRUE(out.is_open());
    }
    used = 0;
#include "sys_file_Finder.inc"
    EXPECT_EQ(used, 1);
    const std::wstring projectFile = L"C:\\dams\\north.kvi";
#include "sys_file_SplitPath.inc"
    EXPECT_EQ(path.Path(), L"C:\\dams\\transient.res");
    {
#include "sys_file_SafeWriter.inc"
        (void)written; // there need not be such a folder
    }
    using namespace sys::reg;
#include "sys_reg_Registry.inc"
    EXPECT_TRUE(written.ok() && digits >= 4);
    EXPECT_TRUE(general.DeleteValue(L"Digits").ok());
}

TEST(Examples, OfThreadsRun)
{
    using namespace sys::thread;
    using task::ParallelForPieces;
#include "sys_thread_ExclusiveAccess.inc"
    EXPECT_EQ(found.data.size(), 1u);
    const std::size_t elements = 100;
    std::atomic<int> done{0};
    const auto Assemble = [&](std::size_t) { ++done; };
#include "sys_thread_ParallelFor.inc"
    EXPECT_EQ(done, 100);
    struct Step
    {
        int number;
    } step = {5};
#include "sys_thread_QueueBounded.inc"
    EXPECT_TRUE(steps.IsEmpty());
#include "sys_thread_Worker.inc"
    EXPECT_FALSE(Worker::IsRunning(poller));
}
} // namespace
