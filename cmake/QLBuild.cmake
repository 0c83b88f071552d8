# Functions with which every package states its sources, headers, tests and benchmarks.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(PROJECT_IS_TOP_LEVEL)
  if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
  endif()
  find_program(QL_CCACHE ccache)
  if(QL_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_C_COMPILER_LAUNCHER "${QL_CCACHE}")
    set(CMAKE_CXX_COMPILER_LAUNCHER "${QL_CCACHE}")
  endif()
  if(QL_BUILD_TESTS)
    enable_testing()
    find_package(GTest REQUIRED)
    include(GoogleTest)
  endif()
endif()

# Flags of this project's own targets; a consumer sees none of them.
add_library(ql_private_flags INTERFACE)
target_compile_options(ql_private_flags INTERFACE
  -Wall -Wextra -Wpedantic $<$<BOOL:${QL_WARNINGS_AS_ERRORS}>:-Werror>
  # Exact results must not depend on a compiler's liberty to fuse a multiplication and an addition.
  -ffp-contract=off)
if(QL_SANITIZE)
  target_compile_options(ql_private_flags INTERFACE -fsanitize=${QL_SANITIZE} -fno-sanitize-recover=all
                         -fno-omit-frame-pointer -g1)
  target_link_options(ql_private_flags INTERFACE -fsanitize=${QL_SANITIZE})
endif()
if(QL_COVERAGE)
  target_compile_options(ql_private_flags INTERFACE --coverage -O0 -g)
  target_link_options(ql_private_flags INTERFACE --coverage)
endif()

# The public face: include folders and what public headers need. Packages add their folders to it.
function(ql_add_foundation_targets)
  add_library(qlfoundation_objects OBJECT)
  set_target_properties(qlfoundation_objects PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden C_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(qlfoundation_objects
    PUBLIC Threads::Threads Boost::headers
    PRIVATE ql_private_flags Boost::thread Boost::json ICU::uc ICU::i18n ICU::data fmt::fmt
            spdlog::spdlog ${CMAKE_DL_LIBS})
  target_compile_definitions(qlfoundation_objects PRIVATE BOOST_ASIO_NO_DEPRECATED)
  target_include_directories(qlfoundation_objects SYSTEM PRIVATE ${XXHASH_INCLUDE_DIRS})  # compiled in (XXH_INLINE_ALL)

  add_library(qlfoundation SHARED $<TARGET_OBJECTS:qlfoundation_objects>)
  add_library(QL::Foundation ALIAS qlfoundation)
  set_target_properties(qlfoundation PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${QL_SOVERSION} EXPORT_NAME Foundation LINKER_LANGUAGE CXX)
  # boost::thread is part of the interface: public headers name boost::thread_specific_ptr and its kin.
  target_link_libraries(qlfoundation
    PUBLIC Threads::Threads Boost::headers Boost::thread
    PRIVATE ql_private_flags Boost::json ICU::uc ICU::i18n ICU::data fmt::fmt
            spdlog::spdlog ${CMAKE_DL_LIBS})
  target_link_options(qlfoundation PRIVATE "LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map")
  set_property(TARGET qlfoundation APPEND PROPERTY LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/exports.map")
  # The library's calls of its own functions go straight there: an allocation is too short for a detour by the
  # procedure linkage table.
  target_link_options(qlfoundation PRIVATE LINKER:-Bsymbolic-functions)
  target_compile_features(qlfoundation PUBLIC cxx_std_20)
  target_include_directories(qlfoundation INTERFACE
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/qlfoundation>)

  # What a unit test links: the same objects, with the private headers within reach.
  add_library(ql_unit INTERFACE)
  target_link_libraries(ql_unit INTERFACE qlfoundation_objects $<TARGET_OBJECTS:qlfoundation_objects>
    ql_private_flags Boost::thread Boost::json ICU::uc ICU::i18n ICU::data fmt::fmt
    spdlog::spdlog ${CMAKE_DL_LIBS})
endfunction()

# ql_package(NAME
#   HEADERS <folder>           the folder that users put on their include path
#   INSTALL <files...>         which of its files are installed (relative to the folder); others are in-tree only
#   PRIVATE <folders...>       folders of private headers
#   SOURCES <files...>
#   LIBS <targets...>)         further libraries that only this package calls
function(ql_package name)
  cmake_parse_arguments(P "" "HEADERS" "INSTALL;PRIVATE;SOURCES;LIBS" ${ARGN})
  set(here "${CMAKE_CURRENT_SOURCE_DIR}")
  list(TRANSFORM P_SOURCES PREPEND "${here}/")
  list(TRANSFORM P_PRIVATE PREPEND "${here}/")
  target_sources(qlfoundation_objects PRIVATE ${P_SOURCES})
  target_include_directories(qlfoundation_objects
    PUBLIC $<BUILD_INTERFACE:${here}/${P_HEADERS}> PRIVATE ${P_PRIVATE})
  target_include_directories(ql_unit INTERFACE ${P_PRIVATE})
  target_include_directories(qlfoundation INTERFACE $<BUILD_INTERFACE:${here}/${P_HEADERS}>)
  if(P_LIBS)
    target_link_libraries(qlfoundation_objects PRIVATE ${P_LIBS})
    target_link_libraries(qlfoundation PRIVATE ${P_LIBS})
    target_link_libraries(ql_unit INTERFACE ${P_LIBS})
  endif()
  foreach(header IN LISTS P_INSTALL)
    get_filename_component(folder "${header}" DIRECTORY)
    install(FILES "${here}/${P_HEADERS}/${header}"
            DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/qlfoundation/${folder}" COMPONENT Development)
    set_property(GLOBAL APPEND PROPERTY QL_PUBLIC_HEADERS "${header}")
  endforeach()
endfunction()

# ql_tests(NAME SOURCES <files...> [SHARED] [LIBS <targets...>])
# One test program. Unit tests link the objects; with SHARED the program links the shared library and sees
# only what a user sees.
function(ql_tests name)
  if(NOT QL_BUILD_TESTS)
    return()
  endif()
  cmake_parse_arguments(P "SHARED" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${P_SOURCES})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests/support")
  if(P_SHARED)
    target_link_libraries(${name} PRIVATE ql_private_flags qlfoundation)
  else()
    target_link_libraries(${name} PRIVATE ql_unit)
  endif()
  target_link_libraries(${name} PRIVATE GTest::gtest GTest::gtest_main ${P_LIBS})
  set(properties TIMEOUT 300)
  if(QL_WATCH_LOCK_ORDER)
    target_link_libraries(${name} PRIVATE ql_lock_order_watch)
    list(APPEND properties FIXTURES_REQUIRED lock_order
         ENVIRONMENT "QL_LOCK_ORDER_FILE=${PROJECT_BINARY_DIR}/lock_order.txt")
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES PROPERTIES ${properties})
endfunction()
