#include "CommandLine.h"

#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

// The wide form of main: the narrow form would lose file names outside the code page.
extern "C" int wmain(int argc, wchar_t** argv)
{
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i)
    {
        const std::u8string text = std::filesystem::path(argv[i]).u8string();
        arguments.emplace_back(text.begin(), text.end());
    }
    return static_cast<int>(percova::RunCommandLine(arguments, std::cout, std::cerr));
}
