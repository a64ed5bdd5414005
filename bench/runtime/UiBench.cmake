zelmor_bench(NAME bench_grid SOURCES bench_grid.cpp LIBS zelmor_runtime)
