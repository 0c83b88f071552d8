# The platform's half of the plug-in host: files in a folder, property lists in files, code in memory.
ql_package(marshvetch2_edge HEADERS headers INSTALL MVPluginEntry.h MVPropertySection.h PRIVATE sources/edge
  SOURCES
    sources/edge/MV_EdgeCode.cpp
    sources/edge/MV_EdgeFile.cpp
    sources/edge/MV_EdgeScan.cpp
    sources/edge/MVp_ElfFile.cpp
    sources/edge/MVp_PropertySection.cpp
  LIBS PkgConfig::LIBELF)

# Over real plug-in files; the second program sees what a host sees.
ql_tests(MVEdge_tests SOURCES tests/edge/PropertyFile_test.cpp LIBS ql_test_support)
ql_tests(MVPlugins_tests SHARED SOURCES tests/edge/PluginFolder_test.cpp tests/edge/SamplePlugins_test.cpp)
if(QL_BUILD_TESTS)
  target_compile_definitions(MVEdge_tests PRIVATE QL_SAMPLE_PLUGIN="${PROJECT_BINARY_DIR}/plugins/samples/ease.so")
  target_compile_definitions(MVPlugins_tests PRIVATE QL_PLUGINS_DIR="${PROJECT_BINARY_DIR}/plugins")
  target_include_directories(MVPlugins_tests PRIVATE "${PROJECT_SOURCE_DIR}/plugins")
  add_dependencies(MVEdge_tests ql_sample_plugins)
  add_dependencies(MVPlugins_tests ql_sample_plugins)
endif()
