ql_benchmark(contexts Boost::thread)
