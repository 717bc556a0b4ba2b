// Systems of equations where memory ends: every allocation of every step fails once.
#include "FilledSystem.h"
#include "numerics/solve/Pardiso.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <new>

namespace
{

// Allocations until one fails; it counts only while it is positive.
std::atomic<long> left{0};

// Not inlined: the compiler would take the pairs below for mismatched ones.
[[gnu::noinline]] void* Allocate(std::size_t size)
{
    if (left.load(std::memory_order_relaxed) > 0 && left.fetch_sub(1) == 1)
        return nullptr;
    return std::malloc(size > 0 ? size : 1);
}

/// With room for the way back in front of what is handed out.
[[gnu::noinline]] void* AllocateAligned(std::size_t size, std::align_val_t alignment)
{
    const auto step = std::size_t(alignment);
    void* const block = Allocate(size + step + sizeof(void*));
    if (block == nullptr)
        return nullptr;
    void** const at = reinterpret_cast<void**>(
        (reinterpret_cast<std::uintptr_t>(block) + sizeof(void*) + step - 1) / step * step);
    at[-1] = block;
    return at;
}

[[gnu::noinline]] void Free(void* block) { std::free(block); }

[[gnu::noinline]] void FreeAligned(void* at)
{
    if (at != nullptr)
        std::free(static_cast<void**>(at)[-1]);
}

template <class Block>
Block OrThrow(Block block)
{
    return block != nullptr ? block : throw std::bad_alloc();
}

} // namespace

// NOLINTBEGIN(misc-new-delete-overloads)
void* operator new(std::size_t size) { return OrThrow(Allocate(size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment)
{
    return OrThrow(AllocateAligned(size, alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return AllocateAligned(size, alignment);
}
void operator delete(void* block) noexcept { Free(block); }
void operator delete(void* block, std::size_t) noexcept { Free(block); }
void operator delete(void* block, std::align_val_t) noexcept { FreeAligned(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { FreeAligned(block); }
// NOLINTEND(misc-new-delete-overloads)

namespace
{

using math::SolveOutcome;

struct Step
{
    const char* name;
    void (*run)(ISysEqnImpl& system);
};

const tagMultiVectorInt& Elements()
{
    static const tagMultiVectorInt grid = filled_system::Grid(20, 20, 1, 0);
    return grid;
}

/// Matrices and loads of a regular system, two unknowns of which are given.
void Fill(ISysEqnImpl& system)
{
    std::mt19937 random(5);
    for (std::size_t e = 0; e < Elements().Count(); ++e)
    {
        const auto m = filled_system::RandomMatrix(4, filled_system::Kind::Definite, random);
        system.InsertIntoSysCoefMtx(int(e), &m);
    }
    filled_system::Fix(system, {3, 40}, {1, -2});
    filled_system::Load(system, {5, 7, 90}, {10, 20, 30});
}

constexpr Step kSteps[] = {
    {"set-up", [](ISysEqnImpl& system) { system.Initialize(&Elements()); }},
    {"profile, symmetric", [](ISysEqnImpl& s) { s.SolveForUnknownVector_Direct_Sym(); }},
    {"profile", [](ISysEqnImpl& s) { s.SolveForUnknownVector_Direct_NonSym(); }},
    {"iterative, symmetric", [](ISysEqnImpl& s) { s.SolveForUnknownVector_Iterative_Sym(1e-12); }},
    {"iterative", [](ISysEqnImpl& s) { s.SolveForUnknownVector_Iterative_NonSym(1e-12, 10'000); }},
    {"built-in direct", [](ISysEqnImpl& s) { s.SolveForUnknownVector_PARDISO(); }}};

std::vector<double> SolvedAfresh(ISysEqnImpl& system)
{
    system.Initialize(&Elements());
    Fill(system);
    system.SolveForUnknownVector_Direct_Sym();
    EXPECT_EQ(system.LastSolve().outcome, SolveOutcome::Solved);
    return filled_system::Unknowns(system);
}

TEST(ISysEqnImpl, EndsWithARecordWhereverMemoryEnds)
{
    numerics::ReplacePardiso(&numerics::BuiltInPardiso());
    ISysEqnImpl reference;
    const std::vector<double> right = SolvedAfresh(reference);
    for (const Step& step : kSteps)
    {
        bool hasToldOnce = false;
        for (long allocation = 1;; ++allocation)
        {
            ISysEqnImpl system;
            if (&step != kSteps)
            {
                system.Initialize(&Elements());
                Fill(system);
            }
            left = allocation;
            bool isCaught = true;
            try
            {
                step.run(system);
            }
            catch (const std::exception&)
            {
                isCaught = false;
            }
            const bool hasFailed = left.exchange(0) == 0;
            ASSERT_TRUE(isCaught) << step.name << ", allocation " << allocation;
            const SolveOutcome outcome = system.LastSolve().outcome;
            if (!hasFailed)
            {
                EXPECT_EQ(outcome, SolveOutcome::Solved) << step.name;
                break;
            }
            hasToldOnce = hasToldOnce || outcome == SolveOutcome::TooLarge;
            ASSERT_TRUE(outcome == SolveOutcome::TooLarge || outcome == SolveOutcome::Solved)
                << step.name << ", allocation " << allocation << ": " << int(outcome);
            ASSERT_EQ(SolvedAfresh(system), right) << step.name << ", allocation " << allocation;
        }
        EXPECT_TRUE(hasToldOnce) << step.name;
    }
    numerics::ReplacePardiso(nullptr);
}

} // namespace
