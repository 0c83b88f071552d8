# Files of plug-ins beside bare libelf and the bare loader.
ql_benchmark(plugins_files PkgConfig::LIBELF ${CMAKE_DL_LIBS})
target_compile_definitions(bench_plugins_files PRIVATE QL_PLUGIN_FILE="${PROJECT_BINARY_DIR}/plugins/samples/failing.so")
add_dependencies(bench_plugins_files ql_sample_plugins)

# Suites by name beside a map, and a message beside a bare call.
ql_benchmark(plugins_core)
