// The text of a manager: a flat run of atoms, each with a comma behind it, written in version 3.
//
//   version, name, spans {frame, backward, forward}, mode, width, height, frame duration (two),
//   freezing time, frozen segmentation {frame, bytes}, frozen trimaps {frame, bytes}
//
// Version 1 ends behind the spans, version 2 before the trimaps; what is newer is read as version 3. A text
// may come from anywhere: a count says how much to look for, and the end of the text always ends the reading.
// No state.
#include <limits>
#include <numeric>
#include <optional>
#include <string_view>

#include "SMS_SpanManager.h"
#include "Up_Err.h"
#include "zvkcore/string/StringStream.h"
#include "zvkcore/utility/BinaryText.h"

namespace tessaly {
namespace {

namespace posix_time = boost::posix_time;

constexpr int kVersion = 3;
constexpr int kFirstVersionWithFrames = 2;
constexpr int kFirstVersionWithTrimaps = 3;
constexpr char kValueSeparator = ',';

// --- The freezing time -------------------------------------------------------------------------------------

constexpr int64_t kMicrosInASecond = 1000000;

// What times that are none count as.
constexpr int64_t kNotADateTime = std::numeric_limits<int64_t>::max() - 1;
constexpr int64_t kPositiveInfinity = std::numeric_limits<int64_t>::max();
constexpr int64_t kNegativeInfinity = std::numeric_limits<int64_t>::min();

posix_time::ptime Epoch()
{
    return posix_time::ptime(boost::gregorian::date(1970, 1, 1));
}

int64_t MicrosSinceEpoch(const posix_time::ptime& time)
{
    if (time.is_pos_infinity()) return kPositiveInfinity;
    if (time.is_neg_infinity()) return kNegativeInfinity;
    if (time.is_special()) return kNotADateTime;
    return (time - Epoch()).total_microseconds();
}

// Wanted: a manager that never froze writes the low 32 bits of no time at all, 2077252342, and is read back
// as having frozen in 2035. Texts are compared byte by byte, so it stays.
int32_t SecondsForText(const posix_time::ptime& time)
{
    return static_cast<int32_t>(MicrosSinceEpoch(time) / kMicrosInASecond);
}

static_assert(static_cast<int32_t>(kNotADateTime / kMicrosInASecond) == 2077252342);

// --- Writing -----------------------------------------------------------------------------------------------

class TextWriter {
  public:
    explicit TextWriter(std::size_t expected) : m_stream(expected) {}

    template <class Value>
    void WriteAtom(const Value& value)
    {
        m_stream << value << kValueSeparator;
    }

    void WriteMap(const FrozenResultCache::Frames& frames)
    {
        WriteAtom(static_cast<unsigned long>(frames.size()));
        for (const auto& [frame, bytes] : frames) {
            WriteAtom(frame);
            WriteAtom(zvkcore::utility::EncodeBinaryDataToUTF8String(bytes ? zvkcore::string::UTF8View(*bytes)
                                                                           : zvkcore::string::UTF8View()));
        }
    }

    U_UTF8String Take() { return m_stream.Take(); }

  private:
    zvkcore::oUTF8StringStream m_stream;
};

// Room for the whole text, so that long ones are not moved while they grow.
std::size_t ExpectedSize(const FrozenResultCache::Frames& frames)
{
    constexpr std::size_t kFrameAndSeparators = 14;
    std::size_t size = 0;
    for (const auto& entry : frames) {
        size += kFrameAndSeparators + (entry.second ? entry.second->size() / 3 * 4 + 4 : 0);
    }
    return size;
}

// --- Reading -----------------------------------------------------------------------------------------------

// Every Read tells whether reading may go on; what it could not read stays as it was.
class TextReader {
  public:
    explicit TextReader(const U_UTF8String& text) : m_stream(text) {}

    template <std::integral Value>
    bool ReadAtom(Value& value)
    {
        Value read;
        m_stream >> read;
        if (!m_stream) {
            NoteFault(m_stream.eof() ? SpanManager::TextFault_Truncated : SpanManager::TextFault_Number,
                      "stream.good()", __LINE__);
            return false;
        }
        value = read;
        const int delim = m_stream.get();
        if (delim != kValueSeparator) {
            NoteFault(m_stream.eof() ? SpanManager::TextFault_Truncated : SpanManager::TextFault_Separator,
                      kSeparatorCheck, __LINE__);
        }
        return true;
    }

    // A piece of text up to the separator; it views the text that is read.
    bool ReadPiece(zvkcore::string::UTF8View& piece)
    {
        piece = m_stream.GetPiece(kValueSeparator);
        if (m_stream.eof()) NoteFault(SpanManager::TextFault_Truncated, kSeparatorCheck, __LINE__);
        return !m_stream.fail();
    }

    bool ReadMap(FrozenResultCache::Frames& frames)
    {
        unsigned long size = 0;
        if (!ReadAtom(size)) return false;
        for (unsigned long at = 0; at < size; ++at) {
            FrameIndex frame;
            zvkcore::string::UTF8View text;
            if (!ReadAtom(frame) || !ReadPiece(text)) return false;
            const boost::shared_ptr<U_UTF8String> bytes(new U_UTF8String);
            if (Means(zvkcore::utility::DecodeBinaryDataFromUTF8String(text, *bytes), "decoded", __LINE__)) {
                frames.try_emplace(frame, bytes);
            }
        }
        return true;
    }

    // Notes a value that means nothing.
    bool Means(bool something, const char* expression, int line)
    {
        if (!something) NoteFault(SpanManager::TextFault_Value, expression, line);
        return something;
    }

    SpanManager::TextFault GetFault() const { return m_fault; }

  private:
    static constexpr char kSeparatorCheck[] = "delim == kValueSeparator";

    void NoteFault(SpanManager::TextFault fault, const char* expression, int line)
    {
        if (m_fault == SpanManager::TextFault_None) m_fault = fault;
        Up_SimpleAssert("SegMatServices/indep/SMS_SpanText", line,
                        "tessaly::SpanManager::SpanManager(const Guid &, bool, const UTF8String &, const "
                        "boost::rational<int> &)",
                        expression, "");
    }

    zvkcore::iUTF8StringStream m_stream;
    SpanManager::TextFault m_fault = SpanManager::TextFault_None;
};

// The normalised fraction; none if it does not fit. A zero denominator throws `boost::bad_rational`.
std::optional<boost::rational<int>> Fraction(int numerator, int denominator)
{
    if (denominator == 0) throw boost::bad_rational();
    const int64_t divisor = std::gcd(int64_t{numerator}, int64_t{denominator}) * (denominator < 0 ? -1 : 1);
    const int64_t over = numerator / divisor;
    const int64_t under = denominator / divisor;
    if (std::max(over, under) > std::numeric_limits<int>::max()) return std::nullopt;
    return boost::rational<int>(static_cast<int>(over), static_cast<int>(under));
}

// What a text says; what it does not say has the values of a new manager.
struct SavedManager {
    zvkcore::string::UTF8View name;
    std::vector<SpanManager::SpanInfo> spans;
    SpanManager::RenderingMode mode = SpanManager::RenderingMode_Normal;
    std::optional<boost::rational<int>> frameDuration;
    FrozenResultCache frozen;
};

bool ReadSpans(TextReader& reader, SavedManager& saved)
{
    unsigned long count = 0;
    if (!reader.ReadAtom(count)) return false;
    for (unsigned long at = 0; at < count; ++at) {
        SpanManager::SpanInfo span;
        if (!reader.ReadAtom(span.baseFrame) || !reader.ReadAtom(span.backwardDuration) ||
            !reader.ReadAtom(span.forwardDuration)) {
            return false;
        }
        saved.spans.push_back(span);
    }
    return true;
}

bool ReadFrozenHead(TextReader& reader, SavedManager& saved)
{
    int mode;
    if (!reader.ReadAtom(mode)) return false;
    if (reader.Means(mode >= SpanManager::RenderingMode_Normal && mode <= SpanManager::RenderingMode_Freezing,
                     "mode <= RenderingMode_Freezing", __LINE__)) {
        saved.mode = static_cast<SpanManager::RenderingMode>(mode);
    }
    int width, height;
    if (!reader.ReadAtom(width) || !reader.ReadAtom(height)) return false;
    if (reader.Means(width >= 0 && height >= 0, "width >= 0 && height >= 0", __LINE__)) {
        saved.frozen.width = width;
        saved.frozen.height = height;
    }
    int numerator, denominator;
    if (!reader.ReadAtom(numerator) || !reader.ReadAtom(denominator)) return false;
    saved.frameDuration = Fraction(numerator, denominator);
    reader.Means(saved.frameDuration.has_value(), "frameDuration.has_value()", __LINE__);
    int32_t seconds;
    if (!reader.ReadAtom(seconds)) return false;
    saved.frozen.freezingDateTime = Epoch() + posix_time::microseconds(seconds * kMicrosInASecond);
    return true;
}

void ReadManager(TextReader& reader, SavedManager& saved)
{
    int version = 0;
    if (!reader.ReadAtom(version) || !reader.ReadPiece(saved.name) || !ReadSpans(reader, saved)) return;
    if (version < kFirstVersionWithFrames || !ReadFrozenHead(reader, saved)) return;
    if (!reader.ReadMap(saved.frozen.frozenSegmentation)) return;
    if (version >= kFirstVersionWithTrimaps) reader.ReadMap(saved.frozen.frozenTrimaps);
}

}  // namespace

U_UTF8String SpanManager::SerializeToXMLSnippet() const
{
    constexpr std::size_t kHead = 128;
    constexpr std::size_t kSpan = 36;
    const FrozenResultCache& frozen = *frozenData;
    TextWriter writer{kHead + segmenterName.size() + kSpan * i_spans_map.size() +
                      ExpectedSize(frozen.frozenSegmentation) + ExpectedSize(frozen.frozenTrimaps)};
    writer.WriteAtom(kVersion);
    writer.WriteAtom(zvkcore::string::UTF8View(segmenterName.c_str()));
    writer.WriteAtom(static_cast<unsigned long>(i_spans_map.size()));
    for (const auto& [frame, pair] : i_spans_map) {
        writer.WriteAtom(frame);
        writer.WriteAtom(pair.backwardDuration);
        writer.WriteAtom(pair.forwardDuration);
    }
    writer.WriteAtom(static_cast<int>(renderingMode));
    writer.WriteAtom(frozen.width);
    writer.WriteAtom(frozen.height);
    writer.WriteAtom(frameDuration.numerator());
    writer.WriteAtom(frameDuration.denominator());
    writer.WriteAtom(SecondsForText(frozen.freezingDateTime));
    writer.WriteMap(frozen.frozenSegmentation);
    writer.WriteMap(frozen.frozenTrimaps);
    return writer.Take();
}

// The spans are made behind the reading, in the order of the text, so their objects are numbered by it.
void SpanManager::ReadText(const U_UTF8String& text)
{
    TextReader reader{text};
    SavedManager saved;
    ReadManager(reader, saved);
    m_textFault = reader.GetFault();
    segmenterName = saved.name;
    renderingMode = saved.mode;
    frameDuration = saved.frameDuration.value_or(frameDuration);
    *frozenData = std::move(saved.frozen);
    for (const SpanInfo& span : saved.spans) {
        i_spans_map.try_emplace(span.baseFrame, MakePair(span.backwardDuration, span.forwardDuration));
    }
    IndexManualFrames();
}

}  // namespace tessaly
