ql_benchmark(threads)
