# A language of 20,000 texts beside gettext and std::unordered_map. The block is made by zdict's writer.
ql_benchmark(dictionary)
target_sources(bench_dictionary PRIVATE "${PROJECT_SOURCE_DIR}/apps/zdict/WriteStored.cpp")
target_include_directories(bench_dictionary PRIVATE
  "${PROJECT_SOURCE_DIR}/apps/zdict" "${PROJECT_SOURCE_DIR}/zstring/lib/source/functionality")
