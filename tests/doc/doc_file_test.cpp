#include "doc/doc_file.h"
#include "support/ScratchFolder.h"
#include "sys/sys_file.h"

using doc::file::FindFiles;
using doc::file::GetPath;
using doc::file::MakeFolder;
using doc::file::Name;

namespace
{
Step StepOf(int value) { return Step::CreateFromInt(value); }

/// A project in a folder of its own, empty at first.
class DocumentFiles : public support::FolderTest
{
protected:
    Name Make(const std::wstring& analysis, int step, const std::wstring& file) const
    {
        Name name = Name().ProjectPath(root + L"north.kvi").Analysis(analysis);
        return name.Step(StepOf(step)).FNameExt(file);
    }
    /// @returns whether there was no such file before
    bool Write(const Name& name) const
    {
        std::wstring path, empty;
        EXPECT_EQ(MakeFolder(path, name), gtl::status());
        if (sys::file::Exists(path))
            return false;
        EXPECT_TRUE(sys::file::GetTempFilename(empty).ok());
        EXPECT_TRUE(sys::file::Copy(empty, path).ok());
        EXPECT_TRUE(sys::file::DeleteFiles(root, 0).ok());
        return true;
    }
    std::vector<std::wstring> Found(const Name& pattern) const
    {
        std::vector<Name> found;
        EXPECT_TRUE(FindFiles(found, pattern).ok());
        std::vector<std::wstring> texts;
        for (const Name& name : found)
            texts.push_back(name.Description().substr(root.size()));
        return texts;
    }

    const std::wstring root = In("");
    static constexpr int kUnset = 0x7FFFFFFF;
};
} // namespace

TEST_F(DocumentFiles, HavePathsThatEverySystemTakes)
{
    const std::pair<Name, const wchar_t*> rows[] = {
        {Make(L"seep", 3, L"heads.csv"), L"seep\\3\\heads.csv"},
        {Make(L"seep", 3, L"heads.csv").Run(2), L"seep&r2\\3\\heads.csv"},
        {Make(L"seep", -1, L"heads.csv"), L"seep\\0\\heads.csv"},
        {Make(L"seep", kUnset, L"run.log"), L"seep\\run.log"},
        {Make(L"", kUnset, L"mesh.msh"), L"mesh.msh"},
        {Make(L"a:b?", kUnset, L"x<y>.t|t"), L"a&4b&7\\x&5y&6.t&9t"},
        {Make(L"con", kUnset, L"aux.txt"), L"&con\\&aux.txt"},
        {Make(L"no. 1 ", kUnset, L"a "), L"no. 1&_\\a&_"},
        {Make(L"et al.", kUnset, L"a."), L"et al.&\\a.&"},
        {Make(L"nul.1", kUnset, L"prn.a.b"), L"&nul.1\\&prn.a.b"},
        {Make(L"et al.", 0, L"a").Run(1), L"et al.&&r1\\0\\a"},
        {Make(L"conin$", kUnset, L"com\u00B2.a"), L"&conin$\\&com\u00B2.a"},
        {Make(L"...", kUnset, L"..a"), L"...&\\..a"},
        {Make(L"&r2", kUnset, L"a"), L"&1r2\\a"},
    };
    for (const auto& [name, expected] : rows)
    {
        std::wstring path;
        EXPECT_TRUE(GetPath(path, name).ok());
        EXPECT_EQ(path, root + L"north\\" + expected);
    }
}

TEST_F(DocumentFiles, NamesThatLeaveTheDocumentsFolderAreRefused)
{
    const Name good = Make(L"seep", 3, L"heads.csv");
    std::vector<Name> rows = {Name(good).AllSteps(), Name(good).Step(kvi::step::Last()),
                              Name(good).Step(StepOf(-5)), Name(good).ClearAnalysis(),
                              Make(L"", kUnset, L"a").Run(1)};
    for (const auto& analysis : std::vector<std::wstring>{
             L"..", L".", L"..\\..\\x", L"a\\b", L"a/b", L"C:\\x", L"*", std::wstring(L"a\0b", 3)})
        rows.push_back(Name(good).Analysis(analysis));
    const std::pair<const wchar_t*, const wchar_t*> files[] = {
        {L"..\\x", L".csv"}, {L"/etc/x", L".csv"}, {L"..", L""},   {L".", L"."},
        {L"", L".."},        {L"a", L".a\\b"},     {L"a", L"csv"}, {L"", L""},
        {L"*", L""},         {L"a", L".*"},        {L"a", L".r*"}};
    for (const auto& [name, ext] : files)
        rows.push_back(Name(good).FName(name).Ext(ext));
    for (const wchar_t* project : {L"", L"C:\\dams\\", L"C:\\dams\\.."})
        rows.push_back(Name(good).ProjectPath(project));
    for (const Name& name : rows)
    {
        std::wstring path = L"as it was";
        EXPECT_FALSE(GetPath(path, name).ok()) << testing::PrintToString(name.Description());
        EXPECT_FALSE(MakeFolder(path, name).ok());
        EXPECT_EQ(path, L"as it was");
    }
    EXPECT_FALSE(sys::file::Exists(root + L"north"));
    std::vector<Name> found(1);
    EXPECT_FALSE(FindFiles(found, Name(good).Analysis(L"..").AllSteps().AllFiles()).ok());
    EXPECT_FALSE(FindFiles(found, Name(good).ProjectPath(L"")).ok());
    EXPECT_EQ(found.size(), 1u);
}

TEST_F(DocumentFiles, AreFoundByPatterns)
{
    const Name heads = Make(L"seep: \u00c4.", 3, L"heads.r2");
    for (const Name& name : {heads, Name(heads).Ext(L".r10"), Name(heads).Step(StepOf(0)),
                             Name(heads).Run(2), Make(L"con", 11, L"con.txt"),
                             Make(L"con", kUnset, L"plain"), Make(L"", kUnset, L"mesh.msh")})
        EXPECT_TRUE(Write(name));
    EXPECT_FALSE(Write(heads));
    // Folders that no name stands for.
    for (const wchar_t* alien : {L"north\\con", L"north\\&con\\03", L"north\\a&r", L"north\\b&rx",
                                 L"north\\&con\\2147483647", L"north\\&con\\x"})
        EXPECT_TRUE(sys::file::CreateDirectory(root + alien).ok() || alien[6] == L'c');

    using Texts = std::vector<std::wstring>;
    const std::wstring seep = L"north.kvi\\seep: \u00c4.";
    const std::wstring two = seep + L"\\3\\heads.r2", ten = seep + L"\\3\\heads.r10",
                       initial = seep + L"\\0\\heads.r2", second = seep + L" (2)\\3\\heads.r2";
    EXPECT_EQ(Found(Name(heads).AllExt()), (Texts{two, ten}));
    EXPECT_EQ(Found(Name(heads).AllSteps()), (Texts{initial, two}));
    EXPECT_EQ(Found(Name(heads).AllAnalyses().AllSteps().AllFiles()),
              (Texts{L"north.kvi\\con\\11\\con.txt", second, initial, two, ten}));
    EXPECT_EQ(Found(Make(L"*", kUnset, L"*")), (Texts{L"north.kvi\\con\\plain"}));
    EXPECT_EQ(Found(Make(L"", kUnset, L"*")), (Texts{L"north.kvi\\mesh.msh"}));
    EXPECT_EQ(Found(Make(L"none", -2, L"*")), Texts());
    EXPECT_EQ(Found(Make(L"*", -2, L"*").ProjectFName(L"south")), Texts());
}
