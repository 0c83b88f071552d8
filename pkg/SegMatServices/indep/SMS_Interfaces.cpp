// The interfaces of the services. Their destructors stand here, so that each class has one home for its type
// information, and casts and exceptions work between a host, this library and a plug-in. No state.
#include "SegMatServices.h"

namespace tessaly {

CheckoutReceipt::~CheckoutReceipt() = default;
RenderFrameData::~RenderFrameData() = default;
CrossRenderCache::~CrossRenderCache() = default;
SegMatBase::~SegMatBase() = default;
Segmenter::~Segmenter() = default;
Matter::~Matter() = default;
Creator<Segmenter>::~Creator() = default;
Value::~Value() = default;
Computator::~Computator() = default;
HostCallbacks::~HostCallbacks() = default;

}  // namespace tessaly
