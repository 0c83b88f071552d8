# ql_add_plugin(NAME
#   SOURCES <files...>       C or C++; one of them defines the entry point (MVPluginEntry.h)
#   PROPERTIES <file>        the property list in text form (MVPropertySection.h), compiled into the plug-in
#   [LIBS <targets...>]      what else the plug-in links
#   [OUTPUT <folder>])       where NAME.so is put; the current binary folder without it
#
# Makes the plug-in NAME.so: a shared object that a host lists by reading its property list and loads on demand. It
# may call the library; one that does not stays independent of it and knows its host through messages alone.
#
# Works in this repository and from the installed CMake package alike.
function(ql_add_plugin name)
  cmake_parse_arguments(P "" "PROPERTIES;OUTPUT" "SOURCES;LIBS" ${ARGN})
  if(NOT P_SOURCES OR NOT P_PROPERTIES OR P_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "ql_add_plugin(${name}): wants SOURCES and PROPERTIES, and knows LIBS and OUTPUT")
  endif()
  get_property(languages GLOBAL PROPERTY ENABLED_LANGUAGES)
  set(suffix "cpp")
  if("C" IN_LIST languages)
    set(suffix "c")
  endif()
  get_filename_component(properties "${P_PROPERTIES}" ABSOLUTE)
  set(section "${CMAKE_CURRENT_BINARY_DIR}/${name}.properties.${suffix}")
  set(script "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/QLPropertyList.cmake")
  add_custom_command(OUTPUT "${section}"
    COMMAND "${CMAKE_COMMAND}" -D "INPUT=${properties}" -D "OUTPUT=${section}" -P "${script}"
    DEPENDS "${properties}" "${script}" COMMENT "Compiling the property list of ${name}" VERBATIM)

  add_library(${name} MODULE ${P_SOURCES} "${section}")
  set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".so"
    C_VISIBILITY_PRESET hidden CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  if(P_OUTPUT)
    set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY "${P_OUTPUT}")
  endif()
  # GCC marks statics of inline functions as unique in the process, and an object with such a mark never leaves
  # memory, whatever dlclose says.
  target_compile_options(${name} PRIVATE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>)
  # As needed: without a call of the library the plug-in does not name it.
  target_link_options(${name} PRIVATE LINKER:--as-needed)
  target_link_libraries(${name} PRIVATE QL::Foundation ${P_LIBS})
endfunction()
