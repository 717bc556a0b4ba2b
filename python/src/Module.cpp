#include "Module.h"

namespace python
{

void RaiseRefused(int code, const std::wstring& text)
{
    const py::object type = py::module_::import("kvi.errors").attr("ArgumentError");
    const py::object error = type(code, text);
    PyErr_SetObject(type.ptr(), error.ptr());
    throw py::error_already_set();
}

void RaiseUnlessOk(const gtl::status& status)
{
    if (!status.ok())
        RaiseRefused(status.code(), status.as_wstring());
}

} // namespace python

PYBIND11_MODULE(_kvi, module)
{
    module.doc() = "The library KVI; use it through the package kvi.";
    module.attr("__version__") = KVI_PYTHON_VERSION;
    python::BindCatalogue(module);
    python::BindTable(module);
    python::BindSoil(module);
    python::BindSystem(module);
    python::BindGeometry(module);
    python::BindLog(module);
}
