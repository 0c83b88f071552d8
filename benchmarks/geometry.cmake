# Matrices, transforms and rotations beside glm, Eigen and Imath.
find_package(Eigen3 REQUIRED NO_MODULE)
find_package(Imath REQUIRED)
find_path(GLM_INCLUDE glm/glm.hpp REQUIRED)
ql_benchmark(geometry Eigen3::Eigen Imath::Imath)
target_include_directories(bench_geometry SYSTEM PRIVATE "${GLM_INCLUDE}")

include("${CMAKE_CURRENT_LIST_DIR}/geometry_polygon.cmake" OPTIONAL)
