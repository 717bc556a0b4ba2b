// What input costs, and XML for any names: what only a system with the tools to see it can check.
#include "analysis/Model.h"
#include "output/Output.h"
#include "percova/Scratch.h"
#include "percova/posix/AllocatedBytes.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>

#include <sys/wait.h>

using namespace percova;

namespace
{

namespace fs = std::filesystem;

/// A mesh of one row of @p n squares with @p lines behind the other elements, in version 4.1.
std::string Row41(int n, int groups)
{
    std::ostringstream out;
    out << "$MeshFormat\n4.1 0 8\n$EndMeshFormat\n$Entities\n0 1 1 0\n1 0 0 0 1 0 0 " << groups;
    for (int i = 1; i <= groups; ++i)
        out << ' ' << i;
    out << " 0\n1 0 0 0 1 1 0 1 1 0\n$EndEntities\n$Nodes\n1 " << 2 * n + 2 << " 1 " << 2 * n + 2
        << "\n2 1 0 " << 2 * n + 2 << '\n';
    for (int i = 0; i < 2 * n + 2; ++i)
        out << i + 1 << '\n';
    for (int i = 0; i < 2 * n + 2; ++i)
        out << i / 2 << ' ' << i % 2 << " 0\n";
    out << "$EndNodes\n$Elements\n2 " << 2 * n << " 1 " << 2 * n << "\n1 1 1 " << n << '\n';
    for (int i = 0; i < n; ++i)
        out << i + 1 << ' ' << 2 * i + 1 << ' ' << 2 * i + 3 << '\n';
    out << "2 1 3 " << n << '\n';
    for (int i = 0; i < n; ++i)
        out << n + i + 1 << ' ' << 2 * i + 1 << ' ' << 2 * i + 3 << ' ' << 2 * i + 4 << ' '
            << 2 * i + 2 << '\n';
    return out.str() + "$EndElements\n";
}

/// @p item, @p n times with commas between.
std::string Repeated(const std::string& item, int n)
{
    std::string text;
    for (int i = 0; i < n; ++i)
        text += (i == 0 ? "" : ",") + item;
    return text;
}

std::string Numbered(const char* before, int n, const std::string& after)
{
    std::string text;
    for (int i = 0; i < n; ++i)
        text += (i == 0 ? "" : ",") + (before + std::to_string(i)) + after;
    return text;
}

/// Memory, and the sum of all that was ever allocated as a measure of work, in proportion to the
/// size of the input, or the input is refused.
TEST(Cost, GrowsNoFasterThanTheInput)
{
    const std::string name(3000, 'n');
    const struct
    {
        const char* what;
        std::function<std::string(int)> text;
        int n;
        double most; ///< bytes of memory for each byte of the input
    } rows[] = {
        {"mesh", [](int n) { return Row41(n, 1); }, 2000, 40},
        {"curve in 8 groups", [](int n) { return Row41(n, 8); }, 2000, 60},
        {"curve in 100 groups", [](int n) { return Row41(n, 100); }, 2000, 3},
        {"zeros", [](int n) { return "[" + Repeated("0", n) + "]"; }, 20000, 60},
        {"lists", [](int n) { return "[" + Repeated("[[[[[[[[0]]]]]]]]", n) + "]"; }, 5000, 60},
        {"objects", [](int n) { return "[" + Repeated("{\"a\":0}", n) + "]"; }, 5000, 60},
        {"wrong regions",
         [&](int n) {
             return "{\"materials\":[" + Numbered("{\"name\":\"m", 12, name + "\"}") +
                    "],\"regions\":[" + Numbered("{\"name\":\"", n, "\",\"material\":\"x\"}") +
                    "]}";
         },
         1000, 60},
        {"wrong changes",
         [&](int n) {
             return "{\"boundaries\":[" + Numbered("{\"name\":\"b", 12, name + "\"}") +
                    "],\"steps\":[" +
                    Numbered("{\"boundaries\":{\"", n, "\":{\"" + name.substr(0, 100) + "\":0}}}") +
                    "]}";
         },
         1000, 60},
        {"steps of a long series",
         [](int n) {
             return "{\"time\":{\"end\":1},\"boundaries\":[{\"name\":\"b\",\"type\":\"flux\","
                    "\"value\":[" +
                    Numbered("[", n, ",0]") + "]}],\"steps\":[" + Numbered("{\"start\":", n, "}") +
                    "]}";
         },
         400, 4000}, // up to the bound on all numbers
        {"a polygon that meets itself everywhere",
         [](int n) {
             return "{\"regions\":[{\"name\":\"r\",\"polygon\":[" +
                    Repeated("[0,0],[1,1],[2,0],[1,-1]", n / 4) + "]}]}";
         },
         2000, 4000},
        {"points of a polygon",
         [](int n) {
             return "{\"regions\":[{\"name\":\"r\",\"polygon\":[" + Repeated("[0,0],[1,1]", n) +
                    "]}]}";
         },
         20000, 60},
        {"keys", [](int n) { return "{" + Numbered("\"", n, "\":0") + "}"; }, 2000, 60},
        {"times of output",
         [](int n) { return "{\"time\":{\"end\":1,\"output\":[" + Repeated("1", n) + "]}}"; }, 5000,
         80},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.what);
        std::size_t size[2];
        double total[2];
        for (const int k : {0, 1})
        {
            const std::string text = row.text(row.n << (2 * k));
            const bool isMesh = text.starts_with('$');
            const fs::path path = Scratch("hostile.json", text);
            const AllocatedBytes bytes;
            Faults faults;
            Problem problem;
            Mesh mesh;
            (void)(isMesh ? ReadMesh(path, mesh, faults) : ReadProblem(path, problem, faults));
            size[k] = text.size();
            total[k] = bytes.Total();
            EXPECT_LT(bytes.Peak(), row.most * double(text.size()) + 300000.0)
                << AllOf(faults).substr(0, 300);
        }
        const double growth = total[1] / total[0];
        EXPECT_LT(growth, 1.5 * double(size[1]) / double(size[0]) + 1);
    }
}

/// Whether a parser of XML takes the text; 77 where there is no parser.
int ParsesAsXml(const std::string& text)
{
    const fs::path path = Scratch("text.xml", text);
    const std::string program =
        "import sys\ntry:\n from xml.parsers import expat\nexcept ImportError:\n sys.exit(77)\n"
        "expat.ParserCreate().Parse(open(sys.argv[1], 'rb').read(), True)";
    const int state =
        std::system(("python3 -c \"" + program + "\" " + path.string() + " 2>/dev/null").c_str());
    return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
}

TEST(Xml, IsWellFormedWhateverTheNames)
{
    if (const int parses = ParsesAsXml("<a>\xEF\xBF\xBF</a>"); parses == 0 || parses > 1)
        GTEST_SKIP() << "no parser of XML";
    std::string names; // every character of one byte, and those that XML has not
    for (int c = 0; c < 256; ++c)
        names += static_cast<char>(c);
    names += "\xEF\xBF\xBE\xEF\xBF\xBF\xED\xA0\x80\xED\xBF\xBF\xF4\x90\x80\x80]]><!--\xEF\xBF";
    Model model;
    Faults faults;
    ASSERT_TRUE(ReadProblem(Cases() / "U1-dam.problem.json", model.problem, faults));
    ASSERT_TRUE(ReadMesh(Cases() / "mesh" / "U1-dam.t3.v41.msh", model.mesh, faults));
    ASSERT_TRUE(Bind(model, faults)) << AllOf(faults);
    StepResult step;
    step.name = step.trouble = names;
    step.nodal = NodalTable(model.mesh.Nodes());
    for (std::string* name : {&model.problem.id, &model.problem.title,
                              &model.problem.materials[0].name, &model.problem.boundaries[0].name})
        *name = names;
    model.problem.probes = {{names, {1, 1}, {}}};
    step.probes = {{names, {1, 1}, 5.5}};
    step.seepageFaces = {{names, 1e-6, {16, 8}}};
    for (const int cut : {0, 20, 33, 34, 35, 36, 37}) // the legend shortens
    {
        model.problem.materials[0].name =
            std::string(std::size_t(cut), 'x') + "\xE2\x82\xAC" + names;
        std::ostringstream svg, vtu, pvd;
        WritePicture(svg, model, step);
        WriteVtu(vtu, model, step);
        WritePvd(pvd, {names, names}, {});
        for (const std::ostringstream* text : {&svg, &vtu, &pvd})
            ASSERT_EQ(ParsesAsXml(text->str()), 0) << text->str().substr(0, 2000);
    }
}

} // namespace
