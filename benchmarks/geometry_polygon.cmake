# Hulls, clips and areas beside Boost.Geometry.
ql_benchmark(geometry_polygon Boost::headers)
# The peer's hull reads a variable of which GCC cannot see that it is set.
target_compile_options(bench_geometry_polygon PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
