#include "output/LastRun.h"

#include "KVI.h"

namespace percova
{
namespace
{

const wchar_t* const kSolver = L"Solver";
const wchar_t* const kThreads = L"Threads";
constexpr int kMostThreads = 1024;

sys::reg::Registry32 Key()
{
    return sys::reg::Registry32(sys::reg::StrativoCurrentUserPath(L"percova"));
}

} // namespace

std::string TakeOverLastRun(SolverSettings& settings)
{
    const sys::reg::Registry32 key = Key();
    std::string told;
    if (settings.kind == SolverKind::Automatic &&
        SolverKindOf(key.ReadString(kSolver), settings.kind) &&
        settings.kind != SolverKind::Pardiso) // which it would have been anyway
        told = std::string("solver ") + Name(settings.kind);
    if (settings.threads >= 0)
        return told;
    const int threads = key.ReadInt(kThreads, 0);
    settings.threads = threads > 0 && threads <= kMostThreads ? threads : 0;
    if (settings.threads > 0)
        told += (told.empty() ? "" : ", ") + std::to_string(threads) +
                (threads == 1 ? " thread" : " threads");
    return told;
}

void KeepForNextRun(const SolverSettings& settings)
{
    sys::reg::Registry32 key = Key();
    const bool isChosen = settings.kind != SolverKind::Automatic;
    gtl::status kept =
        key.WriteString(kSolver, std::string(Name(isChosen ? settings.kind : SolverKind::Pardiso)));
    if (kept.ok())
        kept = key.WriteInt(kThreads, settings.threads, false);
    if (!kept.ok())
        KVI_LOG(kvi::diag::warning, 0, "percova: the settings are not kept: %s", kept.as_wstring());
}

} // namespace percova
