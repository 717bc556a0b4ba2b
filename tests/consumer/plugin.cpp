// A plug-in with message texts of its own.
#include <KVI.h>

#if defined(_WIN32)
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

/// Solves two springs in a row, their ends moved to 0 and PLUGIN_CODE, and writes a message with
/// the middle's place.
EXPORTED void Describe(wchar_t* text, unsigned room)
{
    App::Instance().AddTextsOf(reinterpret_cast<const void*>(&Describe));
    tagMultiVectorInt springs;
    springs.Add({0, 1});
    springs.Add({1, 2});
    const tagMatrixDbl stiffness{2, 2, {4, -4, -4, 4}};
    ISysEqnImpl system;
    system.Initialize(&springs);
    system.InsertIntoSysCoefMtx(0, &stiffness);
    system.InsertIntoSysCoefMtx(1, &stiffness);
    const tagVectorInt ends{{0, 2}};
    const tagVectorDbl given{{0, PLUGIN_CODE}};
    system.FixUnknowns(&ends, &given);
    system.SolveForUnknownVector_Direct_Sym();
    tagVectorDbl x;
    system.GetUnknownVector(&x);
    const gtl::status middle(PLUGIN_CODE, std::to_wstring(x.values[1]));
    text[middle.as_wstring().copy(text, room - 1)] = 0;
}

/// To be called before the plug-in is unloaded.
EXPORTED void Leave() { App::Instance().RemoveTextsOf(reinterpret_cast<const void*>(&Describe)); }
