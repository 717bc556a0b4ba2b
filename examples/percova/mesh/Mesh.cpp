#include "mesh/Mesh.h"

#include "mesh/MeshBuild.h"
#include "mesh/MshFile.h"
#include "problem/TextFile.h"

#include <new>

namespace percova
{

bool ReadMesh(const std::filesystem::path& path, Mesh& mesh, Faults& faults, double metres,
              const NodeJoin& join)
{
    MshFile file;
    file.name = TextOf(path);
    std::string text, reason;
    if (!ReadWhole(path, text, reason))
    {
        faults.Error(file.name, {}, reason);
        return false;
    }
    try
    {
        MshScanner scanner(text);
        ReadMshFile(scanner, file);
        text = {}; // the mesh needs the memory
        return BuildMesh(file, mesh, faults, metres, join);
    }
    catch (const MshError& error)
    {
        faults.Error(file.name, {"", error.line}, error.text);
    }
    catch (const std::bad_alloc&)
    {
        faults.Error(file.name, {}, "there is not enough memory for this mesh");
    }
    return false;
}

} // namespace percova
