#include "fuzz/Replay.h"

TEST(FuzzCorpus, OfLinesPasses) { fuzz::Replay("lines", fuzz::CheckLines); }

TEST(FuzzCorpus, OfRingsPasses) { fuzz::Replay("rings", fuzz::CheckRings); }
