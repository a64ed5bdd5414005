zelmor_bench(NAME bench_grid SOURCES bench_grid.cpp LIBS zelmor_bench_window)
zelmor_bench(NAME bench_find SOURCES bench_find.cpp LIBS zelmor_bench_window)
