#include "platform/platform_library.h"
#include "support/ScratchFolder.h"

using namespace support;

/// Whoever owns the current folder may have put it there.
TEST(Library, IsNotLoadedFromTheCurrentFolder)
{
    const fs::path folder = ScratchFolder(), before = fs::current_path();
    fs::copy_file(KVI_TEST_TEXTS, folder / "kvi_planted.dll");
    fs::current_path(folder);
    const auto load = [](const std::wstring& path) {
        return platform::LoadModule(path, platform::SymbolScope::own);
    };
    EXPECT_EQ(load(L"kvi_planted.dll"), nullptr);
    platform::Module const module = load((folder / "kvi_planted.dll").wstring());
    EXPECT_NE(module, nullptr) << "it could be loaded";
    if (module != nullptr)
        platform::UnloadModule(module);
    fs::current_path(before);
}
