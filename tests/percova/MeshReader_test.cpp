#include "Scratch.h"
#include "mesh/Mesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace percova;

namespace
{

// Two squares side by side; the second is given clockwise, node 9 is used by nothing.
const std::string kText22 = R"($MeshFormat
2.2 0 8
$EndMeshFormat
$PhysicalNames
2
1 5 "left side"
2 7 "soil"
$EndPhysicalNames
$Nodes
7
1 0 0 0
2 1 0 0
3 2 0 0
9 5 5 0
14 0 1 0
15 1 1 0
16 2 1 0
$EndNodes
$Elements
4
1 15 2 0 1 1
2 1 2 5 1 14 1
3 3 2 7 1 1 2 15 14
4 3 2 7 1 2 15 16 3
$EndElements
)";

const std::string kText41 = R"($MeshFormat
4.1 0 8
$EndMeshFormat
$PhysicalNames
2
1 5 "left side"
2 7 "soil"
$EndPhysicalNames
$Entities
1 1 1 0
1 0 0 0 0
4 0 0 0 0 1 0 1 -5 0
1 0 0 0 2 1 0 1 7 1 4
$EndEntities
$Nodes
2 7 1 16
1 4 0 2
1
14
0 0 0
0 1 0
2 1 0 5
2
3
9
15
16
1 0 0
2 0 0
5 5 0
1 1 0
2 1 0
$EndNodes
$Comments
4 these lines are somebody else's
$EndComments
$Elements
2 3 2 4
1 4 1 1
2 14 1
2 1 3 2
3 1 2 15 14
4 2 15 16 3
$EndElements
)";

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
        ASSERT_EQ(mesh.Nodes(), 6u); // without node 9
        ASSERT_EQ(mesh.Elements(), 2u);
        const std::vector<int> second(mesh.ElementNodes(1), mesh.ElementNodes(1) + 4);
        std::vector<std::size_t> numbers;
        for (const int node : second)
            numbers.push_back(mesh.number[static_cast<std::size_t>(node)]);
        EXPECT_EQ(numbers, (std::vector<std::size_t>{2, 3, 16, 15})); // turned
        ASSERT_EQ(mesh.surfaces.size(), 1u);
        EXPECT_EQ(mesh.surfaces[0].name, "soil");
        EXPECT_EQ(mesh.surfaces[0].count, 2u);
        EXPECT_DOUBLE_EQ(mesh.surfaces[0].size, 2.0);
        ASSERT_EQ(mesh.edges.size(), 1u);
        EXPECT_EQ(mesh.curves[0].name, "left side");
        EXPECT_EQ(mesh.number[static_cast<std::size_t>(mesh.edges[0].nodes[0])], 14u);
        EXPECT_EQ(mesh.edges[0].opposite, -1);
        EXPECT_EQ(RimOf(mesh).size(), 6u);
    }
}

TEST(MeshReader, ReadsBinaryFilesAndBothVersionsOfACase)
{
    const std::filesystem::path data =
        std::filesystem::path(KVI_SOURCE_DIR) / "tests" / "percova" / "data";
    const std::pair<std::filesystem::path, std::filesystem::path> pairs[] = {
        {data / "square8.v22.bin.msh", data / "square8.v41.bin.msh"},
        {Cases() / "mesh" / "C2-parallel.q8.v22.msh", Cases() / "mesh" / "C2-parallel.q8.v41.msh"},
        {Cases() / "mesh" / "C4-pile.t3.v22.msh", Cases() / "mesh" / "C4-pile.t3.v41.msh"},
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

TEST(MeshReader, TellsWhatIsWrongAndWhere)
{
    const struct
    {
        const char* what;
        const char* instead;
        const char* told;
    } rows[] = {
        {"2.2 0 8", "2.1 0 8",
         "mesh.msh:2: the mesh has Gmsh's format 2.1, not 2.2 or 4.1; "
         "convert it with: gmsh"},
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
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.instead);
        Faults faults;
        Read(With(kText22, row.what, row.instead), faults, false);
        EXPECT_NE(AllOf(faults).find(row.told), std::string::npos) << AllOf(faults);
    }
}

TEST(MeshReader, EndsWellWhereverAFileIsCut)
{
    std::string binary[2], reason;
    const std::filesystem::path data =
        std::filesystem::path(KVI_SOURCE_DIR) / "tests" / "percova" / "data";
    ASSERT_TRUE(ReadWhole(data / "square8.v22.bin.msh", binary[0], reason));
    ASSERT_TRUE(ReadWhole(data / "square8.v41.bin.msh", binary[1], reason));
    for (const std::string& text : {kText22, kText41, binary[0], binary[1]})
        for (std::size_t length = 0; length + 14 < text.size(); length += 23)
        {
            Faults faults;
            Read(text.substr(0, length), faults, false);
            ASSERT_TRUE(faults.Any()) << length;
        }
}

TEST(MeshReader, SurvivesEveryByteOfABinaryFileBeingAnother)
{
    std::string text, reason;
    ASSERT_TRUE(ReadWhole(std::filesystem::path(KVI_SOURCE_DIR) / "tests" / "percova" / "data" /
                              "square8.v41.bin.msh",
                          text, reason));
    const std::filesystem::path path = ScratchFolder() / "mesh.msh";
    std::size_t refused = 0;
    for (std::size_t at = 0; at < text.size(); at += 11)
    {
        std::string other = text;
        other[at] = static_cast<char>(~other[at]);
        std::ofstream(path, std::ios::binary) << other;
        Mesh mesh;
        Faults faults;
        refused += ReadMesh(path, mesh, faults) ? 0 : 1;
    }
    EXPECT_GT(refused, text.size() / 22); // the others touch coordinates' last digits and names
}

TEST(MeshReader, TellsUnreadableFilesApart)
{
    Mesh mesh;
    Faults faults;
    EXPECT_FALSE(ReadMesh(ScratchFolder(), mesh, faults));
    EXPECT_FALSE(ReadMesh(ScratchFolder() / "nothing.msh", mesh, faults));
    EXPECT_NE(AllOf(faults).find("it is a folder"), std::string::npos);
    EXPECT_NE(AllOf(faults).find("does not exist"), std::string::npos);
}

TEST(MeshReader, TellsElementsThatDoNotFitTogether)
{
    // A T6 beside a T3: one has a node in the middle of their side, the other has not.
    const std::string text = R"($MeshFormat
2.2 0 8
$EndMeshFormat
$Nodes
7
1 0 0 0
2 1 0 0
3 0 1 0
4 0.5 0 0
5 0.5 0.5 0
6 0 0.5 0
7 1 1 0
$EndNodes
$Elements
2
1 9 2 7 1 1 2 3 4 5 6
2 2 2 7 1 2 7 3
$EndElements
)";
    Faults faults;
    Read(text, faults, false);
    EXPECT_NE(AllOf(faults).find(":17: T6 element 1 and T3 element 2 share a side, but not"),
              std::string::npos)
        << AllOf(faults);
}

TEST(MeshReader, WarnsOfNodesOnSidesThatDoNotHaveThem)
{
    // The right square becomes two, which meet the left one in the middle of its side.
    std::string text = With(kText22, "$Nodes\n7\n", "$Nodes\n9\n17 1 0.5 0\n18 2 0.5 0\n");
    text = With(text, "$Elements\n4\n", "$Elements\n5\n5 3 2 7 1 2 3 18 17\n");
    text = With(text, "4 3 2 7 1 2 15 16 3", "4 3 2 7 1 17 18 16 15");
    Faults faults;
    Mesh mesh;
    EXPECT_TRUE(ReadMesh(Scratch("hanging.msh", text), mesh, faults));
    EXPECT_EQ(faults.Warnings(), 1u);
    EXPECT_NE(AllOf(faults).find("node 17 at (1, 0.5) lies on a side of element 3 "),
              std::string::npos)
        << AllOf(faults);

    // A wall: the nodes between the squares are doubled.
    text = With(kText22, "$Nodes\n7\n", "$Nodes\n9\n17 1 0 0\n18 1 1 0\n");
    text = With(text, "4 3 2 7 1 2 15 16 3", "4 3 2 7 1 17 18 16 3");
    for (const double distance : {-1.0, 0.0, 0.01, 1.1})
    {
        faults = {};
        const bool read = ReadMesh(Scratch("wall.msh", text), mesh, faults, 1,
                                   {distance >= 0, std::max(distance, 0.0)});
        EXPECT_EQ(read, distance < 1); // the last one takes both ends of a side
        const char* warning = "falls into 2 parts that share no nodes, so no water passes between "
                              "them, but 2 pairs of nodes and 1 pairs of sides";
        EXPECT_EQ(AllOf(faults).find(warning) != std::string::npos, distance < 0) << AllOf(faults);
        EXPECT_EQ(mesh.Nodes(), distance < 0 ? 8u : distance < 1 ? 6u : mesh.Nodes());
    }
}

TEST(MeshReader, TakesAQuadrilateralWithAStraightCorner)
{
    Faults faults;
    Read(With(kText22, "15 1 1 0", "15 0 2 0"), faults); // above node 14
    EXPECT_EQ(AllOf(faults), "");
}

} // namespace
