/// @file
/// The memory that BLAS, the library of dense matrix products below MUMPS, takes for itself.
#pragma once

#include <string>

namespace mumps
{

/// Makes BLAS allocate its work buffers, which it then keeps. OpenBLAS allocates them in the first
/// product of each thread, and where memory has run out it tries again without end; so this comes
/// before MUMPS fills the memory.
/// @returns why not, empty when they are there
std::string ReserveBlasMemory();

} // namespace mumps
