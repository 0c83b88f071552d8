# Conversions, classification, templates and numbers beside ICU, mbrlen, fmt and snprintf.
ql_benchmark(text fmt::fmt ICU::uc ICU::i18n ICU::data)
target_compile_definitions(bench_text PRIVATE QL_LOCALE_DIR="${QL_LOCALE_DIR}")
add_dependencies(bench_text ql_locales)
