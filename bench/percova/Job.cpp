#include "percova/Job.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace job
{
namespace
{
constexpr double kWidth = 60, kHeight = 20;
} // namespace

Layer::Layer(int nodes)
{
    const int rows = std::max(2, int(std::lround(std::sqrt(nodes / 3.0)))), columns = 3 * rows;
    const double size = kHeight / rows;
    std::mt19937 random(5);
    std::uniform_real_distribution<double> jitter(-0.1, 0.1);
    const auto at = [&](int i, int j) { return i * (columns + 1) + j; };
    for (int i = 0; i <= rows; ++i)
        for (int j = 0; j <= columns; ++j)
        {
            const double u = jitter(random), v = jitter(random);
            x.push_back(kWidth * j / columns + (j % columns == 0 || i % rows == 0 ? 0 : u * size));
            y.push_back(kHeight * i / rows + (i % rows == 0 || j % columns == 0 ? 0 : v * size));
        }
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j)
        {
            const int a = at(i, j), b = at(i, j + 1), c = at(i + 1, j + 1), d = at(i + 1, j);
            for (const int node : {a, b, c, a, c, d})
                triangles.push_back(node);
        }
    for (int j = columns; j > 0; --j)
        if (j <= rows || j > 2 * rows) // the middle third is tight
            sides.push_back({at(rows, j), at(rows, j - 1), j <= rows ? 1 : 2});
    for (int i = rows; i > 0; --i)
        sides.push_back({at(i, 0), at(i - 1, 0), 3});
}

void Layer::WriteGmsh(const std::string& path) const
{
    std::ofstream out(path);
    out.precision(17);
    out << "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$PhysicalNames\n4\n1 1 \"left ground\"\n"
           "1 2 \"right ground\"\n1 3 \"rim\"\n2 4 \"layer\"\n$EndPhysicalNames\n$Nodes\n"
        << x.size() << '\n';
    for (std::size_t n = 0; n < x.size(); ++n)
        out << n + 1 << ' ' << x[n] << ' ' << y[n] << " 0\n";
    out << "$EndNodes\n$Elements\n" << sides.size() + triangles.size() / 3 << '\n';
    std::size_t number = 0;
    for (const Side& side : sides)
        out << ++number << " 1 2 " << side.label << ' ' << side.label << ' ' << side.first + 1
            << ' ' << side.last + 1 << '\n';
    for (std::size_t k = 0; k < triangles.size(); k += 3)
        out << ++number << " 2 2 4 4 " << triangles[k] + 1 << ' ' << triangles[k + 1] + 1 << ' '
            << triangles[k + 2] + 1 << '\n';
    out << "$EndElements\n";
}

void Layer::WriteFreeFem(const std::string& path) const
{
    std::ofstream out(path);
    out.precision(17);
    out << x.size() << ' ' << triangles.size() / 3 << ' ' << sides.size() << '\n';
    for (std::size_t n = 0; n < x.size(); ++n)
        out << x[n] << ' ' << y[n] << " 0\n";
    for (std::size_t k = 0; k < triangles.size(); k += 3)
        out << triangles[k] + 1 << ' ' << triangles[k + 1] + 1 << ' ' << triangles[k + 2] + 1
            << " 4\n";
    for (const Side& side : sides)
        out << side.first + 1 << ' ' << side.last + 1 << ' ' << side.label << '\n';
}

Cost Run(const std::vector<std::string>& command)
{
    Cost cost;
    int ends[2];
    if (::pipe(ends) != 0)
        return cost;
    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = ::fork();
    if (child == 0)
    {
        ::dup2(ends[1], STDOUT_FILENO);
        ::close(ends[0]);
        ::close(ends[1]);
        ::execvp(arguments[0], arguments.data());
        ::_exit(127);
    }
    ::close(ends[1]);
    char part[4096];
    for (ssize_t got; (got = ::read(ends[0], part, sizeof part)) > 0;)
        cost.output.append(part, std::size_t(got));
    ::close(ends[0]);
    int status = 0;
    rusage used{};
    if (child < 0 || ::wait4(child, &status, 0, &used) != child)
        return cost;
    cost.isDone = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    for (const timeval& time : {used.ru_utime, used.ru_stime})
        cost.seconds += double(time.tv_sec) + 1e-6 * double(time.tv_usec);
    cost.bytes = 1024.0 * double(used.ru_maxrss);
    return cost;
}

double NumberBehind(const std::string& in, const std::string& text)
{
    const std::size_t found = in.find(text);
    return found == std::string::npos ? std::numeric_limits<double>::quiet_NaN()
                                      : std::strtod(in.c_str() + found + text.size(), nullptr);
}

const std::string& Folder()
{
    struct Temporary
    {
        std::string path = (std::filesystem::temp_directory_path() / "kvi_bench_XXXXXX").string();
        Temporary()
        {
            if (::mkdtemp(path.data()) == nullptr)
                std::perror("mkdtemp");
        }
        ~Temporary()
        {
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
        }
    };
    static const Temporary folder;
    return folder.path;
}

} // namespace job
