#include "Module.h"

namespace python
{
namespace
{

std::shared_ptr<DataTable> MakeTable(const py::object& kind, const py::iterable& columns,
                                     unsigned rows)
{
    std::vector<DataParamType> params;
    for (const py::handle& column : columns)
        params.push_back(ParamOf(column));
    auto table = std::make_shared<DataTable>(ParamOf(kind), params, rows);
    if (table->ColumnCount() != params.size() || table->RowCount() != rows)
        throw py::value_error("a table cannot have these columns, or not so many rows");
    return table;
}

/// A column as an array over the table's own memory, which does not move: Python code cannot change
/// the shape.
py::array_t<double> Column(const py::object& self, const py::object& param)
{
    auto& table = self.cast<DataTable&>();
    const auto column = table.Column(ParamOf(param));
    const auto rows = static_cast<py::ssize_t>(table.RowCount());
    if (!table.IsStored(ParamOf(param)))
        throw py::key_error("the table has no column " + py::repr(param).cast<std::string>());
    if (rows == 0)
        return py::array_t<double>(0);
    const auto step = static_cast<py::ssize_t>(table.ColumnCount() * sizeof(double));
    return {{rows}, {step}, &*column.begin(), self};
}

/// All cells, an array of (rows, columns) over the table's own memory.
py::array_t<double> Cells(const py::object& self)
{
    auto& table = self.cast<DataTable&>();
    const auto rows = static_cast<py::ssize_t>(table.RowCount());
    const auto columns = static_cast<py::ssize_t>(table.ColumnCount());
    if (rows * columns == 0)
        return py::array_t<double>({rows, columns});
    const auto step = static_cast<py::ssize_t>(sizeof(double));
    return {{rows, columns}, {columns * step, step}, &*table.Row({1}).begin(), self};
}

} // namespace

void BindTable(py::module_& module)
{
    py::class_<DataTable, std::shared_ptr<DataTable>>(
        module, "Table",
        "Rows of items, numbered from 1 as in documents, and columns of parameters. A new cell "
        "holds MISSING. Numbers have the unit that the program chose for the parameter.")
        .def(py::init(&MakeTable), py::arg("row_kind"), py::arg("columns"), py::arg("rows"))
        .def("column", &Column, py::arg("param"),
             "The values of all rows as an array over the table's memory: writing into it writes "
             "into the table. Row 1 is element 0.")
        .def("cells", &Cells,
             "All values, shape (rows, columns), as an array over the table's memory.")
        .def(
            "value",
            [](const DataTable& table, unsigned row, const py::object& param) {
                return table.GetValue({row}, ParamOf(param));
            },
            py::arg("row"), py::arg("param"), "The stored value, or MISSING; rows count from 1.")
        .def_property_readonly("_columns",
                               [](const DataTable& table) {
                                   std::vector<int> numbers;
                                   for (const DataParamType param : table.Columns())
                                       numbers.push_back(int(param));
                                   return numbers;
                               })
        .def_property_readonly("_row_kind",
                               [](const DataTable& table) { return int(table.RowKind()); })
        .def("__len__", &DataTable::RowCount)
        .def("memory_used", &DataTable::MemoryUsed, "Bytes that the table occupies.");
}

} // namespace python
