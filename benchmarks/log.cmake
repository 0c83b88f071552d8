# Two programs, since the log asks for its file once a process.
ql_benchmark(log spdlog::spdlog)
ql_benchmark(log_off spdlog::spdlog)
