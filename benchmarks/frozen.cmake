# Spans of frames and their text beside a bare map and the bare coding of bytes.
ql_benchmark(spans)
