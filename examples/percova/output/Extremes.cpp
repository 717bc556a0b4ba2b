#include "output/Extremes.h"

#include <cmath>
#include <utility>

namespace percova
{
namespace
{

/// @param value  of a node; missing values are left out
template <class Value>
void Add(StepResult& step, const Mesh& mesh, const char* name, const std::string& unit, Value value)
{
    Extremes found{name, unit};
    for (std::size_t n = 0; n < mesh.Nodes(); ++n)
    {
        const double here = value(n);
        if (IsMissingValue(here) || !std::isfinite(here))
            continue;
        if (IsMissingValue(found.least) || here < found.least)
        {
            found.least = here;
            found.leastAt = {mesh.x[n], mesh.y[n]};
        }
        if (IsMissingValue(found.greatest) || here > found.greatest)
        {
            found.greatest = here;
            found.greatestAt = {mesh.x[n], mesh.y[n]};
        }
    }
    if (!IsMissingValue(found.least))
        step.extremes.push_back(std::move(found));
}

} // namespace

void FindExtremes(const Units& units, const Mesh& mesh, StepResult& step)
{
    const DataTable& nodal = step.nodal;
    const std::string speed = units.length + '/' + units.time;
    const struct
    {
        const char* name;
        DataParamType x, y; ///< the same where the field is no vector
        std::string unit;
    } fields[] = {{"head", dataparam::Head, dataparam::Head, units.length},
                  {"pressure_head", dataparam::PressureHead, dataparam::PressureHead, units.length},
                  {"pressure", dataparam::Pressure, dataparam::Pressure, units.pressure},
                  {"water_content", dataparam::WaterContent, dataparam::WaterContent, ""},
                  {"kr", dataparam::RelativeConductivity, dataparam::RelativeConductivity, ""},
                  {"flux", dataparam::VelocityX, dataparam::VelocityY, speed},
                  {"gradient", dataparam::GradientX, dataparam::GradientY, ""}};
    step.extremes.clear();
    for (const auto& field : fields)
    {
        const DataTable::ConstValues x = nodal.Column(field.x), y = nodal.Column(field.y);
        if (x.size() != mesh.Nodes() || y.size() != mesh.Nodes())
            continue;
        const bool isVector = field.x != field.y;
        Add(step, mesh, field.name, field.unit, [&](std::size_t n) {
            return !isVector || IsMissingValue(x[n]) || IsMissingValue(y[n])
                       ? x[n]
                       : std::hypot(x[n], y[n]);
        });
    }
}

} // namespace percova
