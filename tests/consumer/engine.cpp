#include <KVI.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace
{
const kvi::diag::DeclareCategoryMask kSlice("Slice"); // the engine's log category

constexpr int kAcross = 10, kUp = 20, kNodesAcross = kAcross + 1; // squares of 1 m
constexpr unsigned kSand = 1, kClay = 2;                          // rows of the table of materials

/// Stores a parameter, if the catalogue lets it have that value.
gtl::status Give(DataTable& materials, unsigned material, DataParamType param, double value)
{
    if (gtl::status legal = dataparamtype::IsRangeValid(param, value); !legal.ok())
        return legal;
    materials.SetValue({material}, param, value);
    return {};
}

/// k times the integral of grad Ni . grad Nj over a square, by 2 x 2 points.
void ElementMatrix(double k, double* matrix)
{
    constexpr int corners[8] = {1, 1, 1, 1, 0, 0, 0, 0};
    std::fill_n(matrix, 16, 0.0);
    for (const double r : {-1 / std::sqrt(3), 1 / std::sqrt(3)})
        for (const double s : {-1 / std::sqrt(3), 1 / std::sqrt(3)})
        {
            double dN[2][8];
            Shape_Derivative(dN, r, s, corners);
            for (int i = 0; i < 4; ++i)
                for (int j = 0; j < 4; ++j)
                    matrix[4 * i + j] += k * (dN[0][i] * dN[0][j] + dN[1][i] * dN[1][j]);
        }
}

/// A head of 1 m on the sand, of 0 under the clay below it.
/// @param[out] flow  that goes through [m3/s per m]
gtl::status Solve(const DataTable& materials, double& flow)
{
    tagMultiVectorInt elements;
    for (int y = 0; y < kUp; ++y)
        for (int n = y * kNodesAcross; n < y * kNodesAcross + kAcross; ++n)
            elements.Add({n + kNodesAcross + 1, n + kNodesAcross, n, n + 1});
    const std::size_t count = elements.Count();
    std::vector<double> matrices(16 * count);
    sys::thread::task::ParallelForPieces(0, count, 16, [&](std::size_t begin, std::size_t end) {
        for (std::size_t e = begin; e < end; ++e)
            ElementMatrix(materials.GetValue({e < count / 2 ? kClay : kSand},
                                             dataparam::SaturatedConductivity),
                          &matrices[16 * e]);
    });

    ISysEqnImpl system;
    system.Initialize(&elements);
    system.InsertElementsIntoSysCoefMtx(0, int(count), matrices.data());
    tagVectorInt nodes;
    tagVectorDbl heads;
    for (int n = 0; n < kNodesAcross; ++n)
        for (const int row : {0, kUp})
        {
            nodes.values.push_back(row * kNodesAcross + n);
            heads.values.push_back(row == 0 ? 0 : 1);
        }
    system.FixUnknowns(&nodes, &heads);
    system.SolveForUnknownVector_Direct_Sym();
    const math::SolveRecord& solved = system.LastSolve();
    if (solved.outcome != math::SolveOutcome::Solved)
        return gtl::status(L"The heads were not found: %s", solved.reason);
    KVI_LOG(kvi::diag::information, kSlice, "solved to a residual of %g", solved.residual);

    tagVectorDbl inflow;
    system.GetReactionVector(&inflow);
    flow = 0;
    for (int n = 0; n < kNodesAcross; ++n)
        flow += inflow.values[std::size_t(kUp * kNodesAcross + n)];
    return {};
}

int Failed(const gtl::status& status)
{
    std::printf("%s\n", str::as_cstring(status.as_wstring()).c_str());
    return 1;
}
} // namespace

int main()
{
    DataTable materials(dataparam::Material, {dataparam::SaturatedConductivity}, 2);
    for (const auto& [material, k] : {std::pair(kSand, 1e-4), std::pair(kClay, 1e-6)}) // [m/s]
        if (gtl::status given = Give(materials, material, dataparam::SaturatedConductivity, k);
            !given.ok())
            return Failed(given);
    double flow = 0;
    if (gtl::status solved = Solve(materials, flow); !solved.ok())
        return Failed(solved);

    doc::file::Name result;
    result.ProjectPath(L"C:\\sites\\north.kvi").Analysis(L"seepage").Step(Step::CreateFromInt(1));
    result.FNameExt(L"heads.csv");
    std::printf("%.4g m3/s per m; heads belong in %s\n", flow,
                str::as_cstring(result.Description()).c_str());
    sys::thread::task::Finalize(); // required before the library is unloaded
    return std::fabs(flow / (kAcross / (10 / 1e-4 + 10 / 1e-6)) - 1) < 1e-10 ? 0 : 1;
}
