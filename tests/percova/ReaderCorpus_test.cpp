#include "fuzz/Replay.h"

TEST(ReaderCorpus, OfMeshesPasses) { fuzz::Replay("mesh", fuzz::CheckMesh); }

TEST(ReaderCorpus, OfProblemsPasses) { fuzz::Replay("problem", fuzz::CheckProblem); }
