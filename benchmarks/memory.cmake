# The front door beside the C heap, and the road of a large block beside a bare allocator. The other allocator is
# loaded at run time: linked, it would replace malloc in the whole program.
ql_benchmark(memory ${CMAKE_DL_LIBS})
