# ql_compile_dictionary(<source.txt> <output>)
# Compiles a dictionary in text form into its stored form whenever the source changes. Both names are relative
# to the current source and binary folders. A target that needs the file names it among its dependencies.
#
# Works in this repository and from the installed CMake package alike; a library that was built without its tools
# (QL_BUILD_APPS) has no zdict, and then the call stops the configuration.
function(ql_compile_dictionary source output)
  if(NOT TARGET QL::zdict)
    message(FATAL_ERROR "ql_compile_dictionary(${source}): this QLFoundation was built without zdict")
  endif()
  get_filename_component(source "${source}" ABSOLUTE)
  get_filename_component(output "${output}" ABSOLUTE BASE_DIR "${CMAKE_CURRENT_BINARY_DIR}")
  get_filename_component(name "${source}" NAME_WE)
  get_filename_component(folder "${output}" DIRECTORY)
  file(MAKE_DIRECTORY "${folder}")
  add_custom_command(OUTPUT "${output}"
    COMMAND QL::zdict compile "${source}" --name "${name}" --output "${output}"
    DEPENDS QL::zdict "${source}" COMMENT "Compiling the dictionary ${name}" VERBATIM)
endfunction()
