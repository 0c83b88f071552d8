ql_package(zvkcore_allocator HEADERS headers
  INSTALL zvkcore/allocator/RecyclingAllocator.h zvkcore/allocator/MemoryRecycler.h
  PRIVATE source/allocator
  SOURCES source/allocator/MemoryRecycler.cpp source/allocator/RecyclerPool.cpp
          source/allocator/SmallBlockAllocator.cpp source/allocator/SystemMemory.cpp)
ql_tests(zvkcore_allocator_tests SOURCES tests/Allocator_test.cpp)
