#include "CommandLine.h"

#include <csignal>
#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv)
{
    // A file that grows too large and a reader that has left are failures of writing like others.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return static_cast<int>(percova::RunCommandLine(arguments, std::cout, std::cerr));
}
