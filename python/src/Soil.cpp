#include "Module.h"

#include <cmath>

namespace python
{
namespace
{

using math::fn::flow::FredXing;

math::UnitSet UnitsOf(const std::string& unit)
{
    using enum math::PressureUnit;
    constexpr std::pair<const char*, math::PressureUnit> kUnits[] = {
        {"kPa", Kilopascal},         {"Pa", Pascal},
        {"MPa", Megapascal},         {"bar", Bar},
        {"psf", PoundPerSquareFoot}, {"psi", PoundPerSquareInch}};
    for (const auto& [name, value] : kUnits)
        if (unit == name)
            return math::UnitSet(value);
    throw py::value_error("no pressure unit " + unit + ": kPa, Pa, MPa, bar, psf or psi");
}

FredXing MakeCurve(double a, double n, double m, double saturated, const py::object& limit,
                   const std::string& unit)
{
    const FredXing curve(a, n, m, saturated,
                         limit.is_none() ? FredXing::CalcLimit(UnitsOf(unit))
                                         : limit.cast<double>());
    if (!curve.IsValid())
        throw py::value_error("a, n, m and the saturated water content must be above 0");
    return curve;
}

py::object Contents(const FredXing& curve, const Array<double>& pressures)
{
    py::array_t<double> out(
        std::vector<py::ssize_t>(pressures.shape(), pressures.shape() + pressures.ndim()));
    const double* const in = pressures.data();
    double* const contents = out.mutable_data();
    const auto count = static_cast<std::size_t>(pressures.size());
    {
        py::gil_scoped_release release;
        curve.Evaluate(in, contents, count);
    }
    if (out.ndim() == 0)
        return py::float_(*out.data());
    return out;
}

py::tuple Fit(const Array<double>& pressures, const Array<double>& contents, double saturated,
              const std::string& unit)
{
    if (pressures.size() != contents.size())
        throw py::value_error("as many pressures as water contents are needed");
    std::vector<FPOINT> points(static_cast<std::size_t>(pressures.size()));
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = {pressures.data()[i], contents.data()[i], 0};
    const math::UnitSet units = UnitsOf(unit);
    double a = 0, n = 0, m = 0, error = 0; // replaced by the usual starting values
    int iterations;
    {
        py::gil_scoped_release release;
        iterations = FredXing::EstimateParam(saturated, points.data(), int(points.size()), units, a,
                                             n, m, error);
    }
    if (iterations == FredXing::NothingToFit)
        throw py::value_error("there is no point to fit, or the saturated content is not above 0");
    return py::make_tuple(FredXing(a, n, m, saturated, FredXing::CalcLimit(units)), error,
                          iterations >= 0);
}

} // namespace

void BindSoil(py::module_& module)
{
    py::class_<FredXing>(
        module, "WaterCurve",
        "Volumetric water content of an unsaturated soil over its pore-water pressure (Fredlund "
        "and Xing 1994). Pressures are in `unit`, negative where the soil is unsaturated; contents "
        "are volumes of water in the whole, 0 to 1.")
        .def(py::init(&MakeCurve), py::arg("a"), py::arg("n"), py::arg("m"), py::arg("saturated"),
             py::arg("limit") = py::none(), py::arg("unit") = "kPa",
             "a: suction scale [unit]; n, m: exponents [-]; saturated: content at pressure 0 [-]; "
             "limit: suction without water [unit], 1e6 kPa when None")
        .def("__call__", &Contents, py::arg("pressures"),
             "Water contents [-] at the pressures, an array of any shape or a number.")
        .def_static("fit", &Fit, py::arg("pressures"), py::arg("contents"), py::arg("saturated"),
                    py::arg("unit") = "kPa",
                    "The curve through measured points by least squares. Returns the curve, the "
                    "root mean square error [-], and whether the stopping rule was met; if not, "
                    "the curve is the best found.")
        .def_property_readonly("a", &FredXing::A, "suction scale, in the unit of pressure")
        .def_property_readonly("n", &FredXing::N, "slope exponent [-]")
        .def_property_readonly("m", &FredXing::M, "tail exponent [-]")
        .def_property_readonly("saturated", &FredXing::SatWC, "content at pressure 0 [-]")
        .def("__repr__", [](const FredXing& c) {
            return str::sprintf("<WaterCurve a=%g n=%g m=%g saturated=%g>", c.A(), c.N(), c.M(),
                                c.SatWC());
        });
}

} // namespace python
