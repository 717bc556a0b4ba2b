#include "mesh/MshLines.h"

#include <string>

namespace percova
{
namespace
{
constexpr const char* kNode = "a node number";
constexpr const char* kCoordinate = "a coordinate";
constexpr const char* kElement = "an element number";
constexpr const char* kTag = "a tag";

/// The number of a node or an element: an int that is not negative.
std::size_t Number(MshScanner& scanner, const char* what)
{
    const int number = scanner.Next<int>(what);
    if (number < 0)
        scanner.Fail(std::string(what) + " should not be negative, but is " +
                     std::to_string(number));
    return static_cast<std::size_t>(number);
}

/// The first of an element's tags, which is its physical group.
int Physical(MshScanner& scanner, std::size_t tags)
{
    int physical = 0;
    for (std::size_t i = 0; i < tags; ++i)
    {
        const int tag = scanner.Next<int>(kTag);
        if (i == 0)
            physical = PhysicalTag(tag);
    }
    return physical;
}

void ReadElement(MshScanner& scanner, MshFile::Elements& list, std::size_t number, int type,
                 std::size_t tags, int line)
{
    list.Add(number, type, Physical(scanner, tags), line);
    const int nodes = MshNodeCount(type);
    for (int i = 0; i < nodes; ++i)
        list.nodes.push_back(Number(scanner, kNode));
}

void ReadTextElements(MshScanner& scanner, std::size_t count, MshFile& file)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::size_t number = Number(scanner, kElement);
        const int line = scanner.LineNumber();
        const int type = scanner.Next<int>("an element type");
        const std::size_t tags = scanner.Count<int>("the number of tags", 2);
        if (MshFile::Elements* list = file.ListOf(type, 1, line))
            ReadElement(scanner, *list, number, type, tags, line);
        else
            scanner.RestOfLine();
    }
}

/// Elements are in blocks of one type and one number of tags.
void ReadBinaryElements(MshScanner& scanner, MshFile& file, std::size_t count)
{
    while (count > 0)
    {
        const int type = scanner.Next<int>("an element type");
        const std::size_t inBlock = scanner.Count<int>("the number of elements in a block", 8);
        const std::size_t tags = scanner.Count<int>("the number of tags", 4);
        const auto nodes = static_cast<std::size_t>(MshNodeCount(type));
        if (nodes == 0)
            scanner.Fail("element type " + std::to_string(type) + " is not known");
        if (inBlock == 0 || inBlock > count)
            scanner.Fail("a block has " + std::to_string(inBlock) + " elements of " +
                         std::to_string(count));
        MshFile::Elements* list = file.ListOf(type, inBlock, 0);
        for (std::size_t i = 0; i < inBlock; ++i)
        {
            const std::size_t number = Number(scanner, kElement);
            if (list != nullptr)
                ReadElement(scanner, *list, number, type, tags, 0);
            else
                scanner.Skip(4 * (tags + nodes), "an element");
        }
        count -= inBlock;
    }
}

void ReadNodes(MshScanner& scanner, std::size_t count, MshFile& file)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::size_t number = Number(scanner, kNode);
        const int line = scanner.LineNumber();
        const double x = scanner.Next<double>(kCoordinate);
        const double y = scanner.Next<double>(kCoordinate);
        const double z = scanner.Next<double>(kCoordinate);
        file.nodeNumber.push_back(number);
        file.AddPlace(x, y, z, line);
    }
}

} // namespace

void ReadNodes22(MshScanner& scanner, MshFile& file)
{
    const std::size_t count = scanner.Count("the number of nodes", 8);
    scanner.RestOfLine();
    scanner.binary = file.binary;
    ReadLines(scanner, count, file, ReadNodes);
}

void ReadElements22(MshScanner& scanner, MshFile& file)
{
    const std::size_t count = scanner.Count("the number of elements", 6);
    scanner.RestOfLine();
    scanner.binary = file.binary;
    if (file.binary)
        ReadBinaryElements(scanner, file, count);
    else
        ReadLines(scanner, count, file, ReadTextElements);
}

} // namespace percova
