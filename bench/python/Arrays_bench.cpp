// Calls of the Python module on arrays beside the same calls in C++, from here on: the interpreter
// runs in this process, and both sides call one library. Results of both are compared first.
#include "Geom/Geom_QuadTree2D.h"
#include "data/DataParamType.h"
#include "fn/math_fn_flow_FredXing.h"
#include "numerics/ISysEqnImpl.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <pybind11/embed.h>
#include <pybind11/numpy.h>
#include <random>
#include <vector>

namespace
{
namespace py = pybind11;

py::module_& Module()
{
    // Never ended: objects of Python may live until the process ends.
    static auto* const module = [] {
        new py::scoped_interpreter;
        py::module_::import("sys").attr("path").attr("insert")(0, KVI_PYTHON_MODULES);
        return new py::module_(py::module_::import("kvi"));
    }();
    return *module;
}

template <class T>
py::array_t<T> ArrayOf(const std::vector<T>& values, const std::vector<py::ssize_t>& shape)
{
    py::array_t<T> out(shape);
    std::copy(values.begin(), values.end(), out.mutable_data());
    return out;
}

std::vector<double> Uniform(std::size_t count, double low, double high)
{
    std::mt19937_64 random(12);
    std::uniform_real_distribution<> any(low, high);
    std::vector<double> values(count);
    for (double& value : values)
        value = any(random);
    return values;
}

template <class F>
void Time(benchmark::State& state, F call)
{
    for (auto _ : state)
    {
        auto result = call();
        benchmark::DoNotOptimize(result);
    }
}

// Water contents at many pressures, into a new array as Python returns one.
struct Curve
{
    explicit Curve(std::size_t count) : pressures(Uniform(count, -1e4, 0)) {}

    std::unique_ptr<double[]> Evaluated() const
    {
        std::unique_ptr<double[]> out(new double[pressures.size()]);
        curve.Evaluate(pressures.data(), out.get(), pressures.size());
        return out;
    }

    std::vector<double> pressures;
    math::fn::flow::FredXing curve{
        10, 2, 1, 0.4,
        math::fn::flow::FredXing::CalcLimit(math::UnitSet(math::PressureUnit::Kilopascal))};
};

template <std::size_t Count>
void CurvePython(benchmark::State& state)
{
    const py::object curve = Module().attr("WaterCurve")(10., 2., 1., 0.4);
    const Curve same(Count);
    const auto pressures = ArrayOf(same.pressures, {Count});
    const py::array_t<double> contents = curve(pressures);
    if (!std::equal(contents.data(), contents.data() + Count, same.Evaluated().get()))
        return state.SkipWithError("other contents");
    Time(state, [&] { return curve(pressures); });
}

template <std::size_t Count>
void CurveCpp(benchmark::State& state)
{
    const Curve curve(Count);
    Time(state, [&] { return curve.Evaluated(); });
}

// Checks of a column of conductivities against the range of their parameter.
void CheckPython(benchmark::State& state)
{
    const auto values = ArrayOf(Uniform(10'000, 1e-9, 1e-3), {10'000});
    const py::object check = Module().attr("check");
    const py::object param = Module().attr("parameter")("SaturatedConductivity");
    Time(state, [&] { return check(param, values); });
}

void CheckCpp(benchmark::State& state)
{
    const std::vector<double> values = Uniform(10'000, 1e-9, 1e-3);
    const auto param = static_cast<DataParamType>(
        Module().attr("parameter")("SaturatedConductivity").attr("number").cast<int>());
    Time(state, [&] {
        return std::all_of(values.begin(), values.end(), [param](double value) {
            return dataparamtype::IsRangeValid(param, value).ok();
        });
    });
}

// A square of 100 x 100 elements of four nodes, for look-ups and systems.
struct Square
{
    static constexpr int kSide = 100, kElements = kSide * kSide;

    Square()
    {
        for (int y = 0; y <= kSide; ++y)
            for (int x = 0; x <= kSide; ++x)
                nodes.push_back(Geom::Point2D(x, y));
        for (int e = 0; e < kElements; ++e)
        {
            const int first = e / kSide * (kSide + 1) + e % kSide;
            corners.insert(corners.end(), {first, first + 1, first + kSide + 2, first + kSide + 1});
        }
        for (int e = 0; e < kElements; ++e)
            for (const int i : {0, 1, 2, 3})
                for (const int j : {0, 1, 2, 3}) // the Laplacian's, and a little on the diagonal
                    matrices.push_back(i == j             ? 2. / 3 + 1e-3
                                       : (i + j) % 2 == 0 ? -1. / 3
                                                          : -1. / 6);
    }

    py::array_t<int> Corners() const { return ArrayOf(corners, {kElements, 4}); }
    py::array_t<double> Nodes() const
    {
        std::vector<double> flat;
        for (const Geom::Point2D& node : nodes)
            flat.insert(flat.end(), {node.x, node.y});
        return ArrayOf(flat, {py::ssize_t(nodes.size()), 2});
    }

    std::vector<Geom::Point2D> nodes;
    std::vector<int> corners;
    std::vector<double> matrices;
};

void FindPython(benchmark::State& state)
{
    const Square square;
    const py::object tree = Module().attr("QuadTree")(square.Nodes(), square.Corners());
    const auto points = ArrayOf(Uniform(20'000, 0, Square::kSide), {10'000, 2});
    Time(state, [&] { return tree.attr("find")(points); });
}

void FindCpp(benchmark::State& state)
{
    const Square square;
    Geom::Extents2D box;
    for (const Geom::Point2D& node : square.nodes)
        Geom::ExtentsGrow2D(box, node);
    Geom::QuadTree2D tree;
    tree.Initialize(box, 10, Geom::Precision3D(), 0);
    std::vector<std::uint32_t> corners(square.corners.begin(), square.corners.end()), starts;
    for (std::uint32_t e = 0; e <= Square::kElements; ++e)
        starts.push_back(4 * e);
    tree.Load(square.nodes.data(), corners.data(), starts.data(), Square::kElements);
    const std::vector<double> points = Uniform(20'000, 0, Square::kSide);
    const auto find = [&] {
        std::unique_ptr<std::int64_t[]> found(new std::int64_t[10'000]);
        for (std::size_t i = 0; i < 10'000; ++i)
            found[i] = tree.Find({points[2 * i], points[2 * i + 1]});
        return found;
    };
    const py::object same = Module().attr("QuadTree")(square.Nodes(), square.Corners());
    const py::array_t<std::int64_t> theirs = same.attr("find")(ArrayOf(points, {10'000, 2}));
    if (!std::equal(theirs.data(), theirs.data() + 10'000, find().get()))
        return state.SkipWithError("other elements");
    Time(state, find);
}

void AddPython(benchmark::State& state)
{
    const Square square;
    const py::object system = Module().attr("System")(square.Corners());
    const auto matrices = ArrayOf(square.matrices, {Square::kElements, 4, 4});
    const py::object reset = system.attr("reset"), add = system.attr("add");
    Time(state, [&] { return reset(), add(matrices); });
}

struct CppSystem
{
    explicit CppSystem(const Square& square)
    {
        tagMultiVectorInt lists;
        lists.values = square.corners;
        for (std::size_t e = 1; e <= Square::kElements; ++e)
            lists.ends.push_back(4 * e);
        system.Initialize(&lists);
    }
    long Fill(const Square& square)
    {
        system.ResetToZero();
        return system.InsertElementsIntoSysCoefMtx(0, Square::kElements, square.matrices.data());
    }
    ISysEqnImpl system;
};

void AddCpp(benchmark::State& state)
{
    const Square square;
    CppSystem cpp(square);
    Time(state, [&] { return cpp.Fill(square); });
}

const tagVectorInt kLoaded{{0}};
const tagVectorDbl kLoad{{1}};

// Filling included: values that stand would be solved with the factor that was kept.
void SolvePython(benchmark::State& state)
{
    const Square square;
    const py::object system = Module().attr("System")(square.Corners());
    const auto matrices = ArrayOf(square.matrices, {Square::kElements, 4, 4});
    const auto loaded = ArrayOf<int>({0}, {1});
    const auto load = ArrayOf<double>({1}, {1});
    Time(state, [&] {
        system.attr("reset")();
        system.attr("add")(matrices);
        system.attr("add_load")(loaded, load);
        return system.attr("solve")("sparse");
    });
}

void SolveCpp(benchmark::State& state)
{
    const Square square;
    CppSystem cpp(square);
    tagVectorDbl x;
    Time(state, [&] {
        cpp.Fill(square);
        cpp.system.AddToRHSVector(&kLoaded, &kLoad);
        cpp.system.SolveForUnknownVector_PARDISO();
        return cpp.system.GetUnknownVector(&x);
    });
}

BENCHMARK(CurvePython<10'000>)->Name("12|Python: curve at 1e4 pressures|kvi");
BENCHMARK(CurveCpp<10'000>)->Name("12|Python: curve at 1e4 pressures|C++");
BENCHMARK(CurvePython<1'000'000>)->Name("12|Python: curve at 1e6 pressures|kvi");
BENCHMARK(CurveCpp<1'000'000>)->Name("12|Python: curve at 1e6 pressures|C++");
BENCHMARK(CheckPython)->Name("12|Python: check of 1e4 values|kvi");
BENCHMARK(CheckCpp)->Name("12|Python: check of 1e4 values|C++");
BENCHMARK(FindPython)->Name("12|Python: elements of 1e4 points|kvi");
BENCHMARK(FindCpp)->Name("12|Python: elements of 1e4 points|C++");
BENCHMARK(AddPython)->Name("12|Python: 1e4 element matrices|kvi");
BENCHMARK(AddCpp)->Name("12|Python: 1e4 element matrices|C++");
BENCHMARK(SolvePython)->Name("12|Python: system of 1e4 equations|kvi");
BENCHMARK(SolveCpp)->Name("12|Python: system of 1e4 equations|C++");

} // namespace
