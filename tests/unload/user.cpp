// A module that uses the library, as an engine's plug-in would.
#include <KVI.h>

#include <string>
#include <vector>

#if defined(_WIN32)
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

namespace
{

bool Solve()
{
    constexpr int kNodes = 20'000; // a chain of springs, its ends held: enough for several threads
    tagMultiVectorInt elements;
    for (int i = 0; i + 1 < kNodes; ++i)
        elements.Add({i, i + 1});
    const tagMatrixDbl spring{2, 2, {1, -1, -1, 1}};
    ISysEqnImpl system;
    system.Initialize(&elements);
    for (int e = 0; e + 1 < kNodes; ++e)
        system.InsertIntoSysCoefMtx(e, &spring);
    const tagVectorInt fixed{{0, kNodes - 1}};
    const tagVectorDbl given{{0, 1}};
    system.FixUnknowns(&fixed, &given);
    system.SolveForUnknownVector_Direct_Sym();
    bool isSolved = system.LastSolve().outcome == math::SolveOutcome::Solved;
    system.SolveForUnknownVector_Iterative_Sym(1e-8, 1000);
    return isSolved && system.LastSolve().outcome == math::SolveOutcome::Solved;
}

} // namespace

/// Solves, loops, logs to @p log, reads a setting, uses names, tables and locales; then Finalize.
EXPORTED int UseTheLibrary(const wchar_t* log)
{
    kvi::diag::SinkFilePath(log);
    bool fine = Solve();
    std::vector<unsigned> out(100'000);
    sys::thread::task::pool::SetFixedWorkers(3);
    for (int round = 0; round < 10; ++round)
        sys::thread::task::ParallelFor({0, 99'999}, [&](unsigned i) {
            for (unsigned k = 0; k < 50; ++k)
                out[i] = out[i] * 7 + i;
            return true;
        });
    static const kvi::diag::DeclareCategoryMask kUser("Unloaded");
    KVI_LOG(kvi::diag::warning, kUser, "a line of text and %g", 2.5);
    kvi::diag::EventSink::Instance().Flush();
    fine = sys::reg::Registry(sys::reg::StrativoCurrentUserPath(L"General"),
                              sys::reg::REGKEY_ACCESS_VIEW::of_process)
                   .ReadInt(L"none", 4) == 4 &&
           fine;
    DataTable table(dataparam::Material, {dataparam::SaturatedConductivity}, 2);
    fine = !dataparamtype::IsRangeValid(dataparam::SaturatedConductivity, -1).ok() && fine;
    doc::file::Name name;
    name.Analysis(L"seepage");
    sys::thread::Worker::Join(
        sys::thread::Worker::RunInstance([] { KVI_LOG(kvi::diag::warning, 0, "a worker"); }, 0),
        10'000);
    kvi::diag::SinkFilePath(L"stderr");
    sys::thread::task::Finalize();
    return fine ? 0 : 1;
}
