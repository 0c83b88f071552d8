# Spans of frames and their text beside a bare map and the bare coding of bytes.
ql_benchmark(spans)

# One frozen frame beside zlib, and the conversion of its pixels beside a copy.
find_package(ZLIB REQUIRED)
ql_benchmark(frozen ZLIB::ZLIB)
