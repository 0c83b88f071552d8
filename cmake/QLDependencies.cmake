# What the library calls. Nothing that only tests, benchmarks or the sample host need stands here.
set(CMAKE_THREAD_PREFER_PTHREAD ON)
find_package(Threads REQUIRED)
find_package(Boost 1.81 REQUIRED COMPONENTS thread json)
find_package(ICU REQUIRED COMPONENTS uc i18n data)
find_package(fmt REQUIRED)
find_package(spdlog REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(XXHASH REQUIRED IMPORTED_TARGET libxxhash)
