# Trees and their JSON beside Boost.PropertyTree and its JSON, values beside boost::any.
ql_benchmark(values)
