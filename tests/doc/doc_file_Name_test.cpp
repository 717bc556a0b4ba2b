#include "doc/doc_file_Name.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using doc::file::Name;

namespace
{
Step StepOf(int value) { return Step::CreateFromInt(value); }

Name Make(const wchar_t* analysis, int step, const wchar_t* file)
{
    Name name = Name().ProjectPath(L"C:\\dams\\north.kvi").Analysis(analysis);
    return name.Step(StepOf(step)).FNameExt(file);
}

Name WithExt(std::wstring ext) { return Name().Ext(ext); }
} // namespace

TEST(Name, IsEmptyUntilAnythingIsSet)
{
    const Name empty;
    EXPECT_TRUE(empty.IsEmpty() && empty.Description().empty());
    EXPECT_TRUE(empty.Run() == 0xFFFFFFFF && empty.Step().raw_int() == 0x7FFFFFFF);
    for (Name name : {Name().ProjectPath(L"p"), Name().Analysis(L"a"), Name().Run(0),
                      Name().Step(StepOf(0)), Name().FName(L"f"), Name().Ext(L".e"),
                      Name().AllAnalyses(), Name().AllSteps(), Name().AllFiles(), Name().AllExt()})
    {
        EXPECT_FALSE(name.IsEmpty());
        EXPECT_TRUE(name.Clear().IsEmpty());
    }
    EXPECT_TRUE(Name().Analysis(L"a").ClearAnalysis().IsEmpty());
}

TEST(Name, HasPartsThatAreReplacedOneByOne)
{
    Name name = Name().ProjectPath(L"C:\\a\\b.kvi");
    EXPECT_EQ(name.ProjectDirectory() + L'|' + name.ProjectFName() + L'|' + name.ProjectExt(),
              L"C:\\a\\|b|.kvi");
    EXPECT_EQ(Name().ProjectPath(L"/home/me/north.kvi").ProjectDirectory(), L"\\home\\me\\");
    name.ProjectFName(L"c").ProjectExt(L".x").ProjectDirectory(L"D:\\");
    EXPECT_EQ(name.ProjectPath(), L"D:\\c.x");
    EXPECT_EQ(name.ProjectFNameExt(), L"c.x");
    name.FNameExt(L"a.b.c");
    EXPECT_EQ(name.FName() + L'|' + name.Ext(), L"a.b|.c");
    EXPECT_EQ(name.FNameExt(L"plain").FNameExt(), L"plain");
    EXPECT_EQ(name.Ext(), L"");
    name.Ext(L".txt").AllFiles();
    EXPECT_EQ(name.Ext(), L"");
    EXPECT_TRUE(name.IsMultiSelectAllFiles());
    EXPECT_FALSE(name.AllExt().IsMultiSelectAllFiles());
    EXPECT_TRUE(Name().AllSteps().IsMultiSelectStep());
    EXPECT_TRUE(Name().AllAnalyses().IsMultiSelectAnalyses());
}

TEST(Name, DescribesItselfAndItsStep)
{
    const std::tuple<Name, const wchar_t*, const wchar_t*> rows[] = {
        {Make(L"seep", 3, L"h.csv"), L"3\\", L"C:\\dams\\north.kvi\\seep\\3\\h.csv"},
        {Make(L"seep", 3, L"h.csv").Run(2), L"3\\", L"C:\\dams\\north.kvi\\seep (2)\\3\\h.csv"},
        {Make(L"seep", -1, L"h.csv"), L"0\\", L"C:\\dams\\north.kvi\\seep\\0\\h.csv"},
        {Make(L"seep", -2, L"h.csv"), L"*\\", L"C:\\dams\\north.kvi\\seep\\*\\h.csv"},
        {Make(L"seep", -2, L"h.*"), L"*\\", L"C:\\dams\\north.kvi\\seep\\*\\h.*"},
        {Make(L"seep", 3, L"h.*"), L"", L"C:\\dams\\north.kvi\\seep\\h.*"},
        {Make(L"seep", 0x7FFFFFFE, L"h"), L"", L"C:\\dams\\north.kvi\\seep\\h"},
        {Make(L"", -2, L"h.csv"), L"", L"C:\\dams\\north.kvi\\h.csv"},
        {Make(L"", 0x7FFFFFFF, L""), L"", L"C:\\dams\\north.kvi"},
    };
    for (const auto& [name, folder, description] : rows)
    {
        EXPECT_EQ(name.StepFolder(), folder);
        EXPECT_EQ(name.Description(), description);
    }
}

TEST(Name, OrdersFieldByField)
{
    // Each before the next, although later fields are in the opposite order.
    const Name last = Name().ProjectPath(L"B").Analysis(L"B").Run(0xFFFFFFFE);
    const Name rows[] = {
        Name().ProjectPath(L"A").Analysis(L"z"),
        Name().ProjectPath(L"b").Analysis(L"A").Run(9),
        Name().ProjectPath(L"B").Analysis(L"b").Run(1).Step(StepOf(5)),
        Name(last).Step(StepOf(-2)).FName(L"z"),
        Name(last).Step(StepOf(4)).FName(L"\u00c4"),
        Name(last).Step(StepOf(4)).ProjectPath(L"b").FName(L"\u00e4").Ext(L".a"),
    };
    for (std::size_t i = 0; i < std::size(rows); ++i)
        for (std::size_t j = 0; j < std::size(rows); ++j)
        {
            EXPECT_EQ(rows[i] < rows[j], i < j) << i << ' ' << j;
            EXPECT_EQ(rows[i] > rows[j], i > j) << i << ' ' << j;
            EXPECT_EQ(rows[i] == rows[j], i == j) << i << ' ' << j;
        }
}

TEST(Name, CountsExtensionsByTheirNumber)
{
    const std::wstring zeros = L".r" + std::wstring(400, L'0'), one = L".r1" + zeros.substr(2),
                       nines = L".r" + std::wstring(400, L'9');
    const std::tuple<std::wstring, std::wstring, int> rows[] = {
        {nines, one, -1},    {L".b1", L".a2", 1},   {L".r2x", L".r2a", 0},
        {L"", L".1", -1},    {L".r2", L".r02", 0},  {L".r2", L".rr1", -1},
        {L"2", L"10", -1},   {L".r2", L".r10", -1}, {L".r\u0662", L".r10", 1},
        {L".r0", zeros, 0},  {L".a2", L".b10", -1}, {L".\u00c42", L".\u00e410", -1},
        {L".x", L".x1", -1}, {L".R2", L".r10", -1}, {nines, L".r18446744073709551616", 1},
    };
    for (const auto& [a, b, order] : rows)
    {
        EXPECT_EQ(WithExt(a).Compare(WithExt(b)), order);
        EXPECT_EQ(WithExt(b).Compare(WithExt(a)), -order);
    }
}

TEST(Name, ExtensionsHaveATrueOrder)
{
    // Every text of up to three of these letters.
    const std::wstring letters = L"029rR/\u00c4";
    std::vector<Name> names = {WithExt(L"")};
    for (std::size_t i = 0; i < names.size() && names[i].Ext().size() < 3; ++i)
        for (const wchar_t letter : letters)
            names.push_back(WithExt(names[i].Ext() + letter));
    std::sort(names.begin(), names.end());
    // Where a sequence is sorted and each group of equals is followed by greater ones only, the
    // order holds between all pairs.
    std::size_t group = 0;
    for (std::size_t j = 0; j < names.size(); ++j)
    {
        if (names[group] < names[j])
            group = j;
        for (std::size_t i = 0; i < names.size(); ++i)
        {
            const int order = names[i].Compare(names[j]);
            ASSERT_EQ(order, -names[j].Compare(names[i]));
            if (i <= j)
                ASSERT_EQ(order, i < group ? -1 : 0) << i << ' ' << j;
        }
    }
}

TEST(Name, PatternsSelectWhatTheyStandFor)
{
    const Name heads = Make(L"seep", 3, L"heads.csv"), second = Name(heads).Run(2),
               initial = Make(L"seep", 0, L"heads.csv"), mesh = Make(L"", 0x7FFFFFFF, L"mesh.msh"),
               plain = Make(L"other", 3, L"heads"), log = Make(L"seep", 0x7FFFFFFF, L"run.log"),
               split = Name(heads).FName(L"heads.v2").Ext(L".csv"),
               number = Name(heads).Ext(L".r02");
    const std::vector<Name> all = {heads, second, initial, mesh, plain, log, split, number};
    const std::pair<Name, std::vector<Name>> rows[] = {
        {Make(L"SEEP", 3, L"Heads.CSV"), {heads}},
        {Name(heads).AllAnalyses(), {heads, second}},
        {Name(heads).AllAnalyses().Run(2), {second}},
        {Name(heads).AllSteps(), {heads, initial}},
        {Make(L"seep", -1, L"heads.csv"), {initial}},
        {Name(heads).AllFiles(), {heads, split, number}},
        {Name(heads).FName(L"*"), {heads, split}},
        {Name(heads).AllAnalyses().AllExt(), {heads, second, plain, number}},
        {Name(heads).Ext(L".*S*"), {heads}},
        {Name(heads).Ext(L".r*2"), {number}},
        {Name(heads).Ext(L".r2"), {}},
        {Name(heads).FName(L"heads").Ext(L".v2.csv"), {split}},
        {Name(mesh).AllFiles(), {mesh}},
        {Name(log).AllFiles(), {log}},
        {Name(heads).ProjectFName(L"south"), {}},
        {Name(heads).AllAnalyses().AllSteps().AllFiles(),
         {heads, second, initial, plain, split, number}},
    };
    for (const auto& [pattern, expected] : rows)
    {
        std::vector<Name> selected;
        std::copy_if(all.begin(), all.end(), std::back_inserter(selected),
                     [&p = pattern](const Name& name) { return p.Selects(name); });
        EXPECT_EQ(selected, expected) << testing::PrintToString(pattern.Description());
    }
}
