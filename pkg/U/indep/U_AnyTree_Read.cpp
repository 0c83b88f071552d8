// Trees from JSON. The scanner takes the type of a value from the first character of its text and checks
// nothing else: it reads what the writer wrote. The contract speaks of text that is erased as it is read;
// here a view moves over the text, which gives the same and takes time in proportion to it. For texts from
// strangers there is the strict reader, which lets Boost.JSON look at the whole text first.
#include <algorithm>
#include <boost/json.hpp>
#include <optional>
#include <sstream>

#include "U_AnyTree.h"
#include "Up_Any.h"
#include "Up_AnyTree.h"
#include "zvkcore/string/Convert.h"

namespace {

using zvkcore::string::UTF16View;

// What stands where a text has ended. A character of the text can be any unit, zero too.
constexpr int kEnd = -1;

constexpr bool IsBlank(int unit)
{
    return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

constexpr bool IsOpening(int unit)
{
    return unit == '{' || unit == '[';
}

constexpr bool IsClosing(int unit)
{
    return unit == '}' || unit == ']';
}

constexpr bool IsSeparator(int unit)
{
    return unit == ',' || IsClosing(unit);
}

UTF16View Trimmed(UTF16View text)
{
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

// Behind the quoted string at the front, 0 if there is none. A backslash takes the next character with it.
std::size_t SkipQuoted(UTF16View text)
{
    if (text.empty() || text.front() != '"') return 0;
    for (std::size_t at = 1; at < text.size(); ++at) {
        if (text[at] == '\\') {
            ++at;
        } else if (text[at] == '"') {
            return at + 1;
        }
    }
    return text.size();
}

template <class Predicate>
std::size_t FindBehindQuoted(UTF16View text, Predicate wanted)
{
    const auto from = text.begin() + static_cast<std::ptrdiff_t>(SkipQuoted(text));
    return static_cast<std::size_t>(std::find_if(from, text.end(), wanted) - text.begin());
}

// Where the scalar at the front ends.
std::size_t find_separator(UTF16View text)
{
    return FindBehindQuoted(text, IsSeparator);
}

}  // namespace

// What is left of a text.
class U_AnyTreeWrapper::JSONText {
  public:
    explicit JSONText(UTF16View text) : m_text(text) {}

    /// The next character behind white space, or kEnd.
    int Next()
    {
        while (!m_text.empty() && IsBlank(m_text.front())) m_text.remove_prefix(1);
        return m_text.empty() ? kEnd : m_text.front();
    }

    void Drop() { m_text.remove_prefix(std::min<std::size_t>(m_text.size(), 1)); }

    /// The key that comes next, and takes its colon along; empty if no colon comes before a separator does.
    /// Every map around the place asks again, so a text without a key there is searched once.
    UTF16View TakeKey()
    {
        if (m_text.data() == m_withoutKey) return {};
        const std::size_t end =
            FindBehindQuoted(m_text, [](unsigned short unit) { return unit == ':' || IsSeparator(unit); });
        if (end == m_text.size() || m_text[end] != ':') {
            m_withoutKey = m_text.data();
            return {};
        }
        const UTF16View key = Take(end);
        Drop();
        return Trimmed(key);
    }

    UTF16View TakeScalar() { return Trimmed(Take(find_separator(m_text))); }

  private:
    UTF16View Take(std::size_t count)
    {
        const UTF16View taken = m_text.substr(0, count);
        m_text.remove_prefix(count);
        return taken;
    }

    UTF16View m_text;
    const unsigned short* m_withoutKey = nullptr;
};

namespace {

// Only a key that begins with an "m" can be a magic word, or begin like one and then be none.
U_UTF16String ParseKey(UTF16View token)
{
    const std::optional<UTF16View> content = Up_PlainContent(token);
    if (content && !content->starts_with('m')) return U_UTF16String(*content);
    return Up_AnyFromToken(token).GetAs_Str();
}

// Wanted: the first character alone decides, so "tomorrow" is true and "nothing" is null. A number goes
// through a string value, where a bare magic word becomes mixed and then has no number, unless the thread
// recovers them.
U_Any ParseScalar(UTF16View token)
{
    const unsigned short first = token.empty() ? 0 : token.front();
    if (first == '"') return Up_AnyFromToken(token);
    if (first == 't') return true;
    if (first == 'f') return false;
    if (first == 'n') return {};
    const bool isDouble = token.find('.') != UTF16View::npos;
    if (first == 'm') {
        const U_Any word{U_UTF16String(token)};
        return isDouble ? U_Any(word.GetAs_double()) : U_Any(word.GetAs_int());
    }
    return isDouble ? U_Any(Up_DoubleFromText(token)) : U_Any(Up_IntegerFromText(token));
}

// Sets a flag of the thread for a scope.
class RecoverMagicMixed {
  public:
    RecoverMagicMixed() : m_former(std::exchange(g_recover_magic_mixedB, true)) {}
    ~RecoverMagicMixed() { g_recover_magic_mixedB = m_former; }
    RecoverMagicMixed(const RecoverMagicMixed&) = delete;
    RecoverMagicMixed& operator=(const RecoverMagicMixed&) = delete;

  private:
    bool m_former;
};

}  // namespace

// Reads the children of one node, whose opening bracket is at the front, up to and with its closing one.
// `depth` is the node's own level, 1 for the top. A path in a key makes levels too and counts as such.
void U_AnyTreeWrapper::SetFrom_JSON_p(JSONText& text, bool inArray, int depth)
{
    text.Next();
    text.Drop();
    for (int first = text.Next(); first != kEnd; first = text.Next()) {
        U_UTF16String key;
        if (!IsOpening(first)) {
            const View token = inArray ? View() : text.TakeKey();
            // A map that goes on without a key is at its end, and so is an array at a bracket: this is how an
            // empty one ends. The bracket is taken along, so that what follows is read.
            if (token.empty() && (!inArray || IsClosing(first))) {
                if (IsClosing(first)) text.Drop();
                return;
            }
            if (!token.empty()) key = ParseKey(token);
        }
        const auto level = depth + 1 + std::count(key.begin(), key.end(), '.');
        const int opening = text.Next();
        if (level > kMaxDepth + (IsOpening(opening) ? 0 : 1)) throw boost::bad_any_cast();
        if (IsOpening(opening)) {
            U_AnyTreeWrapper child;
            child.SetFrom_JSON_p(text, opening == '[', static_cast<int>(level));
            Up_MarkAsTree(*child.m_tree);
            inArray ? Up_AppendChild(*m_tree, key).swap(*child.m_tree) : PutTree(key, *child.m_tree);
        } else {
            U_Any value = ParseScalar(text.TakeScalar());
            inArray ? void(Up_AppendChild(*m_tree, key).data() = std::move(value)) : PutValue(key, value);
        }
        const int last = text.Next();
        if (IsSeparator(last)) text.Drop();
        if (IsClosing(last)) return;
    }
}

void U_AnyTreeWrapper::SetFrom_JSON(const U_UTF16String& text)
{
    ReadText(U_UTF16String(text));  // a copy, since the text may be a value of this very tree
}

void U_AnyTreeWrapper::SetFrom_JSON(const U_UTF8String& text)
{
    ReadText(zvkcore::string::UTF8to16(text));
}

void U_AnyTreeWrapper::ReadText(const U_UTF16String& text)
{
    if (text.empty()) return;
    JSONText left{text};
    SetFrom_JSON_p(left, false, 1);
}

void U_AnyTreeWrapper::SetFrom_JSON_HackRecoverMagicMixed(const U_UTF16String& text)
{
    const RecoverMagicMixed recover;
    SetFrom_JSON(text);
}

// --- The strict reader -------------------------------------------------------------------------------------

namespace {

// Throws at the first fault. `PositionOf` makes a position of the caller's text from one of the UTF-8 text.
template <class PositionOf>
void Validate(std::string_view text, PositionOf positionOf)
{
    const auto fail = [&](const std::string& why, std::size_t at) {
        const std::size_t position = positionOf(at);
        throw bad_uanytree_json("not a JSON object: " + why + " at " + std::to_string(position), position);
    };
    const std::size_t start = std::min(text.find_first_not_of(" \t\r\n"), text.size());
    if (start == text.size()) fail("nothing", start);
    if (text[start] != '{') fail("no opening brace", start);

    boost::json::parse_options options;
    options.max_depth = U_AnyTreeWrapper::kMaxDepth;
    boost::json::parser parser({}, options);
    boost::json::error_code fault;
    const std::size_t read = parser.write_some(text.data(), text.size(), fault);
    if (fault == boost::json::error::too_deep) throw boost::bad_any_cast();
    if (fault) fail(fault.message(), read);
    if (read != text.size()) fail("extra text", read);
}

// The first unit that is half of a surrogate pair, the size if there is none.
std::size_t FindLoneSurrogate(UTF16View text)
{
    for (std::size_t at = 0; at < text.size(); ++at) {
        if ((text[at] & 0xF800) != 0xD800) continue;
        const bool isPair = text[at] < 0xDC00 && at + 1 < text.size() && (text[at + 1] & 0xFC00) == 0xDC00;
        if (!isPair) return at;
        ++at;
    }
    return text.size();
}

// How many 16-bit units the first `bytes` of valid UTF-8 stand for.
std::size_t UnitsIn(std::string_view utf8, std::size_t bytes)
{
    const auto units = [](unsigned char byte) { return byte >= 0xF0 ? 2u : (byte & 0xC0) != 0x80 ? 1u : 0u; };
    std::size_t count = 0;
    for (const char byte : utf8.substr(0, bytes)) count += units(static_cast<unsigned char>(byte));
    return count;
}

}  // namespace

void U_AnyTreeWrapper::SetFrom_JSON_Strict(const U_UTF16String& text)
{
    const std::size_t lone = FindLoneSurrogate(text);
    const U_UTF8String utf8 = zvkcore::string::UTF16to8(text);
    const std::string_view bytes = zvkcore::string::View(utf8);
    Validate(bytes, [&](std::size_t at) { return std::min(lone, UnitsIn(bytes, at)); });
    if (lone != text.size()) {
        throw bad_uanytree_json("not a JSON object: half a surrogate pair at " + std::to_string(lone), lone);
    }
    ReadWhole(text);
}

void U_AnyTreeWrapper::SetFrom_JSON_Strict(const U_UTF8String& text)
{
    Validate(zvkcore::string::View(text), [](std::size_t at) { return at; });
    ReadWhole(zvkcore::string::UTF8to16(text));
}

// All of the text or nothing.
void U_AnyTreeWrapper::ReadWhole(const U_UTF16String& text)
{
    U_AnyTreeWrapper result(*this);
    result.ReadText(text);
    m_tree->swap(*result.m_tree);
}
