# Pixels as bytes, the store of frozen frames, and the road of a render through a span.
ql_package(SegMatServices_freezing HEADERS headers INSTALL SMS_Pixels.h PRIVATE indep
  SOURCES
    indep/SMS_Freezing.cpp indep/SMS_FreezingSegmenter.cpp indep/SMS_FrozenFrames.cpp indep/SMS_Pixels.cpp
    indep/SMS_SpanRender.cpp indep/SMS_SpanRenderFrameData.cpp indep/SMS_ViewResizer.cpp)
