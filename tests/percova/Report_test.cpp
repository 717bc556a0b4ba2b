// What is written about a run: report and tables; and what a problem starts from: schema, new.
#include "CommandLine.h"
#include "Scratch.h"
#include "output/report/ReportPage.h"
#include "output/report/StoredRun.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace percova;

namespace
{

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

std::string Text(const fs::path& path)
{
    std::string text, reason;
    EXPECT_TRUE(ReadWhole(path, text, reason)) << TextOf(path) << ' ' << reason;
    return text;
}

void Write(const fs::path& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

struct Ran
{
    Exit exit;
    std::string text; ///< on both streams
};

Ran Command(const std::vector<std::string>& arguments)
{
    std::ostringstream out;
    const Exit exit = RunCommandLine(arguments, out, out);
    return {exit, out.str()};
}

std::size_t Count(const std::string& text, const std::string& what)
{
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; ++at)
        ++count;
    return count;
}

#define EXPECT_HAS(text, what) EXPECT_NE((text).find(what), std::string::npos) << (what)

/// Every element of a page that is opened is closed, in order.
void ExpectWellFormed(const std::string& page)
{
    std::vector<std::string> open;
    for (std::size_t at = page.find("<html"); at != std::string::npos; at = page.find('<', at + 1))
    {
        const bool isEnd = page[at + 1] == '/';
        const std::string tag = page.substr(at, page.find('>', at) - at);
        const std::string name =
            tag.substr(isEnd ? 2 : 1, tag.find_first_of(" \n") - (isEnd ? 2 : 1));
        if (isEnd)
        {
            ASSERT_FALSE(open.empty());
            EXPECT_EQ(open.back(), name);
            open.pop_back();
        }
        else if (!tag.ends_with('/') && name != "meta")
            open.push_back(name);
    }
    EXPECT_TRUE(open.empty());
    EXPECT_TRUE(page.ends_with("</html>\n"));
}

/// Layers in two steps, with a title, a probe and a section that nobody should trust.
fs::path RunLayers()
{
    const fs::path folder = ScratchFolder();
    Json problem = Json::parse(Text(Cases() / "C2-parallel.problem.json"));
    const std::string side = problem["boundaries"][0]["name"];
    problem["title"] = "<script>alert(1)</script> & \xE2\x80\xAE\"k\"";
    problem["probes"] = {{{"name", "=a,\"b\"<img src=x>"}, {"at", {6, 0.5}}}};
    problem["sections"] = {{{"name", "middle"}, {"line", {{6, 4.5}, {6, 0}}}}};
    problem["odd"] = 1;
    for (const double value : {8.0, 9.0})
        problem["steps"].push_back(
            {{"name", "high <" + std::to_string(int(value))},
             {"boundaries", {{side, {{"type", "head"}, {"value", value}}}}}});
    Write(folder / "layers.problem.json", problem.dump());
    const Ran ran = Command({"run", TextOf(folder / "layers.problem.json"), "--mesh",
                             TextOf(Cases() / "mesh" / "C2-parallel.q4.v22.msh"), "--out",
                             TextOf(folder / "out"), "--solver", "direct"});
    EXPECT_EQ(ran.exit, Exit::Done) << ran.text;
    return folder / "out";
}

TEST(Report, IsOnePageThatTrustsNoText)
{
    const fs::path folder = RunLayers();
    const Ran ran = Command({"report", TextOf(folder)});
    ASSERT_EQ(ran.exit, Exit::Done) << ran.text;
    const std::string page = Text(folder / "report.html");
    ExpectWellFormed(page);
    for (const char* absent : {"<script", "<img", "https:", "src=\"", "\xE2\x80\xAE"})
        EXPECT_EQ(Count(page, absent), 0u) << absent;
    EXPECT_EQ(Count(page, "http:"), 2u); // the pictures' namespace
    EXPECT_EQ(Count(page, "<figure class=\"picture\">"), 2u);
    for (const char* there :
         {"<h1>&lt;script&gt;alert(1)&lt;/script&gt; &amp; ?&quot;k&quot;</h1>",
          "All 2 steps converged", "percova on KVI 0.", "odd: is not a known key", "Soils",
          "Extreme values", ">=a,&quot;b&quot;&lt;img src=x&gt;<", "high &lt;9", "layer2",
          "@page{size:A4", ".picture text{", "Z</td>"})
        EXPECT_HAS(page, there);
    const Json result = Json::parse(Text(folder / "result.json"));
    const Json& head = result["steps"][1]["extremes"]["head"];
    EXPECT_NEAR(head["greatest"], 9, 1e-9);
    EXPECT_EQ(head["greatest_at"][0], 0);
    EXPECT_EQ(result["input"]["odd"], 1);
    EXPECT_EQ(result["command"][0], "run");
    // Half a run, and a picture that is gone or strange.
    Json half = result;
    half["steps"].erase(std::size_t{1});
    half["steps"][0]["converged"] = false;
    Write(folder / "result.json", half.dump());
    Write(folder / "seepage" / "1" / "layers.svg", "<svg onload=\"alert(1)\"></svg>");
    ASSERT_EQ(Command({"report", TextOf(folder), "--out", TextOf(folder / "b.html")}).exit,
              Exit::Done);
    const std::string other = Text(folder / "b.html");
    ExpectWellFormed(other);
    for (const char* there : {"NOT CONVERGED: step high &lt;8", "INCOMPLETE: Only 1 of 2 steps",
                              "layers.svg has attributes that percova does not write"})
        EXPECT_HAS(other, there);
    EXPECT_EQ(other.find("onload"), std::string::npos);
}

TEST(Report, WritesTablesThatASpreadsheetReads)
{
    const fs::path folder = RunLayers();
    const std::string probes = Text(folder / "layers.probes.csv");
    const std::string header =
        "step,name,x [m],y [m],head [m],pressure_head [m],pressure [kPa],"
        "water_content,kr,gradient_x,gradient_y,flux_x [m/s],flux_y [m/s]\r\n";
    ASSERT_TRUE(probes.starts_with(header)) << probes;
    EXPECT_EQ(Count(probes, "\r\n"), 3u);
    EXPECT_EQ(Count(probes, "\n"), 3u);
    const Json probe = Json::parse(Text(folder / "result.json"))["steps"][0]["probes"][0];
    EXPECT_TRUE(
        probes.substr(header.size()).starts_with("high <8,\"'=a,\"\"b\"\"<img src=x>\",6,0.5,"))
        << probes;
    const double head = std::stod(probes.substr(probes.find(",6,0.5,") + 7));
    EXPECT_EQ(head, probe["head"].get<double>()); // to the last bit
    EXPECT_TRUE(Text(folder / "layers.sections.csv")
                    .starts_with("step,name,flow [m3/s per m]\r\nhigh <8,middle,"));
    EXPECT_TRUE(Text(folder / "layers.boundaries.csv").starts_with("step,name,flow [m3/s per m],"));
}

TEST(Report, HasTheOutputsOfARunInTime)
{
    const fs::path folder = ScratchFolder();
    const Ran ran = Command({"run", TextOf(Cases() / "T1-consolidation.problem.json"), "--mesh",
                             TextOf(Cases() / "mesh" / "T1-consolidation.q4.msh"), "--out",
                             TextOf(folder), "--output", "0.25,0.5,1", "--until", "1"});
    ASSERT_EQ(ran.exit, Exit::Done) << ran.text;
    ASSERT_EQ(Command({"report", TextOf(folder), "--pictures", "3"}).exit, Exit::Done);
    const std::string page = Text(folder / "report.html");
    ExpectWellFormed(page);
    for (const char* there :
         {"All 4 outputs converged", "Series over time", "3 of 4 outputs are shown",
          ".series text{", "cumulative in", "<figcaption>Time 1 s</figcaption>"})
        EXPECT_HAS(page, there);
    EXPECT_EQ(Count(page, "<figure"), 4u);
    const std::string probes = Text(folder / "T1-consolidation.probes.csv");
    EXPECT_TRUE(probes.starts_with("time [s],name,x [m],")) << probes;
    EXPECT_EQ(Count(probes, "\r\n0.25,"), Count(probes, "\r\n1,"));
    // Every line of the history is as long as the first one, and ends with the regions' flows.
    const Json region =
        *Json::parse(Text(folder / "result.json"))["times"].back()["regions"].begin();
    std::istringstream history(Text(folder / "T1-consolidation.history.csv"));
    std::string line, last;
    for (std::size_t commas = 0; std::getline(history, line); last = line)
    {
        if (commas == 0)
            EXPECT_TRUE(line.ends_with("clay.flow_in,clay.flow_out,clay.sources")) << line;
        EXPECT_EQ(Count(line, ","), commas == 0 ? Count(line, ",") : commas);
        commas = Count(line, ",");
    }
    EXPECT_TRUE(last.ends_with(",0," + region["flow_out"].dump() + ",0")) << last;
}

TEST(Convert, WritesAgainWhatTheRunWrote)
{
    const fs::path folder = RunLayers(), copy = folder.parent_path() / "copy";
    std::map<std::string, std::string> before, after;
    const auto collect = [](const fs::path& from, std::map<std::string, std::string>& files) {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(from))
            if (entry.path().extension() == ".csv" || entry.path().extension() == ".svg")
                files[TextOf(entry.path().lexically_relative(from))] = Text(entry.path());
    };
    collect(folder, before);
    for (const char* table : {"probes", "sections", "extremes"})
        fs::remove(folder / (std::string("layers.") + table + ".csv"));
    const Ran ran = Command({"convert", TextOf(folder / "result.json"), "--out", TextOf(copy)});
    EXPECT_EQ(ran.exit, Exit::Done) << ran.text;
    EXPECT_HAS(ran.text, "tables, 2 pictures\n");
    collect(copy, after);
    EXPECT_EQ(after, before);
    fs::remove(folder / "seepage" / "1" / "layers.svg");
    const Ran inPlace = Command({"convert", TextOf(folder)});
    EXPECT_EQ(inPlace.exit, Exit::Done);
    EXPECT_HAS(inPlace.text, "layers.svg\n");
    EXPECT_EQ(Text(folder / "layers.probes.csv"), before["layers.probes.csv"]);
    Write(folder / "file", "");
    const std::string foreign = Text(folder / "result.json"), out = TextOf(folder / "new");
    const struct
    {
        std::string result; ///< what result.json holds
        std::vector<std::string> arguments;
        Exit exit;
        const char* words;
    } rows[] = {
        {foreign, {TextOf(folder), "--out", TextOf(folder / "file")}, Exit::NotWritten, "be made"},
        {foreign, {TextOf(folder), TextOf(folder), "--out", out}, Exit::WrongInput, "'layers'"},
        {foreign, {TextOf(folder / "none"), "--out", out}, Exit::WrongInput, "cannot be opened"},
        {foreign, {TextOf(folder / "file"), "--out", out}, Exit::WrongInput, "cannot be opened"},
        {foreign, {}, Exit::WrongInput, "required"},
        {"{\"steps\": []}", {TextOf(folder), "--out", out}, Exit::WrongInput, "is no result of"},
        {"[[", {TextOf(folder), "--out", out}, Exit::WrongInput, "is no result of"},
        {R"({"collection": "a.pvd", "steps": []})",
         {TextOf(folder), "--out", out},
         Exit::WrongInput,
         "has no step or output yet"},
        // A picture that percova did not draw is not passed on, and names lead to no other folder.
        {R"({"collection": "evil.pvd", "steps": [{"name": "1"}]})",
         {TextOf(folder), "--out", out},
         Exit::WrongInput,
         "evil.svg has elements"},
        {R"({"collection": "../../a.pvd", "steps": [{"../b": [{"c": 1}], "d": [{"e": "=1"}]}]})",
         {TextOf(folder), "--out", out},
         Exit::Done,
         "1 table\n"},
    };
    Write(folder / "evil.svg", "<svg><script>alert(1)</script></svg>");
    for (const auto& [result, arguments, exit, words] : rows)
    {
        Write(folder / "result.json", result);
        std::vector<std::string> all{"convert"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const Ran row = Command(all);
        EXPECT_EQ(row.exit, exit) << words << row.text;
        EXPECT_HAS(row.text, words);
        EXPECT_EQ(fs::exists(folder / "new"), exit == Exit::Done);
    }
    EXPECT_HAS(Text(folder / "new" / "a.d.csv"), "'=1");
}

TEST(Report, EndsWhateverTheResultHolds)
{
    const fs::path folder = RunLayers();
    const std::string whole = Text(folder / "result.json");
    EXPECT_EQ(Command({"report", TextOf(folder / "none")}).exit, Exit::WrongInput);
    for (const std::string& text :
         {std::string(), std::string("{}"), std::string("[1]"), whole.substr(0, whole.size() / 2),
          "{\"collection\": \"a.pvd\", \"steps\": " + std::string(100000, '[')})
    {
        Write(folder / "result.json", text);
        EXPECT_EQ(Command({"report", TextOf(folder)}).exit, Exit::WrongInput) << text.substr(0, 40);
    }
    // Every value on the first three levels gives way to others.
    const Json others[] = {nullptr, 7, "<b>", Json::array(), Json::object(), {1, 2}, {{{"a", 1}}}};
    const std::function<void(Json&, Json&, int)> replace = [&](Json& root, Json& at, int depth) {
        for (auto& item : at)
        {
            const Json kept = item;
            for (const Json& other : others)
            {
                item = other;
                Write(folder / "result.json", root.dump());
                const Ran ran = Command({"report", TextOf(folder), "--pictures", "0"});
                EXPECT_TRUE(ran.exit == Exit::Done || ran.exit == Exit::WrongInput) << ran.text;
                if (depth < 3) // it writes many files
                    continue;
                const Ran tables = Command({"convert", TextOf(folder)});
                EXPECT_TRUE(tables.exit == Exit::Done || tables.exit == Exit::WrongInput);
            }
            item = kept;
            if (depth > 1 && item.is_structured())
                replace(root, item, depth - 1);
        }
    };
    Json result = Json::parse(whole);
    result["input"] = {{"materials", result["input"]["materials"]}};
    result["steps"].erase(std::size_t{1});
    replace(result, result, 3);
}

TEST(InlinePicture, TakesOnlyWhatIsDrawn)
{
    const struct
    {
        std::string svg, part; ///< empty: refused
    } rows[] = {
        {"<svg width=\"1\"><style>text{a:b}.c,.d{e:f}</style><text x=\"2\">&lt;</text></svg>\n",
         "<svg width=\"1\"><style>.k text{a:b}.k .c,.k .d{e:f}</style><text "
         "x=\"2\">&lt;</text></svg>\n"},
        {"<svg><path d=\"M0 0\"/><g></g></svg>", "<svg><path d=\"M0 0\"/><g></g></svg>"},
        {"", ""},
        {"text", ""},
        {"<svg><g></svg>", ""},
        {"<svg><path d=\"M0", ""},
        {"<svg></svg><svg></svg>", ""},
        {"<svg></svg><path/>", ""},
        {"<svg><script>a</script></svg>", ""},
        {"<svg><!-- --></svg>", ""},
        {"<?xml?><svg></svg>", ""},
        {"<svg ONload=\"a\"></svg>", ""},
        {"<svg><path xlink:href=\"a\"/></svg>", ""},
        {"<svg><path fill=\"URL(http://a)\"/></svg>", ""},
        {"<svg><path fill=red></svg>", ""},
        {"<svg><style>@import 'a';</style></svg>", ""},
        {"<svg><style>a{b:url(c)}</style></svg>", ""},
    };
    for (const auto& [svg, expected] : rows)
    {
        std::string part, reason;
        EXPECT_EQ(report::InlinePicture(svg, "k", part, reason), !expected.empty()) << svg;
        EXPECT_EQ(part, expected) << reason;
        EXPECT_EQ(reason.empty(), !expected.empty()) << svg;
    }
}

/// What is wrong with @p value by the part of the schema's language that the schema uses.
std::string Invalid(const Json& root, const Json& schema, const Json& value, const std::string& at)
{
    std::string wrong;
    const auto has = [&](const char* key) { return schema.contains(key); };
    if (has("$ref"))
        wrong =
            Invalid(root, root["$defs"][schema["$ref"].get<std::string>().substr(8)], value, at);
    if (has("anyOf") &&
        std::all_of(schema["anyOf"].begin(), schema["anyOf"].end(),
                    [&](const Json& one) { return !Invalid(root, one, value, at).empty(); }))
        wrong = at + ": none of several";
    const std::string type = value.type_name();
    if (has("type") && schema["type"].dump().find('"' + type + '"') == std::string::npos &&
        !(schema["type"] == "integer" && value.is_number_integer()))
        wrong = at + ": is " + type;
    if (has("enum") &&
        std::find(schema["enum"].begin(), schema["enum"].end(), value) == schema["enum"].end())
        wrong = at + ": " + value.dump();
    if (has("required"))
        for (const Json& key : schema["required"])
            if (!value.contains(key.get<std::string>()))
                wrong = at + ": no " + key.dump();
    if (value.is_array() && has("items"))
        for (const Json& item : value)
            wrong += Invalid(root, schema["items"], item, at + "[]");
    if (value.is_object())
        for (const auto& [key, item] : value.items())
            if (has("properties") && schema["properties"].contains(key))
                wrong += Invalid(root, schema["properties"][key], item, at + '.' + key);
            else if (has("additionalProperties") && !key.starts_with("note"))
                wrong += schema["additionalProperties"] == false
                             ? at + ": " + key
                             : Invalid(root, schema["additionalProperties"], item, at + '.' + key);
    return wrong;
}

Json Schema()
{
    const Ran ran = Command({"schema"});
    EXPECT_EQ(ran.exit, Exit::Done);
    return Json::parse(ran.text);
}

TEST(Schema, TakesEveryProblemThatTheReaderTakes)
{
    const Json schema = Schema();
    std::vector<fs::path> files{Cases().parent_path() / "slope" / "slope.problem.json"};
    for (const fs::directory_entry& entry : fs::directory_iterator(Cases()))
        files.push_back(entry.path());
    int taken = 0;
    for (const fs::path& file : files)
    {
        Problem problem;
        Faults faults;
        if (!TextOf(file).ends_with(".problem.json") || !ReadProblem(file, problem, faults))
            continue;
        ++taken;
        EXPECT_EQ(Invalid(schema, schema, Json::parse(problem.text), ""), "") << TextOf(file);
    }
    EXPECT_GE(taken, 20);
    Json wrong = Json::parse(Text(files.front()));
    wrong["boundaries"][0]["valeu"] = 1;
    EXPECT_EQ(Invalid(schema, schema, wrong, ""), ".boundaries[]: valeu");
}

/// Names of properties anywhere in a schema, each of which has a description or refers to one.
void Collect(const Json& schema, std::set<std::string>& keys)
{
    if (schema.is_object() && schema.contains("properties"))
        for (const auto& [key, value] : schema["properties"].items())
        {
            keys.insert(key);
            EXPECT_TRUE(value.contains("description") || value.contains("$ref")) << key;
        }
    if (schema.is_structured())
        for (const Json& item : schema)
            Collect(item, keys);
}

TEST(Schema, HasTheKeysOfTheReaderAndNoOthers)
{
    std::set<std::string> inSchema, inReader;
    Collect(Schema(), inSchema);
    // Keys are the literals that the reader's functions are called with.
    const std::regex call("(?:Get|Find|ForEach|Ignore|Error|Read|Expect|pair|Hydrostatic \\? )"
                          "[A-Za-z]*\\(?(?:[A-Za-z.]+, |\\{)?(\"[$a-z][a-z0-9_]*\"(?:(?:, | : )"
                          "\"[a-z][a-z0-9_]*\")*)"),
        literal("\"([^\"]*)\"");
    for (const fs::directory_entry& entry :
         fs::directory_iterator(Cases().parent_path() / "problem"))
    {
        const std::string source = Text(entry.path());
        for (std::sregex_iterator found(source.begin(), source.end(), call), end; found != end;
             ++found)
        {
            const std::string keys = (*found)[1];
            for (std::sregex_iterator key(keys.begin(), keys.end(), literal); key != end; ++key)
                inReader.insert((*key)[1]);
        }
    }
    std::vector<std::string> differing; // add a new key of the reader to ProblemSchema.cpp
    std::set_symmetric_difference(inSchema.begin(), inSchema.end(), inReader.begin(),
                                  inReader.end(), std::back_inserter(differing));
    EXPECT_EQ(differing, std::vector<std::string>());
}

TEST(NewProblem, IsFilledInByWhatCheckNames)
{
    const fs::path folder = ScratchFolder();
    fs::copy(Cases() / "mesh" / "C2-parallel.q4.v22.msh", folder / "groups.msh");
    // Two squares without any group.
    Write(folder / "bare.msh", "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$Nodes\n6\n1 0 0 0\n2 1 0 0\n"
                               "3 2 0 0\n4 0 1 0\n5 1 1 0\n6 2 1 0\n$EndNodes\n$Elements\n2\n"
                               "1 3 2 0 1 1 2 5 4\n2 3 2 0 1 2 3 6 5\n$EndElements\n");
    for (const auto& [name, regions, boundaries] :
         {std::tuple("groups", 3u, 2u), std::tuple("bare", 1u, 4u)})
    {
        SCOPED_TRACE(name);
        const std::string mesh = TextOf(folder / name) + ".msh";
        const fs::path file = folder / (name + std::string(".problem.json"));
        ASSERT_EQ(Command({"new", mesh}).exit, Exit::Done);
        EXPECT_EQ(Command({"new", mesh}).exit, Exit::NotWritten); // it is there
        const Ran unfilled = Command({"check", TextOf(file)});
        EXPECT_EQ(unfilled.exit, Exit::WrongInput);
        EXPECT_HAS(unfilled.text, "materials[0].k_sat: should be a number, not null");
        EXPECT_EQ(unfilled.text.find("known key"), std::string::npos) << unfilled.text;
        Json problem = Json::parse(Text(file));
        EXPECT_EQ(problem["regions"].size(), regions);
        EXPECT_GE(problem["boundaries"].size(), boundaries);
        for (Json& material : problem["materials"])
            material["k_sat"] = 1e-6;
        problem["boundaries"][0]["type"] = "head";
        problem["boundaries"][0]["value"] = 1;
        Write(file, problem.dump());
        const Ran filled = Command({"check", TextOf(file)});
        EXPECT_EQ(filled.exit, Exit::Done) << filled.text;
        const Json schema = Schema();
        EXPECT_EQ(Invalid(schema, schema, problem, ""), "");
    }
    const Ran elsewhere =
        Command({"new", TextOf(folder / "bare.msh"), "--out", TextOf(folder / "a.json")});
    EXPECT_EQ(elsewhere.exit, Exit::Done) << elsewhere.text;
    EXPECT_EQ(Json::parse(Text(folder / "a.json"))["mesh"]["file"], "bare.msh");
    EXPECT_EQ(Command({"new", TextOf(folder / "none.msh")}).exit, Exit::WrongInput);
}

} // namespace
