# The libraries a user would pick instead, as Debian packages them; scripts/install-deps bench
# fetches them. One line an area.
kvi_bench(foundation)
kvi_bench(data)
kvi_bench(numerics LIBS openblas)
kvi_bench(fn LIBS kvi_eigen)
# (GCC 12 suspects the undefined registers in its own AVX-512 headers.)
# The peers at their best on this machine; KVI itself is the portable build.
set_source_files_properties(fn/FredXing_fast_peers.cpp PROPERTIES COMPILE_OPTIONS "-Ofast;-march=native")
set_source_files_properties(fn/FredXing_eigen_peer.cpp PROPERTIES COMPILE_OPTIONS "-O3;-march=native;-ffp-contract=fast;-Wno-maybe-uninitialized")
