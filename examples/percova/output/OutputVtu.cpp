#include "output/Output.h"
#include "output/files/Base64.h"
#include "output/files/Markup.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

namespace percova
{
namespace
{

template <class Number>
const char* TypeName()
{
    if constexpr (std::is_same_v<Number, double>)
        return "Float64";
    else if constexpr (std::is_same_v<Number, std::int64_t>)
        return "Int64";
    else if constexpr (std::is_same_v<Number, std::int32_t>)
        return "Int32";
    else
        return "UInt8";
}

/// One array: @p value(i) for i below @p count.
/// @param unit  which ParaView shows; empty for none
template <class Number, class Value>
void Array(std::ostream& out, const char* name, int components, std::size_t count, Value value,
           const std::string& unit = {})
{
    out << "<DataArray type=\"" << TypeName<Number>() << "\" Name=\"" << name << '"';
    if (components > 1)
        out << " NumberOfComponents=\"" << components << '"';
    out << " format=\"binary\">\n";
    // The count of bytes precedes the values, like one or several more of them.
    const std::uint64_t size = count * sizeof(Number);
    constexpr std::size_t kBefore = sizeof size / sizeof(Number);
    WriteBase64(out, (kBefore + count) * sizeof(Number),
                [&](std::size_t first, std::size_t last, char* bytes) {
                    if (first == 0)
                    {
                        std::memcpy(bytes, &size, sizeof size);
                        bytes += sizeof size;
                    }
                    for (std::size_t i = std::max(first / sizeof(Number), kBefore);
                         i < last / sizeof(Number); ++i, bytes += sizeof(Number))
                    {
                        const auto number = static_cast<Number>(value(i - kBefore));
                        std::memcpy(bytes, &number, sizeof number);
                    }
                });
    out << '\n';
    if (!unit.empty())
        out << "<InformationKey name=\"UNITS_LABEL\" location=\"vtkDataArray\">" << Escaped(unit)
            << "</InformationKey>\n";
    out << "</DataArray>\n";
}

double Shown(double value)
{
    return IsMissingValue(value) ? std::numeric_limits<double>::quiet_NaN() : value;
}

/// A field that no node has is left out.
void NodalArray(std::ostream& out, const char* name, const DataTable::ConstValues& values,
                const std::string& unit)
{
    if (!std::all_of(values.begin(), values.end(),
                     [](double value) { return IsMissingValue(value); }))
        Array<double>(
            out, name, 1, values.size(), [&](std::size_t i) { return Shown(values[i]); }, unit);
}

/// Vectors have a third component, which is zero.
template <class Values>
void VectorArray(std::ostream& out, const char* name, const Values& x, const Values& y,
                 const std::string& unit)
{
    Array<double>(
        out, name, 3, 3 * x.size(),
        [&](std::size_t i) { return i % 3 == 2 ? 0.0 : Shown((i % 3 == 0 ? x : y)[i / 3]); }, unit);
}

void WriteCells(std::ostream& out, const Mesh& mesh)
{
    constexpr std::array<std::uint8_t, 4> kCellTypes{5, 9, 22, 23}; // by ElementType
    out << "<Cells>\n";
    Array<std::int32_t>(out, "connectivity", 1, mesh.nodes.size(),
                        [&](std::size_t i) { return mesh.nodes[i]; });
    Array<std::int32_t>(out, "offsets", 1, mesh.Elements(),
                        [&](std::size_t i) { return mesh.start[i + 1]; });
    Array<std::uint8_t>(out, "types", 1, mesh.Elements(), [&](std::size_t i) {
        return kCellTypes[static_cast<std::size_t>(mesh.type[i])];
    });
    out << "</Cells>\n";
}

} // namespace

void WriteVtu(std::ostream& out, const Model& model, const StepResult& step)
{
    const Mesh& mesh = model.mesh;
    const DataTable& nodal = step.nodal;
    out << "<?xml version=\"1.0\"?>\n<VTKFile type=\"UnstructuredGrid\" version=\"1.0\" "
           "byte_order=\"LittleEndian\" header_type=\"UInt64\">\n<UnstructuredGrid>\n";
    if (!IsMissingValue(step.time))
        out << "<FieldData>\n<DataArray type=\"Float64\" Name=\"TimeValue\" NumberOfTuples=\"1\" "
               "format=\"ascii\">"
            << Exact(step.time) << "</DataArray>\n</FieldData>\n";
    out << "<Piece "
           "NumberOfPoints=\""
        << mesh.Nodes() << "\" NumberOfCells=\"" << mesh.Elements() << "\">\n<Points>\n";
    const Units& units = model.problem.units;
    VectorArray(out, "Points", mesh.x, mesh.y, units.length);
    out << "</Points>\n";
    WriteCells(out, mesh);
    out << "<PointData Scalars=\"head\" Vectors=\"velocity\">\n";
    NodalArray(out, "head", nodal.Column(dataparam::Head), units.length);
    NodalArray(out, "pressure", nodal.Column(dataparam::Pressure), units.pressure);
    NodalArray(out, "pressure_head", nodal.Column(dataparam::PressureHead), units.length);
    NodalArray(out, "water_content", nodal.Column(dataparam::WaterContent), "1");
    NodalArray(out, "kr", nodal.Column(dataparam::RelativeConductivity), "1");
    if (!step.capacity.empty())
        Array<double>(
            out, "storage_coefficient", 1, step.capacity.size(),
            [&](std::size_t i) { return step.capacity[i]; }, "1/" + units.length);
    if (!step.stream.empty())
        Array<double>(
            out, "stream_function", 1, step.stream.size(),
            [&](std::size_t i) { return step.stream[i]; }, units.length + "2/" + units.time);
    VectorArray(out, "velocity", nodal.Column(dataparam::VelocityX),
                nodal.Column(dataparam::VelocityY), units.length + '/' + units.time);
    VectorArray(out, "gradient", nodal.Column(dataparam::GradientX),
                nodal.Column(dataparam::GradientY), "1");
    out << "</PointData>\n<CellData Scalars=\"material\">\n";
    Array<std::int32_t>(out, "material", 1, model.material.size(),
                        [&](std::size_t i) { return model.material[i]; });
    out << "</CellData>\n</Piece>\n</UnstructuredGrid>\n</VTKFile>\n";
}

void WritePvd(std::ostream& out, const std::vector<std::string>& names,
              const std::vector<double>& times)
{
    out << "<?xml version=\"1.0\"?>\n<VTKFile type=\"Collection\" version=\"0.1\" "
           "byte_order=\"LittleEndian\">\n<Collection>\n";
    for (std::size_t i = 0; i < names.size(); ++i)
        out << "<DataSet timestep=\"" << (times.empty() ? std::to_string(i + 1) : Exact(times[i]))
            << "\" part=\"0\" file=\"" << Escaped(names[i]) << "\"/>\n";
    out << "</Collection>\n</VTKFile>\n";
}

} // namespace percova
