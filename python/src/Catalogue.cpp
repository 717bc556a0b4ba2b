#include "Module.h"

#include <cmath>
#include <limits>
#include <string_view>

namespace python
{
namespace
{

// What the library knows the meaning of.
struct Named
{
    DataParamType param;
    std::string_view name, dimension;
};

#define NAMED(name, dimension)                                                                     \
    Named { dataparam::name, #name, dimension }
constexpr Named kNamed[] = {
    NAMED(Node, "number"),
    NAMED(Element, "number"),
    NAMED(Material, "number"),
    NAMED(Region, "number"),
    NAMED(MaterialNumber, "number"),
    NAMED(Point, "number"),
    NAMED(UnitWeightOfWater, "force/length^3"),
    NAMED(SaturatedConductivity, "length/time"),
    NAMED(ConductivityRatio, "1"),
    NAMED(CurveA, "pressure"),
    NAMED(CurveN, "1"),
    NAMED(CurveM, "1"),
    NAMED(CurveLimit, "pressure"),
    NAMED(ConductivityAlpha, "1/length"),
    NAMED(ConductivityFloor, "1"),
    NAMED(ConductivityPower, "1"),
    NAMED(ConductivityStart, "pressure"),
    NAMED(Area, "length^2"),
    NAMED(PoissonRatio, "1"),
    NAMED(SaturatedWaterContent, "1"),
    NAMED(WaterContent, "1"),
    NAMED(RelativeConductivity, "1"),
    NAMED(DegreeOfSaturation, "1"),
    NAMED(X, "length"),
    NAMED(Y, "length"),
    NAMED(Flow, "length^3/time"),
    NAMED(Flux, "length/time"),
    NAMED(Head, "length"),
    NAMED(PressureHead, "length"),
    NAMED(Pressure, "pressure"),
    NAMED(VelocityX, "length/time"),
    NAMED(VelocityY, "length/time"),
    NAMED(VelocityMagnitude, "length/time"),
    NAMED(GradientX, "1"),
    NAMED(GradientY, "1"),
};
#undef NAMED

/// One row of the catalogue.
struct Parameter
{
    int number;

    DataParamType Param() const { return DataParamType{number}; }
    const Named* Meaning() const
    {
        for (const Named& named : kNamed)
            if (named.param == Param())
                return &named;
        return nullptr;
    }
    std::string Name() const
    {
        const Named* const named = Meaning();
        return named != nullptr ? std::string(named->name) : str::sprintf("Param%04d", number);
    }
};

/// The legal values as mathematics writes them, "(0, inf)".
std::string RangeOf(const Parameter& parameter)
{
    const gtl::range<double>& range = dataparamtype::GetRangeChecker(parameter.Param());
    const auto end = [](const gtl::bound<double>& bound, const char* none) {
        return bound.IsPresent() ? str::sprintf("%g", bound.value) : std::string(none);
    };
    const auto holds = [](const gtl::bound<double>& bound) {
        return bound.IsPresent() && bound.kind == gtl::bound_kind::inclusive;
    };
    return (holds(range.lower) ? '[' : '(') + end(range.lower, "-inf") + ", " +
           end(range.upper, "inf") + (holds(range.upper) ? ']' : ')');
}

/// The first of @p values that the catalogue forbids; their number when it allows all.
py::ssize_t FirstIllegal(DataParamType param, const double* values, py::ssize_t count)
{
    py::ssize_t i = 0;
    while (i < count && dataparamtype::IsRangeValid(param, values[i]).ok())
        ++i;
    return i;
}

void Check(const py::object& param, const Array<double>& values)
{
    const DataParamType which = ParamOf(param);
    const double* const data = values.data();
    const py::ssize_t count = values.size();
    py::ssize_t bad;
    {
        py::gil_scoped_release release;
        bad = FirstIllegal(which, data, count);
    }
    if (bad < count)
        RaiseUnlessOk(dataparamtype::IsRangeValid(which, data[bad]));
}

} // namespace

DataParamType ParamOf(const py::handle& given)
{
    int number = -1;
    if (py::isinstance<Parameter>(given))
        number = given.cast<Parameter>().number;
    else if (py::isinstance<py::int_>(given))
        number = given.cast<int>();
    else if (py::isinstance<py::str>(given))
    {
        const auto name = given.cast<std::string>();
        for (int i = 0; i < kDataParamTypeCount && number < 0; ++i)
            if (Parameter{i}.Name() == name || str::sprintf("Param%04d", i) == name)
                number = i;
    }
    if (number < 0 || number >= kDataParamTypeCount)
        throw py::key_error("no parameter " + py::repr(given).cast<std::string>());
    return DataParamType{number};
}

void BindCatalogue(py::module_& module)
{
    py::class_<Parameter>(module, "Parameter", "A quantity of the catalogue.")
        .def_readonly("number", &Parameter::number, "the number that documents store")
        .def_property_readonly("name", &Parameter::Name,
                               "what it means, or Param and its number where that is open")
        .def_property_readonly(
            "dimension",
            [](const Parameter& p) -> py::object {
                const Named* const named = p.Meaning();
                return named != nullptr ? py::object(py::str(std::string(named->dimension)))
                                        : py::object(py::none());
            },
            "such as 'length/time' ('1' for a plain number), None where the meaning is open")
        .def_property_readonly("range", &RangeOf,
                               "the legal values: '(0, inf)' is greater than 0, '[0, 1]' from 0 to "
                               "1; the missing value is legal beside them")
        .def("__index__", [](const Parameter& p) { return p.number; })
        .def("__hash__", [](const Parameter& p) { return p.number; })
        .def("__eq__", [](const Parameter& p, const Parameter& q) { return p.number == q.number; })
        .def("__repr__", [](const Parameter& p) {
            return str::sprintf("<Parameter %d %s>", p.number, p.Name());
        });
    py::list all;
    for (int i = 0; i < kDataParamTypeCount; ++i)
        all.append(Parameter{i});
    module.attr("catalogue") = py::tuple(all);
    module.def(
        "parameter", [](const py::object& given) { return Parameter{int(ParamOf(given))}; },
        py::arg("which"), "The catalogue's parameter with that name or number; KeyError if none.");
    module.def("check", &Check, py::arg("param"), py::arg("values"),
               "Raises Error with the first of the values that is out of the parameter's range. "
               "The missing value is legal, NaN only without bounds.");
    module.attr("MISSING") = MissingValue<double>();
}

} // namespace python
