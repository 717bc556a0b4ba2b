#include "BlasMemory.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include <dlfcn.h>
#include <sys/mman.h>

namespace mumps
{
namespace
{

using Product = void (*)(const char*, const char*, const int*, const int*, const int*,
                         const double*, const double*, const int*, const double*, const int*,
                         const double*, double*, const int*);
using ThreadCount = int (*)();

/// The function that MUMPS calls too, which need not be OpenBLAS's.
template <class Function>
Function Find(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_DEFAULT, name));
}

bool CanMap(std::size_t bytes)
{
    void* const block = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return block != MAP_FAILED && ::munmap(block, bytes) == 0;
}

} // namespace

std::string ReserveBlasMemory()
{
    constexpr std::size_t kBuffer = std::size_t(136) << 20; // one thread's, with a margin
    const auto product = Find<Product>("dgemm_");
    const auto threadCount = Find<ThreadCount>("openblas_get_num_threads");
    if (product == nullptr || threadCount == nullptr)
        return {};
    const int threads = std::max(threadCount(), 1);
    const std::size_t bytes = kBuffer * std::size_t(threads);
    if (!CanMap(bytes))
        return "not enough memory for the matrix products of " + std::to_string(threads) +
               " threads (OPENBLAS_NUM_THREADS): " + std::to_string(bytes >> 20) + " MiB";
    // Large enough for all threads, too large for the kernels that need no buffer.
    constexpr int n = 256;
    constexpr double kOne = 1, kZero = 0;
    const std::vector<double> a(std::size_t(n) * n, 1.0);
    std::vector<double> c(a.size());
    product("N", "N", &n, &n, &n, &kOne, a.data(), &n, a.data(), &n, &kZero, c.data(), &n);
    return {};
}

} // namespace mumps
