/// Where a host and a segmentation plug-in meet: the factory of segmenters, the interfaces that they
/// implement, the view of the clip that they render from, the callbacks of the host, and a keyed cache of
/// computed values.
///
/// The algorithms live in plug-ins; the frames that a user stroked and the spans around them live in
/// `SpanManager` (SMS_SpanManager.h). A plug-in, when it is started:
///
///     class Maker : public tessaly::Creator<tessaly::Segmenter> { ... };
///     static Maker g_maker;
///     tessaly::SegmenterProperties properties;
///     properties.name = "My Segmenter"_utf8;
///     tessaly::RegisterCreator<tessaly::Segmenter>(&g_maker, properties);
///
/// Ground rules. Frames are numbered in the numbering of the object on which an operation is called: what a
/// segmenter is told is local to its span, where frame 0 is the frame with strokes and numbers rise as the
/// span reaches away from it. Pointers are not null unless that is said, and shared ones may be kept.
/// Whatever an implementation throws passes through the library unchanged. The order of virtual operations is
/// part of the binary interface: they stay where they are, and new ones go behind the last.
///
/// Threads. A render calls the objects of one span on one thread at a time. The factory, the callbacks and
/// the global cache index may be used on any thread; the callbacks are replaced without a lock, so replace
/// them while nothing renders.
#ifndef SEGMATSERVICES_H
#define SEGMATSERVICES_H

#include <boost/gil.hpp>
#include <boost/gil/extension/dynamic_image/any_image_view.hpp>
#include <boost/shared_array.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <type_traits>

#include "U_Types.h"
#include "zvkcore/utility/Guid.h"

namespace tessaly {

using FrameIndex = int32_t;   ///< the number of a frame
using FrameCount = uint32_t;  ///< a number of frames

// --- Pixels ------------------------------------------------------------------------------------------------

/// A channel of 15 bits in 16: 0 to 32768, which is full.
struct Channel15Zero {
    static constexpr uint16_t apply() noexcept { return 0; }
};
struct Channel15One {
    static constexpr uint16_t apply() noexcept { return 32768; }
};
using Channel15 = boost::gil::scoped_channel_value<uint16_t, Channel15Zero, Channel15One>;

using Rgba8View = boost::gil::rgba8_view_t;
using Gray8View = boost::gil::gray8_view_t;
using Rgba8PlanarView = boost::gil::rgba8_planar_view_t;
using Rgba15View = boost::gil::view_type<Channel15, boost::gil::rgba_layout_t>::type;
using Gray15View = boost::gil::view_type<Channel15, boost::gil::gray_layout_t>::type;
using Rgba15PlanarView = boost::gil::view_type<Channel15, boost::gil::rgba_layout_t, true>::type;
using RgbaFloatView = boost::gil::rgba32f_view_t;
using GrayFloatView = boost::gil::gray32f_view_t;
using RgbaFloatPlanarView = boost::gil::rgba32f_planar_view_t;

/// A view of pixels in any form in which a host keeps them: 8 bits, 15 bits or floats from 0 to 1, each as
/// interleaved colour, gray, or planar colour. It does not own the pixels. One made without a view is the
/// first alternative with no pixels. Of colour, a matte is read from the first channel.
using AnyImageView =
    boost::gil::any_image_view<Rgba8View, Gray8View, Rgba8PlanarView, Rgba15View, Gray15View,
                               Rgba15PlanarView, RgbaFloatView, GrayFloatView, RgbaFloatPlanarView>;

/// Where the gray 8-bit view, the form of every stored matte, stands in `AnyImageView`.
constexpr std::size_t kGray8Alternative = 1;
static_assert(std::is_same_v<boost::mp11::mp_at_c<AnyImageView, kGray8Alternative>, Gray8View>);

/// Pixels that the host lent. Whoever holds the receipt may read the view; the last release gives it back.
class U_EXPORT CheckoutReceipt {
  public:
    virtual ~CheckoutReceipt();

    /// The pixels; no pixels where the host has none. They are not to be written.
    virtual AnyImageView GetView() const = 0;
};

// --- What a render is told ---------------------------------------------------------------------------------

/// The clip as it comes in.
struct InputSequenceInfo {
    int32_t width = 0;   ///< pixels
    int32_t height = 0;  ///< pixels
};

/// The value of a parameter that is a point, in the host's units of that parameter.
struct ParamXY {
    double x = 0;
    double y = 0;
};

/// The value of a parameter that is a colour: 0 is none of it, 1 full.
struct ParamColor {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
};

/// Which strokes; a value for each of the stroke images.
enum StrokeType : int32_t {
    StrokeType_Foreground = 0,
    StrokeType_Background = 1,
    StrokeType_MattingPlus = 2,
    StrokeType_MattingMinus = 3,
    StrokeType_Trimap = 4
};

/// The outputs that a render may fill. Hosts may number more.
enum OutputIndex : int32_t {
    OutputIndex_Segmentation = 1,  ///< the matte
    OutputIndex_Trimap = 3         ///< inside, outside, and the band between that a matter refines
};

/// The answer of the retain hints where nothing is retained.
constexpr FrameIndex kNoRetainedFrame = INT32_MIN;

/// What a render sees of the host. The host implements it for one frame; a span's segmenter gets one whose
/// frame numbers are local to the span. Only the thread that renders calls it.
class U_EXPORT RenderFrameData {
  public:
    /// What `Matter::Render` leaves in the output.
    enum OutputType : int32_t {
        OutputType_None = 0,   ///< nothing
        OutputType_Matte = 1,  ///< coverage of each pixel
        OutputType_Trimap = 2  ///< the trimap on which a matte would be based
    };

    virtual ~RenderFrameData();

    virtual InputSequenceInfo GetInputSequenceInfo() const = 0;
    /// The frame that the host asked for.
    virtual int GetCurrentFrame() const = 0;

    /// The value of a parameter, named in UTF-8 and ended by a zero, at a frame.
    virtual double GetParamFloat(const unsigned char* name, int frame) const = 0;
    virtual ParamXY GetParamFloatXY(const unsigned char* name, int frame) const = 0;
    virtual ParamColor GetParamColor(const unsigned char* name, int frame) const = 0;
    /// The text of a value that holds for the whole render, empty if there is none of this name.
    virtual U_UTF8String GetRenderingParamBagValue(const char* name) const = 0;

    /// The stroke that the user is drawing right now, at the current frame; no pixels if there is none. Of
    /// which kind it is, host and plug-in agree on between them: by a rendering value, say.
    virtual AnyImageView GetInteractiveStrokeBuffer() const = 0;
    virtual bool HasInteractiveStroke() const = 0;

    /// Pixels at a frame. An empty pointer where the host has none.
    virtual boost::shared_ptr<CheckoutReceipt> CheckoutInputImage(int frame) = 0;
    virtual boost::shared_ptr<CheckoutReceipt> CheckoutForegroundStrokesImage(int frame) = 0;
    virtual boost::shared_ptr<CheckoutReceipt> CheckoutBackgroundStrokesImage(int frame) = 0;
    virtual boost::shared_ptr<CheckoutReceipt> CheckoutMattingPlusStrokesImage(int frame) = 0;
    virtual boost::shared_ptr<CheckoutReceipt> CheckoutMattingMinusStrokesImage(int frame) = 0;
    virtual boost::shared_ptr<CheckoutReceipt> CheckoutTrimapImage(int frame) = 0;
    virtual boost::shared_ptr<CheckoutReceipt> CheckoutStrokeConfidenceImage(int frame) = 0;

    /// Whether there are such strokes from one frame to the other, both included. The two may descend.
    virtual bool HasStrokesInTimeRange(StrokeType type, int first, int last) const = 0;
    /// An identity of all parameter values of `count` frames from `start` on: the same values, the same
    /// identity.
    virtual zvkcore::utility::Guid GetCurrentParamState(int start, unsigned int count) const = 0;
    /// The identity under which propagated results are kept.
    virtual zvkcore::utility::Guid GetPropagationCacheGuid() const = 0;

    /// The pixels of an output of this render, which the host owns until it is over. Asked again in the same
    /// render it gives the same view, with what is in it.
    virtual AnyImageView AllocateOutput(OutputIndex index) = 0;

    /// Tells the user how the render fares, with its weight; stays until the next one.
    virtual void ReportStatus(const U_UTF16String& text, U_Severity severity) = 0;
    /// Tells the user something that is gone after so many seconds.
    virtual void ReportTransientMessage(const U_UTF16String& text, double seconds) = 0;
    /// True when the host no longer wants the result.
    virtual bool AbortRenderCheck() const = 0;
    /// How far the render is, 0 to 1.
    virtual void RenderProgressUpdate(float done) const = 0;
    /// The set of valid cached frames has changed: the host may ask for it again.
    virtual void RefreshPropagationCacheMarksFAST() const = 0;

    /// The host's choices, in the numbers of the plug-in that renders.
    virtual int GetSegMethod() const = 0;
    virtual int GetFMQuality() const = 0;
    virtual bool UseCorvaneCutSegToo() const = 0;

    /// Whether the result of a frame is to be kept although the host asked for another one.
    virtual bool FrameIsInRetainRangeForSingleHostRender(int frame) const = 0;
    virtual int LocalToGlobalFrameIndex(int frame) const = 0;
    /// The first and last frame to be kept, in the numbering of the clip; `kNoRetainedFrame` if there is
    /// none.
    virtual int GlobalRetainCacheHintStartFrame() const = 0;
    virtual int GlobalRetainCacheHintEndFrame() const = 0;
    /// Keeps the pixels of a frame if it is to be kept. `index` says which output they are.
    virtual void RetainResultIfNeededForSingleHostRender(const AnyImageView& view, int frame,
                                                         OutputIndex index) = 0;
};

/// What a host wants to find again in the next render. Opaque; passed through.
class U_EXPORT CrossRenderCache {
  public:
    virtual ~CrossRenderCache();
};

// --- What a plug-in implements -----------------------------------------------------------------------------

class U_EXPORT SegMatBase {
  public:
    virtual ~SegMatBase();
};

/// Propagates a segmentation from the frame with strokes outwards, one object a span.
class U_EXPORT Segmenter : public SegMatBase {
  public:
    ~Segmenter() override;

    /// A new object of the same kind, which the caller owns.
    virtual Segmenter* Clone() = 0;

    /// Fills `frames` with the frames from `first` to `last` whose results are valid in the cache, and
    /// returns how many; empties it for none.
    virtual int GetValidCachedFrameArray(RenderFrameData& data, boost::shared_array<int>& frames, int first,
                                         int last) = 0;
    /// The valid frames as they were last known, which costs nothing. The caller may write to the set.
    virtual boost::shared_ptr<std::set<int>> GetValidCachedFrameSet(RenderFrameData& data) = 0;

    /// Renders one frame into an output of `data`.
    ///
    /// frame      local, 0 or more
    /// segmenter  for a matter: the segmenter of the same span; null for a segmenter
    /// other      the segmenter of the span that reaches the other way from the same frame; may be null
    /// cache      may be empty, and may be set
    /// status     may be null; a segmenter writes 0 for a frame computed now, 1 for one out of its cache
    /// type       null for a segmenter; for a matter what the host wants, and afterwards what it got
    /// index      the output to be filled
    /// returns    whether the output holds the finished result
    virtual bool Render(int frame, Segmenter* segmenter, RenderFrameData& data, Segmenter const* other,
                        boost::shared_ptr<CrossRenderCache>& cache, unsigned char* status,
                        RenderFrameData::OutputType* type, OutputIndex index) = 0;

    /// Comes before a `Render`. The object may keep the address of `data` until `ClearRFDPtr`.
    virtual void Initialize(RenderFrameData& data, Segmenter const* other,
                            boost::shared_ptr<CrossRenderCache>& cache) = 0;
    /// Comes after a `Render`: the frame data is gone.
    virtual void ClearRFDPtr() = 0;

    /// Drops cached results.
    virtual void PurgeAll() = 0;
};

/// Refines the matte of a span at the level of hairs. Only `Render` differs: see there.
class U_EXPORT Matter : public Segmenter {
  public:
    ~Matter() override;
};

// --- The factory -------------------------------------------------------------------------------------------

/// Makes products of one kind; a plug-in implements it.
template <class Product>
class U_EXPORT Creator;

template <>
class U_EXPORT Creator<Segmenter> {
  public:
    virtual ~Creator();

    /// A new segmenter, which the caller owns, or null. `identity` names the span: a segmenter keys what it
    /// caches by it.
    virtual Segmenter* Create(zvkcore::utility::Guid identity) = 0;
    /// A new object which the caller owns and which is a `Matter`, or null.
    virtual Segmenter* CreateMatter(zvkcore::utility::Guid identity) = 0;
};

/// What a creator says of itself.
struct SegmenterProperties {
    U_UTF8String name;          ///< the key; no comma in it, since it is part of a span manager's text
    U_UTF16String displayName;  ///< for people; not read here
    uintptr_t userData = 0;     ///< the plug-in's own; not read here
};

template <class Product>
struct ProductProperties;
template <>
struct ProductProperties<Segmenter> {
    using type = SegmenterProperties;
};

/// Offers a creator under the name in its properties. A name that is taken keeps its first creator. The first
/// name ever registered is the one that an empty name stands for.
///
/// creator  not owned; lives until it is withdrawn or the process ends
template <class Product>
void RegisterCreator(Creator<Product>* creator, const typename ProductProperties<Product>::type& properties);

/// Withdraws a creator under all its names, so that the code behind it may be unloaded. What it made stays
/// the business of those who hold it.
template <class Product>
void UnregisterCreator(Creator<Product>* creator);

/// The creator of a name; names compare byte by byte.
///
/// returns  null if there is none and `quiet` is true
/// throws   by `zvkcore::config::ThrowError` if there is none and `quiet` is false
template <class Product>
Creator<Product>* GetCreator(const U_UTF8String& name, bool quiet);

template <>
U_EXPORT void RegisterCreator<Segmenter>(Creator<Segmenter>* creator, const SegmenterProperties& properties);
template <>
U_EXPORT void UnregisterCreator<Segmenter>(Creator<Segmenter>* creator);
template <>
U_EXPORT Creator<Segmenter>* GetCreator<Segmenter>(const U_UTF8String& name, bool quiet);

// --- Computed values ---------------------------------------------------------------------------------------

/// A computed value. Opaque; whoever computes it knows what it is.
class U_EXPORT Value {
  public:
    virtual ~Value();
};

/// How far off a found value may be. Values above 0 belong to the host's own index.
enum SearchTolerance : int32_t { SearchTolerance_Exact = 0 };

/// Knows how to compute a value.
class U_EXPORT Computator {
  public:
    virtual ~Computator();

    /// The key of the value under the identity of whoever asks; a frame number, say.
    virtual long long GetCacheKey() = 0;
    /// Computes it. It may ask for other values on the same thread.
    virtual boost::shared_ptr<Value> Compute() = 0;
};

/// Values by identity and key. This one keeps everything, in memory, until it is told otherwise; a host
/// derives its own with limits. It takes no lock: the global one is guarded by the library.
class U_EXPORT CacheIndex {
  public:
    explicit CacheIndex(const char* name);
    CacheIndex(const CacheIndex&) = delete;
    CacheIndex& operator=(const CacheIndex&) = delete;
    virtual ~CacheIndex();

    /// The value, or an empty pointer.
    virtual boost::shared_ptr<Value> Find(zvkcore::utility::Guid identity, long long key,
                                          SearchTolerance tolerance);
    /// Keeps a value in the place of a former one. `cost` is the time it took to compute, in seconds.
    virtual void Store(zvkcore::utility::Guid identity, long long key, boost::shared_ptr<Value> value,
                       float cost);
    /// Forgets a value and returns it, or an empty pointer.
    virtual boost::shared_ptr<Value> Delete(zvkcore::utility::Guid identity, long long key);
    virtual void PurgeAll();

    /// The stored value of the computator's key, or else a computed one, which is stored with its cost.
    boost::shared_ptr<Value> CheckoutOrRender(zvkcore::utility::Guid identity, Computator& computator);

    const U_UTF8String& GetName() const noexcept { return m_name; }

  private:
    struct Values;

    U_UTF8String m_name;
    std::map<zvkcore::utility::Guid, boost::shared_ptr<Values>> m_values;
};

/// Keeps nothing.
class U_EXPORT NopCacheIndex : public CacheIndex {
  public:
    NopCacheIndex();
    ~NopCacheIndex() override;

    boost::shared_ptr<Value> Find(zvkcore::utility::Guid identity, long long key,
                                  SearchTolerance tolerance) override;
    void Store(zvkcore::utility::Guid identity, long long key, boost::shared_ptr<Value> value,
               float cost) override;
    boost::shared_ptr<Value> Delete(zvkcore::utility::Guid identity, long long key) override;
    void PurgeAll() override;
};

// --- The host ----------------------------------------------------------------------------------------------

/// The host's side. Called on the thread that asks, on several at once.
class U_EXPORT HostCallbacks {
  public:
    virtual ~HostCallbacks();

    /// Memory, or null.
    virtual void* Allocate(std::size_t size) = 0;
    /// Takes back what `Allocate` gave, with the same size.
    virtual void Dispose(void* pointer, std::size_t size) = 0;
    virtual boost::shared_ptr<CacheIndex> NewCacheIndex(const char* name) = 0;
    virtual bool AreExperimentalParametersEnabled() = 0;
    /// The preference of that name, or `defaultValue` if the host has none.
    virtual bool GetPreferenceBool(const char* name, bool defaultValue) = 0;
};

/// Replaces the callbacks of the process; an empty pointer leaves it without. No lock is taken.
U_EXPORT void RegisterCallbacks(boost::shared_ptr<HostCallbacks> callbacks);

/// Replaces the cache index of the process, under its lock; with an empty pointer the next use makes one that
/// keeps nothing.
U_EXPORT void RegisterGlobalCacheIndex(boost::shared_ptr<CacheIndex> index);

/// `CacheIndex::CheckoutOrRender` of the global index. Its recursive lock is held while the value is
/// computed, so no value is computed twice at once; a computation may ask for another value on its own
/// thread.
///
/// throws  `std::system_error` after waiting 60 seconds; whatever the computator throws
U_EXPORT boost::shared_ptr<Value> CheckoutOrRender(zvkcore::utility::Guid identity, Computator& computator);

/// The host's memory, or `malloc` and `free` without callbacks. Free with the same callbacks and size.
U_EXPORT void* Allocate(std::size_t size);
U_EXPORT void Dispose(void* pointer, std::size_t size);

/// What the host answers. Without callbacks each raises an assertion, and answers false, the default, and a
/// new index that keeps nothing.
U_EXPORT bool AreExperimentalParametersEnabled();
U_EXPORT bool GetPreferenceBool(const char* name, bool defaultValue);
U_EXPORT boost::shared_ptr<CacheIndex> NewCacheIndex(const char* name);

}  // namespace tessaly

#endif
