#include "numerics/system/SparseRows.h"

#include "numerics/system/Product.h"
#include "numerics/system/Threads.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

namespace numerics
{

void SparseRows::Clear(int newRows, int newCols)
{
    rows = newRows;
    cols = newCols;
    start.assign(1, 0);
    start.reserve(std::size_t(newRows) + 1);
    columns.clear();
    values.clear();
}

namespace
{

/// How many parts threads make of @p rows: 1 where the @p work is not worth threads, else some for
/// each thread. The matrix made does not depend on it.
int PartCount(int rows, double work, int perThread)
{
    constexpr double kWorthThreads = 100'000; // some 100 us
    constexpr int kLeast = 64;                // rows
    const int threads = ThreadCount(0);
    return threads == 1 || work < kWorthThreads
               ? 1
               : std::clamp(perThread * threads, 1, std::max(rows / kLeast, 1));
}

/// A matrix in parts of equal numbers of rows, a power of two.
struct Parts
{
    int shift = 31; ///< row i is in part i >> shift
    std::vector<SparseRows> part;
    std::vector<MatrixView> view;

    int Begin(int number) const { return number << shift; }
};

Parts MakeParts(int rows, int cols, double work, const RowMaker& make)
{
    constexpr int kPerThread = 8;
    Parts parts;
    const int wanted = PartCount(rows, work, kPerThread);
    if (wanted > 1)
        parts.shift = int(std::bit_width(unsigned(rows / wanted)));
    const int count = (std::max(rows - 1, 0) >> parts.shift) + 1;
    parts.part.resize(std::size_t(count));
    ForNumbers(count, work, [&](int number) {
        const int begin = parts.Begin(number);
        const int end = number == count - 1 ? rows : parts.Begin(number + 1);
        SparseRows& part = parts.part[std::size_t(number)];
        part.Clear(end - begin, cols);
        make(part, begin, end);
    });
    for (const SparseRows& part : parts.part)
        parts.view.push_back(part.View());
    return parts;
}

/// Appends rows of A B to C, columns in the order of their first appearance. B is in parts.
void AppendProduct(const MatrixView A, const MatrixView* B, int shift, SparseRows& C, int first,
                   int last)
{
    // Position of a column of the current row in C; stale positions are below the row's start.
    std::vector<int> place(std::size_t(C.cols), -1);
    for (int i = first; i < last; ++i)
    {
        const int rowBegin = int(C.columns.size());
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
        {
            const double a = A.values[k];
            if (a == 0)
                continue;
            const int number = A.columns[k] >> shift, row = A.columns[k] - (number << shift);
            const MatrixView part = B[number];
            const int end = part.rowStart[row + 1];
            for (int l = part.rowStart[row]; l < end; ++l)
            {
                int& at = place[std::size_t(part.columns[l])];
                if (at < rowBegin)
                {
                    at = int(C.columns.size());
                    C.columns.push_back(part.columns[l]);
                    C.values.push_back(a * part.values[l]);
                }
                else
                    C.values[std::size_t(at)] += a * part.values[l];
            }
        }
        C.EndRow();
    }
}

} // namespace

void SortRows(SparseRows& A)
{
    // By insertion.
    for (int i = 0; i < A.rows; ++i)
    {
        const int begin = A.start[std::size_t(i)], end = A.start[std::size_t(i) + 1];
        for (int k = begin + 1; k < end; ++k)
        {
            const int column = A.columns[std::size_t(k)];
            const double value = A.values[std::size_t(k)];
            int to = k;
            for (; to > begin && A.columns[std::size_t(to) - 1] > column; --to)
            {
                A.columns[std::size_t(to)] = A.columns[std::size_t(to) - 1];
                A.values[std::size_t(to)] = A.values[std::size_t(to) - 1];
            }
            A.columns[std::size_t(to)] = column;
            A.values[std::size_t(to)] = value;
        }
    }
}

SparseRows MakeRows(int rows, int cols, double work, const RowMaker& make)
{
    Parts parts = MakeParts(rows, cols, work, make);
    if (parts.part.size() == 1)
        return std::move(parts.part[0]);
    SparseRows all;
    all.rows = rows;
    all.cols = cols;
    std::vector<int> start; // of each part in all
    int sum = 0;
    for (const SparseRows& part : parts.part)
    {
        start.push_back(sum);
        sum += part.Stored();
    }
    all.start.resize(std::size_t(rows) + 1);
    all.start.back() = sum;
    all.columns.resize(std::size_t(sum));
    all.values.resize(std::size_t(sum));
    ForNumbers(int(parts.part.size()), work, [&](int number) {
        SparseRows& part = parts.part[std::size_t(number)];
        const int begin = start[std::size_t(number)];
        for (int i = 0; i < part.rows; ++i)
            all.start[std::size_t(parts.Begin(number) + i)] = begin + part.start[std::size_t(i)];
        std::copy(part.columns.begin(), part.columns.end(), all.columns.begin() + begin);
        std::copy(part.values.begin(), part.values.end(), all.values.begin() + begin);
        part = {};
    });
    return all;
}

SparseRows Transposed(const SparseRows& A)
{
    SparseRows B;
    B.rows = A.cols;
    B.cols = A.rows;
    const auto stored = std::size_t(A.Stored());
    const auto cols = std::size_t(A.cols);
    B.columns.resize(stored);
    B.values.resize(stored);
    // A counting sort. Each part of A's rows has its own next position in every row of B.
    const int parts = PartCount(A.rows, double(stored), 2);
    std::vector<RawVector<int>> next(static_cast<std::size_t>(parts));
    const auto border = [&](int part) {
        return int(static_cast<long long>(A.rows) * part / parts);
    };
    ForNumbers(parts, double(stored), [&](int part) {
        RawVector<int>& count = next[std::size_t(part)];
        count.assign(cols, 0);
        const int end = A.start[std::size_t(border(part + 1))];
        for (int k = A.start[std::size_t(border(part))]; k < end; ++k)
            ++count[std::size_t(A.columns[std::size_t(k)])];
    });
    // Entries of each block of B's rows, then the positions where they begin.
    std::vector<int> blockStart(std::size_t(BlockCount(A.cols)) + 1);
    ForBlocks(A.cols, [&](int block, int begin, int end) {
        for (const RawVector<int>& count : next)
            blockStart[std::size_t(block) + 1] +=
                std::accumulate(count.begin() + begin, count.begin() + end, 0);
    });
    std::partial_sum(blockStart.begin(), blockStart.end(), blockStart.begin());
    B.start.resize(cols + 1);
    B.start[cols] = blockStart.back();
    ForBlocks(A.cols, [&](int block, int begin, int end) {
        int sum = blockStart[std::size_t(block)];
        for (std::size_t i = std::size_t(begin); i < std::size_t(end); ++i)
        {
            B.start[i] = sum;
            for (RawVector<int>& count : next)
                sum += std::exchange(count[i], sum);
        }
    });
    ForNumbers(parts, double(stored), [&](int part) {
        int* const to = next[std::size_t(part)].data();
        for (int i = border(part); i < border(part + 1); ++i)
            for (int k = A.start[std::size_t(i)]; k < A.start[std::size_t(i) + 1]; ++k)
            {
                const auto at = std::size_t(to[A.columns[std::size_t(k)]]++);
                B.columns[at] = i;
                B.values[at] = A.values[std::size_t(k)];
            }
    });
    return B;
}

SparseRows TripleProduct(const SparseRows& R, const MatrixView& A, const SparseRows& P)
{
    const auto reserve = [](SparseRows& C, double expected) {
        C.columns.reserve(std::size_t(expected));
        C.values.reserve(std::size_t(expected));
    };
    const double perRow = double(P.Stored()) / std::max(P.rows, 1);
    const MatrixView interpolation = P.View();
    const Parts product =
        MakeParts(A.n, P.cols, perRow * A.rowStart[A.n], [&](SparseRows& C, int begin, int end) {
            reserve(C, 3 * perRow * (end - begin));
            AppendProduct(A, &interpolation, Parts().shift, C, begin, end);
        });
    return MakeRows(R.rows, P.cols, 2 * perRow * R.Stored(),
                    [&](SparseRows& C, int begin, int end) {
                        reserve(C, perRow * P.rows / R.rows * (end - begin));
                        AppendProduct(R.View(), product.view.data(), product.shift, C, begin, end);
                        SortRows(C);
                    });
}

void Product(const SparseRows& A, const double* x, double* y) { Product(A.View(), x, y); }

void AddProduct(const SparseRows& A, const double* x, double* y)
{
    const int* start = A.start.data();
    const int* columns = A.columns.data();
    const double* values = A.values.data();
    ForBlocks(A.rows, [=](int, int begin, int end) {
        for (int i = begin; i < end; ++i)
        {
            double sum = 0;
            for (int k = start[i]; k < start[i + 1]; ++k)
                sum += values[k] * x[columns[k]];
            y[i] += sum;
        }
    });
}

} // namespace numerics
