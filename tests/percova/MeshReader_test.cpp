#include "Scratch.h"
#include "mesh/Neighbours.h"

#include <gmock/gmock.h>

using namespace percova;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace
{

const std::string kNames =
    "$PhysicalNames\n2\n1 5 \"left side\"\n2 7 \"soil\"\n$EndPhysicalNames\n";

// Two squares side by side; the second is given clockwise, node 9 is used by nothing.
const std::string kText22 =
    MeshText("1 0 0 0\n2 1 0 0\n3 2 0 0\n9 5 5 0\n14 0 1 0\n15 1 1 0\n16 2 1 0\n",
             "1 15 2 0 1 1\n2 1 2 5 1 14 1\n3 3 2 7 1 1 2 15 14\n4 3 2 7 1 2 15 16 3\n", kNames);

const std::string kText41 =
    "$MeshFormat\n4.1 0 8\n$EndMeshFormat\n" + kNames +
    "$Entities\n1 1 1 0\n1 0 0 0 0\n4 0 0 0 0 1 0 1 -5 0\n1 0 0 0 2 1 0 1 7 1 4\n$EndEntities\n"
    "$Nodes\n2 7 1 16\n"
    "1 4 0 2\n1\n14\n0 0 0\n0 1 0\n"
    "2 1 0 5\n2\n3\n9\n15\n16\n1 0 0\n2 0 0\n5 5 0\n1 1 0\n2 1 0\n$EndNodes\n"
    "$Comments\n4 these lines are somebody else's\n$EndComments\n"
    "$Elements\n2 3 2 4\n1 4 1 1\n2 14 1\n2 1 3 2\n3 1 2 15 14\n4 2 15 16 3\n$EndElements\n";

std::filesystem::path Binary(const char* version)
{
    return std::filesystem::path(KVI_SOURCE_DIR) / "tests" / "percova" / "data" /
           (std::string("square8.") + version + ".bin.msh");
}

Mesh Read(const std::string& text, Faults& faults, bool expected = true)
{
    Mesh mesh;
    EXPECT_EQ(ReadMesh(Scratch("mesh.msh", text), mesh, faults), expected) << AllOf(faults);
    return mesh;
}

TEST(MeshReader, ReadsBothFormatsAlike)
{
    for (const std::string& text :
         {kText22, kText41, "$Comments\nby hand\n$EndComments\n" + kText22})
    {
        SCOPED_TRACE(text.substr(0, 16));
        Faults faults;
        const Mesh mesh = Read(text, faults);
        EXPECT_EQ(AllOf(faults), "");
        EXPECT_THAT(mesh.number,
                    ::testing::UnorderedElementsAre(1, 2, 3, 14, 15, 16)); // without node 9
        ASSERT_EQ(mesh.Elements(), 2u);
        std::vector<std::size_t> second;
        for (int k = 0; k < 4; ++k)
            second.push_back(mesh.number[std::size_t(mesh.ElementNodes(1)[k])]);
        EXPECT_THAT(second, ElementsAre(2, 3, 16, 15)); // turned
        ASSERT_EQ(mesh.surfaces.size(), 1u);
        EXPECT_EQ(mesh.surfaces[0].name, "soil");
        EXPECT_EQ(mesh.surfaces[0].count, 2u);
        EXPECT_DOUBLE_EQ(mesh.surfaces[0].size, 2.0);
        ASSERT_EQ(mesh.edges.size(), 1u);
        EXPECT_EQ(mesh.curves[0].name, "left side");
        EXPECT_EQ(mesh.number[std::size_t(mesh.edges[0].nodes[0])], 14u);
        EXPECT_EQ(mesh.edges[0].opposite, -1);
        EXPECT_EQ(RimOf(mesh).size(), 6u);
    }
}

TEST(MeshReader, ReadsBinaryFilesAndBothVersionsOfACase)
{
    const std::filesystem::path meshes = Cases() / "mesh";
    const std::pair<std::filesystem::path, std::filesystem::path> pairs[] = {
        {Binary("v22"), Binary("v41")},
        {meshes / "C2-parallel.q8.v22.msh", meshes / "C2-parallel.q8.v41.msh"},
        {meshes / "C4-pile.t3.v22.msh", meshes / "C4-pile.t3.v41.msh"},
    };
    for (const auto& [path22, path41] : pairs)
    {
        SCOPED_TRACE(path22.string());
        Faults faults;
        Mesh one, two;
        ASSERT_TRUE(ReadMesh(path22, one, faults)) << AllOf(faults);
        ASSERT_TRUE(ReadMesh(path41, two, faults)) << AllOf(faults);
        EXPECT_EQ(one.x, two.x);
        EXPECT_EQ(one.y, two.y);
        EXPECT_EQ(one.nodes, two.nodes);
        EXPECT_EQ(one.type, two.type);
        EXPECT_EQ(one.edges.size(), two.edges.size());
        EXPECT_GT(one.edges.size(), 0u);
    }
}

/// The text of a strip of squares, long enough to be read on several threads.
std::string Strip(bool isVersion41, int count)
{
    std::string numbers, places, nodes, elements, blocks;
    for (int i = 0; i <= 2 * count + 1; ++i)
    {
        const std::string number = std::to_string(i + 1) + '\n';
        const std::string place =
            ' ' + std::to_string(i / 2) + ' ' + std::to_string(i % 2) + " 0\n";
        numbers += number;
        places += place;
        nodes += std::to_string(i + 1) + place;
    }
    for (int i = 1; i <= 2 * count; i += 2)
    {
        std::string corners;
        for (const int corner : {i, i + 2, i + 3, i + 1})
            corners += ' ' + std::to_string(corner);
        elements += std::to_string(i) + " 3 2 7 7" + corners + '\n';
        blocks += std::to_string(i) + corners + '\n';
    }
    if (!isVersion41)
        return MeshText(nodes, elements);
    const std::string last = std::to_string(2 * count + 2);
    return "$MeshFormat\n4.1 0 8\n$EndMeshFormat\n$Nodes\n1 " + last + " 1 " + last + "\n2 1 0 " +
           last + '\n' + numbers + places + "$EndNodes\n$Elements\n1 " + std::to_string(count) +
           " 1 " + last + "\n2 1 3 " + std::to_string(count) + '\n' + blocks + "$EndElements\n";
}

TEST(MeshReader, ReadsLongFilesInPiecesAsInSequence)
{
    constexpr int kSquares = 17000;
    for (const bool isVersion41 : {false, true})
    {
        const std::string text = Strip(isVersion41, kSquares), place = "16000 1 0\n";
        Faults faults;
        const Mesh expected = Read(text, faults);
        ASSERT_EQ(expected.Elements(), std::size_t{kSquares}) << AllOf(faults);
        EXPECT_EQ(expected.x[32001], 16000);
        const std::size_t at = text.find(' ' + place) + 1;
        for (const char* otherLines : {"16000\n1 0\n", "16000 1 0 ", "16000 1 0\n\n"})
        {
            const Mesh mesh = Read(std::string(text).replace(at, place.size(), otherLines), faults);
            EXPECT_EQ(mesh.x, expected.x) << otherLines;
            EXPECT_EQ(mesh.y, expected.y) << otherLines;
            EXPECT_EQ(mesh.number, expected.number) << otherLines;
            EXPECT_EQ(mesh.nodes, expected.nodes) << otherLines;
        }
        (void)Read(std::string(text).replace(at, place.size(), "16000 one 0\n"), faults, false);
        const auto line = 1 + std::count(text.begin(), text.begin() + std::ptrdiff_t(at), '\n');
        EXPECT_THAT(AllOf(faults), HasSubstr("mesh.msh:" + std::to_string(line) +
                                             ": \"one\" is found where a coordinate is expected"));
    }
}

TEST(MeshReader, ReportsWhatIsWrongAndWhere)
{
    // A T6 beside a T3: one has a node in the middle of their side, the other has not.
    const std::string mixed =
        MeshText("1 0 0 0\n2 1 0 0\n3 0 1 0\n4 0.5 0 0\n5 0.5 0.5 0\n6 0 0.5 0\n7 1 1 0\n",
                 "1 9 2 7 1 1 2 3 4 5 6\n2 2 2 7 1 2 7 3\n");
    const struct
    {
        std::string what, instead;
        std::string report; ///< none for a legal mesh
    } rows[] = {
        {"2.2 0 8", "2.1 0 8",
         "mesh.msh:2: the mesh has Gmsh's format 2.1, not 2.2 or 4.1; convert it with: gmsh"},
        {"2.2 0 8", "2.2 0 4", "numbers of 8 bytes"},
        {"$MeshFormat", "$NOD", "format 1"},
        {"$MeshFormat", "solid cube", "no Gmsh mesh"},
        {"7\n1 0 0 0", "-7\n1 0 0 0", "mesh.msh:10: \"-7\" is found where the number of nodes"},
        {"7\n1 0 0 0", "6\n1 0 0 0", "mesh.msh:16: $EndNodes is expected here"},
        {"7\n1 0 0 0", "8\n1 0 0 0", "mesh.msh:18: \"$EndNodes\" is found where a node number"},
        {"7\n1 0 0 0", "99999999\n1 0 0 0", "bytes of the file are left"},
        {"7\n1 0 0 0", "99999999999999999999\n1 0 0 0", "is too large"},
        {"2 1 0 0", "2 one 0 0", "mesh.msh:12: \"one\" is found where a coordinate is expected"},
        {"2 1 0 0", "2 1,5 0 0", "mesh.msh:12: \"1,5\""},
        {"2 1 0 0", "2 nan 0 0", "mesh.msh:12: node 2 has no usable coordinates"},
        {"2 1 0 0", "2 1e300 0 0", "node 2 has no usable coordinates"},
        {"2 1 0 0", "2 1e999 0 0", "too large"},
        {"2 1 0 0", "2 1 0 0.5", "mesh.msh:12: node 2 has another z"},
        {"2 1 0 0", "1 1 0 0", "node 1 is in the file twice"},
        {"1 2 15 14\n", "1 2 15 77\n", "mesh.msh:23: element 3 has node 77, which is not"},
        {"1 2 15 14\n", "1 2 15 15\n", "element 3 has node 15 twice"},
        {"1 2 15 14\n", "1 2 14 15\n", "Q4 element 3 has no area"},
        {"1 2 15 14\n", "1 9 15 14\n", "Q4 element 3"},
        {"15 1 1 0", "15 0 2 0", ""}, // a quadrilateral with a straight corner, at node 14
        {"15 1 1 0", "15 0.2 0.2 0", "Q4 element 3 is folded"},
        {"4 3 2 7 1 2 15 16 3", "4 3 2 7 1 1 2 15 14", "Q4 element 4 lies over Q4 element 3"},
        {"3 3 2 7 1 1", "3 10 2 7 1 1", "1 elements of Gmsh's type 10 (9-node quadrangle)"},
        {"3 3 2 7 1 1", "3 99 2 7 1 1", "type 99"},
        {"3 3 2 7 1 1", "3 4 2 7 1 1", "mesh.msh:23: holds 1 elements of Gmsh's type 4"},
        {"3 3 2 7 1 1", "3 3 -2 7 1 1", "the number of tags is -2"},
        {"2 1 2 5 1 14 1", "2 1 2 5 1 14 2", "line element 2 is not a side"},
        {"2 1 2 5 1 14 1", "2 1 2 5 1 9 1", "node 9, which no plane element has"},
        {"\"soil\"", "soil", "mesh.msh:7: a physical name"},
        {"$EndElements", "", "$EndElements is expected here"},
        {"$Elements", "$Dust", "$EndDust is missing"},
        {kText22, mixed, ":17: T6 element 1 and T3 element 2 share a side, but not"},
    };
    for (const auto& [what, instead, report] : rows)
    {
        SCOPED_TRACE(instead);
        Faults faults;
        Read(With(kText22, what, instead), faults, report.empty());
        EXPECT_THAT(AllOf(faults), HasSubstr(report));
        EXPECT_EQ(AllOf(faults).empty(), report.empty()) << AllOf(faults);
    }
    Mesh mesh;
    Faults faults;
    // Element 5 is right, though the side it shares has two elements already.
    Read(With(With(kText22, "$Elements\n4", "$Elements\n5"), "4 3 2 7 1",
              "4 3 2 7 1 1 2 15 14\n5 3 2 7 1"),
         faults, false);
    EXPECT_THAT(AllOf(faults),
                ::testing::AllOf(HasSubstr("element 4 lies over"), Not(HasSubstr("element 5"))));
    EXPECT_FALSE(ReadMesh(ScratchFolder(), mesh, faults));
    EXPECT_FALSE(ReadMesh(ScratchFolder() / "nothing.msh", mesh, faults));
    EXPECT_THAT(AllOf(faults), HasSubstr("it is a folder"));
    EXPECT_THAT(AllOf(faults), HasSubstr("does not exist"));
}

TEST(MeshReader, EndsWellWhereverAFileIsCut)
{
    for (const std::string& text :
         {kText22, kText41, support::ReadAll(Binary("v22")), support::ReadAll(Binary("v41"))})
        for (std::size_t length = 0; length + 14 < text.size(); length += 23)
        {
            Faults faults;
            Read(text.substr(0, length), faults, false);
            ASSERT_TRUE(faults.Any()) << length;
        }
}

TEST(MeshReader, SurvivesEveryByteOfABinaryFileBeingAnother)
{
    const std::string text = support::ReadAll(Binary("v41"));
    std::size_t refused = 0;
    for (std::size_t at = 0; at < text.size(); at += 11)
    {
        std::string other = text;
        other[at] = static_cast<char>(~other[at]);
        Mesh mesh;
        Faults faults;
        refused += ReadMeshText(other, "mesh.msh", mesh, faults) ? 0 : 1;
    }
    EXPECT_GT(refused, text.size() / 22); // the others touch coordinates' last digits and names
}

TEST(MeshReader, WarnsOfNodesOnSidesThatDoNotHaveThem)
{
    // The right square becomes two, which meet the left one in the middle of its side.
    std::string text = With(kText22, "$Nodes\n7\n", "$Nodes\n9\n17 1 0.5 0\n18 2 0.5 0\n");
    text = With(text, "$Elements\n4\n", "$Elements\n5\n5 3 2 7 1 2 3 18 17\n");
    text = With(text, "4 3 2 7 1 2 15 16 3", "4 3 2 7 1 17 18 16 15");
    Faults faults;
    Read(text, faults);
    EXPECT_EQ(faults.Warnings(), 1u);
    EXPECT_THAT(AllOf(faults), HasSubstr("node 17 at (1, 0.5) lies on a side of element 3 "));

    // A wall: the nodes between the squares are doubled.
    text = With(kText22, "$Nodes\n7\n", "$Nodes\n9\n17 1 0 0\n18 1 1 0\n");
    text = With(text, "4 3 2 7 1 2 15 16 3", "4 3 2 7 1 17 18 16 3");
    for (const double distance : {-1.0, 0.0, 0.01, 1.1})
    {
        faults = {};
        Mesh mesh;
        const bool isRead = ReadMeshText(text, "wall.msh", mesh, faults, 1,
                                         {distance >= 0, std::max(distance, 0.0)});
        EXPECT_EQ(isRead, distance < 1); // the last one takes both ends of a side
        const auto warning =
            HasSubstr("falls into 2 parts that share no nodes, so no water passes between them, "
                      "but 2 pairs of nodes and 1 pairs of sides");
        if (distance < 0)
            EXPECT_THAT(AllOf(faults), warning);
        else
            EXPECT_THAT(AllOf(faults), Not(warning));
        if (isRead)
            EXPECT_EQ(mesh.Nodes(), distance < 0 ? 8u : 6u);
    }
}

} // namespace
