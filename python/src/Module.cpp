#include "Module.h"

namespace python
{

void RaiseUnlessOk(const gtl::status& status)
{
    if (status.ok())
        return;
    const py::object type = py::module_::import("kvi.errors").attr("Error");
    const py::object error = type(status.code(), status.as_wstring());
    PyErr_SetObject(type.ptr(), error.ptr());
    throw py::error_already_set();
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
