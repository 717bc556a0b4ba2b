// What input costs, and XML for any names: what only a system with the tools to see it can check.
#include "analysis/Binding.h"
#include "output/Output.h"
#include "percova/Scratch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>
#include <sstream>

#include <sys/wait.h>

using namespace percova;

namespace
{

/// Memory that this program has from operator new [bytes]: now, at most, and all that ever was.
std::atomic<std::ptrdiff_t> live{0}, peak{0}, total{0};

void* Allocate(std::size_t size)
{
    void* const memory = std::malloc(std::max<std::size_t>(size, 1));
    const auto bytes = std::ptrdiff_t(::malloc_usable_size(memory));
    total += bytes;
    const std::ptrdiff_t now = live += bytes;
    for (std::ptrdiff_t most = peak; most < now && !peak.compare_exchange_weak(most, now);)
        ;
    return memory;
}

void Free(void* memory)
{
    live -= std::ptrdiff_t(::malloc_usable_size(memory));
    std::free(memory);
}

} // namespace

void* operator new(std::size_t size)
{
    void* const memory = Allocate(size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { Free(memory); }

namespace
{

/// @p item, @p n times with @p between; # in it is the number of the repetition from @p first on.
std::string Repeated(const std::string& item, int n, const char* between = ",", int first = 0)
{
    std::string text;
    for (int i = first; i < first + n; ++i)
    {
        text += i == first ? "" : between;
        for (const char c : item)
            text += c == '#' ? std::to_string(i) : std::string(1, c);
    }
    return text;
}

/// A mesh of one row of @p n squares in version 4.1, with a curve of @p n lines in @p groups.
std::string Row41(int n, int groups)
{
    const auto text = [](int i) { return std::to_string(i); };
    const std::string nodes = text(2 * n + 2), lines = text(n), elements = text(2 * n);
    std::string out = "$MeshFormat\n4.1 0 8\n$EndMeshFormat\n$Entities\n0 1 1 0\n1 0 0 0 1 0 0 " +
                      text(groups) + ' ' + Repeated("#", groups, " ", 1) +
                      " 0\n1 0 0 0 1 1 0 1 1 0\n$EndEntities\n$Nodes\n1 " + nodes + " 1 " + nodes +
                      "\n2 1 0 " + nodes + '\n' + Repeated("#\n", 2 * n + 2, "", 1) +
                      Repeated("# 0 0\n# 1 0\n", n + 1, "") + "$EndNodes\n$Elements\n2 " +
                      elements + " 1 " + elements + "\n1 1 1 " + lines + '\n';
    for (int i = 0; i < n; ++i)
        out += text(i + 1) + ' ' + text(2 * i + 1) + ' ' + text(2 * i + 3) + '\n';
    out += "2 1 3 " + lines + '\n';
    for (int i = 0; i < n; ++i)
        out += text(n + i + 1) + ' ' + text(2 * i + 1) + ' ' + text(2 * i + 3) + ' ' +
               text(2 * i + 4) + ' ' + text(2 * i + 2) + '\n';
    return out + "$EndElements\n";
}

/// Memory, and the sum of all that was ever allocated as a measure of work, in proportion to the
/// size of the input, or the input is refused.
TEST(Cost, GrowsNoFasterThanTheInput)
{
    const std::string name(3000, 'n'), key(100, 'n');
    const struct
    {
        std::string before, item, after; ///< the input; a mesh has groups alone
        int n;
        double most; ///< bytes of memory for each byte of the input
        int groups = 0;
    } rows[] = {
        {"", "", "", 2000, 40, 1},
        {"", "", "", 2000, 60, 8},
        {"", "", "", 2000, 3, 100},
        {"[", "0", "]", 20000, 60},
        {"[", "[[[[[[[[0]]]]]]]]", "]", 5000, 60},
        {"[", R"({"a":0})", "]", 5000, 60},
        {R"({"materials":[)" + Repeated(R"({"name":"m#)" + name + "\"}", 12) + R"(],"regions":[)",
         R"({"name":"#","material":"x"})", "]}", 1000, 60},
        {R"({"boundaries":[)" + Repeated(R"({"name":"b#)" + name + "\"}", 12) + R"(],"steps":[)",
         R"({"boundaries":{"#":{")" + key + R"(":0}}})", "]}", 1000, 60},
        // Steps of a long series, up to the bound on all numbers.
        {R"({"time":{"end":1},"boundaries":[{"name":"b","type":"flux","value":[)", "[#,0]",
         R"(]}],"steps":[)", 400, 4000},
        // A polygon that meets itself everywhere.
        {R"({"regions":[{"name":"r","polygon":[)", "[0,0],[1,1],[2,0],[1,-1]", "]}]}", 500, 4000},
        {R"({"regions":[{"name":"r","polygon":[)", "[0,0],[1,1]", "]}]}", 20000, 60},
        {"{", R"("#":0)", "}", 2000, 60},
        {R"({"time":{"end":1,"output":[)", "1", "]}}", 5000, 80},
    };
    for (const auto& [before, item, after, n, most, groups] : rows)
    {
        SCOPED_TRACE(before.substr(0, 80) + item + std::to_string(groups));
        double size[2] = {}, work[2] = {};
        for (const int k : {0, 1})
        {
            const int count = n << (2 * k);
            std::string text =
                groups > 0 ? Row41(count, groups) : before + Repeated(item, count) + after;
            if (after.ends_with("\"steps\":["))
                text += Repeated(R"({"start":#})", count) + "]}";
            const std::filesystem::path path = Scratch("hostile.json", text);
            const std::ptrdiff_t liveBefore = live, totalBefore = total;
            peak = liveBefore;
            Faults faults;
            Problem problem;
            Mesh mesh;
            (void)(groups > 0 ? ReadMesh(path, mesh, faults) : ReadProblem(path, problem, faults));
            size[k] = double(text.size());
            work[k] = double(total - totalBefore);
            EXPECT_LT(double(peak - liveBefore), most * size[k] + 300000.0)
                << AllOf(faults).substr(0, 300);
        }
        EXPECT_LT(work[1] / work[0], 1.5 * size[1] / size[0] + 1);
    }
}

/// Whether a parser of XML takes the text; 77 where there is no parser.
int ParsesAsXml(const std::string& text)
{
    const std::string program =
        "import sys\ntry:\n from xml.parsers import expat\nexcept ImportError:\n sys.exit(77)\n"
        "expat.ParserCreate().Parse(open(sys.argv[1], 'rb').read(), True)";
    const int state = std::system(
        ("python3 -c \"" + program + "\" " + Scratch("text.xml", text).string() + " 2>/dev/null")
            .c_str());
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
    model.problem.id = model.problem.title = model.problem.boundaries[0].name = names;
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
