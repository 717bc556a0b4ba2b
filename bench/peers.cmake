# The libraries a user would pick instead, as Debian packages them; scripts/install-deps bench
# fetches them. One line an area.
kvi_bench(foundation)
kvi_bench(data)
kvi_bench(numerics)
kvi_bench(fn)
