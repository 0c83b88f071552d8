# Points and rectangles, as other packages' signatures name them.
ql_package(zvkcore_geom HEADERS headers INSTALL zvkcore/geom/Point.h zvkcore/geom/Rect.h)
