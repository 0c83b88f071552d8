# Ratios beside boost::rational and libavutil, timecode beside snprintf.
find_package(PkgConfig REQUIRED)
pkg_check_modules(LIBAVUTIL REQUIRED IMPORTED_TARGET libavutil)
ql_benchmark(numbers PkgConfig::LIBAVUTIL)
