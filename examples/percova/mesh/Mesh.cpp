#include "mesh/Mesh.h"

#include "mesh/MeshBuild.h"
#include "mesh/MshFile.h"
#include "problem/TextFile.h"

#include <new>
#include <utility>

namespace percova
{

bool ReadMesh(const std::wstring& path, Mesh& mesh, Faults& faults, double metres,
              const NodeJoin& join)
{
    const std::string name = TextOf(path);
    std::string text, reason;
    try
    {
        if (ReadWhole(path, text, reason))
            return ReadMeshText(std::move(text), name, mesh, faults, metres, join);
        faults.Error(name, {}, reason);
    }
    catch (const std::bad_alloc&)
    {
        faults.Error(name, {}, "there is not enough memory for this mesh");
    }
    return false;
}

bool ReadMeshText(std::string text, const std::string& name, Mesh& mesh, Faults& faults,
                  double metres, const NodeJoin& join)
{
    MshFile file;
    file.name = name;
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
