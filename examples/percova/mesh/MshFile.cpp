#include "mesh/MshFile.h"

#include <array>
#include <string_view>

namespace percova
{
namespace
{

struct TypeRow
{
    int type;
    int nodes;
    const char* name;
};

// Gmsh's numbers for the shapes that a mesh of plane or solid parts can hold.
constexpr TypeRow kTypes[] = {
    {1, 2, "2-node line"},          {2, 3, "3-node triangle"},       {3, 4, "4-node quadrangle"},
    {4, 4, "4-node tetrahedron"},   {5, 8, "8-node hexahedron"},     {6, 6, "6-node prism"},
    {7, 5, "5-node pyramid"},       {8, 3, "3-node line"},           {9, 6, "6-node triangle"},
    {10, 9, "9-node quadrangle"},   {11, 10, "10-node tetrahedron"}, {12, 27, "27-node hexahedron"},
    {13, 18, "18-node prism"},      {14, 14, "14-node pyramid"},     {15, 1, "point"},
    {16, 8, "8-node quadrangle"},   {17, 20, "20-node hexahedron"},  {18, 15, "15-node prism"},
    {19, 13, "13-node pyramid"},    {20, 9, "9-node triangle"},      {21, 10, "10-node triangle"},
    {22, 12, "12-node triangle"},   {23, 15, "15-node triangle"},    {26, 4, "4-node line"},
    {27, 5, "5-node line"},         {28, 6, "6-node line"},          {36, 16, "16-node quadrangle"},
    {37, 25, "25-node quadrangle"},
};

void ReadPhysicalNames(MshScanner& scanner, MshFile& file)
{
    const std::size_t count = scanner.Count("the number of physical names", 4);
    for (std::size_t i = 0; i < count; ++i)
    {
        const int dimension = scanner.Next<int>("the dimension of a physical name");
        const int tag = scanner.Next<int>("the tag of a physical name");
        const int line = scanner.LineNumber();
        const std::string_view rest = scanner.RestOfLine();
        const std::size_t open = rest.find('"');
        const std::size_t close = rest.rfind('"');
        if (open == close)
            throw MshError{line, "a physical name must be in quotation marks"};
        file.names[{dimension, tag}] = rest.substr(open + 1, close - open - 1);
    }
}

struct Section
{
    std::string_view name;
    bool binary; ///< its numbers are bytes in a binary file
    void (*read)(MshScanner&, MshFile&);
};

constexpr Section k22[] = {
    {"PhysicalNames", false, ReadPhysicalNames},
    {"Nodes", false, ReadNodes22}, // counts are text; the reader itself turns to bytes
    {"Elements", false, ReadElements22},
};
constexpr Section k41[] = {
    {"PhysicalNames", false, ReadPhysicalNames},
    {"Entities", true, ReadEntities41},
    {"Nodes", true, ReadNodes41},
    {"Elements", true, ReadElements41},
};

const Section* Find(const std::string& version, std::string_view name)
{
    if (version == "2.2")
    {
        for (const Section& section : k22)
            if (section.name == name)
                return &section;
    }
    else
    {
        for (const Section& section : k41)
            if (section.name == name)
                return &section;
    }
    return nullptr;
}

std::string Converted(const MshFile& file)
{
    return "; convert it with: gmsh \"" + file.name + "\" -save -format msh41 -o converted.msh";
}

void ReadFormat(MshScanner& scanner, MshFile& file)
{
    const int firstLine = scanner.LineNumber();
    std::string_view first = scanner.Word();
    while (first == "$Comments" && scanner.SkipPast("$EndComments"))
        first = scanner.Word();
    if (first == "$NOD")
        throw MshError{firstLine, "the mesh has Gmsh's format 1, not 2.2 or 4.1" + Converted(file)};
    if (first != "$MeshFormat")
        throw MshError{firstLine, "this is no Gmsh mesh: it does not begin with $MeshFormat"};
    file.version = scanner.Word();
    if (file.version != "2.2" && file.version != "4.1")
        scanner.Fail("the mesh has Gmsh's format " + file.version.substr(0, 20) +
                     ", not 2.2 or 4.1" + Converted(file));
    const int mode = scanner.Next<int>("0 or 1 for text or binary");
    const int size = scanner.Next<int>("the size of a number");
    if ((mode != 0 && mode != 1) || size != 8)
        scanner.Fail("the mesh should be text (0) or binary (1) with numbers of 8 bytes" +
                     Converted(file));
    scanner.RestOfLine();
    file.binary = mode == 1;
    if (file.binary)
    {
        scanner.binary = true;
        if (scanner.Next<int>("the number one") != 1)
            scanner.Fail("the bytes of the numbers run the other way round" + Converted(file));
        scanner.binary = false;
    }
    if (scanner.Word() != "$EndMeshFormat")
        scanner.Fail("$EndMeshFormat is missing");
}

} // namespace

int MshNodeCount(int type)
{
    for (const TypeRow& row : kTypes)
        if (row.type == type)
            return row.nodes;
    return 0;
}

std::string MshTypeName(int type)
{
    for (const TypeRow& row : kTypes)
        if (row.type == type)
            return row.name;
    return "element of type " + std::to_string(type);
}

void MshFile::Elements::Add(std::size_t elementNumber, int elementType, int tag, int lineNumber)
{
    number.push_back(elementNumber);
    type.push_back(static_cast<unsigned char>(elementType));
    physical.push_back(tag);
    line.push_back(static_cast<std::uint32_t>(lineNumber));
}

MshFile::Elements* MshFile::ListOf(int elementType, std::size_t count, int line)
{
    switch (elementType)
    {
    case 2:
    case 3:
    case 9:
    case 16:
        return &plane;
    case 1:
    case 8:
        return &lines;
    case 15:
        return nullptr;
    default:
        refused[elementType] += count;
        refusedLine.emplace(elementType, line);
        return nullptr;
    }
}

std::vector<int> MshFile::TagsOfLine(std::size_t position) const
{
    const int tag = lines.physical[position];
    std::vector<int> tags =
        tag < 0 ? moreTags[static_cast<std::size_t>(-1 - tag)] : std::vector<int>{tag};
    std::erase(tags, 0);
    return tags;
}

void MshFile::AddPlace(double placeX, double placeY, double placeZ, int placeLine)
{
    x.push_back(placeX);
    y.push_back(placeY);
    z.push_back(placeZ);
    nodeLine.push_back(static_cast<std::uint32_t>(placeLine));
}

void ReadMshFile(MshScanner& scanner, MshFile& file)
{
    ReadFormat(scanner, file);
    while (!scanner.AtEnd())
    {
        const int line = scanner.LineNumber();
        const std::string tag(scanner.Word());
        if (tag.size() < 2 || tag[0] != '$' || tag.starts_with("$End"))
            throw MshError{line, "a section beginning with $ is expected here"};
        if (tag == "$PartitionedEntities")
            throw MshError{line, "the mesh is partitioned" + Converted(file) +
                                     " -string \"UnpartitionMesh;\""};
        scanner.RestOfLine();
        const std::string name = tag.substr(1);
        const std::string end = "$End" + name;
        const Section* section = Find(file.version, name);
        if (section == nullptr)
        {
            if (!scanner.SkipPast(end))
                throw MshError{line, end + " is missing"};
            continue;
        }
        scanner.binary = section->binary && file.binary;
        section->read(scanner, file);
        scanner.binary = false;
        const int endLine = scanner.LineNumber();
        if (scanner.Word() != end)
            throw MshError{endLine, end + " is expected here: there is more in the section " +
                                        "than its counts say, or less"};
    }
}

} // namespace percova
