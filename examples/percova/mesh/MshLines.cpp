#include "mesh/MshLines.h"

#include "KVI.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace percova
{
namespace
{

constexpr std::size_t kLines = 8192; ///< that a thread reads at a time

template <class Item>
void Append(std::vector<Item>& all, const std::vector<Item>& more)
{
    all.insert(all.end(), more.begin(), more.end());
}

void Append(MshFile::Elements& all, const MshFile::Elements& more)
{
    Append(all.number, more.number);
    Append(all.type, more.type);
    Append(all.physical, more.physical);
    Append(all.line, more.line);
    Append(all.nodes, more.nodes);
}

void Append(MshFile& file, const MshFile& part)
{
    Append(file.nodeNumber, part.nodeNumber);
    Append(file.x, part.x);
    Append(file.y, part.y);
    Append(file.z, part.z);
    Append(file.nodeLine, part.nodeLine);
    Append(file.plane, part.plane);
    Append(file.lines, part.lines);
    for (const auto& [type, count] : part.refused)
        file.refused[type] += count;
    for (const auto& [type, line] : part.refusedLine)
        file.refusedLine.emplace(type, line); // the first one stays
}

using Read = std::function<void(MshScanner&, std::size_t, MshFile&)>;

/// @returns false without a change where the entries are to be read in sequence
bool ReadPieces(MshScanner& scanner, std::size_t count, MshFile& file, const Read& read)
{
    if (scanner.binary || count < 2 * kLines)
        return false;
    std::vector<MshScanner> pieces = scanner.Pieces(count, kLines);
    if (pieces.empty())
        return false;
    std::vector<MshFile> parts(pieces.size());
    // A piece that begins with an entry and has as many as lines ends with one, so the next one
    // begins with one too.
    std::atomic<bool> fits = true;
    sys::thread::task::ParallelForPieces(
        0, pieces.size(), 1, [&](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end && fits; ++i)
                try
                {
                    read(pieces[i], std::min(kLines, count - i * kLines), parts[i]);
                    if (!pieces[i].AtEnd())
                        fits = false;
                }
                catch (const MshError&)
                {
                    fits = false; // to be found again, with what comes before it
                }
        });
    if (!fits)
        return false;
    for (MshFile& part : parts)
    {
        Append(file, part);
        part = {};
    }
    scanner.ContinueAfter(pieces.back());
    return true;
}

} // namespace

void ReadLines(MshScanner& scanner, std::size_t count, MshFile& file, const Read& read)
{
    if (!ReadPieces(scanner, count, file, read))
        read(scanner, count, file);
}

} // namespace percova
