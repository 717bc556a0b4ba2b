#include "output/NewProblem.h"

#include "problem/NumberText.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <vector>

namespace percova
{
namespace
{

using Json = nlohmann::ordered_json;

std::string Dumped(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// "key": [...], each item on its own line.
void WriteList(std::ostream& out, const char* key, const std::vector<Json>& items)
{
    out << " \"" << key << "\": [";
    for (std::size_t i = 0; i < items.size(); ++i)
        out << (i == 0 ? "\n  " : ",\n  ") << Dumped(items[i]);
    out << (items.empty() ? "]" : "\n ]");
}

Geom::Extents2D BoxOf(const Mesh& mesh)
{
    Geom::Extents2D box;
    for (std::size_t n = 0; n < mesh.Nodes(); ++n)
        Geom::ExtentsGrow2D(box, {mesh.x[n], mesh.y[n]});
    return box;
}

std::vector<Json> RegionsOf(const Mesh& mesh)
{
    std::vector<Json> regions;
    for (const MeshGroup& group : mesh.surfaces)
        regions.push_back(
            {{"name", group.name},
             {"material", group.name},
             {"note", std::to_string(group.count) + " elements, area " + Short(group.size)}});
    if (!regions.empty())
        return regions;
    const Geom::Extents2D box = BoxOf(mesh);
    const Json polygon = {
        {box.minX, box.minY}, {box.maxX, box.minY}, {box.maxX, box.maxY}, {box.minX, box.maxY}};
    return {{{"name", "soil"},
             {"material", "soil"},
             {"note", "the mesh has no physical surface: the polygon decides which elements it is"},
             {"polygon", polygon}}};
}

/// What a curve of the mesh is, in words.
std::string NoteOf(const Mesh& mesh, std::size_t curve)
{
    Geom::Extents2D box;
    bool isInside = false;
    for (const Edge& edge : mesh.edges)
        if (edge.group == int(curve))
        {
            isInside = isInside || edge.opposite >= 0;
            for (const int node : {edge.nodes[0], edge.nodes[1]})
                Geom::ExtentsGrow2D(box, {mesh.x[std::size_t(node)], mesh.y[std::size_t(node)]});
        }
    const MeshGroup& group = mesh.curves[curve];
    std::string note = std::to_string(group.count) + " sides, length " + Short(group.size);
    if (group.count != 0)
        note += ", x from " + Short(box.minX) + " to " + Short(box.maxX) + ", y from " +
                Short(box.minY) + " to " + Short(box.maxY);
    return note + (isInside ? "; inside the mesh" : "");
}

std::vector<Json> BoundariesOf(const Mesh& mesh)
{
    std::vector<Json> boundaries;
    for (std::size_t i = 0; i < mesh.curves.size(); ++i)
        boundaries.push_back(
            {{"name", mesh.curves[i].name}, {"type", "noflow"}, {"note", NoteOf(mesh, i)}});
    if (!boundaries.empty())
        return boundaries;
    const Geom::Extents2D box = BoxOf(mesh);
    const auto add = [&](const char* name, double x1, double y1, double x2, double y2) {
        boundaries.push_back({{"name", name}, {"type", "noflow"}, {"line", {{x1, y1}, {x2, y2}}}});
    };
    add("left", box.minX, box.minY, box.minX, box.maxY);
    add("bottom", box.minX, box.minY, box.maxX, box.minY);
    add("right", box.maxX, box.minY, box.maxX, box.maxY);
    add("top", box.minX, box.maxY, box.maxX, box.maxY);
    return boundaries;
}

} // namespace

void WriteNewProblem(std::ostream& out, const Mesh& mesh, const std::string& id,
                     const std::string& meshFile)
{
    const std::vector<Json> regions = RegionsOf(mesh);
    std::vector<Json> materials;
    materials.reserve(regions.size());
    for (const Json& region : regions)
        materials.push_back({{"name", region["material"]},
                             {"k_sat", nullptr},
                             {"anisotropy", 1},
                             {"type", "saturated"}});
    const auto note = [&](const char* subject, const char* text) {
        out << " \"note" << subject << "\": " << Dumped(text) << ",\n";
    };
    out << "{\n";
    note("",
         "Replace every null and choose the types of the boundaries; percova check names what "
         "is left to do. Keys that begin with note are remarks. percova schema prints all keys.");
    out << " \"id\": " << Dumped(id) << ",\n \"title\": \"\",\n";
    note(" units",
         "They hold for this file and its mesh. length: m, cm, mm, ft; pressure: kPa, Pa, "
         "MPa, bar, psf, psi; time: s, min, h, d.");
    out << " \"units\": {\"length\": \"m\", \"pressure\": \"kPa\", \"time\": \"s\"},\n"
           " \"gamma_w\": 9.81,\n \"mesh\": {\"file\": "
        << Dumped(meshFile) << "},\n";
    WriteList(out, "regions", regions);
    out << ",\n";
    note(" materials",
         "k_sat: saturated conductivity [length/time]; anisotropy: ky / kx. For unsaturated soil "
         "type saturated/unsaturated and kr, as {\"rule\": \"exponential\", \"alpha\": 2, "
         "\"floor\": 0.001}, or water_content, as {\"a\": 10, \"n\": 2, \"m\": 1, \"theta_s\": "
         "0.4}, with kr {\"rule\": \"power\", \"power\": 4}.");
    WriteList(out, "materials", materials);
    out << ",\n";
    note(" boundaries",
         "types: head, pressure_head and hydrostatic with a value [length], flux with a value "
         "[length/time, positive into the soil], seepage (free outflow) and noflow without. Sides "
         "in none are impervious. At least one has to give a head or let water out.");
    WriteList(out, "boundaries", BoundariesOf(mesh));
    out << ",\n";
    note(" probes", "as {\"name\": \"toe\", \"at\": [x, y]}; sections as {\"name\": \"axis\", "
                    "\"line\": [[x, y], [x, y]]}: the flow from the left of the line to its right");
    out << " \"probes\": [],\n \"sections\": []\n}\n";
}

} // namespace percova
