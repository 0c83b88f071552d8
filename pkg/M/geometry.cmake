# Matrices, transforms, rotations.
ql_package(M_geometry HEADERS headers INSTALL M_Vector.h M_Matrix.h M_Rotation.h
  PRIVATE indep
  SOURCES
    indep/M_Kernels.cpp
    indep/M_Matrix3.cpp
    indep/M_Matrix4.cpp
    indep/M_MatrixInverse.cpp
    indep/M_Transform.cpp
    indep/M_TransformRect.cpp
    indep/M_Decompose.cpp
    indep/M_Quaternion.cpp
    indep/M_Rotation.cpp)

ql_tests(M_geometry_tests
  SOURCES tests/GeometryGuide_test.cpp tests/M_Matrix_test.cpp tests/M_Transform_test.cpp tests/M_Rotation_test.cpp)
