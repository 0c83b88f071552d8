# Posting and reading an error state are steps inside a report that no public call offers alone. So this
# program is made of the library's objects instead of linking the shared library.
add_executable(bench_errors errors.cpp support/Ratio.cpp)
target_include_directories(bench_errors PRIVATE support)
target_link_libraries(bench_errors PRIVATE benchmark::benchmark ql_unit)
