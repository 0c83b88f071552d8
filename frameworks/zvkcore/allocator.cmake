ql_package(zvkcore_allocator HEADERS headers
  INSTALL zvkcore/allocator/RecyclingAllocator.h)
