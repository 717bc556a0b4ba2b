#include <KVI.h>

#include <cmath>
#include <cstdio>

int main()
{
    const double k = -1e-6; // [m/s], a wrong sign
    const gtl::status legal = dataparamtype::IsRangeValid(dataparam::SaturatedConductivity, k);
    if (!legal.ok())
        std::printf("%s\n", str::as_cstring(legal.as_wstring()).c_str());

    // Four square elements of 1 m, one above the other, on a head of 0 and under a head of 4 m.
    tagMultiVectorInt elements;
    tagMatrixDbl conductivity{4, 4, std::vector<double>(16)};
    const int corners[8] = {1, 1, 1, 1, 0, 0, 0, 0};
    for (const double r : {-1 / std::sqrt(3), 1 / std::sqrt(3)})
        for (const double s : {-1 / std::sqrt(3), 1 / std::sqrt(3)})
        {
            double dN[2][8];
            Shape_Derivative(dN, r, s, corners);
            for (int i = 0; i < 4; ++i)
                for (int j = 0; j < 4; ++j)
                    conductivity(i, j) += dN[0][i] * dN[0][j] + dN[1][i] * dN[1][j];
        }
    for (int e = 0; e < 4; ++e)
        elements.Add({2 * e + 3, 2 * e + 2, 2 * e, 2 * e + 1});
    ISysEqnImpl system;
    system.Initialize(&elements);
    for (int e = 0; e < 4; ++e)
        system.InsertIntoSysCoefMtx(e, &conductivity);
    const tagVectorInt fixed{{0, 1, 8, 9}};
    const tagVectorDbl given{{0, 0, 4, 4}};
    system.FixUnknowns(&fixed, &given);
    system.SolveForUnknownVector_Direct_Sym();
    tagVectorDbl head;
    system.GetUnknownVector(&head);
    std::printf("head at half height %.3f m\n", head.values[4]);
    return std::fabs(head.values[4] - 2) < 1e-12 && !legal.ok() ? 0 : 1;
}
