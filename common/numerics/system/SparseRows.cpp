#include "numerics/system/SparseRows.h"

#include "numerics/system/Product.h"

#include <cstddef>

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

SparseRows Transposed(const SparseRows& A)
{
    SparseRows B;
    B.rows = A.cols;
    B.cols = A.rows;
    const auto stored = std::size_t(A.Stored());
    B.start.assign(std::size_t(A.cols) + 1, 0);
    B.columns.resize(stored);
    B.values.resize(stored);
    for (const int column : A.columns)
        ++B.start[std::size_t(column) + 1];
    for (std::size_t i = 0; i < std::size_t(A.cols); ++i)
        B.start[i + 1] += B.start[i];
    std::vector<int> next(B.start.begin(), B.start.end() - 1);
    for (int i = 0; i < A.rows; ++i)
        for (int k = A.start[std::size_t(i)]; k < A.start[std::size_t(i) + 1]; ++k)
        {
            const int to = next[std::size_t(A.columns[std::size_t(k)])]++;
            B.columns[std::size_t(to)] = i;
            B.values[std::size_t(to)] = A.values[std::size_t(k)];
        }
    return B;
}

SparseRows Times(const MatrixView& A, const SparseRows& B)
{
    SparseRows C;
    C.Clear(A.n, B.cols);
    C.columns.reserve(B.columns.size() * 3);
    C.values.reserve(B.columns.size() * 3);
    // Position of a column of the current row in C; stale positions are below the row's start.
    std::vector<int> place(std::size_t(B.cols), -1);
    const int* bStart = B.start.data();
    const int* bColumns = B.columns.data();
    const double* bValues = B.values.data();
    for (int i = 0; i < A.n; ++i)
    {
        const int rowBegin = int(C.columns.size());
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
        {
            const double a = A.values[k];
            if (a == 0)
                continue;
            const int row = A.columns[k];
            for (int l = bStart[row]; l < bStart[row + 1]; ++l)
            {
                int& at = place[std::size_t(bColumns[l])];
                if (at < rowBegin)
                {
                    at = int(C.columns.size());
                    C.columns.push_back(bColumns[l]);
                    C.values.push_back(a * bValues[l]);
                }
                else
                    C.values[std::size_t(at)] += a * bValues[l];
            }
        }
        C.EndRow();
    }
    return C;
}

void SortRows(SparseRows& A)
{
    // Insertion: rows are short and partly in order.
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
