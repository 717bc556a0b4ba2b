#include "analysis/model/EarlierRun.h"

#include "analysis/model/Element.h"
#include "mesh/ElementFinder.h"
#include "mesh/MeshGeometry.h"
#include "problem/NumberText.h"
#include "problem/TextFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

namespace percova
{
namespace
{

/// A file that cannot be used, with the reason.
struct Unusable
{
    std::string reason;
};

std::string TextAt(const std::wstring& path)
{
    std::string text, reason;
    if (!ReadWhole(path, text, reason))
        throw Unusable{TextOf(path) + ' ' + reason};
    return text;
}

/// The value of attribute @p name in a tag; empty for none.
std::string_view Attribute(std::string_view tag, const std::string& name)
{
    const std::size_t at = tag.find(' ' + name + "=\"");
    if (at == std::string_view::npos)
        return {};
    const std::size_t begin = at + name.size() + 3;
    return tag.substr(begin, tag.find('"', begin) - begin);
}

std::vector<unsigned char> Decoded(std::string_view text)
{
    std::array<int, 256> digits{};
    digits.fill(-1);
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t i = 0; i < kDigits.size(); ++i)
        digits[static_cast<unsigned char>(kDigits[i])] = static_cast<int>(i);
    std::vector<unsigned char> bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text)
    {
        const int digit = digits[static_cast<unsigned char>(c)];
        if (digit < 0)
            continue; // blanks and padding
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        count += 6;
        if (count < 8)
            continue;
        count -= 8;
        bytes.push_back(static_cast<unsigned char>(bits >> count & 255));
    }
    return bytes;
}

/// A VTU file as percova writes it: binary arrays within the tags, with a header of eight bytes.
class Vtu
{
public:
    explicit Vtu(const std::wstring& path) : path_(path), text_(TextAt(path)) {}

    template <class Number>
    std::vector<Number> Array(const std::string& name) const
    {
        for (std::size_t at = text_.find("<DataArray"); at != std::string::npos;
             at = text_.find("<DataArray", at + 1))
        {
            const std::size_t close = text_.find('>', at), end = text_.find('<', at + 1);
            if (close == std::string::npos || end == std::string::npos || end < close)
                break;
            if (Attribute(std::string_view(text_).substr(at, close - at), "Name") != name)
                continue;
            const std::vector<unsigned char> bytes =
                Decoded(std::string_view(text_).substr(close + 1, end - close - 1));
            if (bytes.size() < 8)
                break;
            std::vector<Number> numbers((bytes.size() - 8) / sizeof(Number));
            if (!numbers.empty())
                std::memcpy(numbers.data(), bytes.data() + 8, numbers.size() * sizeof(Number));
            return numbers;
        }
        throw Unusable{TextOf(path_) + " has no array \"" + name + "\" as percova writes it"};
    }

private:
    std::wstring path_;
    std::string text_;
};

/// @p text without the signs that XML writes in other words.
std::string Unescaped(std::string_view text)
{
    constexpr std::pair<std::string_view, char> kWords[] = {
        {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&amp;", '&'}};
    std::string plain;
    for (std::string_view rest = text; !rest.empty();)
    {
        const auto word = std::find_if(std::begin(kWords), std::end(kWords), [&](const auto& row) {
            return rest.starts_with(row.first);
        });
        const bool isWord = word != std::end(kWords);
        plain += isWord ? word->second : rest.front();
        rest.remove_prefix(isWord ? word->first.size() : 1);
    }
    return plain;
}

/// The file of the wanted time in a collection; the last one where none is wanted.
std::wstring FileInCollection(const std::wstring& path, std::optional<double> wanted)
{
    const std::string text = TextAt(path);
    std::string found;
    for (std::size_t end = 0, at; (at = text.find("<DataSet", end)) != std::string::npos;)
    {
        end = text.find('>', at);
        if (end == std::string::npos)
            break;
        const std::string_view tag = std::string_view(text).substr(at, end - at);
        const std::string_view time = Attribute(tag, "timestep");
        double value = 0;
        (void)std::from_chars(time.data(), time.data() + time.size(), value);
        if (!wanted || std::abs(value - *wanted) <= 1e-9 * std::abs(*wanted))
            found = Attribute(tag, "file");
    }
    if (found.empty())
        throw Unusable{TextOf(path) + " has no result" +
                       (wanted ? " at the time " + Short(*wanted, 12) : std::string())};
    return Beside(path, Unescaped(found));
}

std::wstring VtuOf(const Problem& problem)
{
    const std::wstring& path = problem.initial.file;
    if (path.ends_with(L".vtu"))
        return path;
    std::optional<double> wanted;
    if (!IsMissingValue(problem.initial.time))
        wanted = problem.initial.time / problem.units.seconds;
    if (path.ends_with(L".pvd"))
        return FileInCollection(path, wanted);
    const nlohmann::json json = nlohmann::json::parse(TextAt(path), nullptr, false);
    if (!json.is_object() || !json.contains("collection") || !json["collection"].is_string())
        throw Unusable{TextOf(path) + " is no result.json that names its collection"};
    return FileInCollection(Beside(path, json["collection"].get<std::string>()), wanted);
}

/// The mesh of a VTU, as far as needed for point location.
Mesh MeshOf(const Vtu& file, double metres)
{
    Mesh mesh;
    const std::vector<double> points = file.Array<double>("Points");
    for (std::size_t k = 0; k + 2 < points.size(); k += 3)
    {
        mesh.x.push_back(points[k] * metres);
        mesh.y.push_back(points[k + 1] * metres);
    }
    const auto nodes = file.Array<std::int32_t>("connectivity");
    const auto ends = file.Array<std::int32_t>("offsets");
    const auto types = file.Array<std::uint8_t>("types");
    mesh.start.push_back(0);
    mesh.nodes.assign(nodes.begin(), nodes.end());
    bool right = ends.size() == types.size() && !ends.empty();
    for (std::size_t e = 0; e < ends.size() && right; ++e)
    {
        mesh.type.push_back(types[e] == 5    ? ElementType::T3
                            : types[e] == 9  ? ElementType::Q4
                            : types[e] == 22 ? ElementType::T6
                                             : ElementType::Q8);
        right = ends[e] - mesh.start.back() == NodeCount(mesh.type.back());
        mesh.start.push_back(ends[e]);
    }
    right = right && std::size_t(mesh.start.back()) == nodes.size();
    for (const int node : mesh.nodes)
        right = right && node >= 0 && std::size_t(node) < mesh.Nodes();
    if (!right)
        throw Unusable{"its cells are not those of a mesh that percova writes"};
    return mesh;
}

bool IsSame(const Mesh& one, const Mesh& two)
{
    const double size = PrecisionFor(one).epsilon[0];
    for (std::size_t n = 0; n < one.Nodes(); ++n)
        if (std::hypot(one.x[n] - two.x[n], one.y[n] - two.y[n]) > size)
            return false;
    return true;
}

std::vector<double> Interpolated(const Mesh& from, const std::vector<double>& head, const Mesh& to)
{
    const ElementFinder finder(from);
    std::vector<double> found(to.Nodes());
    for (std::size_t n = 0; n < to.Nodes(); ++n)
    {
        const Point at{to.x[n], to.y[n]};
        const std::vector<ElementPlace> places = finder.At(from, at);
        constexpr std::size_t kMost = 1000; // elements around one node of a mesh
        if (places.empty() || places.size() > kMost)
            throw Unusable{"its mesh " +
                           std::string(places.empty() ? "does not cover" : "overlaps itself at") +
                           " node " + std::to_string(to.number[n]) + " at (" + Short(at.x) + ", " +
                           Short(at.y) + ')'};
        const ElementPlace& place = places.front();
        const ElementType type = from.type[place.element];
        double N[8], sum = 0;
        Shape_Function(N, place.r, place.s, PlaceFlags(type));
        for (int k = 0; k < NodeCount(type); ++k)
            sum += N[PlaceOf(type, k)] * head[from.ElementNodes(place.element)[k]];
        found[n] = sum;
    }
    return found;
}

} // namespace

bool ReadEarlierHeads(const Model& model, std::vector<double>& head, std::string& reason)
try
{
    const double metres = model.problem.units.metres;
    const Vtu file(VtuOf(model.problem));
    std::vector<double> heads = file.Array<double>("head");
    for (double& value : heads)
        value *= metres;
    const Mesh mesh = MeshOf(file, metres);
    if (heads.size() != mesh.Nodes() ||
        !std::all_of(heads.begin(), heads.end(), [](double h) { return std::isfinite(h); }))
        throw Unusable{"its heads are not numbers, one for each point"};
    head = mesh.Nodes() == model.mesh.Nodes() && IsSame(mesh, model.mesh)
               ? heads
               : Interpolated(mesh, heads, model.mesh);
    return true;
}
catch (const Unusable& unusable)
{
    reason = "the initial state cannot be taken from " + TextOf(model.problem.initial.file) + ": " +
             unusable.reason;
    return false;
}

} // namespace percova
