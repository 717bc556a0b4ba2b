/// @file
/// What the sources of the extension share.
#pragma once

#include <KVI.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <vector>

namespace python
{

namespace py = pybind11;

/// An array of numbers, converted when it is not one already.
template <class T>
using Array = py::array_t<T, py::array::c_style | py::array::forcecast>;

/// Raises kvi.ArgumentError with that code, 0 for none, and the library's reason.
[[noreturn]] void RaiseRefused(int code, const std::wstring& text);

/// Raises kvi.ArgumentError with the code and the text of @p status, unless it is ok.
void RaiseUnlessOk(const gtl::status& status);

/// The catalogue's member of that number, name or kvi.Parameter.
/// @throws py::key_error
DataParamType ParamOf(const py::handle& given);

/// The points of an array of shape (n, 2).
/// @throws py::value_error for another shape
std::vector<Geom::Point2D> PointsOf(const Array<double>& points);

/// An array with a copy of @p values.
template <class T, class From>
py::array_t<T> ArrayOf(const std::vector<From>& values)
{
    py::array_t<T> out(static_cast<py::ssize_t>(values.size()));
    std::copy(values.begin(), values.end(), out.mutable_data());
    return out;
}

void BindCatalogue(py::module_& module);
void BindTable(py::module_& module);
void BindSoil(py::module_& module);
void BindSystem(py::module_& module);
void BindGeometry(py::module_& module);
void BindLog(py::module_& module);

} // namespace python
