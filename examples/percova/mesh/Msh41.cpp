#include "mesh/MshLines.h"

#include <string>
#include <utility>
#include <vector>

namespace percova
{
namespace
{
constexpr const char* kNode = "a node number";
constexpr const char* kCoordinate = "a coordinate";
constexpr const char* kElement = "an element number";
constexpr const char* kEntity = "the tag of an entity";
constexpr std::size_t kMostGroups = 8; // of one entity: each line is kept once for each

int Dimension(MshScanner& scanner)
{
    const int dimension = scanner.Next<int>("the dimension of an entity");
    if (dimension < 0 || dimension > 3)
        scanner.Fail("the dimension of an entity should be 0 to 3, but is " +
                     std::to_string(dimension));
    return dimension;
}

void ReadEntity(MshScanner& scanner, MshFile& file, int dimension)
{
    const int tag = scanner.Next<int>(kEntity);
    // A point has its place, everything else the corners of its box and the parts of its rim.
    for (int i = 0; i < (dimension == 0 ? 3 : 6); ++i)
        (void)scanner.Next<double>(kCoordinate); // positions follow from the nodes
    const std::size_t tags = scanner.Count("the number of physical tags", 2);
    if (tags > kMostGroups)
        scanner.Fail("an entity is in " + std::to_string(tags) +
                     " physical groups, more than the " + std::to_string(kMostGroups) +
                     " that are allowed");
    std::vector<int> physical(tags);
    for (int& each : physical) // negative: the group turns the entity round
        each = PhysicalTag(scanner.Next<int>("a physical tag"));
    if (!physical.empty())
        file.entities[{dimension, tag}] = std::move(physical);
    if (dimension == 0)
        return;
    const std::size_t bounding = scanner.Count("the number of bounding entities", 2);
    for (std::size_t i = 0; i < bounding; ++i)
        (void)scanner.Next<int>(kEntity); // not needed
}

/// Adds a block's elements, all of one physical tag.
void ReadBlock(MshScanner& scanner, MshFile::Elements& list, int type, std::size_t count,
               int physical)
{
    const auto nodes = static_cast<std::size_t>(MshNodeCount(type));
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::size_t number = scanner.Next<std::size_t>(kElement);
        list.Add(number, type, physical, scanner.LineNumber());
        for (std::size_t node = 0; node < nodes; ++node)
            list.nodes.push_back(scanner.Next<std::size_t>(kNode));
    }
}

void ReadNumbers(MshScanner& scanner, std::size_t count, MshFile& file)
{
    for (std::size_t i = 0; i < count; ++i)
        file.nodeNumber.push_back(scanner.Next<std::size_t>(kNode));
}

/// @param extra  numbers that follow each place, which are its place on the entity
void ReadPlaces(MshScanner& scanner, std::size_t count, MshFile& file, int extra)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const double x = scanner.Next<double>(kCoordinate);
        const int line = scanner.LineNumber();
        const double y = scanner.Next<double>(kCoordinate);
        const double z = scanner.Next<double>(kCoordinate);
        file.AddPlace(x, y, z, line);
        for (int k = 0; k < extra; ++k)
            (void)scanner.Next<double>(kCoordinate);
    }
}

/// What is kept as the physical tag of elements in the groups @p tags; a line can be in several.
int KeptTag(MshFile& file, const MshFile::Elements& list, const std::vector<int>& tags)
{
    if (tags.size() < 2 || &list != &file.lines)
        return tags.empty() ? 0 : tags[0];
    file.moreTags.push_back(tags);
    return -static_cast<int>(file.moreTags.size());
}

void SkipBlock(MshScanner& scanner, int type, std::size_t count)
{
    if (!scanner.binary)
    {
        scanner.RestOfLine();
        for (std::size_t i = 0; i < count; ++i)
            scanner.RestOfLine();
        return;
    }
    const auto nodes = static_cast<std::size_t>(MshNodeCount(type));
    if (nodes == 0)
        scanner.Fail("element type " + std::to_string(type) + " is not known");
    for (std::size_t i = 0; i < count; ++i)
        scanner.Skip(8 * (1 + nodes), "an element");
}

} // namespace

void ReadEntities41(MshScanner& scanner, MshFile& file)
{
    std::size_t counts[4];
    for (std::size_t& count : counts)
        count = scanner.Count("the number of entities", 8);
    for (int dimension = 0; dimension < 4; ++dimension)
        for (std::size_t i = 0; i < counts[dimension]; ++i)
            ReadEntity(scanner, file, dimension);
}

void ReadNodes41(MshScanner& scanner, MshFile& file)
{
    const std::size_t blocks = scanner.Count("the number of node blocks", 8);
    (void)scanner.Count("the number of nodes", 8);
    (void)scanner.Next<std::size_t>(kNode); // the least and the greatest node number
    (void)scanner.Next<std::size_t>(kNode);
    for (std::size_t block = 0; block < blocks; ++block)
    {
        const int dimension = Dimension(scanner);
        (void)scanner.Next<int>(kEntity);
        const int parametric = scanner.Next<int>("0 or 1 for parametric nodes");
        const std::size_t count = scanner.Count("the number of nodes in a block", 8);
        const int extra = parametric != 0 ? dimension : 0;
        const auto places = [extra](MshScanner& at, std::size_t number, MshFile& part) {
            ReadPlaces(at, number, part, extra);
        };
        ReadLines(scanner, count, file, ReadNumbers);
        ReadLines(scanner, count, file, places);
    }
}

void ReadElements41(MshScanner& scanner, MshFile& file)
{
    const std::size_t blocks = scanner.Count("the number of element blocks", 8);
    (void)scanner.Count("the number of elements", 4);
    (void)scanner.Next<std::size_t>(kElement); // the least and the greatest element number
    (void)scanner.Next<std::size_t>(kElement);
    for (std::size_t block = 0; block < blocks; ++block)
    {
        const int dimension = Dimension(scanner);
        const int entity = scanner.Next<int>(kEntity);
        const int type = scanner.Next<int>("an element type");
        const std::size_t count = scanner.Count("the number of elements in a block", 4);
        const auto found = file.entities.find({dimension, entity});
        const int line = scanner.LineNumber() + (scanner.binary ? 0 : 1); // of the first element
        const MshFile::Elements* list = file.ListOf(type, count, line);
        if (list == nullptr)
        {
            SkipBlock(scanner, type, count);
            continue;
        }
        const int tag = found == file.entities.end() ? 0 : KeptTag(file, *list, found->second);
        const auto read = [&, isPlane = list == &file.plane](MshScanner& at, std::size_t number,
                                                             MshFile& part) {
            ReadBlock(at, isPlane ? part.plane : part.lines, type, number, tag);
        };
        ReadLines(scanner, count, file, read);
    }
}

} // namespace percova
