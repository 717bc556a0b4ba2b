#include "data/datatable_inspect.h"

#include "data/table/ColumnReader.h"
#include "foundation/MissingValue.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>

namespace datatable
{
namespace
{
/// Calls @p visit with the row and the value of each cell of @p param that has one.
template <class Visit>
void ForEachValue(const DataTable& table, DataParamType param, Visit visit)
{
    GID row;
    if (table.IsStored(param))
    {
        for (const double value : table.Column(param))
        {
            ++row.value;
            if (!IsMissingValue(value))
                visit(row, value);
        }
        return;
    }
    data::ColumnReader read(table, param);
    while (row.value < table.RowCount())
    {
        ++row.value;
        const double value = read(row);
        if (!IsMissingValue(value))
            visit(row, value);
    }
}

/// The first value that is not exceeded by any other.
template <class Better>
struct Extreme
{
    void Offer(GID at, double offered)
    {
        if (row.value == 0 || Better()(offered, value) ||
            (std::isnan(offered) && !std::isnan(value)))
        {
            value = offered;
            row = at;
        }
    }
    double value = MissingValue<double>();
    GID row;
};
using Smallest = Extreme<std::less<>>;
using Largest = Extreme<std::greater<>>;

template <class Kind>
GID RowOf(const DataTable& table, DataParamType param)
{
    Kind extreme;
    ForEachValue(table, param, [&](GID row, double value) { extreme.Offer(row, value); });
    return extreme.row;
}
} // namespace

bool IsTableMissingParam(const DataTable& table, const std::vector<DataParamType>& params)
{
    return params.empty() || !std::all_of(params.begin(), params.end(), [&](DataParamType param) {
               return table.HasParam(param);
           });
}

std::vector<DataParamType> ListUnstoredParams(const DataTable& table,
                                              const std::vector<DataParamType>& params)
{
    std::vector<DataParamType> unstored;
    std::copy_if(params.begin(), params.end(), std::back_inserter(unstored),
                 [&](DataParamType param) { return !table.IsStored(param); });
    return unstored;
}

gtl::range<double> Range(const DataTable& table, DataParamType param)
{
    Smallest smallest;
    Largest largest;
    ForEachValue(table, param, [&](GID row, double value) {
        smallest.Offer(row, value);
        largest.Offer(row, value);
    });
    return {{smallest.value, gtl::bound_kind::inclusive},
            {largest.value, gtl::bound_kind::inclusive}};
}

double SumColumn(const DataTable& table, DataParamType param)
{
    double sum = 0;
    bool isAny = false;
    ForEachValue(table, param, [&](GID, double value) {
        sum += value;
        isAny = true;
    });
    return isAny ? sum : MissingValue<double>();
}

double MaxMagnitude(const DataTable& table, DataParamType param)
{
    Largest largest;
    ForEachValue(table, param,
                 [&](GID row, double value) { largest.Offer(row, std::fabs(value)); });
    return largest.value;
}

GID MinElementRow(const DataTable& table, DataParamType param)
{
    return RowOf<Smallest>(table, param);
}

GID MaxElementRow(const DataTable& table, DataParamType param)
{
    return RowOf<Largest>(table, param);
}

} // namespace datatable
