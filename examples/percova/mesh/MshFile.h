/// @file
/// The contents of a mesh file, before a mesh is built.
#pragma once

#include "mesh/MshScanner.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace percova
{

/// Nodes and elements as the file lists them. Lines are 0 where the file is binary.
struct MshFile
{
    std::string name;    ///< as the user named it
    std::string version; ///< "2.2" or "4.1"
    bool binary = false;

    std::vector<std::size_t> nodeNumber;
    std::vector<double> x, y, z;
    std::vector<std::uint32_t> nodeLine;

    struct Elements
    {
        std::vector<std::size_t> number;
        std::vector<unsigned char> type; ///< Gmsh's number: 1, 2, 3, 8, 9 or 16
        std::vector<int> physical;       ///< tag, 0 for none; -1 - k for those in moreTags[k]
        std::vector<std::uint32_t> line;
        std::vector<std::size_t> nodes; ///< numbers, one element's after the other's
        /// Adds an element whose nodes follow.
        void Add(std::size_t elementNumber, int elementType, int tag, int lineNumber);
    };
    Elements plane; ///< types 2, 3, 9, 16
    Elements lines; ///< types 1, 8

    std::map<std::pair<int, int>, std::string> names; ///< by (dimension, physical tag)
    /// Physical tags of a geometric entity, by (dimension, tag); version 4.1 only.
    std::map<std::pair<int, int>, std::vector<int>> entities;
    std::vector<std::vector<int>> moreTags; ///< of lines that are in several groups
    std::map<int, std::size_t> refused;     ///< elements of other types, by type
    std::map<int, int> refusedLine;         ///< of the first of them

    /// Where elements of a type go; null for a type that is ignored (points) or refused.
    Elements* ListOf(int elementType, std::size_t count, int line);
    /// The physical tags of line number @p position of lines; none is 0.
    std::vector<int> TagsOfLine(std::size_t position) const;
    /// Adds the place of the next node that has none.
    void AddPlace(double placeX, double placeY, double placeZ, int line);
};

/// Nodes of Gmsh's element type, 0 for a type that is not in the table.
int MshNodeCount(int type);
/// "4-node quadrangle" and the like; "element type 99" for a type that is not in the table.
std::string MshTypeName(int type);

/// A physical tag as it counts: negative ones turn the elements round, 0 is none.
constexpr int PhysicalTag(int tag)
{
    return tag >= 0 ? tag : -(tag + (tag == std::numeric_limits<int>::min()));
}

/// Reads $MeshFormat and then the sections of its version.
/// @throws MshError
void ReadMshFile(MshScanner& scanner, MshFile& file);

/// @name One section of a version, without its first and its last line. Throw MshError.
void ReadNodes22(MshScanner& scanner, MshFile& file);
void ReadElements22(MshScanner& scanner, MshFile& file);
void ReadEntities41(MshScanner& scanner, MshFile& file);
void ReadNodes41(MshScanner& scanner, MshFile& file);
void ReadElements41(MshScanner& scanner, MshFile& file);

} // namespace percova
