/// The frames that a user stroked by hand, and the spans of frames over which each of those strokes is
/// propagated.
///
///              backward 3            forward 5
///          [ 8     9    (10)]   [(10)   11    12    13    14 ]
///     local  2     1      0        0     1     2     3     4
///
/// A frame with strokes is a manual frame. A span reaches backward from it and another forward; each counts
/// its duration from the manual frame on, that frame included, and owns one `Segmenter` and one `Matter` of
/// the plug-in. A duration of 0 is no span in that direction. To render a frame the manager finds the span
/// that covers it. It can freeze what was rendered, serve it again, and put everything into one text.
///
///     tessaly::SpanManager spans{guid, true, "My Segmenter"_utf8, {1001, 30000}};
///     spans.SetManualFrame(10, 3, 5);
///     spans.Render(frameData, cache);
///     U_UTF8String text = spans.SerializeToXMLSnippet();
///     tessaly::SpanManager again{guid, false, text, {1001, 30000}};
///
/// Ground rules. Frames are numbers of the clip and may be negative. Whatever makes span objects throws
/// through `zvkcore::config::ThrowError` if the plug-in is missing.
///
/// Threads. The class takes no lock: its owner serialises changes and queries. A `SingleSpan` is a copy that
/// shares the objects of its span, so a render that holds one survives whatever happens to the manual frame.
#ifndef SMS_SPANMANAGER_H
#define SMS_SPANMANAGER_H

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/rational.hpp>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "SegMatServices.h"

namespace tessaly {

class SpanRenderFrameData;
class FreezingSegmenter;

/// Results of renders, each as one run of deflated bytes, one byte a pixel, row by row.
struct FrozenResultCache {
    using Frames = std::map<FrameIndex, boost::shared_ptr<U_UTF8String>>;

    int32_t width = 0;   ///< pixels of every stored frame; 0 until the first is stored
    int32_t height = 0;  ///< pixels of every stored frame; 0 until the first is stored
    Frames frozenSegmentation;
    Frames frozenTrimaps;
    Frames retainedSegmentation;                    ///< kept for the retain range, not for good
    std::set<FrameIndex> successfullyFrozenFrames;  ///< finished in the freeze that runs
    boost::posix_time::ptime freezingDateTime;      ///< UTC; not-a-date-time until a freeze has ended
};

/// Whether marks of cached frames come from the sets that segmenters keep, without a full check: the feature
/// flag "HB.OptimizedCacheMarks", on by default, read once a process.
U_EXPORT bool IsFastHBCacheMarkingsEnabled();

class U_EXPORT SpanManager {
  public:
    enum SpanDirection : int32_t { SpanDirection_Forward = 0, SpanDirection_Backward = 1 };

    enum RenderingMode : int32_t {
        RenderingMode_Normal = 0,   ///< frames come from the spans; those of the retain range are kept
        RenderingMode_Frozen = 1,   ///< frames come from the frozen store
        RenderingMode_Freezing = 2  ///< as normal, and each finished frame goes to the frozen store
    };

    /// One direction of a manual frame. Shares the objects with the manager.
    struct SingleSpan {
        FrameIndex baseFrame = 0;
        boost::shared_ptr<Segmenter> segmenter;
        boost::shared_ptr<Matter> matter;
        FrameCount duration = 0;
    };

    /// Both directions of a manual frame. Its members go in the opposite of this order.
    struct SpanPair {
        boost::shared_ptr<Segmenter> backwardSegmenter;
        boost::shared_ptr<Matter> backwardMatter;
        FrameCount backwardDuration = 0;
        boost::shared_ptr<Segmenter> forwardSegmenter;
        boost::shared_ptr<Matter> forwardMatter;
        FrameCount forwardDuration = 0;
    };

    struct SpanInfo {
        FrameIndex baseFrame;
        FrameCount forwardDuration;
        FrameCount backwardDuration;

        bool operator==(const SpanInfo&) const = default;
    };

    /// By frame, so in the order of frames.
    using SpanMap = std::map<FrameIndex, SpanPair>;

    /// What was wrong with the text that a manager was made of.
    enum TextFault : int32_t {
        TextFault_None = 0,
        TextFault_Separator,  ///< an atom did not end where it had to; reading went on
        TextFault_Truncated,  ///< the text ended early; what stood before the end was kept
        TextFault_Number,     ///< no number, or one out of range, where one had to be; reading ended there
        TextFault_Value       ///< a value that means nothing was left out; reading went on
    };

    // --- Life ----------------------------------------------------------------------------------------------

    /// Makes a manager without spans, or one out of its text.
    ///
    /// guid           its identity, part of the identities of all its segmenters
    /// isName         true: `text` is the name of the segmenter; false: `text` is a `SerializeToXMLSnippet`
    /// frameDuration  seconds of one frame; a text brings its own
    /// throws         for a text: `boost::bad_rational` on a zero denominator, and what making spans throws.
    ///                Any other fault raises an assertion and shows in `GetTextFault`; what was read is kept
    SpanManager(const zvkcore::utility::Guid& guid, bool isName, const U_UTF8String& text,
                const boost::rational<int>& frameDuration);
    SpanManager(const SpanManager&) = delete;
    SpanManager& operator=(const SpanManager&) = delete;
    ~SpanManager();

    /// Empties the frozen store and the retain range and goes back to normal rendering. Spans stay.
    void Init(const boost::rational<int>& frameDuration);

    /// Stores the seconds of one frame and changes nothing else.
    void SetFrameDuration(const boost::rational<int>& frameDuration);
    const boost::rational<int>& GetFrameDuration() const noexcept { return frameDuration; }

    /// Takes a new identity, and makes the objects of every span anew under it, numbered in frame order.
    void UpdateGuid(const zvkcore::utility::Guid& guid);

    /// Makes the objects of every span anew, numbered in frame order. Former ones are purged first.
    void PurgeAllCaches();

    /// What was wrong first with the text that it was made of.
    TextFault GetTextFault() const noexcept { return m_textFault; }

    // --- Manual frames -------------------------------------------------------------------------------------

    /// Adds a manual frame with its spans. One that is there already stays as it is; to change its durations
    /// use `SetSpanDuration`.
    void SetManualFrame(FrameIndex frame, FrameCount backward, FrameCount forward);
    void ClearManualFrame(FrameIndex frame);
    /// Whether it is a manual frame, whatever its durations.
    bool IsManualFrame(FrameIndex frame) const;

    /// The durations of the pair whose forward span covers the frame.
    ///
    /// returns  false, and both durations 0, when no forward span covers it, whatever backward spans do
    bool GetManualFrame(FrameIndex frame, FrameCount& backward, FrameCount& forward) const;

    /// All manual frames in frame order.
    std::vector<SpanInfo> GetSpanInfo() const;
    const SpanMap& GetSpans() const noexcept { return i_spans_map; }

    // --- Spans ---------------------------------------------------------------------------------------------
    //
    // A span covers a frame if it reaches it and no other manual frame lies between: a span that is longer
    // than the way to the next manual frame covers nothing behind that one. On a manual frame only its own
    // durations count. Forward and backward spans of neighbours may cover the same frame.

    /// The entry whose span in that direction covers the frame, or `GetSpans().end()`.
    SpanMap::const_iterator GetActiveSpanRef(FrameIndex frame, SpanDirection direction) const;
    bool IsActiveFrame(FrameIndex frame, SpanDirection direction) const;

    /// Copies the covering span; an empty one where there is none. `span` may be null.
    bool GetActiveSpan(FrameIndex frame, SpanDirection direction, SingleSpan* span = nullptr) const;

    /// The manual frame of the covering span. Raises an assertion and returns 0 where there is none.
    FrameIndex GetActiveManualFrameIndex(FrameIndex frame, SpanDirection direction) const;

    /// Changes the duration of the covering span and returns the former one. Where nothing covers the frame
    /// it changes nothing and returns 0.
    FrameCount SetSpanDuration(FrameIndex frame, SpanDirection direction, FrameCount duration);
    /// The duration of the covering span, 0 where there is none.
    FrameCount GetSpanDuration(FrameIndex frame, SpanDirection direction) const;

    /// The duration with which the covering span would reach `extension` frames past the frame. It stops
    /// flush with the opposite span of the next manual frame, and is never less than the present duration.
    /// Where nothing covers the frame it raises an assertion and returns 1.
    FrameCount CalcActiveRangeExtension(FrameIndex frame, SpanDirection direction,
                                        FrameCount extension) const;

    /// Makes the four objects of a pair; those that it held are purged. `index` is part of their identities.
    void CreateBothSegmenters(int32_t index, SpanPair* pair);
    /// A matter of the plug-in; empty if what the plug-in makes is none.
    boost::shared_ptr<Matter> CreateMatter(const zvkcore::utility::Guid& identity);

    // --- Rendering -----------------------------------------------------------------------------------------

    /// Renders the current frame of `data` through the span that covers it, a forward one first. Without one,
    /// a stroke that is being drawn is rendered by a segmenter of its own.
    ///
    /// returns  false if neither was there, and nothing was rendered
    /// throws   what the segmenter throws
    bool Render(RenderFrameData& data, boost::shared_ptr<CrossRenderCache>& cache);

    /// The same with the span's matter, and its result. There is no way without a span.
    bool RenderHair(RenderFrameData& data, boost::shared_ptr<CrossRenderCache>& cache,
                    RenderFrameData::OutputType& type);

    /// Adds to `frames` the frames whose results are valid in the caches of their segmenters.
    ///
    /// force  has every segmenter check in full, even if fast marks are enabled
    /// start, end  not consulted
    void GetValidCachedFrameSet(bool force, RenderFrameData& data, std::set<int>& frames, int start, int end);

    // --- Freezing and retaining ----------------------------------------------------------------------------

    /// Goes to a mode. Normal forgets everything that is stored. Frozen ends a freeze: it notes the time, and
    /// of the frozen frames keeps those that were finished since the last one ended. Do not go there from
    /// Frozen, or with a manager that was read frozen: nothing was finished since, so nothing is kept.
    void SetRenderingMode(RenderingMode mode);
    RenderingMode GetRenderingMode() const noexcept { return renderingMode; }

    /// Notes that a frame was finished in the freeze that runs.
    void SetFrameSuccessfullyFrozen(FrameIndex frame);
    void ClearFrozenFrames();
    /// When the last freeze ended, UTC; not-a-date-time if none has.
    boost::posix_time::ptime GetFreezingDateTime() const;

    /// Adds to `frames` the frozen frames from `start` up to but not including `end`; while a freeze runs,
    /// those that it has finished.
    void GetFrozenFrameSet(RenderFrameData& data, std::set<int>& frames, int start, int end) const;

    /// Shows a stored frame in an output, or the input image if the frame is not stored.
    bool FrozenRender(RenderFrameData& data, FrameIndex frame, OutputIndex index);

    /// Compresses a view and stores it under a frame, in the place of a former one. The first one stored
    /// fixes the size to that of the input.
    void AddViewToMap(RenderFrameData& data, FrameIndex frame, FrozenResultCache::Frames& map,
                      const AnyImageView& view);

    /// Keeps results of normal renders from `start` to `end`, both included.
    void RetainSegmentationRange(FrameIndex start, FrameIndex end);
    void ClearRetainedSegmentation();

    /// The store. A copy of the pointer survives its replacement.
    const boost::shared_ptr<FrozenResultCache>& GetFrozenData() const noexcept { return frozenData; }

    // --- Text and inspection -------------------------------------------------------------------------------

    /// Everything that lasts: name, spans, mode, frame duration and frozen frames. Span objects, the retain
    /// range and what it keeps, and the identity are not part of it.
    U_UTF8String SerializeToXMLSnippet() const;

    /// Prints the manual frames to the standard output.
    void DumpSpanDataToConsole() const;

  private:
    friend class SpanRenderFrameData;
    friend class FreezingSegmenter;

    bool AskSpansToRender(RenderFrameData& data, boost::shared_ptr<CrossRenderCache>& cache);
    bool AskSpansToRenderHair(RenderFrameData& data, boost::shared_ptr<CrossRenderCache>& cache,
                              RenderFrameData::OutputType& type);
    bool IsRetained(FrameIndex frame) const noexcept
    {
        return retainActive && retainStart <= frame && frame <= retainEnd;
    }
    void ReadText(const U_UTF8String& text);
    SpanPair MakePair(FrameCount backward, FrameCount forward);
    void IndexManualFrames();

    U_UTF8String segmenterName;
    SpanMap i_spans_map;
    RenderingMode renderingMode = RenderingMode_Normal;
    boost::shared_ptr<FrozenResultCache> frozenData;
    boost::rational<int> frameDuration;
    bool retainActive = false;
    FrameIndex retainStart = 0;
    FrameIndex retainEnd = 0;
    zvkcore::utility::Guid guid;
    TextFault m_textFault = TextFault_None;

    // The keys of the map in one run of memory: a search of the map itself waits for memory at every step.
    struct Stop {
        FrameIndex frame;
        SpanMap::iterator entry;
    };
    std::vector<Stop> m_stops;
};

}  // namespace tessaly

#endif
