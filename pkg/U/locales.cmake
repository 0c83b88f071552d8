# The legacy encodings are walked in real locales of the system. Tests, benchmarks and the sample host find them
# in a folder of the build, made by the target ql_locales (about six seconds, once); a product ships its own.
# Without localedef or the sources of locales the target does nothing, and who needs a locale does without.
set(QL_LOCALE_DIR "${CMAKE_BINARY_DIR}/locales" CACHE INTERNAL "Where ql_locales puts the legacy locales")
find_program(QL_LOCALEDEF localedef DOC "Makes the legacy locales that tests and benchmarks walk in")

set(locales "")
function(ql_locale name source charmap)
  if(QL_LOCALEDEF AND EXISTS "/usr/share/i18n/locales/${source}")
    set(made "${QL_LOCALE_DIR}/${name}/LC_CTYPE")
    add_custom_command(OUTPUT "${made}"
      COMMAND ${CMAKE_COMMAND} -E make_directory "${QL_LOCALE_DIR}"
      COMMAND ${QL_LOCALEDEF} --no-archive --no-warnings=ascii -i ${source} -f ${charmap} "${QL_LOCALE_DIR}/${name}"
      COMMENT "Making the locale ${name}" VERBATIM)
    set(locales ${locales} "${made}" PARENT_SCOPE)
  endif()
endfunction()
ql_locale(ja_JP.SJIS ja_JP SHIFT_JIS)
ql_locale(ko_KR.CP949 ko_KR CP949)
ql_locale(zh_CN.gb18030 zh_CN GB18030)
ql_locale(en_US.ISO8859-1 en_US ISO-8859-1)
ql_locale(de_DE.UTF-8 de_DE UTF-8)  # for tests: a process whose own numbers have a decimal comma
add_custom_target(ql_locales DEPENDS ${locales})
