/// @file
/// Views of dense matrices in memory owned by others.
#pragma once

#include <cstddef>

namespace math::matrix
{

namespace orientation
{
/// Which elements are neighbours in memory: those of a row or those of a column.
enum class Type
{
    RowMajor,
    ColumnMajor
};
} // namespace orientation

namespace storage
{

/// A rows x columns matrix read through a pointer. Rows (or columns) start @p stride elements
/// apart; packed ones, the usual kind, follow one another. The memory stays the owner's.
template <class T>
class DenseConstRef
{
public:
    /// Packed elements at @p data.
    DenseConstRef(const T* data, int rows, int columns,
                  orientation::Type order = orientation::Type::RowMajor)
        : DenseConstRef(data, rows, columns, order,
                        order == orientation::Type::RowMajor ? columns : rows)
    {
    }
    /// @param stride  elements from one row (or column) to the next
    DenseConstRef(const T* data, int rows, int columns, orientation::Type order, int stride)
        : data_(data), rows_(rows), columns_(columns), stride_(stride), order_(order)
    {
    }

    const T* Data() const { return data_; }  ///< its first element
    int Rows() const { return rows_; }       ///< number of rows
    int Columns() const { return columns_; } ///< number of columns
    int Stride() const { return stride_; }   ///< elements from one row (or column) to the next
    orientation::Type Orientation() const { return order_; } ///< which index runs fastest
    /// Whether no elements lie between the rows (or columns).
    bool IsPacked() const
    {
        return stride_ == (order_ == orientation::Type::RowMajor ? columns_ : rows_);
    }
    /// The element in row i and column j, from 0; not checked.
    const T& operator()(int i, int j) const { return data_[Offset(i, j)]; }
    /// The same memory read as the transposed matrix.
    DenseConstRef Transposed() const
    {
        return {data_, columns_, rows_,
                order_ == orientation::Type::RowMajor ? orientation::Type::ColumnMajor
                                                      : orientation::Type::RowMajor,
                stride_};
    }

protected:
    /// Position of the element (i, j) from Data().
    std::ptrdiff_t Offset(int i, int j) const
    {
        return order_ == orientation::Type::RowMajor ? std::ptrdiff_t(i) * stride_ + j
                                                     : std::ptrdiff_t(j) * stride_ + i;
    }

private:
    const T* data_;
    int rows_, columns_, stride_;
    orientation::Type order_;
};

/// The same, to be written through.
template <class T>
class DenseRef : public DenseConstRef<T>
{
public:
    /// Packed elements at @p data.
    DenseRef(T* data, int rows, int columns, orientation::Type order = orientation::Type::RowMajor)
        : DenseConstRef<T>(data, rows, columns, order), data_(data)
    {
    }
    /// @param stride  elements from one row (or column) to the next
    DenseRef(T* data, int rows, int columns, orientation::Type order, int stride)
        : DenseConstRef<T>(data, rows, columns, order, stride), data_(data)
    {
    }

    T* Data() const { return data_; } ///< its first element
    /// The element in row i and column j, from 0; not checked.
    T& operator()(int i, int j) const { return data_[this->Offset(i, j)]; }

private:
    T* data_;
};

} // namespace storage
} // namespace math::matrix
