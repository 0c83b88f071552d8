# Streams beside the generators and distributions of the standard library.
ql_benchmark(random)
